#pragma once
// DRZSLClient: the process's one client of the system log.
//
// Made on first use (by the first log call) and kept for the life of the
// process. It opens the SystemLog and chooses the level from the preference
// "DRLogLevel" and the marker file on its serial queue
// "com.vorlan.velunedriveapp.logging" (utility class, relative priority -15),
// and again whenever "com.vorlan.managedconfiguration.defaultsdidchange" is
// posted. Records are built, sent and echoed to the console on that queue,
// one at a time, in submission order.
//
// The sinks (SystemLog, ConsoleLog and the LogRecordTee of live viewers) are
// those of the installed services when a record is built: after a reinstall
// the next record goes to the new ones (the old system log client is closed,
// a new one opened with the current filter mask). Before any are installed,
// records go to standard error alone. The PreferencesStore and FileSystem
// that choose the level are read at each choice; they must not log while
// doing so (the client may be under construction).

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/ConsoleLog.h"
#include "platform/DispatchQueue.h"
#include "platform/LogRecordTee.h"
#include "platform/SystemLog.h"

namespace velune {

inline constexpr const char* kLogQueueLabel = "com.vorlan.velunedriveapp.logging";
inline constexpr const char* kLogFacility = "com.vorlan.VeluneDriveApp";
inline constexpr const char* kLogLevelPreferenceKey = "DRLogLevel";
inline constexpr const char* kManagedDefaultsDidChangeNotification =
    "com.vorlan.managedconfiguration.defaultsdidchange";
inline constexpr const char* kQuotaDisabledEnvironmentVariable = "ZSL_QUOTA_DISABLED";

class DRZSLClient {
 public:
  // The shared instance, made exactly once (thread-safe).
  static DRZSLClient& ZSLClient();

  // Readable by anyone without a lock.
  int logLevel() const { return logLevel_.load(std::memory_order_relaxed); }
  // logLevel, at most 7.
  int logLevelForZSL() const;
  // Stores the level on the caller's thread, then sets the filter mask on the
  // log queue and waits for it. Not from the log queue.
  void setLogLevel(int level);
  // Runs the block on the log queue, after every block submitted before it.
  // Blocks are taken from the queue in batches; after each batch the system
  // log is flushed.
  void performLoggingBlock(std::function<void()> block);
  const std::shared_ptr<platform::DispatchQueue>& logQueue() const { return logQueue_; }
  // The serial background queue (default priority) from which the level
  // choice logs "Unthrottling logging": never the log queue itself, and one
  // queue, so a caller that syncs it and then the log queue has every such
  // line in the log.
  const std::shared_ptr<platform::DispatchQueue>& noticeQueue() const { return noticeQueue_; }

  // Chooses the level from the preference and the marker file. Runs on the log queue.
  void _setLogLevelFromDefaults();

  // Where records go: the installed services' sinks, resolved again after
  // each install. Log queue only.
  struct Sinks {
    std::shared_ptr<platform::SystemLog> systemLog;  // never null
    platform::SystemLog::Client* zslClient = nullptr;
    std::shared_ptr<platform::ConsoleLog> consoleLog;  // never null
    std::shared_ptr<platform::LogRecordTee> tee;      // may be null
  };
  const Sinks& sinks();

  // Closes the system log on the log queue. The shared instance is never
  // destroyed.
  ~DRZSLClient();
  DRZSLClient(const DRZSLClient&) = delete;
  DRZSLClient& operator=(const DRZSLClient&) = delete;

 private:
  DRZSLClient();

  // Log queue only.
  Sinks sinks_;
  std::uint64_t sinksGeneration_ = 0;
  bool sinksResolved_ = false;
  // Stored together with DRLogLevelEnabled's cached copy.
  void storeLogLevel(int level);
  std::atomic<int> logLevel_{6};
  std::shared_ptr<platform::DispatchQueue> logQueue_;
  std::shared_ptr<platform::DispatchQueue> noticeQueue_;

  void drain();
  std::mutex pendingMutex_;
  std::vector<std::function<void()>> pending_;
  bool drainScheduled_ = false;
};

// The filter mask for a level: levels 0 to `level` (none below 0).
std::uint32_t DRLogFilterMask(int level);

}  // namespace velune

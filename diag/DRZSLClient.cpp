#include "diag/DRZSLClient.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <mutex>

#include "diag/DRLogging.h"
#include "platform/FileSystem.h"
#include "platform/NotificationService.h"
#include "platform/Platform.h"
#include "platform/PreferencesStore.h"
#include "platform/ProcessInfo.h"

namespace velune {
namespace {

using platform::DispatchQueue;
using platform::Platform;
using platform::QualityOfService;

// Stand-ins when no system log or console is installed: logging must work
// (and never crash) before the platform is wired.
class NoSystemLog final : public platform::SystemLog {
 public:
  Client* open(const char*, std::string_view, std::uint32_t) override { return nullptr; }
  void close(Client*) override {}
  void setFilterMask(Client*, std::uint32_t) override {}
  std::unique_ptr<platform::SystemLogRecord> newRecord() override { return nullptr; }
  void send(Client*, const platform::SystemLogRecord&) override {}
};

class StandardErrorConsole final : public platform::ConsoleLog {
 public:
  void write(std::string_view message) override {
    std::fwrite(message.data(), 1, message.size(), stderr);
    std::fputc('\n', stderr);
  }
};

std::once_flag gDefaultsObserverOnce;

}  // namespace

std::uint32_t DRLogFilterMask(int level) {
  if (level < 0) {
    return 0;
  }
  const int clamped = std::min(level, 7);
  return (1u << (clamped + 1)) - 1;
}

DRZSLClient& DRZSLClient::ZSLClient() {
  // Made once, on first use; never destroyed, so that logging from threads
  // that outlive main() stays safe.
  static DRZSLClient* shared = new DRZSLClient();
  return *shared;
}

DRZSLClient::DRZSLClient() {
  logQueue_ = DispatchQueue::createSerial(kLogQueueLabel, QualityOfService::Utility, -15);
  noticeQueue_ = DispatchQueue::createSerial("com.vorlan.velunedriveapp.logging.notices", QualityOfService::Default);
  logQueue_->sync([this] {
    (void)sinks();
    _setLogLevelFromDefaults();
  });
}

DRZSLClient::~DRZSLClient() {
  logQueue_->sync([this] {
    if (sinksResolved_) {
      sinks_.systemLog->close(sinks_.zslClient);
      sinks_.zslClient = nullptr;
    }
  });
}

const DRZSLClient::Sinks& DRZSLClient::sinks() {
  // Most records find the services unchanged: one atomic load.
  const std::uint64_t generation = Platform::generation();
  if (sinksResolved_ && generation == sinksGeneration_) {
    return sinks_;
  }
  const auto services = Platform::services();
  sinksGeneration_ = generation;

  std::shared_ptr<platform::SystemLog> systemLog = services->systemLog;
  if (!systemLog) {
    // Keep the stand-in across reinstalls that still have no system log.
    systemLog = sinksResolved_ && dynamic_cast<NoSystemLog*>(sinks_.systemLog.get())
                    ? sinks_.systemLog
                    : std::make_shared<NoSystemLog>();
  }
  if (!sinksResolved_ || systemLog != sinks_.systemLog) {
    if (sinksResolved_) {
      // What the old log still buffers is written before it is left.
      sinks_.systemLog->flush();
      sinks_.systemLog->close(sinks_.zslClient);
    }
    sinks_.systemLog = std::move(systemLog);
    sinks_.zslClient = sinks_.systemLog->open(nullptr, kLogFacility, 0);
    // A new log starts with the level already chosen (the constructor chooses
    // it right after the first resolution).
    sinks_.systemLog->setFilterMask(sinks_.zslClient, DRLogFilterMask(logLevelForZSL()));
  }

  if (services->consoleLog) {
    sinks_.consoleLog = services->consoleLog;
  } else if (!sinks_.consoleLog || !dynamic_cast<StandardErrorConsole*>(sinks_.consoleLog.get())) {
    sinks_.consoleLog = std::make_shared<StandardErrorConsole>();
  }
  sinks_.tee = services->logRecordTee;
  sinksResolved_ = true;
  return sinks_;
}

int DRZSLClient::logLevelForZSL() const { return std::min(logLevel(), 7); }

void DRZSLClient::storeLogLevel(int level) {
  logLevel_.store(level, std::memory_order_relaxed);
  detail::gCachedLogLevel.store(level, std::memory_order_relaxed);
}

void DRZSLClient::setLogLevel(int level) {
  storeLogLevel(level);
  logQueue_->sync([this] {
    const Sinks& current = sinks();
    current.systemLog->setFilterMask(current.zslClient, DRLogFilterMask(logLevelForZSL()));
  });
}

void DRZSLClient::performLoggingBlock(std::function<void()> block) {
  bool schedule = false;
  {
    std::lock_guard lock(pendingMutex_);
    pending_.push_back(std::move(block));
    schedule = !drainScheduled_;
    drainScheduled_ = true;
  }
  if (schedule) {
    logQueue_->async([this] { drain(); });
  }
}

void DRZSLClient::drain() {
  std::vector<std::function<void()>> batch;
  while (true) {
    {
      std::lock_guard lock(pendingMutex_);
      if (pending_.empty()) {
        drainScheduled_ = false;
        break;
      }
      batch.swap(pending_);
    }
    for (auto& block : batch) {
      block();
    }
    batch.clear();
  }
  sinks().systemLog->flush();
}

void DRZSLClient::_setLogLevelFromDefaults() {
  const auto services = Platform::services();

  std::call_once(gDefaultsObserverOnce, [&] {
    if (services->notifications) {
      services->notifications->addObserver(this, kManagedDefaultsDidChangeNotification, logQueue_,
                                           [this](const platform::Notification&) { _setLogLevelFromDefaults(); });
    }
  });

  std::int64_t preference = 0;
  if (services->standardPreferences) {
    services->standardPreferences->synchronize();
    preference = services->standardPreferences->integerForKey(kLogLevelPreferenceKey);
  }

  // A marker path that cannot be read counts as absent.
  const bool marker = services->fileSystem && services->fileSystem->fileExistsAtPath(services->logMarkerPath);

  int level = 6;
  if (marker) {
    level = 8;
  } else if (preference > 2) {
    // The level is a 32-bit number; a larger preference is taken as the largest.
    level = static_cast<int>(std::min<std::int64_t>(preference, std::numeric_limits<int>::max()));
  }

  storeLogLevel(level);
  const Sinks& current = sinks();
  current.systemLog->setFilterMask(current.zslClient, DRLogFilterMask(logLevelForZSL()));

  if (!marker && level < 8) {
    platform::ProcessInfo::unsetEnvironmentVariable(kQuotaDisabledEnvironmentVariable);
  } else {
    platform::ProcessInfo::setEnvironmentVariable(kQuotaDisabledEnvironmentVariable, "1");
    // Never from here: this runs while the shared client is being made.
    noticeQueue_->async([] { DRLOG(kLogDebug, "Unthrottling logging"); });
  }
}

}  // namespace velune

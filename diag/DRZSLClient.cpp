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
  const auto services = Platform::services();
  systemLog_ = services->systemLog ? services->systemLog : std::make_shared<NoSystemLog>();
  consoleLog_ = services->consoleLog ? services->consoleLog : std::make_shared<StandardErrorConsole>();
  logQueue_ = DispatchQueue::createSerial(kLogQueueLabel, QualityOfService::Utility, -15);
  logQueue_->sync([this] {
    zslClient_ = systemLog_->open(nullptr, kLogFacility, 0);
    _setLogLevelFromDefaults();
  });
}

DRZSLClient::~DRZSLClient() {
  logQueue_->sync([this] {
    systemLog_->close(zslClient_);
    zslClient_ = nullptr;
  });
}

int DRZSLClient::logLevelForZSL() const { return std::min(logLevel(), 7); }

void DRZSLClient::setLogLevel(int level) {
  logLevel_.store(level, std::memory_order_relaxed);
  logQueue_->sync([this] { systemLog_->setFilterMask(zslClient_, DRLogFilterMask(logLevelForZSL())); });
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
  systemLog_->flush();
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

  logLevel_.store(level, std::memory_order_relaxed);
  systemLog_->setFilterMask(zslClient_, DRLogFilterMask(logLevelForZSL()));

  if (!marker && level < 8) {
    platform::ProcessInfo::unsetEnvironmentVariable(kQuotaDisabledEnvironmentVariable);
  } else {
    platform::ProcessInfo::setEnvironmentVariable(kQuotaDisabledEnvironmentVariable, "1");
    // Never from here: this runs while the shared client is being made.
    DispatchQueue::global(QualityOfService::Default)->async([] { DRLOG(kLogDebug, "Unthrottling logging"); });
  }
}

}  // namespace velune

#include "host/HostPlatform.h"

#include "host/InProcessNotificationService.h"
#include "host/JsonPreferencesStore.h"
#include "host/LinuxApplicationHost.h"
#include "host/PosixFileSystem.h"
#include "host/StandardErrorConsoleLog.h"
#include "platform/LogRecordTee.h"

namespace velune::host {

platform::Services HostPlatform::makeServices(const HostOptions& options) {
  const HomeLayout layout(options.home);
  platform::Services services;
  auto application = std::make_shared<LinuxApplicationHost>();
  application->setHome(layout);
  services.applicationHost = application;
  services.systemLog = makeSystemLog(options.systemLog, layout.systemLogFile());
  services.consoleLog = std::make_shared<StandardErrorConsoleLog>();
  // The screen's log view subscribes here.
  services.logRecordTee = std::make_shared<platform::LogRecordTee>();
  services.notifications = std::make_shared<InProcessNotificationService>();
  services.standardPreferences =
      std::make_shared<JsonPreferencesStore>(layout.standardPreferences(), options.argumentDomain);
  services.fileSystem = std::make_shared<PosixFileSystem>();
  wireDrive(services, options);
  wireInterface(services, options);
  wireNetwork(services, options);
  wireCloud(services, options);
  return services;
}

}  // namespace velune::host

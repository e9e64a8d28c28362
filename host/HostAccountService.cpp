#include "host/HostAccountService.h"

#include "platform/Log.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"

namespace velune::host {

std::shared_ptr<HostAccountService> HostAccountService::create(
    std::shared_ptr<DeviceMonitor> monitor, std::shared_ptr<platform::NotificationService> notifications) {
  std::shared_ptr<HostAccountService> service(new HostAccountService(std::move(monitor), std::move(notifications)));
  std::weak_ptr<HostAccountService> weakService = service;
  service->listener_ = service->monitor_->addConfigurationListener(
      [weakService](const DeviceConfiguration& previous, const DeviceConfiguration& current) {
        if (previous.identityToken == current.identityToken) {
          return;
        }
        const auto strong = weakService.lock();
        if (!strong || !strong->notifications_) {
          return;
        }
        PLATFORM_LOG(kLogDebug, "Posting %@", platform::kAccountIdentityDidChangeNotification);
        strong->notifications_->post(std::string(platform::kAccountIdentityDidChangeNotification), strong.get());
      });
  return service;
}

HostAccountService::~HostAccountService() {
  monitor_->removeListener(listener_);
}

std::optional<platform::IdentityToken> HostAccountService::identityToken() const {
  auto token = monitor_->configuration().identityToken;
  if (!token) {
    return std::nullopt;
  }
  return platform::IdentityToken(std::move(*token));
}

}  // namespace velune::host

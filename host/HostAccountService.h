#pragma once
// HostAccountService: the simulated phone's account: the identity token of
// device.json ("identityToken", null when signed out). When the DeviceMonitor
// sees it change, the service posts the account-identity-changed
// notification (from the monitor's thread, with the service as its object).

#include <memory>

#include "host/DeviceMonitor.h"
#include "platform/AccountService.h"

namespace velune::platform {
class NotificationService;
}  // namespace velune::platform

namespace velune::host {

class HostAccountService final : public platform::AccountService {
 public:
  static std::shared_ptr<HostAccountService> create(std::shared_ptr<DeviceMonitor> monitor,
                                                    std::shared_ptr<platform::NotificationService> notifications);
  ~HostAccountService() override;

  std::optional<platform::IdentityToken> identityToken() const override;

 private:
  HostAccountService(std::shared_ptr<DeviceMonitor> monitor,
                     std::shared_ptr<platform::NotificationService> notifications)
      : monitor_(std::move(monitor)), notifications_(std::move(notifications)) {}

  const std::shared_ptr<DeviceMonitor> monitor_;
  const std::shared_ptr<platform::NotificationService> notifications_;
  DeviceMonitor::ListenerId listener_ = 0;
};

}  // namespace velune::host

#pragma once
// AccountService: the cloud account signed in on the device.
//
// identityToken() names the account (nothing when no one is signed in). When
// it changes, the service posts kAccountIdentityDidChangeNotification
// (platform/Notifications.h) on the NotificationService, from a thread of its
// own; observers that touch the interface register with the main queue.

#include <optional>

#include "platform/IdentityToken.h"

namespace velune::platform {

class AccountService {
 public:
  virtual ~AccountService() = default;

  // Any thread.
  virtual std::optional<IdentityToken> identityToken() const = 0;
};

}  // namespace velune::platform

#pragma once
// Names of the platform's process-wide notifications.

#include <string_view>

namespace velune::platform {

inline constexpr std::string_view kApplicationDidBecomeActiveNotification = "ApplicationDidBecomeActiveNotification";
inline constexpr std::string_view kApplicationWillResignActiveNotification = "ApplicationWillResignActiveNotification";
inline constexpr std::string_view kAccountIdentityDidChangeNotification = "AccountIdentityDidChangeNotification";
inline constexpr std::string_view kCloudKeyValueStoreDidChangeExternallyNotification =
    "CloudKeyValueStoreDidChangeExternallyNotification";

}  // namespace velune::platform

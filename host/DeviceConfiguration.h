#pragma once
// DeviceConfiguration: the simulated phone's settings in HOME/device.json.
//
//   {
//     "identityToken": "velune-user-1",     // the signed-in account, or null
//     "network": "wifi",                    // "wifi" | "cellular" | "offline"
//     "idiom": "phone",                     // "phone" | "tablet"
//     "screen": {"width": 390, "height": 844, "scale": 3},
//     "quotaTotalBytes": 5368709120,
//     "downloadBytesPerSecond": 4000000
//   }
//
// Reading never fails: a missing file gives the defaults; a malformed file or
// a value of the wrong kind keeps the default for what cannot be read, and
// each such problem is reported in `problems` for the caller to log.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Error.h"

namespace velune::host {

enum class NetworkSetting { WiFi, Cellular, Offline };
enum class DeviceIdiom { Phone, Tablet };

struct DeviceConfiguration {
  std::optional<std::string> identityToken = std::string("velune-demo-user");
  NetworkSetting network = NetworkSetting::WiFi;
  DeviceIdiom idiom = DeviceIdiom::Phone;
  double screenWidth = 390;
  double screenHeight = 844;
  double screenScale = 3;
  std::uint64_t quotaTotalBytes = 5'368'709'120;  // 5 GB
  std::uint64_t downloadBytesPerSecond = 4'000'000;

  // Every field, so that a new setting is compared without further change.
  bool operator==(const DeviceConfiguration&) const = default;

  static DeviceConfiguration read(const std::string& path, std::vector<std::string>* problems = nullptr);
  // As read(), but what cannot be read (a file that is not a JSON object, a
  // value of the wrong kind) keeps the value of `fallback` instead of the
  // default: a running device does not jump to defaults over a typo. A
  // missing file still gives the defaults.
  static DeviceConfiguration read(const std::string& path, std::vector<std::string>* problems,
                                  const DeviceConfiguration& fallback);
  // Written atomically; an error when the file cannot be written.
  std::optional<platform::Error> write(const std::string& path) const;
  // The file's text for these settings.
  std::string text() const;

  static const char* networkName(NetworkSetting network);
  static std::optional<NetworkSetting> networkFromName(const std::string& name);
};

}  // namespace velune::host

#pragma once
// PhoneControls: the control panel's actions on the simulated phone. Each one
// changes the phone the way another process would (vdtool does the same):
// device.json through DeviceSettingsEditor, the application state through
// app-state.json, the cloud side through the drive's "another device"
// operations. The running app follows through its monitors, exactly as it
// follows vdtool. A launch URL goes to the application host, in the name of
// the application the person chose on the phone.
//
// Every action takes its arguments as JSON (from the page), checks them, and
// answers an error that says what was wrong. Any thread; actions are
// serialised so that two quick clicks never interleave their writes.

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "host/HomeLayout.h"
#include "host/LaunchURLReceiver.h"
#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/URL.h"

namespace velune::shell {

class PhoneControls {
 public:
  // Hands a launch URL request to the application host, which applies its
  // rule for the source (only an installed application is reported) exactly
  // as for the home's launch-URL socket; `done` hears whether the
  // application handled it.
  using OpenURLHook = std::function<void(const host::LaunchURLRequest& request, std::function<void(bool)> done)>;

  explicit PhoneControls(host::HomeLayout layout) : layout_(std::move(layout)) {}
  void setOpenURLHook(OpenURLHook hook);

  // {"network": "wifi" | "cellular" | "offline"}
  std::optional<platform::Error> setNetwork(const nlohmann::json& body);
  // {"account": "signed-in" | "signed-out" | "other"} or {"token": "..."}
  std::optional<platform::Error> setAccount(const nlohmann::json& body);
  // {"state": "active" | "background"}
  std::optional<platform::Error> setApplicationState(const nlohmann::json& body);
  // {"idiom": "phone" | "tablet"} and/or {"orientation": "portrait" | "landscape"}
  std::optional<platform::Error> setDevice(const nlohmann::json& body);
  // {"bytesPerSecond": N}, 1 KB/s to 10 GB/s
  std::optional<platform::Error> setBandwidth(const nlohmann::json& body);
  // {"url": "velunedriveapp:...", "source": "com.vorlan.Drillrun"}: the
  // request claims `source`; whether the app opened it (it refuses unknown
  // and untrusted sources), or an error when it could not be delivered or no
  // answer came within `timeout`.
  platform::Result<bool> launchURL(const nlohmann::json& body,
                                   std::chrono::milliseconds timeout = std::chrono::milliseconds(3000));
  // {"op": "add" | "modify" | "move" | "delete", "path": P, "to": P2, "text": T, "size": N, "folder": bool}
  // Paths are below the drive's root: "<container>/Documents/...".
  std::optional<platform::Error> changeFromAnotherDevice(const nlohmann::json& body);
  // {"version": N, "tags": [{"name": "Red", "colour": 6}, ...]}: the user's tag
  // dictionary as another device writes it into the cloud key-value store
  // (version 2 when missing; at most 1,000 tags, names of 1 to 255 bytes,
  // colours 0 to 7).
  std::optional<platform::Error> setTagDictionary(const nlohmann::json& body);
  // Turns the phone: the screen's sides swap in device.json.
  std::optional<platform::Error> rotate(bool landscape);

  // What the panel shows: the settings of device.json, the application state,
  // the applications a launch URL can claim to come from (those installed on
  // the phone, and one that is not) and the tag dictionary
  // ("tagDictionary": {"version", "tags"}, or {"problem"} when the store's
  // file cannot be read).
  nlohmann::json state() const;

  static constexpr const char* kOtherAccountToken = "velune-other-user";
  static constexpr const char* kDemoAccountToken = "velune-demo-user";
  static constexpr const char* kNotInstalledSource = "com.example.notinstalled";

 private:
  std::optional<platform::Error> setKey(const std::string& key, const nlohmann::json& value);

  const host::HomeLayout layout_;
  mutable std::mutex mutex_;
  OpenURLHook openURL_;
};

// An error of the control panel's domain with its text.
platform::Error phoneControlError(const std::string& description);

}  // namespace velune::shell

#pragma once
// DeviceSettingsEditor: changes one setting of HOME/device.json the way
// another process (vdtool, the control panel) should: under an advisory lock
// (HOME/.device.json.lock), so that two editors never lose each other's
// change; keeping every other key of the file, also ones this version does
// not know; and replacing the file atomically, so the running app never reads
// half of it.
//
// A missing file starts from the default device. A file that is not a JSON
// object is copied aside to "device.json.corrupt" (and said so in `note`)
// before the new file takes its place: nothing is lost.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "host/HomeLayout.h"
#include "platform/Error.h"

namespace velune::host {

class DeviceSettingsEditor {
 public:
  DeviceSettingsEditor() = delete;

  // Sets `key` to `value` (null for "identityToken" signs out).
  static std::optional<platform::Error> set(const HomeLayout& layout, const std::string& key,
                                            const nlohmann::json& value, std::string* note = nullptr);
};

}  // namespace velune::host

#pragma once
// Helpers shared by the vdtool commands that read the device's settings.

#include <cstdio>
#include <string>
#include <vector>

#include "host/DeviceConfiguration.h"
#include "host/HomeLayout.h"

namespace velune::host::vdtool {

// The device's settings; what cannot be read is said on standard error.
inline DeviceConfiguration readDeviceSettings(const HomeLayout& layout) {
  std::vector<std::string> problems;
  const auto device = DeviceConfiguration::read(layout.deviceJson(), &problems);
  for (const auto& problem : problems) {
    std::fprintf(stderr, "vdtool: %s\n", problem.c_str());
  }
  return device;
}

// Says on standard error what the editor had to do besides the change.
inline void printNote(const std::string& note) {
  if (!note.empty()) {
    std::fprintf(stderr, "vdtool: %s\n", note.c_str());
  }
}

}  // namespace velune::host::vdtool

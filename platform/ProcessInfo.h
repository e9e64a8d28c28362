#pragma once
// ProcessInfo: facts about the running process and its machine.

#include <optional>
#include <string>
#include <string_view>

namespace velune::platform {

class ProcessInfo {
 public:
  static unsigned long processIdentifier();
  // Nothing when the host name cannot be read.
  static std::optional<std::string> hostName();

  // The process environment. Changing it is not safe while another thread
  // reads it; the system changes it only from the log queue.
  static std::optional<std::string> environmentVariable(const std::string& name);
  static void setEnvironmentVariable(const std::string& name, const std::string& value);
  static void unsetEnvironmentVariable(const std::string& name);
};

}  // namespace velune::platform

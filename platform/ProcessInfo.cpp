#include "platform/ProcessInfo.h"

#include <unistd.h>

#include <cstdlib>

namespace velune::platform {

unsigned long ProcessInfo::processIdentifier() { return static_cast<unsigned long>(getpid()); }

std::optional<std::string> ProcessInfo::hostName() {
  char buffer[256] = {};
  if (gethostname(buffer, sizeof buffer - 1) != 0 || buffer[0] == '\0') {
    return std::nullopt;
  }
  return std::string(buffer);
}

std::optional<std::string> ProcessInfo::environmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) {
    return std::nullopt;
  }
  return std::string(value);
}

void ProcessInfo::setEnvironmentVariable(const std::string& name, const std::string& value) {
  setenv(name.c_str(), value.c_str(), 1);
}

void ProcessInfo::unsetEnvironmentVariable(const std::string& name) { unsetenv(name.c_str()); }

}  // namespace velune::platform

#include "host/MemoryConsoleLog.h"

namespace velune::host {

void MemoryConsoleLog::write(std::string_view message) {
  std::lock_guard lock(mutex_);
  lines_.emplace_back(message);
}

std::vector<std::string> MemoryConsoleLog::lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

void MemoryConsoleLog::clear() {
  std::lock_guard lock(mutex_);
  lines_.clear();
}

}  // namespace velune::host

#pragma once
// MemoryConsoleLog: a ConsoleLog that keeps its lines, for tests.

#include <mutex>
#include <string>
#include <vector>

#include "platform/ConsoleLog.h"

namespace velune::host {

class MemoryConsoleLog final : public platform::ConsoleLog {
 public:
  void write(std::string_view message) override;
  std::vector<std::string> lines() const;
  void clear();

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace velune::host

#pragma once
// ConsoleLog: the developer console (standard error on Linux). One call writes
// one line.

#include <string_view>

namespace velune::platform {

class ConsoleLog {
 public:
  virtual ~ConsoleLog() = default;
  virtual void write(std::string_view message) = 0;
};

}  // namespace velune::platform

#pragma once
// StandardErrorConsoleLog: the console of the simulated phone is standard
// error; each message is one line, written in one call so lines from several
// threads never mix.

#include "platform/ConsoleLog.h"

namespace velune::host {

class StandardErrorConsoleLog final : public platform::ConsoleLog {
 public:
  void write(std::string_view message) override;
};

}  // namespace velune::host

#pragma once
// SessionSecret: the per-launch secret that the page must show to the server.
// 32 bytes from the system's random source (getrandom), as 64 hex digits;
// never derived from the process's state (pid, time, addresses). Compared in
// constant time, so a caller learns nothing from how long a refusal takes.

#include <string>
#include <string_view>

#include "platform/Result.h"

namespace velune::shell {

class SessionSecret {
 public:
  static platform::Result<SessionSecret> generate();
  // A known secret (tests).
  explicit SessionSecret(std::string text) : text_(std::move(text)) {}

  const std::string& text() const { return text_; }
  bool matches(std::string_view candidate) const;

  // Equality whose time depends only on the lengths.
  static bool constantTimeEquals(std::string_view a, std::string_view b);

  static constexpr size_t kBytes = 32;

 private:
  std::string text_;
};

}  // namespace velune::shell

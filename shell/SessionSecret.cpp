#include "shell/SessionSecret.h"

#include <sys/random.h>

#include <cerrno>
#include <cstring>

#include "platform/Error.h"

namespace velune::shell {

platform::Result<SessionSecret> SessionSecret::generate() {
  unsigned char bytes[kBytes];
  size_t filled = 0;
  while (filled < kBytes) {
    const ssize_t got = ::getrandom(bytes + filled, kBytes - filled, 0);
    if (got < 0) {
      if (errno == EINTR) {
        continue;
      }
      return platform::Error(std::string(platform::kPOSIXErrorDomain), errno);
    }
    filled += static_cast<size_t>(got);
  }
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * kBytes);
  for (const unsigned char b : bytes) {
    text.push_back(kHex[b >> 4]);
    text.push_back(kHex[b & 15]);
  }
  std::memset(bytes, 0, sizeof bytes);
  return SessionSecret(std::move(text));
}

bool SessionSecret::constantTimeEquals(std::string_view a, std::string_view b) {
  // Every byte of the longer text is looked at, whatever differs first.
  const size_t length = std::max(a.size(), b.size());
  unsigned difference = a.size() == b.size() ? 0U : 1U;
  for (size_t i = 0; i < length; ++i) {
    const unsigned char x = i < a.size() ? static_cast<unsigned char>(a[i]) : 0;
    const unsigned char y = i < b.size() ? static_cast<unsigned char>(b[i]) : 0;
    difference |= static_cast<unsigned>(x ^ y);
  }
  return difference == 0;
}

bool SessionSecret::matches(std::string_view candidate) const { return constantTimeEquals(text_, candidate); }

}  // namespace velune::shell

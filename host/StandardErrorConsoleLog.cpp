#include "host/StandardErrorConsoleLog.h"

#include <unistd.h>

#include <cerrno>
#include <string>

namespace velune::host {

void StandardErrorConsoleLog::write(std::string_view message) {
  std::string line(message);
  line.push_back('\n');
  size_t written = 0;
  while (written < line.size()) {
    const ssize_t n = ::write(STDERR_FILENO, line.data() + written, line.size() - written);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return;  // a closed console loses the line; logging never fails its caller
    }
    written += static_cast<size_t>(n);
  }
}

}  // namespace velune::host

#include "host/drive/TemporaryNames.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <limits>
#include <random>
#include <vector>

#include "host/HomeFileReader.h"
#include "host/drive/DrivePaths.h"

namespace velune::host {

namespace {

// The fields of /proc/PID/stat after the command name: the state, then
// field 22 of the file (the start time) is the twentieth.
struct ProcessStat {
  char state = '?';
  std::uint64_t startTime = 0;
};

// Nothing when the process does not exist; `unknown` when /proc cannot say.
std::optional<ProcessStat> readProcessStat(pid_t pid, bool& unknown) {
  unknown = false;
  std::string text;
  const int error = readHomeFile("/proc/" + std::to_string(pid) + "/stat", 4096, text);
  if (error == ENOENT || error == ESRCH) {
    return std::nullopt;
  }
  // /proc files report a size of 0 but are regular: read, then parse.
  const size_t close = text.rfind(')');
  if (error != 0 || close == std::string::npos) {
    unknown = true;
    return std::nullopt;
  }
  std::vector<std::string_view> fields;
  const std::string_view rest = std::string_view(text).substr(close + 1);
  size_t start = 0;
  while (start < rest.size()) {
    while (start < rest.size() && rest[start] == ' ') {
      ++start;
    }
    size_t end = rest.find(' ', start);
    if (end == std::string_view::npos) {
      end = rest.size();
    }
    if (end > start) {
      fields.push_back(rest.substr(start, end - start));
    }
    start = end + 1;
  }
  ProcessStat stat;
  if (fields.size() < 20 || fields[0].empty() ||
      std::from_chars(fields[19].data(), fields[19].data() + fields[19].size(), stat.startTime).ec != std::errc()) {
    unknown = true;
    return std::nullopt;
  }
  stat.state = fields[0].front();
  return stat;
}

std::uint64_t ownStartTime() {
  static const std::uint64_t start = [] {
    bool unknown = false;
    const auto stat = readProcessStat(::getpid(), unknown);
    return stat ? stat->startTime : 0;
  }();
  return start;
}

bool readNumber(std::string_view& text, std::uint64_t& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc() || result.ptr == text.data()) {
    return false;
  }
  text.remove_prefix(static_cast<size_t>(result.ptr - text.data()));
  return true;
}

}  // namespace

std::string newTemporaryName(std::string_view suffix) {
  static std::atomic<std::uint64_t> counter{0};
  static thread_local std::mt19937_64 random{std::random_device{}()};
  std::string name(kTemporaryPrefix);
  name += std::to_string(::getpid()) + "-" + std::to_string(ownStartTime()) + "-" +
          std::to_string(counter.fetch_add(1)) + "-" + std::to_string(random() % 1000000);
  if (!suffix.empty()) {
    name.push_back('.');
    name.append(suffix);
  }
  return name;
}

std::optional<TemporaryOwner> temporaryNameOwner(std::string_view name) {
  if (!name.starts_with(kTemporaryPrefix)) {
    return std::nullopt;
  }
  std::string_view rest = name.substr(kTemporaryPrefix.size());
  std::uint64_t numbers[4] = {};
  for (int i = 0; i < 4; ++i) {
    if (!readNumber(rest, numbers[i])) {
      return std::nullopt;
    }
    if (i < 3) {
      if (rest.empty() || rest.front() != '-') {
        return std::nullopt;
      }
      rest.remove_prefix(1);
    }
  }
  if (!rest.empty() && rest.front() != '.') {
    return std::nullopt;
  }
  if (numbers[0] == 0 || numbers[0] > static_cast<std::uint64_t>(std::numeric_limits<pid_t>::max())) {
    return std::nullopt;
  }
  return TemporaryOwner{static_cast<pid_t>(numbers[0]), numbers[1]};
}

std::optional<std::uint64_t> processStartTime(pid_t pid) {
  bool unknown = false;
  const auto stat = readProcessStat(pid, unknown);
  if (!stat || stat->state == 'Z' || stat->state == 'X') {
    return std::nullopt;
  }
  return stat->startTime;
}

bool isTemporaryOwnerRunning(const TemporaryOwner& owner) {
  bool unknown = false;
  const auto stat = readProcessStat(owner.pid, unknown);
  if (unknown) {
    return true;
  }
  if (!stat || stat->state == 'Z' || stat->state == 'X') {
    return false;
  }
  return stat->startTime == owner.startTime;
}

}  // namespace velune::host

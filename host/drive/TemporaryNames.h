#pragma once
// The names of the drive's temporary files, and whether their maker still
// runs. A temporary file is named
//
//   .vdtmp-PID-START-COUNTER-RANDOM[.SUFFIX]
//
// where PID is the process that made it and START that process's start time
// (clock ticks since boot, as /proc/PID/stat gives it). A process killed
// midway leaves its temporary files behind; the next start removes those of
// processes that no longer run. The start time tells a dead maker from a new
// process that was given the same pid since.
//
// Pure functions; any thread.

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velune::host {

struct TemporaryOwner {
  pid_t pid = 0;
  std::uint64_t startTime = 0;
};

// A new temporary name (no folder) for this process; `suffix` is appended
// after a dot when given.
std::string newTemporaryName(std::string_view suffix = {});
// The maker of a temporary name; nothing for names not made by
// newTemporaryName() (which are never removed as a dead process's).
std::optional<TemporaryOwner> temporaryNameOwner(std::string_view name);
// Whether the maker still runs: the pid exists, is not a zombie, and started
// at the recorded time. When /proc cannot tell, the maker counts as running
// (a file is never removed on a guess).
bool isTemporaryOwnerRunning(const TemporaryOwner& owner);
// The start time of a running process; nothing when it does not run.
std::optional<std::uint64_t> processStartTime(pid_t pid);

}  // namespace velune::host

#pragma once
// Running the real programs (vdtool, velunedriveapp) as separate processes,
// as people and scripts do: with arguments, a working folder, standard
// output and error captured in files, and a time limit after which the
// program is killed and the run reported as hung (a test waits on the
// process itself, never sleeps). Programs built without a sanitizer run
// with their address space limited, so that an unbounded read fails fast
// instead of filling the machine.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace velune::testing {

struct ProgramOptions {
  std::string workingDirectory;  // empty: the test's own
  double timeoutSeconds = 60;
  std::string standardOutput;  // files; empty: /dev/null
  std::string standardError;
};

struct ProgramRun {
  bool exited = false;   // ended by exit(); else killed by a signal
  int status = -1;       // the exit status when exited
  int signal = 0;        // the signal that ended it otherwise
  bool timedOut = false;  // still running at the time limit (then killed)
  std::string out;
  std::string err;
  // "exit 1", "signal 11", "hung" (for failure messages).
  std::string describe() const;
};

// The programs built beside the test program, or those of the folder named
// by VELUNE_TEST_PROGRAMS (to run these tests against another build).
std::string vdtoolBinary();
std::string appBinary();

// Starts the program; its pid, or -1 (after a test failure).
pid_t startProgram(const std::vector<std::string>& arguments, const ProgramOptions& options);
// Waits up to `timeoutSeconds` for the started program to end and reaps it;
// nothing when it is still running then.
std::optional<int> waitForProgram(pid_t pid, double timeoutSeconds);
// Runs the program to its end (or the time limit) and collects its output.
ProgramRun runProgram(const std::vector<std::string>& arguments, ProgramOptions options = {});

}  // namespace velune::testing

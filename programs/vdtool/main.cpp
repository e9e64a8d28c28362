// vdtool: the command line of the simulated phone, for people and tests.
//
//   vdtool --home DIR [--verbose] COMMAND [ARGUMENTS...]
//
// Commands act on the phone as the app does (through the same platform
// services); their log lines go to the home's log file, and to standard error
// with --verbose.

#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "diag/DRLogging.h"
#include "diag/DRPlatformLogSink.h"
#include "host/HostPlatform.h"
#include "host/MemoryConsoleLog.h"
#include "host/drive/TemporaryFileSweeper.h"
#include "programs/vdtool/TerminalText.h"
#include "programs/vdtool/VdtoolCommand.h"

namespace velune::host::vdtool {

VdtoolCommand::Registration::Registration(VdtoolCommand command) {
  auto& commands = const_cast<std::map<std::string, VdtoolCommand>&>(all());
  commands.emplace(command.name, std::move(command));
}

const std::map<std::string, VdtoolCommand>& VdtoolCommand::all() {
  static auto* commands = new std::map<std::string, VdtoolCommand>();
  return *commands;
}

namespace {

void printUsage(FILE* to) {
  std::fputs("usage: vdtool --home DIR [--verbose] COMMAND [ARGUMENTS...]\n\ncommands:\n", to);
  for (const auto& [name, command] : VdtoolCommand::all()) {
    std::fprintf(to, "  %-8s %-28s %s\n", name.c_str(), command.arguments.c_str(), command.summary.c_str());
  }
}

}  // namespace
}  // namespace velune::host::vdtool

int main(int argc, char** argv) {
  using namespace velune::host;
  using namespace velune::host::vdtool;
  std::string home = HomeLayout::defaultDemoHome();
  bool verbose = false;
  int i = 1;
  for (; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--home" && i + 1 < argc) {
      home = argv[++i];
    } else if (arg == "--verbose") {
      verbose = true;
    } else if (arg == "--help" || arg == "-h") {
      printUsage(stdout);
      return 0;
    } else if (arg.starts_with("--")) {
      std::fprintf(stderr, "vdtool: unknown option %s\n", terminalText(argv[i]).c_str());
      printUsage(stderr);
      return kExitUsage;
    } else {
      break;
    }
  }
  if (i >= argc) {
    printUsage(stderr);
    return kExitUsage;
  }
  const auto& commands = VdtoolCommand::all();
  const auto found = commands.find(argv[i]);
  if (found == commands.end()) {
    std::fprintf(stderr, "vdtool: unknown command %s\n", terminalText(argv[i]).c_str());
    printUsage(stderr);
    return kExitUsage;
  }
  const std::vector<std::string> arguments(argv + i + 1, argv + argc);

  // A relative home would make the drive's paths relative, which its checks
  // of what is inside refuse.
  home = HomeLayout::absoluteHome(home);
  struct stat homeInfo {};
  const bool homeExists = ::stat(home.c_str(), &homeInfo) == 0;

  HostOptions options;
  options.home = home;
  // No log file either when there is no home: asking about a home that does
  // not exist must not make one.
  options.systemLog = homeExists ? SystemLogKind::File : SystemLogKind::Memory;
  auto services = HostPlatform::makeServices(options);
  if (!verbose) {
    services.consoleLog = std::make_shared<MemoryConsoleLog>();  // keep standard error for results
  }
  velune::platform::Platform::install(std::move(services));
  velune::DRPlatformLogSink::install();
  // What a killed command or app left behind goes before anything reads the drive.
  const HomeLayout layout(home);
  TemporaryFileSweeper(layout.mobileDocuments(), layout.cloud()).sweep();

  VdtoolContext context{HomeLayout(home), verbose};
  const int status = found->second.run(context, arguments);
  velune::DRLogFlush();
  return status;
}

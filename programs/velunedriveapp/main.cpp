// The program's C entry: the simulated phone boots here. It reads its own
// options, wires the Linux services for the home, and then hands over to the
// app's process entry (velune::main), which runs as it would on the phone.
//
//   velunedriveapp [--home DIR] [--system-log automatic|journal|syslog|file]
//                  [--reachability simulated|netlink] [--port N] [--open] [--no-screen]
//                  [-Key value ...]
//   velunedriveapp --make-demo-home DIR

#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "app/main.h"
#include "diag/DRPlatformLogSink.h"
#include "host/HomeLayout.h"
#include "host/HostPlatform.h"
#include "host/JsonPreferencesStore.h"
#include "host/LinuxApplicationHost.h"
#include "host/drive/DemoHome.h"
#include "host/drive/TemporaryFileSweeper.h"
#include "shell/ScreenService.h"

namespace {

constexpr int kUsageError = 64;

void printUsage(FILE* to) {
  std::fputs(
      "usage: velunedriveapp [--home DIR] [--system-log automatic|journal|syslog|file] [-Key value ...]\n"
      "  --home DIR        the simulated phone's home (default: a demo home in your data folder)\n"
      "  --system-log K    where log records go (default: automatic: journal, else syslog, else a file\n"
      "                    in the home)\n"
      "  --reachability R  simulated (default: the network setting of device.json) or netlink (this\n"
      "                    machine's own routes)\n"
      "  --port N          the screen's port on 127.0.0.1 (default: a free one)\n"
      "  --open            opens the screen in a browser when a desktop is there\n"
      "  --no-screen       runs without the screen's server\n"
      "  -Key value        overrides a preference for this run, e.g. -DRLogLevel 7\n"
      "  --make-demo-home DIR  makes a demo home in DIR (a new or empty folder) and exits;\n"
      "                    a --home that does not exist yet gets the demo contents too\n",
      to);
}

}  // namespace

int main(int argc, char** argv) {
  // Before any thread exists, so that only the host's watcher receives them.
  velune::host::LinuxApplicationHost::blockTerminationSignals();
  // A console that went away (`velunedriveapp 2>&1 | head -1`) loses its
  // lines; the application and its log file go on.
  ::signal(SIGPIPE, SIG_IGN);

  velune::host::HostOptions options;
  options.home = velune::host::HomeLayout::defaultDemoHome();
  velune::shell::ScreenService::Options screenOptions;
  bool withScreen = true;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      printUsage(stdout);
      return 0;
    }
    if (arg == "--make-demo-home") {
      if (i + 1 >= argc) {
        std::fprintf(stderr, "velunedriveapp: %s needs a folder\n", argv[i]);
        printUsage(stderr);
        return kUsageError;
      }
      if (auto error = velune::host::DemoHome::make(argv[i + 1])) {
        std::fprintf(stderr, "velunedriveapp: cannot make a demo home in %s: %s\n", argv[i + 1],
                     error->localizedDescription().value_or(error->description()).c_str());
        return 73;  // EX_CANTCREAT
      }
      std::printf("velunedriveapp: made a demo home in %s\n", argv[i + 1]);
      return 0;
    }
    if (arg == "--open") {
      screenOptions.openBrowser = true;
      continue;
    }
    if (arg == "--no-screen") {
      withScreen = false;
      continue;
    }
    if (arg == "--port") {
      const char* text = i + 1 < argc ? argv[i + 1] : "";
      char* end = nullptr;
      const long port = std::strtol(text, &end, 10);
      if (*text == '\0' || end == nullptr || *end != '\0' || port < 0 || port > 65535) {
        std::fprintf(stderr, "velunedriveapp: --port needs a port number (0 to 65535)\n");
        printUsage(stderr);
        return kUsageError;
      }
      screenOptions.port = static_cast<int>(port);
      ++i;
      continue;
    }
    if (arg == "--reachability") {
      const std::string_view source = i + 1 < argc ? std::string_view(argv[i + 1]) : std::string_view();
      if (source != "simulated" && source != "netlink") {
        std::fprintf(stderr, "velunedriveapp: --reachability needs simulated or netlink\n");
        printUsage(stderr);
        return kUsageError;
      }
      options.reachability =
          source == "netlink" ? velune::host::ReachabilitySource::Netlink : velune::host::ReachabilitySource::Simulated;
      ++i;
      continue;
    }
    if (arg == "--home" || arg == "--system-log") {
      if (i + 1 >= argc) {
        std::fprintf(stderr, "velunedriveapp: %s needs a value\n", argv[i]);
        printUsage(stderr);
        return kUsageError;
      }
      const std::string value = argv[++i];
      if (arg == "--home") {
        options.home = value;
      } else if (value == "automatic") {
        options.systemLog = velune::host::SystemLogKind::Automatic;
      } else if (value == "journal") {
        options.systemLog = velune::host::SystemLogKind::Journal;
      } else if (value == "syslog") {
        options.systemLog = velune::host::SystemLogKind::Syslog;
      } else if (value == "file") {
        options.systemLog = velune::host::SystemLogKind::File;
      } else {
        std::fprintf(stderr, "velunedriveapp: unknown system log '%s'\n", value.c_str());
        printUsage(stderr);
        return kUsageError;
      }
      continue;
    }
    if (arg.starts_with("--")) {
      std::fprintf(stderr, "velunedriveapp: unknown option %s\n", argv[i]);
      printUsage(stderr);
      return kUsageError;
    }
    if (arg.starts_with("-") && i + 1 < argc) {
      ++i;  // a "-Key value" preference; read below
    }
  }
  options.argumentDomain = velune::host::JsonPreferencesStore::argumentDomain(argc, argv);
  // A relative home would make the drive's paths relative, which its checks
  // of what is inside refuse.
  options.home = velune::host::HomeLayout::absoluteHome(options.home);

  const velune::host::HomeLayout layout(options.home);
  struct stat homeInfo {};
  const bool newHome = ::stat(options.home.c_str(), &homeInfo) != 0;
  if (auto error = layout.ensureSkeleton()) {
    std::fprintf(stderr, "velunedriveapp: cannot use the home %s: %s\n", options.home.c_str(),
                 error->localizedDescription().value_or(error->description()).c_str());
    return 73;  // EX_CANTCREAT
  }
  // A home made now gets the demo drive, so that a first run has something to show.
  if (newHome) {
    if (auto error = velune::host::DemoHome::populate(layout)) {
      std::fprintf(stderr, "velunedriveapp: the demo drive of %s is incomplete: %s\n", options.home.c_str(),
                   error->localizedDescription().value_or(error->description()).c_str());
    }
  }
  auto services = velune::host::HostPlatform::makeServices(options);
  if (withScreen) {
    if (auto host = std::dynamic_pointer_cast<velune::host::LinuxApplicationHost>(services.applicationHost)) {
      host->addService(std::make_shared<velune::shell::ScreenService>(layout, screenOptions));
    }
  }
  velune::platform::Platform::install(std::move(services));
  // The host's own records go to the app's log client, like the app's.
  velune::DRPlatformLogSink::install();
  // What a killed app or command left behind goes before the app reads the drive.
  velune::host::TemporaryFileSweeper(layout.mobileDocuments(), layout.cloud()).sweep();
  return velune::main(argc, argv);
}

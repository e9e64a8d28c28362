// vdtool app background|foreground: moves the running app to the background
// or brings it back, as the phone's home button and app switcher would. The
// running app watches HOME/app-state.json; without a running app the file
// only records the wish (an app always launches in the foreground).

#include <cstdio>

#include "host/DeviceMonitor.h"
#include "programs/vdtool/VdtoolCommand.h"

namespace velune::host::vdtool {
namespace {

int runApp(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.size() != 1 || (arguments[0] != "background" && arguments[0] != "foreground")) {
    std::fprintf(stderr, "usage: vdtool app background|foreground\n");
    return kExitUsage;
  }
  const auto state = arguments[0] == "background" ? ApplicationState::Background : ApplicationState::Active;
  const std::string path = DeviceMonitor::applicationStateFile(context.layout);
  if (auto error = DeviceMonitor::writeApplicationState(path, state)) {
    std::fprintf(stderr, "vdtool: cannot change the app's state: %s\n", error->description().c_str());
    return kExitFailure;
  }
  std::printf("%s\n", state == ApplicationState::Active ? "active" : "background");
  return 0;
}

const VdtoolCommand::Registration kApp{
    {"app", "background|foreground", "send the running app to the background or back", &runApp}};

}  // namespace
}  // namespace velune::host::vdtool

// vdtool network [wifi|cellular|offline]: shows or changes the simulated
// phone's network. A running app sees the change at once (it watches
// device.json).

#include <cstdio>

#include "host/DeviceConfiguration.h"
#include "host/DeviceSettingsEditor.h"
#include "programs/vdtool/DeviceCommandSupport.h"
#include "programs/vdtool/VdtoolCommand.h"

namespace velune::host::vdtool {
namespace {

int runNetwork(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    const auto device = readDeviceSettings(context.layout);
    std::printf("%s\n", DeviceConfiguration::networkName(device.network));
    return 0;
  }
  const auto network = arguments.size() == 1 ? DeviceConfiguration::networkFromName(arguments[0]) : std::nullopt;
  if (!network) {
    std::fprintf(stderr, "usage: vdtool network [wifi|cellular|offline]\n");
    return kExitUsage;
  }
  std::string note;
  if (auto error =
          DeviceSettingsEditor::set(context.layout, "network", DeviceConfiguration::networkName(*network), &note)) {
    std::fprintf(stderr, "vdtool: cannot change the network: %s\n", error->description().c_str());
    return kExitFailure;
  }
  printNote(note);
  std::printf("%s\n", DeviceConfiguration::networkName(*network));
  return 0;
}

const VdtoolCommand::Registration kNetwork{
    {"network", "[wifi|cellular|offline]", "show or change the phone's network", &runNetwork}};

}  // namespace
}  // namespace velune::host::vdtool

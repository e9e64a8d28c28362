// vdtool open URL [--from BUNDLE-ID]: hands a launch URL to the app running
// on the home, as another application of the phone would. The app decides
// who sent it: "--from" counts only for an application installed on the
// phone (apps.json); the app answers whether it opened the URL.

#include <cstdio>

#include "host/LaunchURLChannel.h"
#include "programs/vdtool/VdtoolCommand.h"

namespace velune::host::vdtool {
namespace {

int runOpen(VdtoolContext& context, const std::vector<std::string>& arguments) {
  std::optional<std::string> url;
  std::optional<std::string> from;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--from" && i + 1 < arguments.size()) {
      from = arguments[++i];
    } else if (!url && arguments[i] != "--from") {
      url = arguments[i];
    } else {
      url.reset();
      break;
    }
  }
  if (!url) {
    std::fprintf(stderr, "usage: vdtool open URL [--from BUNDLE-ID]\n");
    return kExitUsage;
  }
  auto reply = LaunchURLChannel::send(context.layout, *url, from);
  if (!reply.ok()) {
    std::fprintf(stderr, "vdtool: no app answers on this home: %s\n", reply.error().description().c_str());
    return kExitFailure;
  }
  if (!reply.value().handled) {
    std::printf("refused%s%s\n", reply.value().error.empty() ? "" : ": ", reply.value().error.c_str());
    return kExitFailure;
  }
  std::printf("opened\n");
  return 0;
}

const VdtoolCommand::Registration kOpen{
    {"open", "URL [--from BUNDLE-ID]", "send a launch URL to the running app", &runOpen}};

}  // namespace
}  // namespace velune::host::vdtool

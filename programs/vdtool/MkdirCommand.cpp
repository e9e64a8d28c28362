// vdtool mkdir PATH: a new folder, made through FileUtils as the app makes it.

#include <cstdio>

#include "programs/vdtool/DriveArguments.h"
#include "model/FileUtils.h"

namespace velune::host::vdtool {
namespace {

using platform::URL;

int runMkdir(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.size() != 1) {
    std::fputs("usage: vdtool mkdir PATH\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve(arguments, paths)) {
    return kExitFailure;
  }
  if (auto invalid = drive.checkNewNames(paths[0])) {
    return DriveArguments::report(invalid);
  }
  return DriveArguments::report(FileUtils::mkdir(URL::fileURLWithPath(paths[0], true)));
}

const VdtoolCommand::Registration kMkdir{{"mkdir", "PATH", "make a folder (with its parents)", &runMkdir}};

}  // namespace
}  // namespace velune::host::vdtool

// vdtool mv PATH DESTINATION: a move through FileUtils as the app makes it.
// DESTINATION is a folder to move into, or the item's full new path; a taken
// name gives its first free variant. Prints where the item is now, as the
// move reports it (not a guess made before it).

#include <cstdio>

#include "programs/vdtool/DriveArguments.h"
#include "programs/vdtool/TerminalText.h"
#include "model/FileUtils.h"

namespace velune::host::vdtool {
namespace {

using platform::URL;

int runMv(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.size() != 2) {
    std::fputs("usage: vdtool mv PATH DESTINATION   (a folder, or the item's full new path)\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve(arguments, paths)) {
    return kExitFailure;
  }
  const URL source = drive.url(paths[0]);
  URL destination = URL::fileURLWithPath(paths[1], source.hasDirectoryPath());
  const URL folder = URL::fileURLWithPath(paths[1], true);
  // Into an existing folder, as the app's folder picker moves items.
  if (paths[1] != paths[0] && FileUtils::isDir(folder)) {
    destination = folder.URLByAppendingPathComponent(source.lastPathComponent(), source.hasDirectoryPath());
  }
  URL moved = destination;
  if (auto error = FileUtils::move(source, destination, &moved)) {
    return DriveArguments::report(error);
  }
  std::printf("%s\n", terminalText(moved.path()).c_str());
  return 0;
}

const VdtoolCommand::Registration kMv{{"mv", "PATH DESTINATION", "move an item (never replaces)", &runMv}};

}  // namespace
}  // namespace velune::host::vdtool

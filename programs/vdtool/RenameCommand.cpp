// vdtool rename PATH NEW-NAME: a rename through UIUtils as the app makes it
// (the extension is kept; a taken name gives its first free variant; an
// invalid name is error 514). Prints the name the item has now.

#include <cstdio>

#include "programs/vdtool/DriveArguments.h"
#include "programs/vdtool/TerminalText.h"
#include "views/UIUtils.h"

namespace velune::host::vdtool {
namespace {

using platform::URL;

int runRename(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.size() != 2) {
    std::fputs("usage: vdtool rename PATH NEW-NAME   (the extension is kept)\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve({arguments[0]}, paths)) {
    return kExitFailure;
  }
  const URL item = drive.url(paths[0]);
  URL renamed = item;
  if (auto error = UIUtils::renameItemAtURL(item, arguments[1], &renamed)) {
    return DriveArguments::report(error);
  }
  std::printf("%s\n", terminalText(renamed.lastPathComponent()).c_str());
  return 0;
}

const VdtoolCommand::Registration kRename{
    {"rename", "PATH NEW-NAME", "rename an item, keeping its extension", &runRename}};

}  // namespace
}  // namespace velune::host::vdtool

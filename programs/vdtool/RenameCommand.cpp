// vdtool rename PATH NEW-NAME: a rename through UIUtils as the app makes it
// (the extension is kept; a taken name gives its first free variant, which
// is printed; an invalid name is error 514).

#include <cstdio>

#include "programs/vdtool/DriveArguments.h"
#include "model/FileUtils.h"
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
  const URL renamed = UIUtils::computeNewURL(item, arguments[1]);
  const URL expected =
      !(renamed == item) && FileUtils::exists(renamed) ? FileUtils::generateUniquePath(renamed) : renamed;
  if (auto error = UIUtils::renameItemAtURL(item, arguments[1])) {
    return DriveArguments::report(error);
  }
  std::printf("%s\n", expected.lastPathComponent().c_str());
  return 0;
}

const VdtoolCommand::Registration kRename{
    {"rename", "PATH NEW-NAME", "rename an item, keeping its extension", &runRename}};

}  // namespace
}  // namespace velune::host::vdtool

#pragma once
// Helpers of the drive commands of vdtool: reading PATH arguments and
// printing errors.
//
// A PATH names an item of the drive in one of three ways:
//   "Velune Drive/Photos/Sunset.png"        a container's name, then the path in its documents
//   "com.vorlan.Drillrun/Documents/a.drill" the path below "Mobile Documents"
//   "/home/me/phone/Mobile Documents/..."   an absolute path inside the drive
// ".." is refused, and so is a path whose folders lead outside the drive
// through symbolic links.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/drive/Drive.h"
#include "programs/vdtool/VdtoolCommand.h"
#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/URL.h"

namespace velune::host::vdtool {

class DriveArguments {
 public:
  explicit DriveArguments(const VdtoolContext& context);

  // An error when the home has no drive.
  std::optional<platform::Error> checkDrive() const;
  platform::Result<std::string> path(const std::string& argument) const;
  // The URL the drive shows the item under (folders as folder URLs; cloud-only
  // documents as their logical URL with the placeholder recorded).
  platform::URL url(const std::string& path) const { return drive_.itemURL(path); }
  Drive& drive() { return drive_; }

  // Resolves every argument; prints why not and answers false.
  bool resolve(const std::vector<std::string>& arguments, std::vector<std::string>& paths);
  // The app's file-name rule (FileUtils::isValidFilename) for every name of
  // `path` that does not exist yet, i.e. that the command would make: error
  // 514 naming the first invalid one. mkdir, cloud add and rename share it.
  std::optional<platform::Error> checkNewNames(const std::string& path) const;
  // Prints the error, if any; the exit status for it.
  static int report(const std::optional<platform::Error>& error);
  // Runs `change` on each path, printing each error; the exit status.
  static int forEach(const std::vector<std::string>& paths,
                     const std::function<std::optional<platform::Error>(const std::string&)>& change);

  // "vdtool: <domain> <code>: <description>" on standard error, made safe
  // for a terminal (TerminalText.h).
  static void printError(const platform::Error& error);
  static void printError(const std::string& message);

 private:
  HomeLayout layout_;
  mutable Drive drive_;
};

// Splits "a,b,c" into its non-empty parts.
std::vector<std::string> splitList(const std::string& text);

}  // namespace velune::host::vdtool

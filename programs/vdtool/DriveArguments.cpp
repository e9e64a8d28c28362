#include "programs/vdtool/DriveArguments.h"

#include <sys/stat.h>

#include <cstdio>

#include "host/drive/DrivePaths.h"
#include "model/FileUtils.h"
#include "programs/vdtool/TerminalText.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"

namespace velune::host::vdtool {

using platform::Error;
namespace ErrorCode = platform::ErrorCode;

namespace {

Error usageError(const std::string& message) {
  return driveError(ErrorCode::FileReadInvalidFileName, {}, message);
}

}  // namespace

DriveArguments::DriveArguments(const VdtoolContext& context) : layout_(context.layout), drive_(context.layout) {}

std::optional<Error> DriveArguments::checkDrive() const {
  struct stat info {};
  if (::stat(drive_.root().c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    return driveError(ErrorCode::FileNoSuchFile, drive_.root(),
                      "There is no drive in " + layout_.root() + " (make one with velunedriveapp --make-demo-home).");
  }
  return std::nullopt;
}

platform::Result<std::string> DriveArguments::path(const std::string& argument) const {
  if (argument.empty()) {
    return usageError("An empty path names nothing.");
  }
  for (size_t start = 0; start <= argument.size();) {
    size_t end = argument.find('/', start);
    if (end == std::string::npos) {
      end = argument.size();
    }
    if (argument.compare(start, end - start, "..") == 0) {
      return driveError(ErrorCode::FileReadNoPermission, argument, "“..” would leave the drive: " + argument);
    }
    start = end + 1;
  }
  std::string path;
  if (argument.front() == '/') {
    path = argument;
  } else {
    const size_t slash = argument.find('/');
    const std::string first = argument.substr(0, slash);
    const std::string rest = slash == std::string::npos ? std::string() : argument.substr(slash + 1);
    for (const auto& container : VELUNE_SERVICE(syncContainers)->allContainers()) {
      if (container->identifier() == first) {
        path = joinPath(drive_.root(), argument);
        break;
      }
      if (container->localizedName() == first) {
        path = joinPath(drive_.root(), container->identifier() + "/Documents");
        if (!rest.empty()) {
          path = joinPath(path, rest);
        }
        break;
      }
    }
    if (path.empty()) {
      return usageError("No container is named “" + first + "” (vdtool ls lists them).");
    }
  }
  const auto normal = lexicallyNormal(path);
  if (!normal || !drive_.relativePath(*normal)) {
    return driveError(ErrorCode::FileReadNoPermission, path, "“" + argument + "” is outside the drive.");
  }
  if (*normal != drive_.root()) {
    if (auto outside = drive_.checkPhysicallyInside(*normal)) {
      return *outside;
    }
  }
  return *normal;
}

bool DriveArguments::resolve(const std::vector<std::string>& arguments, std::vector<std::string>& paths) {
  if (auto error = checkDrive()) {
    printError(*error);
    return false;
  }
  for (const auto& argument : arguments) {
    auto resolved = path(argument);
    if (!resolved.ok()) {
      printError(resolved.error());
      return false;
    }
    paths.push_back(resolved.value());
  }
  return true;
}

std::optional<Error> DriveArguments::checkNewNames(const std::string& path) const {
  std::optional<Error> refused;
  for (std::string current = path; current.size() > drive_.root().size() && current != "/";
       current = splitParent(current).first) {
    struct stat info {};
    if (::lstat(current.c_str(), &info) == 0 || ::lstat(placeholderPathFor(current).c_str(), &info) == 0) {
      break;  // it and its folders exist: their names are not this command's
    }
    const std::string name = splitParent(current).second;
    if (!FileUtils::isValidFilename(name)) {
      refused = Error::platform(
          ErrorCode::FileWriteInvalidFileName,
          {{std::string(platform::kLocalizedDescriptionKey),
            platform::Value("The file name “" + name + "” is invalid.")},
           {std::string(platform::kFilePathErrorKey), platform::Value(current)}});
    }
  }
  return refused;
}

int DriveArguments::report(const std::optional<Error>& error) {
  if (error) {
    printError(*error);
    return kExitFailure;
  }
  return 0;
}

int DriveArguments::forEach(const std::vector<std::string>& paths,
                            const std::function<std::optional<Error>(const std::string&)>& change) {
  int failures = 0;
  for (const auto& path : paths) {
    if (auto error = change(path)) {
      printError(*error);
      ++failures;
    }
  }
  return failures == 0 ? 0 : kExitFailure;
}

void DriveArguments::printError(const Error& error) {
  std::fprintf(stderr, "vdtool: %s %lld: %s\n", terminalText(error.domain()).c_str(),
               static_cast<long long>(error.code()),
               terminalText(error.localizedDescription().value_or(error.description())).c_str());
}

void DriveArguments::printError(const std::string& message) {
  std::fprintf(stderr, "vdtool: %s\n", terminalText(message).c_str());
}

std::vector<std::string> splitList(const std::string& text) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(',', start);
    if (end == std::string::npos) {
      end = text.size();
    }
    if (end > start) {
      parts.push_back(text.substr(start, end - start));
    }
    start = end + 1;
  }
  return parts;
}

}  // namespace velune::host::vdtool

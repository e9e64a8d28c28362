// vdtool cloud add|modify|move|delete: changes made by another device. The
// server side (HOME/cloud) changes first, then this phone's drive follows as
// its sync engine would: a new document arrives cloud-only (a placeholder),
// a modified one brings its new version (or its new size while cloud-only),
// moves and deletions follow. A running app sees the change through the file
// system's notices.
//
//   vdtool cloud add PATH [--text T | --file F | --size N] [--tags a,b] [--shared owner|participant]
//   vdtool cloud add PATH --folder
//   vdtool cloud modify PATH [--text T | --file F | --size N]
//   vdtool cloud move PATH NEW-PATH
//   vdtool cloud delete PATH
//   vdtool cloud set-tags NAME=COLOUR ... [--version N] | --json FILE   (CloudTagsCommand.cpp)

#include <cstdio>
#include <cstdlib>

#include "programs/vdtool/CloudTagsCommand.h"
#include "programs/vdtool/DriveArguments.h"

namespace velune::host::vdtool {
namespace {

constexpr const char* kUsage =
    "usage: vdtool cloud add PATH [--text T | --file F | --size N] [--tags a,b] [--shared owner|participant]\n"
    "       vdtool cloud add PATH --folder\n"
    "       vdtool cloud modify PATH [--text T | --file F | --size N]\n"
    "       vdtool cloud move PATH NEW-PATH\n"
    "       vdtool cloud delete PATH\n"
    "       vdtool cloud set-tags [NAME=COLOUR ...] [--version N] | --json FILE\n";

struct Options {
  std::vector<std::string> paths;
  Drive::CloudDocument document;
  bool folder = false;
  int sources = 0;
};

// Reads the options; false (after printing why) for bad usage.
bool parse(const std::vector<std::string>& arguments, Options& options) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const bool hasValue = i + 1 < arguments.size();
    if (argument == "--folder") {
      options.folder = true;
    } else if (argument == "--text" && hasValue) {
      options.document.contents = arguments[++i];
      ++options.sources;
    } else if (argument == "--file" && hasValue) {
      options.document.sourceFile = arguments[++i];
      ++options.sources;
    } else if (argument == "--size" && hasValue) {
      char* end = nullptr;
      const std::string& text = arguments[++i];
      const unsigned long long size = std::strtoull(text.c_str(), &end, 10);
      if (text.empty() || text.front() == '-' || end == nullptr || *end != '\0') {
        std::fprintf(stderr, "vdtool: --size takes a number of bytes, not %s\n", text.c_str());
        return false;
      }
      options.document.sparseSize = size;
      ++options.sources;
    } else if (argument == "--tags" && hasValue) {
      options.document.attributes.tags = splitList(arguments[++i]);
    } else if (argument == "--shared" && hasValue) {
      const std::string& role = arguments[++i];
      if (role != kRoleOwner && role != kRoleParticipant) {
        std::fprintf(stderr, "vdtool: --shared takes owner or participant, not %s\n", role.c_str());
        return false;
      }
      options.document.attributes.shared = true;
      options.document.attributes.role = role;
    } else if (argument.starts_with("--")) {
      std::fprintf(stderr, "vdtool: unknown or incomplete option %s\n", argument.c_str());
      return false;
    } else {
      options.paths.push_back(argument);
    }
  }
  if (options.sources > 1) {
    std::fputs("vdtool: give at most one of --text, --file and --size\n", stderr);
    return false;
  }
  return true;
}

int runCloud(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  const std::string verb = arguments[0];
  if (verb == "set-tags") {
    return runCloudSetTags(context, std::vector<std::string>(arguments.begin() + 1, arguments.end()));
  }
  Options options;
  if (!parse(std::vector<std::string>(arguments.begin() + 1, arguments.end()), options)) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  const size_t wantedPaths = verb == "move" ? 2 : 1;
  if ((verb != "add" && verb != "modify" && verb != "move" && verb != "delete") ||
      options.paths.size() != wantedPaths || (verb != "add" && options.folder) ||
      ((verb == "move" || verb == "delete") && options.sources > 0)) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  std::vector<std::string> paths;
  if (!drive.resolve(options.paths, paths)) {
    return kExitFailure;
  }
  std::vector<std::string> relative;
  for (const auto& path : paths) {
    relative.push_back(drive.drive().relativePath(path).value_or(std::string()));
  }
  if (verb == "add") {
    if (auto invalid = drive.checkNewNames(paths[0])) {
      return DriveArguments::report(invalid);
    }
    return DriveArguments::report(options.folder ? drive.drive().cloudAddFolder(relative[0])
                                                 : drive.drive().cloudAdd(relative[0], options.document));
  }
  if (verb == "modify") {
    return DriveArguments::report(drive.drive().cloudModify(relative[0], options.document));
  }
  if (verb == "move") {
    return DriveArguments::report(drive.drive().cloudMove(relative[0], relative[1]));
  }
  return DriveArguments::report(drive.drive().cloudDelete(relative[0]));
}

const VdtoolCommand::Registration kCloud{
    {"cloud", "add|modify|move|delete PATH ... | set-tags NAME=COLOUR ...", "change the cloud side as another device would", &runCloud}};

}  // namespace
}  // namespace velune::host::vdtool

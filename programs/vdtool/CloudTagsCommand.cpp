// vdtool cloud set-tags NAME=COLOUR ... [--version N]
// vdtool cloud set-tags --json FILE
//
// The first form writes a dictionary of the given tags, in the given order
// (none at all gives an empty list); COLOUR is a number (0 to 7 are the
// colours; a larger one is kept as written) or a word: none, grey, green,
// purple, blue, yellow, red, orange. The second puts the JSON value of FILE
// under the dictionary's key as it is, whatever its shape, so that tests can
// give the app a dictionary of the wrong version or with entries of the
// wrong types.

#include "programs/vdtool/CloudTagsCommand.h"

#include <cstdio>

#include "host/CloudTagDictionary.h"
#include "host/HostCloudKeyValueStore.h"
#include "programs/vdtool/DriveArguments.h"

namespace velune::host::vdtool {

namespace {

constexpr const char* kUsage =
    "usage: vdtool cloud set-tags [NAME=COLOUR ...] [--version N]\n"
    "       vdtool cloud set-tags --json FILE\n"
    "COLOUR: 0-7 or none, grey, green, purple, blue, yellow, red, orange\n";

int usage() {
  std::fputs(kUsage, stderr);
  return kExitUsage;
}

}  // namespace

int runCloudSetTags(VdtoolContext& context, const std::vector<std::string>& arguments) {
  std::vector<CloudTag> tags;
  std::uint64_t version = CloudTagDictionary::kCurrentVersion;
  std::optional<std::string> jsonFile;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const bool hasValue = i + 1 < arguments.size();
    if (argument == "--version" && hasValue) {
      const std::string& text = arguments[++i];
      const auto number = CloudTagDictionary::colourNumber(text);
      if (!number || text.find_first_not_of("0123456789") != std::string::npos) {
        std::fprintf(stderr, "vdtool: --version takes a number, not %s\n", text.c_str());
        return usage();
      }
      version = *number;
    } else if (argument == "--json" && hasValue) {
      jsonFile = arguments[++i];
    } else if (argument.starts_with("--")) {
      std::fprintf(stderr, "vdtool: unknown or incomplete option %s\n", argument.c_str());
      return usage();
    } else {
      // The last "=" splits, so a name may hold one.
      const auto equals = argument.rfind('=');
      if (equals == std::string::npos || equals == 0) {
        std::fprintf(stderr, "vdtool: expected NAME=COLOUR, not %s\n", argument.c_str());
        return usage();
      }
      const auto colour = CloudTagDictionary::colourNumber(std::string_view(argument).substr(equals + 1));
      if (!colour) {
        std::fprintf(stderr, "vdtool: unknown colour in %s\n", argument.c_str());
        return usage();
      }
      tags.push_back(CloudTag{argument.substr(0, equals), *colour});
    }
  }
  if (jsonFile && !tags.empty()) {
    std::fputs("vdtool: give either tags or --json, not both\n", stderr);
    return usage();
  }
  if (jsonFile) {
    auto value = HostCloudKeyValueStore::readJsonFile(*jsonFile);
    if (!value.ok()) {
      DriveArguments::printError(value.error());
      return kExitFailure;
    }
    return DriveArguments::report(CloudTagDictionary::writeValue(context.layout, value.value()));
  }
  return DriveArguments::report(CloudTagDictionary::write(context.layout, tags, version));
}

}  // namespace velune::host::vdtool

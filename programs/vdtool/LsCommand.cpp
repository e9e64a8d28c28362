// vdtool ls [-a] [--json] [PATH]: the items of a folder as the app shows
// them (one item record each); without PATH, the drive's containers.

#include <cstdio>
#include <nlohmann/json.hpp>

#include "programs/vdtool/DriveArguments.h"
#include "programs/vdtool/TerminalText.h"
#include "model/DRItem.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"

namespace velune::host::vdtool {
namespace {

std::string kindOf(const DRItem& item) {
  if (item.isContainer()) {
    return "container";
  }
  if (item.isPackage()) {
    return "package";
  }
  if (item.isDirectory()) {
    return "folder";
  }
  return item.isBookmark() ? "reference" : "document";
}

int runLs(VdtoolContext& context, const std::vector<std::string>& arguments) {
  bool all = false;
  bool json = false;
  std::vector<std::string> paths;
  for (const auto& argument : arguments) {
    if (argument == "-a") {
      all = true;
    } else if (argument == "--json") {
      json = true;
    } else {
      paths.push_back(argument);
    }
  }
  if (paths.size() > 1) {
    std::fputs("usage: vdtool ls [-a] [--json] [PATH]\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  if (auto error = drive.checkDrive()) {
    DriveArguments::printError(*error);
    return kExitFailure;
  }
  std::vector<platform::URL> urls;
  if (paths.empty()) {
    for (const auto& container : VELUNE_SERVICE(syncContainers)->allContainers()) {
      if (auto documents = container->documentsURL()) {
        urls.push_back(*documents);
      }
    }
  } else {
    auto path = drive.path(paths[0]);
    if (!path.ok()) {
      DriveArguments::printError(path.error());
      return kExitFailure;
    }
    auto entries = drive.drive().contentsOfFolder(path.value(), all);
    if (!entries.ok()) {
      DriveArguments::printError(entries.error());
      return kExitFailure;
    }
    for (const auto& entry : entries.value()) {
      urls.push_back(entry.url);
    }
  }
  nlohmann::json listing = nlohmann::json::array();
  int unreadable = 0;
  for (const auto& url : urls) {
    auto item = DRItem::initWithURL(url);
    if (!item) {
      ++unreadable;
      std::fprintf(stderr, "vdtool: cannot read %s\n", terminalText(url.path()).c_str());
      continue;
    }
    std::string name = item->localizedName().value_or(url.lastPathComponent());
    if (item->isBookmark()) {
      name = url.lastPathComponent() + " \u2192 " + name;  // the reference's own name, then its target's
    }
    const std::string kind = kindOf(*item);
    const std::string size = item->friendlyFileSize().value_or("");
    const std::string where = item->isDownloaded() || item->isDirectory() || item->isContainer() ? "" : "cloud-only";
    std::string tags;
    for (const auto& tag : item->tags().value_or(std::vector<std::string>{})) {
      tags += (tags.empty() ? "" : ",") + tag;
    }
    if (json) {
      listing.push_back({{"name", name},
                         {"path", url.path()},
                         {"kind", kind},
                         {"size", item->fileSize() ? nlohmann::json(*item->fileSize()) : nlohmann::json(nullptr)},
                         {"isDownloaded", item->isDownloaded()},
                         {"tags", item->tags().value_or(std::vector<std::string>{})}});
    } else {
      std::printf("%-9s %10s %-10s %s%s%s\n", kind.c_str(), size.c_str(), where.c_str(), terminalText(name).c_str(),
                  tags.empty() ? "" : "  #", terminalText(tags).c_str());
    }
  }
  if (json) {
    std::printf("%s\n", jsonText(listing).c_str());
  }
  return unreadable == 0 ? 0 : kExitFailure;
}

const VdtoolCommand::Registration kLs{{"ls", "[-a] [--json] [PATH]", "list a folder (or the containers)", &runLs}};

}  // namespace
}  // namespace velune::host::vdtool

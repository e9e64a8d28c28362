// vdtool item PATH [--thumbnail]: the item record of PATH as JSON, read as
// the app reads it (DRItem::initWithURL).

#include <cstdio>
#include <nlohmann/json.hpp>

#include "programs/vdtool/DriveArguments.h"
#include "programs/vdtool/TerminalText.h"
#include "model/DRItem.h"
#include "platform/Platform.h"
#include "platform/URLResourceService.h"
#include "platform/ui/Image.h"

namespace velune::host::vdtool {
namespace {

nlohmann::json text(const std::optional<std::string>& value) {
  return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
}

nlohmann::json url(const platform::URL& value) {
  return value.isEmpty() ? nlohmann::json(nullptr) : nlohmann::json(value.path());
}

nlohmann::json dateOrNull(const platform::Value& value) {
  return value.isDate() ? nlohmann::json(value.asDate()->description()) : nlohmann::json(nullptr);
}

int runItem(VdtoolContext& context, const std::vector<std::string>& arguments) {
  bool withThumbnail = false;
  std::vector<std::string> paths;
  for (const auto& argument : arguments) {
    if (argument == "--thumbnail") {
      withThumbnail = true;
    } else {
      paths.push_back(argument);
    }
  }
  if (paths.size() != 1) {
    std::fputs("usage: vdtool item PATH [--thumbnail]\n", stderr);
    return kExitUsage;
  }
  DriveArguments drive(context);
  if (auto error = drive.checkDrive()) {
    DriveArguments::printError(*error);
    return kExitFailure;
  }
  auto path = drive.path(paths[0]);
  if (!path.ok()) {
    DriveArguments::printError(path.error());
    return kExitFailure;
  }
  const platform::URL itemURL = drive.url(path.value());
  auto item = DRItem::initWithURL(itemURL);
  if (!item) {
    std::optional<platform::Error> why;
    VELUNE_SERVICE(urlResources)->checkPromisedItemIsReachable(itemURL, &why);
    DriveArguments::printError(
        why ? *why
            : platform::Error::platform(platform::ErrorCode::FileReadUnknown,
                                        {{std::string(platform::kFilePathErrorKey), platform::Value(path.value())}}));
    return kExitFailure;
  }
  nlohmann::json out;
  out["url"] = url(item->url());
  out["resolvedURL"] = url(item->resolvedURL());
  out["localizedName"] = text(item->localizedName());
  out["typeIdentifier"] = text(item->typeIdentifier());
  out["localizedTypeDescription"] = text(item->localizedTypeDescription());
  out["fileSize"] = item->fileSize() ? nlohmann::json(*item->fileSize()) : nlohmann::json(nullptr);
  out["friendlyFileSize"] = text(item->friendlyFileSize());
  out["creationDate"] = dateOrNull(item->creationDate());
  out["contentModificationDate"] = dateOrNull(item->contentModificationDate());
  out["friendlyContentModificationDate"] = text(item->friendlyContentModificationDate(3));
  out["parentDirectoryURL"] =
      item->parentDirectoryURL().isURL() ? url(*item->parentDirectoryURL().asURL()) : nlohmann::json(nullptr);
  out["isContainer"] = item->isContainer();
  out["isDirectory"] = item->isDirectory();
  out["isPackage"] = item->isPackage();
  out["hasHiddenExtension"] = item->hasHiddenExtension();
  out["canPreview"] = item->canPreview();
  out["renameable"] = item->renameable();
  out["isBookmark"] = item->isBookmark();
  out["tags"] = item->tags() ? nlohmann::json(*item->tags()) : nlohmann::json(nullptr);
  out["promiseURL"] = item->promiseURL() ? url(*item->promiseURL()) : nlohmann::json(nullptr);
  out["isPromise"] = item->isPromise();
  out["isDownloaded"] = item->isDownloaded();
  if (withThumbnail) {
    auto thumbnail = item->thumbnail();
    out["thumbnail"] = thumbnail
                           ? nlohmann::json({{"width", thumbnail->pixelWidth()}, {"height", thumbnail->pixelHeight()}})
                           : nlohmann::json(nullptr);
  }
  out["thumbnailFetched"] = item->thumbnailFetched();
  std::printf("%s\n", jsonText(out).c_str());
  return 0;
}

const VdtoolCommand::Registration kItem{
    {"item", "PATH [--thumbnail]", "print the item record of PATH as JSON", &runItem}};

}  // namespace
}  // namespace velune::host::vdtool

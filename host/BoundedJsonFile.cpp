#include "host/BoundedJsonFile.h"

#include <algorithm>

#include "host/HomeFileReader.h"
#include "host/HomeJson.h"
#include "platform/Error.h"
#include "platform/Localization.h"
#include "platform/PathNames.h"

namespace velune::host {

using platform::Error;

namespace {

Error corrupt(const std::string& what, const std::string& description) {
  return Error(std::string(platform::kPlatformErrorDomain), platform::ErrorCode::FileReadCorruptFile,
               {{std::string(platform::kFilePathErrorKey), platform::Value(what)},
                {std::string(platform::kLocalizedDescriptionKey), platform::Value(description)}});
}

}  // namespace

platform::Result<nlohmann::json> parseBoundedJson(std::string_view text, int maxDepth, const std::string& what) {
  bool tooDeep = false;
  auto json = parseHomeJson(text, &tooDeep, static_cast<size_t>(std::max(maxDepth, 0)));
  if (tooDeep) {
    return corrupt(what, platform::localizedFormat("“%@” nests deeper than %d levels.", what, maxDepth));
  }
  if (json.is_discarded()) {
    return corrupt(what, platform::localizedFormat("“%@” is not JSON.", what));
  }
  return json;
}

platform::Result<nlohmann::json> readBoundedJsonFile(const std::string& path, size_t maxBytes, int maxDepth) {
  auto text = readHomeFile(path, maxBytes);
  if (!text.ok()) {
    return text.error();
  }
  return parseBoundedJson(text.value(), maxDepth, platform::splitParent(path).second);
}

}  // namespace velune::host

#include "model/FileUtils.h"

#include "diag/DRLogging.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace velune {

void FileUtils::logFileAttributes(const std::string& path) {
  const auto attributes = VELUNE_SERVICE(fileSystem).attributesOfItemAtPath(path);
  if (!attributes.ok()) {
    DRLOG(kLogErr, "Cannot get attributes of %@: %@", path, attributes.error().description());
    return;
  }
  const auto& values = attributes.value();
  const auto secondsAgo = [](const platform::Date& date) { return -date.timeIntervalSinceNow(); };
  if (values.creationDate) {
    DRLOG(kLogDebug, "Date Created: %@ (%lf seconds ago)", *values.creationDate, secondsAgo(*values.creationDate));
  } else {
    DRLOG(kLogDebug, "Date Created: %@ (%lf seconds ago)", nullptr, 0.0);
  }
  DRLOG(kLogDebug, "Date Modified: %@ (%lf seconds ago)", values.modificationDate,
        secondsAgo(values.modificationDate));
  DRLOG(kLogDebug, "Size: %@ bytes", values.size);
}

}  // namespace velune

#pragma once
// AppRecord: what the platform's application registry tells about one
// installed application. A plain value; any thread.

#include <cstdint>
#include <optional>
#include <string>

#include "platform/URL.h"

namespace velune::platform {

struct AppRecord {
  std::string itemName;
  std::string localizedName;
  std::string localizedShortName;
  std::string shortVersionString;
  std::string vendorName;
  std::string bundleIdentifier;
  std::string bundleExecutable;
  std::optional<URL> bundleContainerURL;
  bool isInstalled = true;
  std::uint64_t itemIdentifier = 0;
  std::string descriptionText;
  // Whether it edits a document where it is (the cloud copy) rather than an
  // imported copy.
  bool supportsOpenInPlace = false;

  // "<AppRecord com.vorlan.Drillrun “Drillrun”>", for the log.
  std::string description() const;
};

}  // namespace velune::platform

#pragma once
// SyncContainer: one container of the cloud drive: the drive's own default
// container or an app's container, whose documents folder the user sees as a
// top-level folder of the drive. Immutable snapshot of the container's
// declaration; safe to share between threads.

#include <optional>
#include <string>
#include <string_view>

#include "platform/Error.h"
#include "platform/URL.h"
#include "platform/Value.h"

namespace velune::platform {

// The identifier of the drive's own container.
inline constexpr std::string_view kDefaultSyncContainerIdentifier = "com.vorlan.drive";

// Values of supportedFolderLevels(); a null value means the container declares
// nothing (any depth). Any other value is an unknown option, kept as declared.
inline constexpr std::string_view kSupportedFolderLevelsNone = "none";
inline constexpr std::string_view kSupportedFolderLevelsOne = "one";
inline constexpr std::string_view kSupportedFolderLevelsAny = "any";

// Keys of a declared document type (an entry of documentTypes()).
inline constexpr std::string_view kDocumentTypeNameKey = "name";
inline constexpr std::string_view kDocumentTypeContentTypesKey = "contentTypes";

class SyncContainer {
 public:
  virtual ~SyncContainer() = default;

  virtual const std::string& identifier() const = 0;
  virtual const std::string& localizedName() const = 0;
  // The documents folder (a directory URL), or nothing when it does not exist.
  virtual std::optional<URL> documentsURL() const = 0;
  virtual const Value& supportedFolderLevels() const = 0;
  // The declared document types as declared: normally an array of
  // dictionaries, each with a name and an array of content type identifiers;
  // null when the container declares none. Malformed declarations are kept so
  // that callers can refuse them.
  virtual const Value& documentTypes() const = 0;

  // Deletes everything in the documents folder, on the phone and on the
  // server; the container and its empty documents folder stay.
  virtual std::optional<Error> deleteAllContentsOnClientAndServer() = 0;

  // "<SyncContainer com.vorlan.Drillrun “Drillrun”>", as logs show it.
  virtual std::string description() const = 0;
};

}  // namespace velune::platform

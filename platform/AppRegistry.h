#pragma once
// AppRegistry: the platform's registry of installed applications: which one
// is the default for a document, and handing a document to it.
//
// Callable from any thread. Opening never blocks on the other application:
// the platform takes the document and answers at once.

#include <memory>
#include <optional>
#include <vector>

#include "platform/AppRecord.h"
#include "platform/Error.h"
#include "platform/URL.h"

namespace velune::platform {

class AppRegistry {
 public:
  virtual ~AppRegistry() = default;

  // Every installed application.
  virtual std::vector<AppRecord> installedApplications() = 0;
  // The application that is the default for the document's type (a
  // cloud-only document is judged by its placeholder's type), or nothing.
  virtual std::optional<AppRecord> defaultApplicationForDocument(const URL& url) = 0;
  // The applications that declare the document's type, default first.
  virtual std::vector<AppRecord> applicationsForDocument(const URL& url) = 0;
  // Hands the document to the application; an error when it is not
  // installed or the document is not a file URL.
  virtual std::optional<Error> openDocument(const URL& url, const AppRecord& application) = 0;
};

}  // namespace velune::platform

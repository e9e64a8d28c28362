#pragma once
// ContainerPreferences: preferences domains kept inside an application's data
// container, and where that container is.
//
// A domain is named by its identifier, the user (the current user or any
// user), the host (this host or any host) and the container's path; each
// combination is its own set of values. Values written with setValue() are
// written through at once; when that fails they stay pending, and
// synchronize() retries them and answers false. synchronize() then reads the
// domain again, so a value written by another process is seen. An empty
// container path names the domain outside any container.
//
// Thread-safe; each call is synchronous on the caller's thread.

#include <optional>
#include <string>
#include <string_view>

#include "platform/URL.h"
#include "platform/Value.h"

namespace velune::platform {

enum class PreferencesUser { Current, Any };
enum class PreferencesHost { Current, Any };

class ContainerPreferences {
 public:
  virtual ~ContainerPreferences() = default;

  // The data container of the application with that bundle identifier, or
  // nothing when it has none.
  virtual std::optional<URL> dataContainerURLForBundleIdentifier(std::string_view bundleIdentifier) = 0;

  // The stored value, or a null Value when the key is absent.
  virtual Value copyValue(std::string_view key, std::string_view domain, PreferencesUser user, PreferencesHost host,
                          std::string_view containerPath) = 0;
  // A null Value removes the key.
  virtual void setValue(std::string_view key, Value value, std::string_view domain, PreferencesUser user,
                        PreferencesHost host, std::string_view containerPath) = 0;
  virtual bool synchronize(std::string_view domain, PreferencesUser user, PreferencesHost host,
                           std::string_view containerPath) = 0;
};

}  // namespace velune::platform

#pragma once
// LaunchUtils: whether a document goes to another installed application (the
// platform's default for its type) or to the system's own preview, and the
// hand-over. Pictures, films and sound of the drive's own container stay in
// the system's preview; with requireOpenIn only applications that open
// documents in place are chosen (so they edit the cloud copy); the system
// itself is never chosen. Refusals are nothing (false), with the reason in a
// level-7 log line.
//
// Class operations; synchronous, on the caller's thread (the main thread).

#include <functional>
#include <optional>
#include <string>

#include "platform/AppRecord.h"
#include "platform/URL.h"

namespace velune {

class LaunchUtils {
 public:
  LaunchUtils() = delete;

  // The completion is called exactly once, before this returns, with whether
  // an application was given the document.
  static void openInDefaultApp(const platform::URL& url, bool requireOpenIn,
                               const std::function<void(bool opened)>& completion);
  static bool isUrlInDefaultContainer(const platform::URL& url);
  static std::optional<platform::AppRecord> defaultAppForDocument(const platform::URL& url, bool requireOpenIn);
  static std::optional<std::string> defaultAppNameForDocument(const platform::URL& url, bool requireOpenIn);
};

}  // namespace velune

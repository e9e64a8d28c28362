#pragma once
// DemoHome: the built-in demo phone. Its drive has the default container with
// folders two levels deep and three app containers (folder depth none, one and
// any, with declared document types); documents on the phone and only in the
// cloud, of several types: a previewable picture below 6,291,456 bytes, a PDF
// above it and a film above 104,857,600 bytes (sparse on the cloud side); a
// shared document on which the user is a participant and one the user owns; a
// document reference; tagged items; a package; hidden files; and names in
// several scripts and Unicode forms; and, in the cloud key-value store, the
// user's tag dictionary with every colour. Pictures and PDFs are drawn with cairo.

#include <optional>
#include <string>
#include <vector>

#include "host/CloudTagDictionary.h"

#include "host/HomeLayout.h"
#include "platform/Error.h"

namespace velune::host {

class DemoHome {
 public:
  // Makes a demo home in `directory`, which must not exist or be empty
  // (nothing is ever overwritten).
  static std::optional<platform::Error> make(const std::string& directory);
  // Fills the drive of a home whose skeleton exists and whose drive is empty.
  static std::optional<platform::Error> populate(const HomeLayout& layout);
  // The demo's containers.json: the drive's own container and the three apps'.
  static const char* containersJson();
  // The demo's installed applications (apps.json).
  static const char* appsJson();
  // The demo's tag dictionary (version 2): every colour number 0 to 7 once,
  // "Blue" and "Home" sharing one.
  static std::vector<CloudTag> demoTags();
};

}  // namespace velune::host

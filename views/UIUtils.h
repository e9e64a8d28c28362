#pragma once
// UIUtils: class operations that every screen uses to talk to the user in the
// same words (alerts, error texts, the delete confirmation, the tablet test),
// and the renaming of an item, which is a move to a new name in its folder.
// Main thread only, except the renaming operations, which run on the caller's
// thread.

#include <optional>
#include <string>

#include "platform/Error.h"
#include "platform/URL.h"

namespace velune {

class UIUtils {
 public:
  UIUtils() = delete;

  // --- Renaming (model: views/UIUtilsRename.cpp) ---

  // Renames the item to `name`, keeping its extension; a taken name gives the
  // first free variant. Error 514 for an empty or invalid name.
  static std::optional<platform::Error> renameItemAtURL(const platform::URL& url, const std::string& name);
  // The URL the item would get with the new base name.
  static platform::URL computeNewURL(const platform::URL& url, const std::string& newBasename);

  // --- Alerts, error texts, the delete confirmation, tabloMode ---
};

}  // namespace velune

#pragma once
// StatusBar: the status bar that a listing carries for its status line, kept
// with the listing (an object attached under "_VeluneDriveAppStatusBar") for
// exactly as long as the listing lives. Class operations; main thread only.

#include <memory>

namespace velune::platform {
class DocumentListController;
}  // namespace velune::platform

namespace velune {

class DocumentListControllerStatusBar;

inline constexpr const char* kStatusBarAssociationKey = "_VeluneDriveAppStatusBar";

class StatusBar {
 public:
  StatusBar() = delete;

  // Null until the listing got one.
  static std::shared_ptr<DocumentListControllerStatusBar> statusBar(const platform::DocumentListController& listing);
  static void setStatusBar(platform::DocumentListController& listing,
                           std::shared_ptr<DocumentListControllerStatusBar> statusBar);
  // A new status bar, attached to the listing, with its label and items made.
  static void createStatusBar(platform::DocumentListController& listing);
  // The listing's toolbar shows the status bar's items (none without a status bar).
  static void displayStatusBar(platform::DocumentListController& listing);
};

}  // namespace velune

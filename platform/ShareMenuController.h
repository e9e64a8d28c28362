#pragma once
// ShareMenuController: the platform's share and open-in menu for one file
// URL: which application is the default for the document, handing the
// document to it, and a menu (an action sheet anchored at a bar button item
// or at a rectangle in a view) that offers every application that handles
// the document's type, and saving a copy outside the drive, in the
// application's own documents folder (never replacing: a taken name gets the
// first free "name N.ext").
//
// Asks the installed AppRegistry; without one there is no application and
// opening does nothing. Main thread only (the menu is part of the UI model).

#include <memory>
#include <optional>

#include "platform/AppRecord.h"
#include "platform/Result.h"
#include "platform/URL.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {
class AlertController;
class BarButtonItem;
class View;
class ViewController;
}  // namespace velune::ui

namespace velune::platform {

class ShareMenuController : public std::enable_shared_from_this<ShareMenuController> {
 public:
  // The highest N of a copy's name "name N.ext" tried before giving up.
  static constexpr int kMaxCopyNumber = 1000;

  static std::shared_ptr<ShareMenuController> interactionControllerWithURL(URL url);

  const URL& url() const { return url_; }
  // The default application for the document, or nothing.
  std::optional<AppRecord> defaultApplication() const;
  // Hands the document to its default application; false when there is none
  // or the platform refused (logged).
  bool openDocumentWithDefaultApplication();

  // Presents, over `presenter`, the menu anchored at `item`: "Open in %@" for
  // each application of the document's type, "Save a Copy…", and Cancel.
  // False when it could not be presented.
  bool presentOptionsMenuFromBarButtonItem(const std::shared_ptr<ui::BarButtonItem>& item,
                                           const std::shared_ptr<ui::ViewController>& presenter, bool animated);
  // The same menu pointing at `rect` in `view`.
  bool presentOptionsMenuFromRect(const ui::Rect& rect, const std::shared_ptr<ui::View>& view,
                                  const std::shared_ptr<ui::ViewController>& presenter, bool animated);
  // Copies the document into the application's documents folder: where the
  // copy is, or why there is none (no such folder, a cloud-only document).
  Result<URL> saveCopy();
  // The menu last presented (null before).
  std::shared_ptr<ui::AlertController> menu() const { return menu_; }

 private:
  explicit ShareMenuController(URL url) : url_(std::move(url)) {}
  void makeMenu();

  URL url_;
  std::shared_ptr<ui::AlertController> menu_;
};

}  // namespace velune::platform

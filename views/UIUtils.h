#pragma once
// UIUtils: class operations that every screen uses to talk to the user in the
// same words (alerts, error texts, the delete confirmation, the tablet test),
// and the renaming of an item, which is a move to a new name in its folder.
// Main thread only, except the renaming operations, which run on the caller's
// thread.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "platform/URL.h"

namespace velune::ui {
class AlertAction;
class AlertController;
class BarButtonItem;
class View;
class ViewController;
}  // namespace velune::ui

namespace velune {

class UIUtils {
 public:
  UIUtils() = delete;

  // --- Renaming (model: views/UIUtilsRename.cpp) ---

  // Renames the item to `name`, keeping its extension; a taken name gives the
  // first free variant. Error 514 for an empty or invalid name.
  // `renamedTo`, when given, receives where the item is after a success.
  static std::optional<platform::Error> renameItemAtURL(const platform::URL& url, const std::string& name,
                                                        platform::URL* renamedTo = nullptr);
  // The URL the item would get with the new base name.
  static platform::URL computeNewURL(const platform::URL& url, const std::string& newBasename);

  // --- Alerts, error texts, the delete confirmation, tabloMode ---

  // The chosen action (null when nothing was asked) and whether the user cancelled.
  using DeleteCompletion = std::function<void(const ui::AlertAction* action, bool cancelled)>;

  // The screen to present from: the parent, or what it already presents on top.
  static std::shared_ptr<ui::ViewController> topmostPresenter(const std::shared_ptr<ui::ViewController>& parent);

  // Presents, animated, an alert with the title and message and one "OK"
  // button that only closes it. When the parent already presents something,
  // the alert goes over the topmost presented screen. Returns the alert, or
  // null when it could not be presented (logged).
  static std::shared_ptr<ui::AlertController> showAlert(const std::optional<std::string>& title,
                                                        const std::optional<std::string>& message,
                                                        const std::shared_ptr<ui::ViewController>& parentViewController);
  // An alert titled with bestMessage() of the error ("Qerror exception" for
  // none), without a message.
  static std::shared_ptr<ui::AlertController> showError(const std::optional<platform::Error>& error,
                                                        const std::shared_ptr<ui::ViewController>& parentViewController);
  // "" for no error; else the localised description, else the failure reason,
  // else "Qerror exception". An empty text counts as none.
  static std::string bestMessage(const std::optional<platform::Error>& error);

  // The confirmation before a permanent deletion (views/UIUtilsDeletePrompt.cpp).
  // No URLs: the completion runs at once with cancelled = true. When the text
  // cannot be made (the one item cannot be read or has no name), nothing is
  // shown, a level-4 line is logged and the completion runs with cancelled =
  // true, so the caller's flow ends without deleting; so does a sheet that
  // cannot be presented (no screen). `hasContainer` is not consulted.
  static void showDeleteWarningAlert(const std::vector<platform::URL>& urls, bool hasContainer,
                                     const std::shared_ptr<ui::ViewController>& viewController,
                                     const std::shared_ptr<ui::View>& usingView,
                                     const std::shared_ptr<ui::BarButtonItem>& usingButton,
                                     DeleteCompletion completion);
  // The confirmation text, or nothing for one URL whose item cannot be read
  // or has an empty name.
  static std::optional<std::string> messageForDeletePrompt(const std::vector<platform::URL>& urls);

  // Alerts for a taken or unusable name, for callers outside a name prompt.
  static std::shared_ptr<ui::AlertController> showItemExistsAlert(
      const std::string& name, const std::shared_ptr<ui::ViewController>& parentViewController);
  static std::shared_ptr<ui::AlertController> showInvalidItemNameAlert(
      const std::string& name, const std::shared_ptr<ui::ViewController>& parentViewController);

  // True when the device's interface idiom is the tablet's.
  static bool tabloMode();
};

}  // namespace velune

#pragma once
// AlertController: an alert (a dialog in the middle of the screen) or an
// action sheet (a list of choices; a popover anchored by its
// popoverPresentationController on a tablet). It holds a title, a message,
// actions, text fields and an optional content controller shown under the
// fields. It is presented like any controller.
//
// tapAction() is a person's tap on a button: nothing happens when the action
// is disabled; otherwise the alert is dismissed (animated) unless the action
// keeps it open, and then the action's handler runs. The alert's view holds
// a label per text, the fields, the content view and one button per action,
// each button named "<alert identifier>.action.<index>".
// Main thread only.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/Element.h"
#include "platform/ui/ViewController.h"

namespace velune::ui {

class AlertController;
class Button;
class TextField;

enum class AlertActionStyle { Default = 0, Cancel = 1, Destructive = 2 };
enum class AlertControllerStyle { ActionSheet = 0, Alert = 1 };

class AlertAction : public Element {
 public:
  using Handler = std::function<void(AlertAction&)>;

  static std::shared_ptr<AlertAction> make(std::string title, AlertActionStyle style, Handler handler = nullptr);

  std::string_view kind() const override { return "AlertAction"; }

  const std::string& title() const { return title_; }
  AlertActionStyle style() const { return style_; }
  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled);
  // When false, tapping the action runs its handler and leaves the alert open.
  bool dismissesAlert() const { return dismissesAlert_; }
  void setDismissesAlert(bool dismisses) { dismissesAlert_ = dismisses; }

  std::string description() const;

  AlertAction(std::string title, AlertActionStyle style, Handler handler);

 private:
  friend class AlertController;
  std::string title_;
  AlertActionStyle style_;
  Handler handler_;
  bool enabled_ = true;
  bool dismissesAlert_ = true;
  std::weak_ptr<Button> button_;
};

class AlertController : public ViewController {
 public:
  AlertController(std::optional<std::string> title, std::optional<std::string> message, AlertControllerStyle style);
  static std::shared_ptr<AlertController> make(std::optional<std::string> title, std::optional<std::string> message,
                                               AlertControllerStyle style);

  std::string_view kind() const override { return "AlertController"; }

  const std::optional<std::string>& alertTitle() const { return title(); }
  const std::optional<std::string>& message() const { return message_; }
  void setMessage(std::optional<std::string> message);
  AlertControllerStyle preferredStyle() const { return style_; }

  void addAction(const std::shared_ptr<AlertAction>& action);
  const std::vector<std::shared_ptr<AlertAction>>& actions() const { return actions_; }
  // The action with that title, or null.
  std::shared_ptr<AlertAction> actionWithTitle(std::string_view title) const;
  std::shared_ptr<AlertAction> preferredAction() const { return preferredAction_.lock(); }
  void setPreferredAction(const std::shared_ptr<AlertAction>& action) { preferredAction_ = action; }

  // Alerts only; `configure` runs on the new field before it is added.
  void addTextField(const std::function<void(TextField&)>& configure);
  const std::vector<std::shared_ptr<TextField>>& textFields() const { return textFields_; }

  const std::shared_ptr<ViewController>& contentViewController() const { return content_; }
  void setContentViewController(std::shared_ptr<ViewController> controller);

  // A person's tap on the action's button; false when it did nothing.
  bool tapAction(const std::shared_ptr<AlertAction>& action);

  void loadView() override;

 private:
  void rebuildButtons();

  std::optional<std::string> message_;
  AlertControllerStyle style_;
  std::vector<std::shared_ptr<AlertAction>> actions_;
  std::weak_ptr<AlertAction> preferredAction_;
  std::vector<std::shared_ptr<TextField>> textFields_;
  std::shared_ptr<ViewController> content_;
  std::shared_ptr<View> box_;
};

}  // namespace velune::ui

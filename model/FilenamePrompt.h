#pragma once
// FilenamePrompt: the alert in which a person types a name (for a new folder
// or a new name of an item): one text field, an error line under it, Cancel
// and Done. The name is checked while it is typed and Done is enabled only for
// a valid name; Done hands the trimmed name to the caller's callback, which
// does the operation and says whether the alert may close and, if not, which
// message to show.
//
// The caller keeps the prompt alive while its alert is shown and presents
// `alert()` itself, animated. The alert's field and buttons refer to the
// prompt weakly. Main thread only.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/ui/TextField.h"

namespace velune::ui {
class AlertAction;
class AlertController;
}  // namespace velune::ui

namespace velune {

class SimpleTextViewController;

class FilenamePrompt : public ui::TextFieldDelegate, public std::enable_shared_from_this<FilenamePrompt> {
 public:
  // The caller's operation: receives the trimmed valid name and a flag that
  // starts false; sets the flag when the alert may close; returns the message
  // to show when it stays open (nothing or "" for none).
  using Callback = std::function<std::optional<std::string>(const std::string& name, bool& mayClose)>;

  // A prompt with these texts (each may be missing; a missing or empty Done
  // text is "Done"), the starting name in the field, and the callback.
  static std::shared_ptr<FilenamePrompt> newWithTitle(const std::optional<std::string>& title,
                                                      const std::optional<std::string>& message,
                                                      const std::optional<std::string>& placeholder,
                                                      const std::optional<std::string>& filename,
                                                      const std::optional<std::string>& doneButtonText,
                                                      Callback completion);
  ~FilenamePrompt() override;

  const std::shared_ptr<ui::AlertController>& alert() const { return alert_; }
  const std::shared_ptr<SimpleTextViewController>& errMsgViewController() const { return errMsgViewController_; }
  const std::shared_ptr<ui::AlertAction>& defaultAction() const { return defaultAction_; }
  const std::optional<std::string>& origFilename() const { return origFilename_; }

  // A "Cancel" button in the default style that closes the alert and runs `handler`.
  void addCancelAction(std::function<void()> handler);
  // The Done button: it closes the alert only when handleDoneAction() allows.
  void addDefaultAction(const std::optional<std::string>& title);
  // Runs the callback with the field's trimmed name; whether the alert may close.
  bool handleDoneAction();
  // Shows the text under the field; no text or "" hides the line.
  void updateErrorMessage(const std::optional<std::string>& text);
  // After every edit: checks the name, sets the error line and Done.
  void folderPromptTextFieldChanged(ui::TextField& field);
  bool textFieldShouldReturn(ui::TextField& field) override;

 protected:
  FilenamePrompt() = default;
  void initWithTitle(const std::optional<std::string>& title, const std::optional<std::string>& message,
                     const std::optional<std::string>& placeholder, const std::optional<std::string>& filename,
                     const std::optional<std::string>& doneButtonText, Callback completion);

 private:
  std::shared_ptr<ui::AlertController> alert_;
  std::shared_ptr<SimpleTextViewController> errMsgViewController_;
  std::shared_ptr<ui::AlertAction> defaultAction_;
  std::optional<std::string> origFilename_;
  Callback validateNewFilenameCallback_;
};

}  // namespace velune

#include "model/FilenamePrompt.h"

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/Unicode.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "views/SimpleTextViewController.h"

namespace velune {

using ui::AlertAction;
using ui::AlertActionStyle;

namespace {

std::string trimmed(const std::string& text) {
  return platform::unicode::trimmingWhitespaceAndLineBreaks(text);
}

}  // namespace

std::shared_ptr<FilenamePrompt> FilenamePrompt::newWithTitle(const std::optional<std::string>& title,
                                                             const std::optional<std::string>& message,
                                                             const std::optional<std::string>& placeholder,
                                                             const std::optional<std::string>& filename,
                                                             const std::optional<std::string>& doneButtonText,
                                                             Callback completion) {
  std::shared_ptr<FilenamePrompt> prompt(new FilenamePrompt());
  prompt->initWithTitle(title, message, placeholder, filename, doneButtonText, std::move(completion));
  return prompt;
}

FilenamePrompt::~FilenamePrompt() = default;

void FilenamePrompt::initWithTitle(const std::optional<std::string>& title, const std::optional<std::string>& message,
                                   const std::optional<std::string>& placeholder,
                                   const std::optional<std::string>& filename,
                                   const std::optional<std::string>& doneButtonText, Callback completion) {
  VELUNE_ASSERT_MAIN_THREAD();
  origFilename_ = filename;
  validateNewFilenameCallback_ = std::move(completion);
  alert_ = ui::AlertController::make(title, message, ui::AlertControllerStyle::Alert);

  std::weak_ptr<FilenamePrompt> weak = weak_from_this();
  alert_->addTextField([&](ui::TextField& field) {
    if (filename) {
      field.setText(*filename);
    }
    if (placeholder) {
      field.setPlaceholder(*placeholder);
    }
    field.setClearButtonMode(ui::TextFieldViewMode::WhileEditing);
    field.setReturnKeyType(ui::ReturnKeyType::Done);
    field.setEnablesReturnKeyAutomatically(true);
    field.setAutocapitalizationType(ui::AutocapitalizationType::Words);
    field.setAutocorrectionType(ui::AutocorrectionType::No);
    field.setDelegate(weak);
    field.addAction(ui::ControlEvent::EditingChanged, [weak](ui::Control& control) {
      if (const auto prompt = weak.lock()) {
        prompt->folderPromptTextFieldChanged(static_cast<ui::TextField&>(control));
      }
    });
  });
  if (const auto& field = alert_->textFields().front()) {
    ui::LayoutConstraint::activateConstraints(
        {ui::LayoutConstraint::fixed(field, ui::LayoutAttribute::Height, 1.2 * field->font().lineHeight())});
  }
  addCancelAction(nullptr);
  addDefaultAction(doneButtonText);
  errMsgViewController_ = std::make_shared<SimpleTextViewController>();
  alert_->setContentViewController(errMsgViewController_);
  updateErrorMessage(std::string());
}

void FilenamePrompt::addCancelAction(std::function<void()> handler) {
  alert_->addAction(AlertAction::make(platform::localized("Cancel"), AlertActionStyle::Default,
                                      [handler = std::move(handler)](AlertAction&) {
                                        if (handler) {
                                          handler();
                                        }
                                      }));
}

void FilenamePrompt::addDefaultAction(const std::optional<std::string>& title) {
  const std::string text = title && !title->empty() ? *title : platform::localized("Done");
  std::weak_ptr<FilenamePrompt> weak = weak_from_this();
  defaultAction_ = AlertAction::make(text, AlertActionStyle::Default, [weak](AlertAction&) {
    const auto prompt = weak.lock();
    if (prompt && prompt->handleDoneAction()) {
      prompt->alert_->dismissViewControllerAnimated(true);
    }
  });
  // The alert closes only when the callback allows it.
  defaultAction_->setDismissesAlert(false);
  defaultAction_->setEnabled(origFilename_ && !origFilename_->empty());
  alert_->addAction(defaultAction_);
}

bool FilenamePrompt::handleDoneAction() {
  if (alert_->textFields().empty()) {
    return false;
  }
  const std::string name = trimmed(alert_->textFields().front()->text());
  if (!FileUtils::isValidFilename(name)) {
    return false;
  }
  bool mayClose = false;
  const std::optional<std::string> message =
      validateNewFilenameCallback_ ? validateNewFilenameCallback_(name, mayClose) : std::nullopt;
  if (!mayClose) {
    updateErrorMessage(message);
  }
  return mayClose;
}

void FilenamePrompt::updateErrorMessage(const std::optional<std::string>& text) {
  const auto& label = errMsgViewController_->messageLabel();
  label->setText(text.value_or(std::string()));
  const bool hidden = !text || text->empty();
  const auto& view = errMsgViewController_->view();
  if (view->isHidden() != hidden) {
    view->setHidden(hidden);
  }
}

void FilenamePrompt::folderPromptTextFieldChanged(ui::TextField& field) {
  if (!defaultAction_) {
    return;
  }
  const std::string name = trimmed(field.text());
  const bool valid = FileUtils::isValidFilename(name);
  if (valid) {
    updateErrorMessage(std::nullopt);
  } else if (!name.empty()) {
    updateErrorMessage(platform::localized(name.front() == '.' ? "Choose a different name."
                                                               : "Character not allowed in filename"));
  } else {
    updateErrorMessage(std::string());
  }
  defaultAction_->setEnabled(valid);
}

bool FilenamePrompt::textFieldShouldReturn(ui::TextField& field) {
  DRLOG(kLogDebug, "textFieldShouldReturn");
  const bool done = handleDoneAction();
  if (done) {
    field.resignFirstResponder();
    alert_->dismissViewControllerAnimated(true);
  }
  return done;
}

}  // namespace velune

#include "platform/ui/AlertController.h"

#include <algorithm>

#include "platform/Format.h"
#include "platform/MainThread.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/Screen.h"
#include "platform/ui/StackView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

namespace {
constexpr double kAlertWidth = 270;
constexpr double kSheetMargin = 8;
}  // namespace

AlertAction::AlertAction(std::string title, AlertActionStyle style, Handler handler)
    : Element("AlertAction"), title_(std::move(title)), style_(style), handler_(std::move(handler)) {}

std::shared_ptr<AlertAction> AlertAction::make(std::string title, AlertActionStyle style, Handler handler) {
  return std::make_shared<AlertAction>(std::move(title), style, std::move(handler));
}

void AlertAction::setEnabled(bool enabled) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  enabled_ = enabled;
  if (auto button = button_.lock()) {
    button->setEnabled(enabled);
  }
}

std::string AlertAction::description() const {
  const char* style = style_ == AlertActionStyle::Cancel ? "cancel" : style_ == AlertActionStyle::Destructive ? "destructive" : "default";
  return platform::format("<AlertAction \"%@\" %s%s>", title_, style, enabled_ ? "" : " disabled");
}

AlertController::AlertController(std::optional<std::string> title, std::optional<std::string> message,
                                 AlertControllerStyle style)
    : ViewController("AlertController"), message_(std::move(message)), style_(style) {
  setTitle(std::move(title));
  setModalPresentationStyle(style == AlertControllerStyle::ActionSheet ? ModalPresentationStyle::Popover
                                                                       : ModalPresentationStyle::OverFullScreen);
}

std::shared_ptr<AlertController> AlertController::make(std::optional<std::string> title,
                                                       std::optional<std::string> message,
                                                       AlertControllerStyle style) {
  return std::make_shared<AlertController>(std::move(title), std::move(message), style);
}

void AlertController::setMessage(std::optional<std::string> message) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  message_ = std::move(message);
  rebuildButtons();
}

void AlertController::addAction(const std::shared_ptr<AlertAction>& action) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!action || std::find(actions_.begin(), actions_.end(), action) != actions_.end()) {
    return;
  }
  actions_.push_back(action);
  rebuildButtons();
}

std::shared_ptr<AlertAction> AlertController::actionWithTitle(std::string_view title) const {
  for (const auto& action : actions_) {
    if (action->title() == title) {
      return action;
    }
  }
  return nullptr;
}

void AlertController::addTextField(const std::function<void(TextField&)>& configure) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (style_ != AlertControllerStyle::Alert) {
    return;  // action sheets take no text
  }
  auto field = std::make_shared<TextField>();
  field->setIdentifier(identifier() + ".field." + std::to_string(textFields_.size()));
  if (configure) {
    configure(*field);
  }
  textFields_.push_back(field);
  rebuildButtons();
}

void AlertController::setContentViewController(std::shared_ptr<ViewController> controller) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (content_) {
    content_->removeFromParentViewController();
  }
  content_ = std::move(controller);
  if (content_) {
    addChildViewController(content_);
  }
  rebuildButtons();
}

bool AlertController::tapAction(const std::shared_ptr<AlertAction>& action) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!action || !action->isEnabled() || std::find(actions_.begin(), actions_.end(), action) == actions_.end()) {
    return false;
  }
  auto keep = shared_from_this();
  if (action->dismissesAlert() && presentingViewController()) {
    dismissViewControllerAnimated(true, nullptr);
  }
  if (action->handler_) {
    auto handler = action->handler_;
    handler(*action);
  }
  return true;
}

void AlertController::loadView() {
  const auto screen = Screen::mainScreen();
  auto root = std::make_shared<View>(screen ? screen->bounds() : Rect());
  root->setBackgroundColor(Color::whiteWithAlpha(0, 0.4));
  auto box = StackView::make();
  box->setIdentifier(identifier() + ".box");
  box->setAxis(Axis::Vertical);
  box->setSpacing(8);
  box->setBackgroundColor(Color::whiteWithAlpha(0.97, 1));
  box->layer().setCornerRadius(13);
  box->setTranslatesAutoresizingMaskIntoConstraints(false);
  root->addSubview(box);
  std::vector<std::shared_ptr<LayoutConstraint>> rules;
  rules.push_back(LayoutConstraint::equal(box, LayoutAttribute::CenterX, root, LayoutAttribute::CenterX));
  if (style_ == AlertControllerStyle::Alert) {
    rules.push_back(LayoutConstraint::equal(box, LayoutAttribute::CenterY, root, LayoutAttribute::CenterY));
    rules.push_back(LayoutConstraint::fixed(box, LayoutAttribute::Width, kAlertWidth));
  } else {
    rules.push_back(LayoutConstraint::equal(box, LayoutAttribute::Bottom, root, LayoutAttribute::Bottom, -kSheetMargin));
    rules.push_back(LayoutConstraint::equal(box, LayoutAttribute::Leading, root, LayoutAttribute::Leading, kSheetMargin));
  }
  LayoutConstraint::activateConstraints(rules);
  box_ = box;
  setView(root);
  rebuildButtons();
}

void AlertController::rebuildButtons() {
  auto box = std::dynamic_pointer_cast<StackView>(box_);
  if (!box) {
    return;  // built with the view
  }
  for (const auto& view : std::vector<std::shared_ptr<View>>(box->arrangedSubviews())) {
    view->removeFromSuperview();
  }
  auto addLabel = [&](const std::string& text, const Font& font, const std::string& name) {
    auto label = Label::make(text);
    label->setIdentifier(identifier() + "." + name);
    label->setFont(font);
    label->setNumberOfLines(0);
    label->setTextAlignment(TextAlignment::Center);
    box->addArrangedSubview(label);
  };
  if (title() && !title()->empty()) {
    addLabel(*title(), Font::boldSystemFontOfSize(17), "title");
  }
  if (message_ && !message_->empty()) {
    addLabel(*message_, Font::systemFontOfSize(13), "message");
  }
  for (const auto& field : textFields_) {
    box->addArrangedSubview(field);
  }
  if (content_) {
    box->addArrangedSubview(content_->view());
  }
  for (size_t i = 0; i < actions_.size(); ++i) {
    const auto& action = actions_[i];
    auto button = Button::buttonWithType(ButtonType::System);
    button->setIdentifier(identifier() + ".action." + std::to_string(i));
    button->setTitle(action->title(), ControlState::Normal);
    if (action->style() == AlertActionStyle::Destructive) {
      button->setTitleColor(Color::red());
    }
    if (action->style() == AlertActionStyle::Cancel) {
      button->setTitleFont(Font::boldSystemFontOfSize(17));
    }
    button->setEnabled(action->isEnabled());
    button->addAction(ControlEvent::TouchUpInside,
                      [weakAlert = std::weak_ptr<ViewController>(shared_from_this()),
                       weakAction = std::weak_ptr<AlertAction>(action)](Control&) {
                        auto alert = std::static_pointer_cast<AlertController>(weakAlert.lock());
                        auto tapped = weakAction.lock();
                        if (alert && tapped) {
                          alert->tapAction(tapped);
                        }
                      });
    action->button_ = button;
    box->addArrangedSubview(button);
  }
}

}  // namespace velune::ui

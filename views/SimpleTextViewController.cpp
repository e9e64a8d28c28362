#include "views/SimpleTextViewController.h"

#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"

namespace velune {

using ui::LayoutAttribute;
using ui::LayoutConstraint;

SimpleTextViewController::SimpleTextViewController() = default;

ui::Font SimpleTextViewController::messageLabelFont() { return ui::Font::preferredFontForTextStyle(ui::TextStyle::Footnote); }

const std::shared_ptr<ui::Label>& SimpleTextViewController::messageLabel() {
  loadViewIfNeeded();
  return messageLabel_;
}

void SimpleTextViewController::viewDidLoad() {
  ui::ViewController::viewDidLoad();
  auto root = view();
  root->setContentHuggingPriority(ui::kLayoutPriorityRequired, ui::Axis::Horizontal);
  root->setContentHuggingPriority(ui::kLayoutPriorityRequired, ui::Axis::Vertical);

  messageLabel_ = ui::Label::make();
  messageLabel_->setIdentifier(identifier() + ".message");
  messageLabel_->setNumberOfLines(5);
  messageLabel_->setFont(messageLabelFont());
  messageLabel_->setTextColor(ui::Color::red());
  messageLabel_->setTranslatesAutoresizingMaskIntoConstraints(false);
  root->addSubview(messageLabel_);

  const double inset = _labelHorizontalInsets();
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(messageLabel_, LayoutAttribute::Height, root, LayoutAttribute::Height),
      LayoutConstraint::equal(messageLabel_, LayoutAttribute::Top, root, LayoutAttribute::Top),
      LayoutConstraint::equal(messageLabel_, LayoutAttribute::Leading, root, LayoutAttribute::Leading, inset),
      LayoutConstraint::equal(root, LayoutAttribute::Trailing, messageLabel_, LayoutAttribute::Trailing, inset),
  });
}

}  // namespace velune

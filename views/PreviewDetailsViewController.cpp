#include "views/PreviewDetailsViewController.h"

#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "platform/ByteCountFormatter.h"
#include "platform/Localization.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/StackView.h"
#include "preview/PreviewItemManager.h"
#include "views/ConstraintUtils.h"

namespace velune {

PreviewDetailsViewController::PreviewDetailsViewController()
    : PreviewBaseViewController("PreviewDetailsViewController") {}

void PreviewDetailsViewController::viewDidLoad() {
  PreviewBaseViewController::viewDidLoad();
  nameLabel_ = ui::Label::make();
  nameLabel_->setIdentifier(identifier() + ".name");
  nameLabel_->setFont(ui::Font::boldSystemFontOfSize(20));
  nameLabel_->setNumberOfLines(0);
  nameLabel_->setTextAlignment(ui::TextAlignment::Center);
  sizeLabel_ = ui::Label::make();
  sizeLabel_->setIdentifier(identifier() + ".size");
  sizeLabel_->setTextAlignment(ui::TextAlignment::Center);
  stack_ = ui::StackView::make({nameLabel_, sizeLabel_});
  stack_->setAxis(ui::Axis::Vertical);
  stack_->setAlignment(ui::StackView::Alignment::Center);
  stack_->setSpacing(8);
  stack_->setTranslatesAutoresizingMaskIntoConstraints(false);
  wrapperView()->addSubview(stack_);
  auto rules = ConstraintUtils::stretchSubviewConstraints(stack_, wrapperView());
  rules.erase(rules.begin() + 1);  // the bottom: the text sits at the top
  ui::LayoutConstraint::activateConstraints(rules);
}

void PreviewDetailsViewController::refreshItem() {
  PreviewBaseViewController::refreshItem();
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  if (!nameLabel_) {
    return;
  }
  nameLabel_->setText(item ? item->localizedName().value_or(item->url().lastPathComponent()) : std::string());
  sizeLabel_->setText(item && item->fileSize()
                          ? platform::ByteCountFormatter::stringFromByteCount(
                                static_cast<std::int64_t>(*item->fileSize()), platform::ByteCountFormatter::CountStyle::File)
                          : std::string());
}

std::shared_ptr<ui::Button> PreviewDetailsViewController::openInAppNavControllerButton() {
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  if (!item) {
    return nullptr;
  }
  const auto name = LaunchUtils::defaultAppNameForDocument(item->url(), true);
  if (!name) {
    return nullptr;
  }
  auto button = ui::Button::buttonWithType(ui::ButtonType::System);
  button->setIdentifier(identifier() + ".openIn");
  button->setTitle(platform::localizedFormat("Open in %@", *name), ui::ControlState::Normal);
  return button;
}

}  // namespace velune

#include "platform/DocumentListCell.h"

#include <algorithm>

#include "platform/DocumentIconService.h"
#include "platform/FolderListingService.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ui/Font.h"

namespace velune::platform {

namespace {

std::shared_ptr<ui::Label> makeLabel(const std::string& identifier, ui::Font font) {
  auto label = ui::Label::make();
  label->setIdentifier(identifier);
  label->setFont(std::move(font));
  return label;
}

}  // namespace

// The parts go into the content view, which exists once the list has taken the cell.
void DocumentListCell::build() {
  const std::string& id = identifier();
  icon_ = std::make_shared<ui::ImageView>();
  icon_->setIdentifier(id + ".icon");
  icon_->setContentMode(ui::ContentMode::ScaleAspectFit);
  contentView()->addSubview(icon_);
  name_ = makeLabel(id + ".name", ui::Font::systemFontOfSize(17));
  detail_ = makeLabel(id + ".detail", ui::Font::systemFontOfSize(13));
  detail_->setTextColor(ui::Color::gray());
  cloud_ = makeLabel(id + ".cloud", ui::Font::systemFontOfSize(15));
  cloud_->setText("\u2601");
  cloud_->setTextColor(ui::Color::systemBlue());
  cloud_->setAccessibilityLabel(localized("In the cloud"));
  chevron_ = makeLabel(id + ".chevron", ui::Font::systemFontOfSize(17));
  chevron_->setText("\u203A");
  for (const auto& label : {name_, detail_, cloud_, chevron_}) {
    contentView()->addSubview(label);
  }
  info_ = makeActionButton(id + ".info", localized("Info"), DocumentListRowAction::Details);
  more_ = makeActionButton(id + ".more", localized("More"), DocumentListRowAction::ActionsMenu);
}

std::shared_ptr<ui::Button> DocumentListCell::makeActionButton(const std::string& identifier, const std::string& title,
                                                               DocumentListRowAction action) {
  auto button = ui::Button::buttonWithType(ui::ButtonType::System);
  button->setIdentifier(identifier);
  button->setTitle(title, ui::ControlState::Normal);
  button->setAccessibilityLabel(title);
  button->setTitleFont(ui::Font::systemFontOfSize(15));
  // The cell owns its buttons; the action holds the cell weakly.
  button->addAction(ui::ControlEvent::TouchUpInside,
                    [weak = std::weak_ptr<ui::View>(shared_from_this()), action](ui::Control& control) {
                      auto cell = std::static_pointer_cast<DocumentListCell>(weak.lock());
                      if (cell && cell->onAction) {
                        cell->onAction(*cell, action, control.shared_from_this());
                      }
                    });
  contentView()->addSubview(button);
  return button;
}

std::shared_ptr<ui::Button> DocumentListCell::buttonForAction(DocumentListRowAction action) const {
  switch (action) {
    case DocumentListRowAction::ActionsMenu:
      return more_;
    case DocumentListRowAction::Details:
      return info_;
    default:
      return nullptr;
  }
}

std::shared_ptr<ui::Image> DocumentListCell::iconFor(DocumentIconService* icons, const FolderListingEntry& entry) {
  if (icons == nullptr) {
    return nullptr;
  }
  const bool isFolder = entry.isDirectory && !entry.isPackage;
  return icons->iconForFile(entry.name, isFolder ? std::optional<std::string>("public.folder") : std::nullopt,
                            kDocumentIconFormatSmall);
}

void DocumentListCell::configure(const Content& content) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!name_ && contentView()) {
    build();
  }
  if (!name_) {
    return;
  }
  if (name_->text() != content.name) {
    name_->setText(content.name);
  }
  if (detail_->text() != content.detail) {
    detail_->setText(content.detail);
  }
  setAccessibilityLabel(content.name);
  if (icon_->image() != content.icon) {
    icon_->setImage(content.icon);
  }
  icon_->setHidden(content.icon == nullptr);
  cloud_->setHidden(!content.isCloudOnly);
  chevron_->setHidden(!content.isFolder || content.isEditing);
  const auto allowed = [&](DocumentListRowAction action) {
    return !content.isEditing && allows(content.availableActions, action);
  };
  info_->setHidden(!allowed(DocumentListRowAction::Details));
  more_->setHidden(!allowed(DocumentListRowAction::ActionsMenu));
  setNeedsLayout();
}

void DocumentListCell::layoutSubviews() {
  ui::ListViewCell::layoutSubviews();
  if (!name_) {
    return;
  }
  const ui::Rect b = contentView()->bounds();
  const double margin = 16;
  double right = b.width() - margin;
  const auto placeTrailing = [&](const std::shared_ptr<ui::View>& view) {
    if (view->isHidden()) {
      return;
    }
    const ui::Size size = view->intrinsicContentSize();
    right -= size.width;
    view->setFrame(ui::Rect(right, (b.height() - size.height) / 2, size.width, size.height));
    right -= 8;
  };
  placeTrailing(more_);
  placeTrailing(info_);
  placeTrailing(chevron_);
  placeTrailing(cloud_);
  double left = margin;
  if (!icon_->isHidden()) {
    icon_->setFrame(ui::Rect(margin, (b.height() - kIconSize) / 2, kIconSize, kIconSize));
    left += kIconSize + 12;
  }
  const double width = std::max(0.0, right - left);
  name_->setFrame(ui::Rect(left, 10, width, 22));
  detail_->setFrame(ui::Rect(left, 34, width, 16));
}

}  // namespace velune::platform

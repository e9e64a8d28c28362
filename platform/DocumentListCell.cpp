#include "platform/DocumentListCell.h"

#include <algorithm>

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

DocumentListCell::DocumentListCell(PrivateTag) : ui::View(ui::Rect(0, 0, 0, kRowHeight)) {}

std::shared_ptr<DocumentListCell> DocumentListCell::make(const std::string& identifier) {
  auto cell = std::make_shared<DocumentListCell>(PrivateTag{});
  cell->build(identifier);
  return cell;
}

// Subviews are added once the cell is owned: a subview keeps its superview weakly.
void DocumentListCell::build(const std::string& identifier) {
  setIdentifier(identifier);
  name_ = makeLabel(identifier + ".name", ui::Font::systemFontOfSize(17));
  detail_ = makeLabel(identifier + ".detail", ui::Font::systemFontOfSize(13));
  detail_->setTextColor(ui::Color::gray());
  cloud_ = makeLabel(identifier + ".cloud", ui::Font::systemFontOfSize(15));
  cloud_->setText("\u2601");
  cloud_->setAccessibilityLabel(localized("In the cloud"));
  chevron_ = makeLabel(identifier + ".chevron", ui::Font::systemFontOfSize(17));
  chevron_->setText("\u203A");
  check_ = makeLabel(identifier + ".check", ui::Font::systemFontOfSize(17));
  check_->setText("\u2713");
  check_->setAccessibilityLabel(localized("Selected"));
  for (const auto& label : {name_, detail_, cloud_, chevron_, check_}) {
    addSubview(label);
  }
  info_ = makeActionButton(identifier + ".info", localized("Info"), DocumentListRowAction::Details);
  more_ = makeActionButton(identifier + ".more", localized("More"), DocumentListRowAction::ActionsMenu);
  delete_ = makeActionButton(identifier + ".delete", localized("Delete"), DocumentListRowAction::Delete);
  rename_ = makeActionButton(identifier + ".rename", localized("Rename"), DocumentListRowAction::Rename);
  // A tap on the row (not on one of its buttons); the recognizer is owned by
  // the cell, so it may name the cell.
  addGestureRecognizer(std::make_shared<ui::TapGestureRecognizer>([this] {
    if (onTap) {
      onTap(*this);
    }
  }));
}

std::shared_ptr<ui::Button> DocumentListCell::makeActionButton(const std::string& identifier, const std::string& title,
                                                               DocumentListRowAction action) {
  auto button = ui::Button::buttonWithType(ui::ButtonType::System);
  button->setIdentifier(identifier);
  button->setTitle(title, ui::ControlState::Normal);
  button->setAccessibilityLabel(title);
  button->setTitleFont(ui::Font::systemFontOfSize(15));
  // The cell owns its buttons; a button finds its cell through its superview.
  button->addAction(ui::ControlEvent::TouchUpInside, [action](ui::Control& control) {
    auto cell = std::dynamic_pointer_cast<DocumentListCell>(control.superview());
    if (cell && cell->onAction) {
      cell->onAction(*cell, action, control.shared_from_this());
    }
  });
  addSubview(button);
  return button;
}

std::shared_ptr<ui::Button> DocumentListCell::buttonForAction(DocumentListRowAction action) const {
  switch (action) {
    case DocumentListRowAction::Delete:
      return delete_;
    case DocumentListRowAction::ActionsMenu:
      return more_;
    case DocumentListRowAction::Details:
      return info_;
    case DocumentListRowAction::Rename:
      return rename_;
  }
  return nullptr;
}

void DocumentListCell::configure(size_t row, const Content& content) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (row != row_) {
    swipeRevealed_ = false;  // a swipe belongs to the row, not to the reused cell
  }
  row_ = row;
  availableActions_ = content.availableActions;
  editing_ = content.isEditing;
  if (name_->text() != content.name) {
    name_->setText(content.name);
  }
  if (detail_->text() != content.detail) {
    detail_->setText(content.detail);
  }
  setAccessibilityLabel(content.name);
  cloud_->setHidden(!content.isCloudOnly);
  chevron_->setHidden(!content.isFolder || content.isEditing);
  check_->setHidden(!(content.isEditing && content.isSelected));
  updateButtons();
  setNeedsLayout();
}

void DocumentListCell::updateButtons() {
  const auto allowed = [this](DocumentListRowAction action) {
    return !editing_ && (availableActions_ & availableActionBit(action)) != 0;
  };
  info_->setHidden(!allowed(DocumentListRowAction::Details));
  more_->setHidden(!allowed(DocumentListRowAction::ActionsMenu));
  delete_->setHidden(!(swipeRevealed_ && allowed(DocumentListRowAction::Delete)));
  rename_->setHidden(!(swipeRevealed_ && allowed(DocumentListRowAction::Rename)));
}

void DocumentListCell::revealSwipeActions(bool reveal) {
  VELUNE_ASSERT_MAIN_THREAD();
  swipeRevealed_ = reveal && !editing_;
  updateButtons();
  setNeedsLayout();
}


void DocumentListCell::layoutSubviews() {
  const ui::Rect b = bounds();
  const double margin = 16;
  double right = b.width() - margin;
  // Buttons from the trailing edge inwards.
  for (const auto& button : {delete_, rename_, more_, info_}) {
    if (button->isHidden()) {
      continue;
    }
    const ui::Size size = button->intrinsicContentSize();
    right -= size.width;
    button->setFrame(ui::Rect(right, (b.height() - size.height) / 2, size.width, size.height));
    right -= 8;
  }
  if (!chevron_->isHidden()) {
    const ui::Size size = chevron_->intrinsicContentSize();
    right -= size.width;
    chevron_->setFrame(ui::Rect(right, (b.height() - size.height) / 2, size.width, size.height));
    right -= 8;
  }
  double left = margin;
  if (!check_->isHidden()) {
    const ui::Size size = check_->intrinsicContentSize();
    check_->setFrame(ui::Rect(left, (b.height() - size.height) / 2, size.width, size.height));
    left += size.width + 8;
  }
  if (!cloud_->isHidden()) {
    const ui::Size size = cloud_->intrinsicContentSize();
    right -= size.width;
    cloud_->setFrame(ui::Rect(right, (b.height() - size.height) / 2, size.width, size.height));
    right -= 8;
  }
  const double width = std::max(0.0, right - left);
  name_->setFrame(ui::Rect(left, 10, width, 22));
  detail_->setFrame(ui::Rect(left, 34, width, 16));
}

}  // namespace velune::platform

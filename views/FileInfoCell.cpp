#include "views/FileInfoCell.h"

#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"

namespace velune {

using ui::Axis;
using ui::LayoutConstraint;

namespace {
constexpr ui::LayoutPriority kNameHugging = 251;
constexpr ui::LayoutPriority kValueHugging = 250;
constexpr ui::LayoutPriority kValueCompressionResistance = 250;
}  // namespace

FileInfoCell::FileInfoCell() : ui::View(ui::Rect(), "FileInfoCell") {}

std::shared_ptr<FileInfoCell> FileInfoCell::init() {
  return initWithNameAndValue(std::string(), std::string(), 1);
}

std::shared_ptr<FileInfoCell> FileInfoCell::initWithNameAndValue(const std::string& name, const std::string& value,
                                                                 int maxLines) {
  auto cell = std::make_shared<FileInfoCell>();
  cell->build(name, maxLines);
  cell->valueLabel_->setText(value);
  return cell;
}

std::shared_ptr<FileInfoCell> FileInfoCell::initWithNameAndValue(const std::string& name,
                                                                 const ui::StyledText& value, int maxLines) {
  auto cell = std::make_shared<FileInfoCell>();
  cell->build(name, maxLines);
  cell->valueLabel_->setStyledText(value);
  return cell;
}

ui::Font FileInfoCell::font() {
  return ui::Font::preferredFontForTextStyle(ui::TextStyle::Subheadline);
}

void FileInfoCell::build(const std::string& name, int maxLines) {
  VELUNE_ASSERT_MAIN_THREAD();
  setTranslatesAutoresizingMaskIntoConstraints(false);
  const ui::Font rowFont = font();

  nameLabel_ = ui::Label::make(name);
  nameLabel_->setFont(rowFont);
  nameLabel_->setTextColor(ui::Color::gray());
  nameLabel_->setTextAlignment(platform::appLayoutIsRightToLeft() ? ui::TextAlignment::Left : ui::TextAlignment::Right);
  nameLabel_->setContentHuggingPriority(kNameHugging, Axis::Horizontal);
  nameLabel_->setContentHuggingPriority(ui::kLayoutPriorityRequired, Axis::Vertical);
  nameLabel_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Vertical);

  valueLabel_ = ui::Label::make();
  valueLabel_->setFont(rowFont);
  valueLabel_->setTextColor(ui::Color::black());
  valueLabel_->setNumberOfLines(maxLines);
  valueLabel_->setContentHuggingPriority(kValueHugging, Axis::Horizontal);
  valueLabel_->setContentHuggingPriority(ui::kLayoutPriorityRequired, Axis::Vertical);
  valueLabel_->setContentCompressionResistancePriority(kValueCompressionResistance, Axis::Horizontal);
  valueLabel_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Vertical);

  for (const auto& label : {nameLabel_, valueLabel_}) {
    label->setTranslatesAutoresizingMaskIntoConstraints(false);
    addSubview(label);
  }
  const LayoutConstraint::ViewMap views = {{"_nameLabel", nameLabel_}, {"_valueLabel", valueLabel_}};
  for (const char* format : {"H:|[_nameLabel]-10-[_valueLabel]|", "V:|[_nameLabel]", "V:|[_valueLabel]|"}) {
    if (auto rules = LayoutConstraint::constraintsWithVisualFormat(format, {}, views); rules.ok()) {
      LayoutConstraint::activateConstraints(rules.value());
    }
  }
}

void FileInfoCell::setRowIdentifier(const std::string& rowIdentifier) {
  setIdentifier(rowIdentifier);
  nameLabel_->setIdentifier(rowIdentifier + ".name");
  valueLabel_->setIdentifier(rowIdentifier + ".value");
}

}  // namespace velune

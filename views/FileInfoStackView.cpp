#include "views/FileInfoStackView.h"

#include <algorithm>
#include <variant>

#include "model/DRItem.h"
#include "model/FileTags.h"
#include "model/FileUtils.h"
#include "platform/DispatchQueue.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/NotificationService.h"
#include "platform/Platform.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "views/FileInfoCell.h"

namespace velune {

namespace {

constexpr double kRowSpacing = 10;
// The date styles tried, longest first: long, medium, short.
constexpr int kDateStyles[] = {3, 2, 1};
// Frames come from a solver: a text exactly as wide as its label may measure
// a hair wider than the label's width.
constexpr double kWidthTolerance = 1e-6;

}  // namespace

FileInfoStackView::FileInfoStackView(ui::Rect frame) : ui::StackView(frame) {}

std::shared_ptr<FileInfoStackView> FileInfoStackView::initWithFrame(ui::Rect frame) {
  auto view = std::make_shared<FileInfoStackView>(frame);
  view->setup();
  return view;
}

FileInfoStackView::~FileInfoStackView() {
  if (notifications_) {
    notifications_->removeObserver(this);
  }
}

void FileInfoStackView::setup() {
  setAxis(ui::Axis::Vertical);
  setAlignment(Alignment::Leading);
  setDistribution(Distribution::Fill);
  setSpacing(kRowSpacing);
  notifications_ = platform::Platform::services()->notifications;
  if (notifications_) {
    std::weak_ptr<FileInfoStackView> weak = std::static_pointer_cast<FileInfoStackView>(shared_from_this());
    notifications_->addObserver(this, std::string(kFileTagsDidChangeNotification), platform::DispatchQueue::main(),
                                [weak](const platform::Notification&) {
                                  if (const auto strong = weak.lock()) {
                                    strong->tagColorsDidChange();
                                  }
                                });
  }
}

std::shared_ptr<FileInfoCell> FileInfoStackView::addCell(const std::string& name, const std::string& value,
                                                         int maxLines) {
  auto cell = FileInfoCell::initWithNameAndValue(name, value, maxLines);
  appendCell(cell);
  return cell;
}

std::shared_ptr<FileInfoCell> FileInfoStackView::addCell(const std::string& name, const ui::StyledText& value,
                                                         int maxLines) {
  auto cell = FileInfoCell::initWithNameAndValue(name, value, maxLines);
  appendCell(cell);
  return cell;
}

void FileInfoStackView::appendCell(const std::shared_ptr<FileInfoCell>& cell) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto& rows = arrangedSubviews();
  const auto previous = rows.empty() ? nullptr : std::dynamic_pointer_cast<FileInfoCell>(rows.back());
  addArrangedSubview(cell);
  if (previous) {
    auto equal = ui::LayoutConstraint::constraintsWithVisualFormat(
        "[nameLabel(==lastNameLabel)]", {},
        {{"nameLabel", cell->nameLabel()}, {"lastNameLabel", previous->nameLabel()}});
    if (equal.ok()) {
      ui::LayoutConstraint::activateConstraints(equal.value());
    }
  }
}

void FileInfoStackView::setItem(std::shared_ptr<DRItem> item) {
  VELUNE_ASSERT_MAIN_THREAD();
  item_ = std::move(item);
  if (!item_) {
    return;
  }
  struct Row {
    const char* key;
    std::string name;
    std::variant<std::string, ui::StyledText> value;
    int maxLines;
  };
  std::vector<Row> rows;
  if (const auto& kind = item_->localizedTypeDescription()) {
    rows.push_back({"kind", platform::localized("Kind"), *kind, 1});
  }
  if (const auto& size = item_->friendlyFileSize()) {
    rows.push_back({"size", platform::localized("Size"), *size, 1});
  }
  if (const auto where = FileUtils::displayableLocationForURL(item_->url())) {
    rows.push_back({"where", platform::localized("Where"), *where, 3});
  }
  if (const auto created = item_->friendlyCreationDate(kDateStyles[0])) {
    rows.push_back({"created", platform::localized("Created"), *created, 1});
  }
  if (const auto modified = item_->friendlyContentModificationDate(kDateStyles[0])) {
    rows.push_back({"modified", platform::localized("Modified"), *modified, 1});
  }
  if (auto tags = buildTagsWithImagesString(*item_, FileInfoCell::font())) {
    rows.push_back({"tags", platform::localized("Tags"), std::move(*tags), 1});
  }

  std::vector<std::string> keys;
  for (const auto& row : rows) {
    keys.emplace_back(row.key);
  }
  const auto& shown = arrangedSubviews();
  if (keys == rowKeys_ && shown.size() == rows.size()) {
    // The same rows: new values in the cells already there, so that a refresh
    // keeps the column's rules (a layout pass then only moves sizes).
    for (size_t i = 0; i < rows.size(); ++i) {
      const auto& label = std::static_pointer_cast<FileInfoCell>(shown[i])->valueLabel();
      if (const auto* text = std::get_if<std::string>(&rows[i].value)) {
        label->setText(*text);
      } else {
        label->setStyledText(std::get<ui::StyledText>(rows[i].value));
      }
    }
    return;
  }

  const std::vector<std::shared_ptr<ui::View>> old = shown;
  for (const auto& row : old) {
    removeArrangedSubview(row.get());
    row->removeFromSuperview();
  }
  creationDateCell_.reset();
  modifiedDateCell_.reset();
  tagsCell_.reset();
  rowKeys_ = std::move(keys);
  for (const auto& row : rows) {
    const auto cell = std::holds_alternative<std::string>(row.value)
                          ? addCell(row.name, std::get<std::string>(row.value), row.maxLines)
                          : addCell(row.name, std::get<ui::StyledText>(row.value), row.maxLines);
    cell->setRowIdentifier(identifier() + "." + row.key);
    const std::string_view key = row.key;
    if (key == "created") {
      creationDateCell_ = cell;
    } else if (key == "modified") {
      modifiedDateCell_ = cell;
    } else if (key == "tags") {
      tagsCell_ = cell;
    }
  }
}

std::optional<ui::StyledText> FileInfoStackView::buildTagsWithImagesString(const DRItem& item, const ui::Font& font) {
  const auto& tags = item.tags();
  if (!tags || tags->empty()) {
    return std::nullopt;
  }
  ui::TextAttributes raised;
  raised.baselineOffset = -font.descender();
  const ui::Size imageSize{font.capHeight() + 2, font.lineHeight()};
  const ui::Point offset{0, font.ascender() - font.capHeight() + 1};
  ui::StyledText text;
  for (size_t i = 0; i < tags->size(); ++i) {
    const std::string& tag = (*tags)[i];
    ui::TextAttachment dot;
    dot.image = FileTags::blipWithTag(tag, imageSize, font.capHeight(), offset);
    dot.bounds = ui::Rect(0, 0, imageSize.width, imageSize.height);
    text.appendAttachment(std::move(dot), raised);
    text.append(i + 1 < tags->size() ? tag + " " : tag, raised);
  }
  return text;
}

void FileInfoStackView::tagColorsDidChange() {
  if (!item_ || !tagsCell_) {
    return;
  }
  if (auto tags = buildTagsWithImagesString(*item_, FileInfoCell::font())) {
    tagsCell_->valueLabel()->setStyledText(std::move(*tags));
  }
}

void FileInfoStackView::layoutSubviews() {
  ui::StackView::layoutSubviews();
  if (!item_) {
    return;
  }
  const auto widthOf = [](const std::shared_ptr<FileInfoCell>& cell) {
    return cell ? cell->valueLabel()->frame().width() : 0.0;
  };
  const double available = std::max(widthOf(creationDateCell_), widthOf(modifiedDateCell_));
  if (!(available > 0)) {
    return;
  }
  const ui::Font font = FileInfoCell::font();
  const auto widthOfText = [&font](const std::optional<std::string>& text) {
    return text ? font.widthOfText(*text) : 0.0;
  };
  std::optional<std::string> created;
  std::optional<std::string> modified;
  for (const int style : kDateStyles) {
    created = item_->friendlyCreationDate(style);
    modified = item_->friendlyContentModificationDate(style);
    if (widthOfText(created) <= available + kWidthTolerance && widthOfText(modified) <= available + kWidthTolerance) {
      break;  // the last style is taken whether it fits or not
    }
  }
  const auto show = [](const std::shared_ptr<FileInfoCell>& cell, const std::optional<std::string>& text) {
    if (cell && text && cell->valueLabel()->text() != *text) {
      cell->valueLabel()->setText(*text);
    }
  };
  show(creationDateCell_, created);
  show(modifiedDateCell_, modified);
}

}  // namespace velune

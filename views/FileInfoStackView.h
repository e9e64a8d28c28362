#pragma once
// FileInfoStackView: the facts about one item as a column of name/value rows
// ("Kind", "Size", "Where", "Created", "Modified", "Tags"), each present only
// when the item has that value. The names form a column of equal width; the
// two dates show the longest date style whose texts fit the width they get;
// the tags show each name after a dot of its colour.
//
// The column follows the user's tag dictionary: when FileTags reloads it
// (a change on another device), the tags row is drawn again with the new
// colours on the main thread. Main thread only.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/Font.h"
#include "platform/ui/StackView.h"
#include "platform/ui/StyledText.h"

namespace velune::platform {
class NotificationService;
}  // namespace velune::platform

namespace velune {

class DRItem;
class FileInfoCell;

class FileInfoStackView : public ui::StackView {
 public:
  // An empty column (vertical, leading, fill, spacing 10).
  static std::shared_ptr<FileInfoStackView> initWithFrame(ui::Rect frame);
  ~FileInfoStackView() override;

  std::string_view kind() const override { return "FileInfoStackView"; }

  const std::shared_ptr<DRItem>& item() const { return item_; }
  // Shows the item's rows; with none, the rows stay as they were. When the
  // item has the same rows as those shown, their cells take the new values
  // (the column keeps its layout rules); otherwise the rows are made anew.
  void setItem(std::shared_ptr<DRItem> item);

  // Appends a row; from the second row on, its name is made as wide as the
  // name of the row before it.
  std::shared_ptr<FileInfoCell> addCell(const std::string& name, const std::string& value, int maxLines);
  std::shared_ptr<FileInfoCell> addCell(const std::string& name, const ui::StyledText& value, int maxLines);

  // The item's tags as text, each name after an inline dot of its colour,
  // raised by the font's descender; nothing for an item without tags.
  static std::optional<ui::StyledText> buildTagsWithImagesString(const DRItem& item, const ui::Font& font);

  // After the column's own layout, fits the dates to the width they got.
  void layoutSubviews() override;

  const std::shared_ptr<FileInfoCell>& creationDateCell() const { return creationDateCell_; }
  const std::shared_ptr<FileInfoCell>& modifiedDateCell() const { return modifiedDateCell_; }
  const std::shared_ptr<FileInfoCell>& tagsCell() const { return tagsCell_; }

  explicit FileInfoStackView(ui::Rect frame);

 private:
  void setup();
  void appendCell(const std::shared_ptr<FileInfoCell>& cell);
  void tagColorsDidChange();

  std::shared_ptr<DRItem> item_;
  // The keys of the rows shown ("kind", "size", ...), in order.
  std::vector<std::string> rowKeys_;
  std::shared_ptr<FileInfoCell> creationDateCell_;
  std::shared_ptr<FileInfoCell> modifiedDateCell_;
  std::shared_ptr<FileInfoCell> tagsCell_;
  std::shared_ptr<platform::NotificationService> notifications_;
};

}  // namespace velune

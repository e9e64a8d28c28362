#pragma once
// ListViewCell: the view of one row of a ListView.
//
// A list makes only as many cells as it shows and reuses them: a cell that
// scrolled out is configured again for another row, so a cell keeps its own
// identifier while `row()` changes. The data source builds the cell's content
// once (subviews of contentView(), usually placed by constraints) and fills it
// per row. In edit mode the cell shows a check mark before its content
// (checked while the row is selected); after a swipe it shows its row actions
// as buttons along its trailing edge, until one is tapped or the cell is.
//
// Input: tap() is a tap on the row; swipe() reveals its row actions.
// Main thread only. The cell knows its list weakly; the list owns its cells.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/View.h"

namespace velune::ui {

class Button;
class ListView;

// An action a row offers when swiped: the number reported to the delegate
// (0 to 3) and the button's title.
struct ListRowAction {
  int index = 0;
  std::string title;
  bool destructive = false;
};

class ListViewCell : public View {
 public:
  // Subclasses made with std::make_shared get their parts when a list takes them.
  ListViewCell();
  static std::shared_ptr<ListViewCell> make();

  std::string_view kind() const override { return "ListViewCell"; }

  // Holds the row's content; inset past the check mark in edit mode.
  const std::shared_ptr<View>& contentView() const { return contentView_; }
  // Shown in edit mode; its background is the tint colour while checked.
  const std::shared_ptr<View>& checkMarkView() const { return checkMark_; }

  // The row shown, or nothing while the cell waits for reuse.
  std::optional<size_t> row() const { return row_; }
  bool isEditing() const { return editing_; }
  bool isChecked() const { return checked_; }

  // The buttons of the revealed row actions (empty when not revealed).
  const std::vector<std::shared_ptr<Button>>& actionButtons() const { return actionButtons_; }
  bool showsActions() const { return !actionButtons_.empty(); }

  // A person's tap on the row. Ignored (false) when hidden or not taking input.
  bool tap() override;
  // A person's swipe across the row: reveals its actions (false when it has none).
  bool swipe();

  void layoutSubviews() override;

  static constexpr double kCheckMarkWidth = 40;
  static constexpr double kActionWidth = 74;

 private:
  friend class ListView;

  // Adds the content view and the check mark (a view cannot add subviews
  // before a shared pointer owns it). Idempotent.
  void installParts();
  void attach(const std::shared_ptr<ListView>& list, size_t row);
  void detach();
  void setRow(size_t row) { row_ = row; }
  void setEditingState(bool editing, bool checked);
  void showActions(const std::vector<ListRowAction>& actions);
  void hideActions();
  void placeContent();

  std::weak_ptr<ListView> list_;
  std::optional<size_t> row_;
  bool editing_ = false;
  bool checked_ = false;
  std::shared_ptr<View> contentView_;
  std::shared_ptr<View> checkMark_;
  std::vector<std::shared_ptr<Button>> actionButtons_;
};

}  // namespace velune::ui

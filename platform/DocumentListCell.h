#pragma once
// DocumentListCell: one row of a listing, reused for whatever item scrolls
// into its place (its identifier stays with the cell; its accessibility label
// is the item's name). It shows the name, a detail line (size and date of a
// document, "Folder" for a folder), a cloud mark for a cloud-only document, a
// chevron for a folder, a check mark when selected in edit mode, and the
// buttons of the row actions the listing allows: Info (details) and More
// (the actions menu) always in view, Delete and Rename once the row is swiped
// (revealSwipeActions). Main thread only.

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/DocumentListRowAction.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/View.h"

namespace velune::platform {

class DocumentListCell : public ui::View {
  struct PrivateTag {};

 public:
  static constexpr double kRowHeight = 60;

  // Identifiers: `identifier`, and "<identifier>.name", ".detail", ".cloud",
  // ".chevron", ".check", ".info", ".more", ".delete", ".rename" for its parts.
  static std::shared_ptr<DocumentListCell> make(const std::string& identifier);
  explicit DocumentListCell(PrivateTag);
  std::string_view kind() const override { return "DocumentListCell"; }

  struct Content {
    std::string name;
    std::string detail;
    bool isFolder = false;
    bool isCloudOnly = false;
    bool isSelected = false;
    bool isEditing = false;
    std::uint32_t availableActions = 0;
  };
  void configure(size_t row, const Content& content);
  size_t row() const { return row_; }

  const std::shared_ptr<ui::Label>& nameLabel() const { return name_; }
  const std::shared_ptr<ui::Label>& detailLabel() const { return detail_; }
  const std::shared_ptr<ui::Label>& cloudMark() const { return cloud_; }
  const std::shared_ptr<ui::Label>& chevron() const { return chevron_; }
  const std::shared_ptr<ui::Label>& checkMark() const { return check_; }
  // The button of a row action (null for an unknown action).
  std::shared_ptr<ui::Button> buttonForAction(DocumentListRowAction action) const;

  // The swipe of a person's finger: shows (or hides) Delete and Rename, when allowed.
  void revealSwipeActions(bool reveal);
  bool swipeActionsRevealed() const { return swipeRevealed_; }

  void layoutSubviews() override;

  std::function<void(DocumentListCell&)> onTap;
  std::function<void(DocumentListCell&, DocumentListRowAction, const std::shared_ptr<ui::View>&)> onAction;

 private:
  void build(const std::string& identifier);
  std::shared_ptr<ui::Button> makeActionButton(const std::string& identifier, const std::string& title,
                                               DocumentListRowAction action);
  void updateButtons();

  size_t row_ = 0;
  std::uint32_t availableActions_ = 0;
  bool editing_ = false;
  bool swipeRevealed_ = false;
  std::shared_ptr<ui::Label> name_;
  std::shared_ptr<ui::Label> detail_;
  std::shared_ptr<ui::Label> cloud_;
  std::shared_ptr<ui::Label> chevron_;
  std::shared_ptr<ui::Label> check_;
  std::shared_ptr<ui::Button> info_;
  std::shared_ptr<ui::Button> more_;
  std::shared_ptr<ui::Button> delete_;
  std::shared_ptr<ui::Button> rename_;
};

}  // namespace velune::platform

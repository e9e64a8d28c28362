#pragma once
// DocumentListCell: the row of one item in a listing, a reused cell of a
// ui::ListView (its identifier stays with the cell; its accessibility label
// is the item's name). It shows the icon of the item's kind (a folder, or the
// document's type), the name, a detail line (size and date of a document,
// "Folder" for a folder), a cloud mark for a cloud-only document,
// a chevron for a folder, and the buttons of the two row actions that are
// always in view when the listing allows them: Info (details) and More (the
// actions menu). Delete and Rename are the row's swipe actions (the list's).
// Main thread only.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/DocumentListRowAction.h"
#include "platform/ui/Button.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Label.h"
#include "platform/ui/ListViewCell.h"

namespace velune::platform {

class DocumentIconService;
struct FolderListingEntry;

class DocumentListCell : public ui::ListViewCell {
 public:
  static constexpr double kRowHeight = 60;
  static constexpr double kIconSize = 32;

  DocumentListCell() = default;
  std::string_view kind() const override { return "DocumentListCell"; }

  struct Content {
    std::string name;
    std::string detail;
    bool isFolder = false;
    bool isCloudOnly = false;
    bool isEditing = false;
    DocumentListAvailableActions availableActions = DocumentListAvailableActions::None;
    // The small icon of the item's kind; none leaves the text at the margin.
    std::shared_ptr<ui::Image> icon;
  };
  // Fills the cell; its parts are made the first time ("<cell>.icon",
  // ".name", ".detail", ".cloud", ".chevron", ".info", ".more").
  void configure(const Content& content);
  // The small icon of an entry's kind (a folder's, or its document type's by
  // its name); none without an icon service.
  static std::shared_ptr<ui::Image> iconFor(DocumentIconService* icons, const FolderListingEntry& entry);

  const std::shared_ptr<ui::ImageView>& iconView() const { return icon_; }
  const std::shared_ptr<ui::Label>& nameLabel() const { return name_; }
  const std::shared_ptr<ui::Label>& detailLabel() const { return detail_; }
  const std::shared_ptr<ui::Label>& cloudMark() const { return cloud_; }
  const std::shared_ptr<ui::Label>& chevron() const { return chevron_; }
  // The Info or More button (null for the swipe actions and unknown ones).
  std::shared_ptr<ui::Button> buttonForAction(DocumentListRowAction action) const;

  void layoutSubviews() override;

  // One of the row's own buttons was tapped.
  std::function<void(DocumentListCell&, DocumentListRowAction, const std::shared_ptr<ui::View>&)> onAction;

 private:
  void build();
  std::shared_ptr<ui::Button> makeActionButton(const std::string& name, const std::string& title,
                                               DocumentListRowAction action);

  std::shared_ptr<ui::ImageView> icon_;
  std::shared_ptr<ui::Label> name_;
  std::shared_ptr<ui::Label> detail_;
  std::shared_ptr<ui::Label> cloud_;
  std::shared_ptr<ui::Label> chevron_;
  std::shared_ptr<ui::Button> info_;
  std::shared_ptr<ui::Button> more_;
};

}  // namespace velune::platform

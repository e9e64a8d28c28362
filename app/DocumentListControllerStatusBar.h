#pragma once
// DocumentListControllerStatusBar: the status line under a listing: one
// centred label (footnote text style, the status colour of Settings) between
// two flexible spaces, as toolbar items. One object per listing, made the
// first time the listing shows its status line and reused afterwards (see
// StatusBar). Main thread only.

#include <memory>
#include <vector>

namespace velune::ui {
class BarButtonItem;
class Label;
}  // namespace velune::ui

namespace velune {

class DocumentListControllerStatusBar {
 public:
  // Makes the label and the toolbar items.
  void createStatusBar();

  const std::shared_ptr<ui::Label>& statusLabel() const { return statusLabel_; }
  void setStatusLabel(std::shared_ptr<ui::Label> label) { statusLabel_ = std::move(label); }
  // Flexible space, the label, flexible space (one space item used twice).
  const std::vector<std::shared_ptr<ui::BarButtonItem>>& toolbarItems() const { return toolbarItems_; }
  void setToolbarItems(std::vector<std::shared_ptr<ui::BarButtonItem>> items) { toolbarItems_ = std::move(items); }

  std::string description() const;

 private:
  std::shared_ptr<ui::Label> statusLabel_;
  std::vector<std::shared_ptr<ui::BarButtonItem>> toolbarItems_;
};

}  // namespace velune

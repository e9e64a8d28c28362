#pragma once
// PreviewDetailsViewController: the details page of an item (preview mode 1,
// or the details action). What it shows so far: the item's name and its
// size, and an "Open in" button for the document's default application
// (placed on the navigation bar in details mode on a phone). Not built yet:
// the file information rows, the tags in their colours and the thumbnail of
// the full details page; the page stays this short until they are.
// Main thread only.

#include <memory>

#include "preview/PreviewBaseViewController.h"

namespace velune::ui {
class Button;
class Label;
class StackView;
}  // namespace velune::ui

namespace velune {

class PreviewDetailsViewController final : public PreviewBaseViewController {
 public:
  PreviewDetailsViewController();
  std::string_view kind() const override { return "PreviewDetailsViewController"; }

  const std::shared_ptr<ui::Label>& nameLabel() const { return nameLabel_; }
  const std::shared_ptr<ui::Label>& sizeLabel() const { return sizeLabel_; }

  void viewDidLoad() override;
  void refreshItem() override;
  std::shared_ptr<ui::Button> openInAppNavControllerButton() override;

 private:
  std::shared_ptr<ui::StackView> stack_;
  std::shared_ptr<ui::Label> nameLabel_;
  std::shared_ptr<ui::Label> sizeLabel_;
};

}  // namespace velune

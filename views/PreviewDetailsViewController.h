#pragma once
// PreviewDetailsViewController: the page that describes one item instead of
// showing its content (preview mode 1, or a row's details action): a large
// thumbnail, the item's name between hairlines (a tap on it starts a rename),
// the file information rows, and, on a tablet, a button that opens the
// document in its default application (on a phone that button sits on the
// navigation bar). Without a default application there is no button at all.
//
// Two rule sets lay the page out: portrait (thumbnail above the details, the
// hairlines across the whole page) and landscape (thumbnail and details side
// by side in equal halves, the hairlines from the details to the page's
// trailing edge). Exactly one set is active; adjustViewsForOrientation()
// switches them, and a size change does so on the next turn of the main queue.
//
// The page holds its item manager weakly (through the base) and its rename
// prompt strongly while the prompt is up. Main thread only.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/Label.h"
#include "preview/PreviewBaseViewController.h"

namespace velune::ui {
class Button;
class LayoutConstraint;
class StackView;
}  // namespace velune::ui

namespace velune {

class FileInfoStackView;
class HairlineView;
class RenamePrompt;
class ThumbnailImageView;

class PreviewDetailsViewController final : public PreviewBaseViewController {
 public:
  PreviewDetailsViewController();
  std::string_view kind() const override { return "PreviewDetailsViewController"; }

  // --- Life cycle and hooks ---
  // The open-in button (when the document has a default application that
  // opens in place), then the page's views and rules.
  void viewDidLoad() override;
  // The rows, the name and the thumbnail of the manager's current item.
  void refreshItem() override;
  // The open-in button when it is not shown in the page (a phone), else none.
  std::shared_ptr<ui::Button> openInAppNavControllerButton() override;
  void viewWillTransitionToSize(ui::Size size, ui::TransitionCoordinator& coordinator) override;

  // --- Layout ---
  void setupViewsAndConstraints();
  bool shouldDisplayOpenInAppButtonInView() const;
  void setupVerticalConstraints();
  void setupHorizontalConstraints();
  // Codes 3 and 4 lay the page out in landscape, every other one in portrait.
  void adjustViewsForOrientation(ui::InterfaceOrientation orientation);

  // A vertical stack of `views` (fill, centred, `spacing`) that hugs its
  // content vertically at the highest priority.
  static std::shared_ptr<ui::StackView> buildVerticalStackWithSubviews(
      const std::vector<std::shared_ptr<ui::View>>& views, double spacing);
  // Activates four rules: top, bottom, horizontal centre and leading edge equal.
  static void stretchSubview(const std::shared_ptr<ui::View>& view, const std::shared_ptr<ui::View>& container);
  // Two inactive rules: horizontal centre and leading edge equal.
  static std::vector<std::shared_ptr<ui::LayoutConstraint>> stretchSubviewWidth(
      const std::shared_ptr<ui::View>& view, const std::shared_ptr<ui::View>& container);

  // --- Renaming ---
  // Nothing without an item or for an item that cannot be renamed; otherwise
  // presents a rename prompt whose Done renames the item.
  void filenameWasTapped();

  // --- What the page shows (for the screen and tests) ---
  const std::shared_ptr<ThumbnailImageView>& thumbnailView() const { return thumbnailView_; }
  const std::shared_ptr<ui::Label>& filenameTextField() const { return filenameTextField_; }
  const std::shared_ptr<RenamePrompt>& renamePrompt() const { return renamePrompt_; }
  const std::shared_ptr<FileInfoStackView>& fileInfoView() const { return fileInfoView_; }
  const std::optional<std::string>& originalFilename() const { return originalFilename_; }
  const std::shared_ptr<ui::LayoutConstraint>& filenameTextFieldFullWidthConstraint() const {
    return filenameTextFieldFullWidthConstraint_;
  }
  const std::shared_ptr<ui::StackView>& mainStackView() const { return mainStackView_; }
  const std::shared_ptr<ui::StackView>& fileDetailsView() const { return fileDetailsView_; }
  const std::shared_ptr<ui::StackView>& filenameStackView() const { return filenameStackView_; }
  const std::vector<std::shared_ptr<ui::LayoutConstraint>>& verticalConstraints() const { return verticalConstraints_; }
  const std::vector<std::shared_ptr<ui::LayoutConstraint>>& horizontalConstraints() const {
    return horizontalConstraints_;
  }
  const std::vector<std::shared_ptr<HairlineView>>& hairlineViews() const { return hairlineViews_; }
  const std::shared_ptr<ui::Button>& openInAppButton() const { return openInAppButton_; }

 private:
  std::shared_ptr<HairlineView> makeHairline();

  std::shared_ptr<ThumbnailImageView> thumbnailView_;
  std::shared_ptr<ui::Label> filenameTextField_;
  std::shared_ptr<RenamePrompt> renamePrompt_;
  std::shared_ptr<FileInfoStackView> fileInfoView_;
  std::optional<std::string> originalFilename_;
  std::shared_ptr<ui::LayoutConstraint> filenameTextFieldFullWidthConstraint_;
  std::shared_ptr<ui::StackView> mainStackView_;
  std::shared_ptr<ui::StackView> fileDetailsView_;
  std::shared_ptr<ui::StackView> filenameStackView_;
  std::vector<std::shared_ptr<ui::LayoutConstraint>> verticalConstraints_;
  std::vector<std::shared_ptr<ui::LayoutConstraint>> horizontalConstraints_;
  std::vector<std::shared_ptr<HairlineView>> hairlineViews_;
  std::shared_ptr<ui::Button> openInAppButton_;
};

}  // namespace velune

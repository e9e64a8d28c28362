#pragma once
// MoveTargetPicker: the platform's modal picker of a folder to move items
// into. It lists the documents folder of every container of the drive and
// the folders inside them (indented by depth), leaving out hidden folders,
// packages, and the items being moved with everything inside them. A tap on
// a row reports that folder to the delegate (which dismisses the picker);
// Cancel dismisses it without a word.
//
// The list is read when the view loads, at most kMaxDepth levels deep and
// kMaxRows rows (a drive with more folders shows the first ones, logged at
// level 4). Main thread only; the delegate is held weakly.

#include <memory>
#include <string>
#include <vector>

#include "platform/URL.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ViewController.h"

namespace velune::ui {
class Button;
class Label;
}  // namespace velune::ui

namespace velune::platform {

class MoveTargetPicker;

class MoveTargetPickerDelegate {
 public:
  virtual ~MoveTargetPickerDelegate() = default;
  virtual void documentTargetSelectionControllerDidSelectItemAtURL(MoveTargetPicker& picker, const URL& folder) = 0;
};

class MoveTargetPicker : public ui::ViewController, public ui::ListViewDataSource, public ui::ListViewDelegate {
 public:
  static constexpr int kMaxDepth = 8;
  static constexpr std::size_t kMaxRows = 2000;

  struct Row {
    URL folder;
    std::string name;
    int depth = 0;
  };

  static std::shared_ptr<MoveTargetPicker> make(std::vector<URL> urlsToMove);
  std::string_view kind() const override { return "MoveTargetPicker"; }

  const std::vector<URL>& urlsToMove() const { return urlsToMove_; }
  std::shared_ptr<MoveTargetPickerDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<MoveTargetPickerDelegate> delegate) { delegate_ = std::move(delegate); }

  // The folders offered (read when the view loads).
  const std::vector<Row>& rows() const { return rows_; }
  const std::shared_ptr<ui::ListView>& listView() const { return list_; }
  const std::shared_ptr<ui::Button>& cancelButton() const { return cancel_; }

  void loadView() override;

  std::size_t listViewNumberOfRows(ui::ListView& list) override;
  std::shared_ptr<ui::ListViewCell> listViewMakeCell(ui::ListView& list) override;
  void listViewConfigureCell(ui::ListView& list, ui::ListViewCell& cell, std::size_t row) override;
  void listViewDidSelectRow(ui::ListView& list, std::size_t row) override;

  explicit MoveTargetPicker(std::vector<URL> urlsToMove);

 private:
  void readFolders();
  void addFolders(const std::string& path, int depth);
  bool isBeingMoved(const std::string& path) const;

  std::vector<URL> urlsToMove_;
  std::weak_ptr<MoveTargetPickerDelegate> delegate_;
  std::vector<Row> rows_;
  bool truncated_ = false;
  std::shared_ptr<ui::Label> titleLabel_;
  std::shared_ptr<ui::Button> cancel_;
  std::shared_ptr<ui::ListView> list_;
};

}  // namespace velune::platform

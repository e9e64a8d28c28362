#pragma once
// SearchOverlay: a search of the whole drive by name, presented over a
// listing. Each change of the search text starts a new search (the one
// before is dropped): the drive is walked off the main thread on the
// listings' read queue, folder by folder (packages are not entered, hidden
// names are left out), and the items whose display name contains the text,
// ignoring case, are shown as rows, at most kResultLimit of them, sorted like
// a listing. A tap on a result reaches the listing's delegate as a tap on the
// listing would: a folder with its new listing
// (documentListControllerDidSelectContainerWithViewController), a document
// with its URL. Cancel dismisses the overlay.
//
// Identifiers: "<overlay>.field", "<overlay>.cancel", "<overlay>.count" and
// the list of results "<overlay>.rows". Main thread only; the search holds
// the overlay weakly.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/DocumentListing.h"
#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/ListView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {

class DocumentListController;

class SearchOverlay : public ui::ViewController, public ui::ListViewDataSource, public ui::ListViewDelegate {
 public:
  static constexpr size_t kResultLimit = 500;
  // A walk stops after this many folders, so a pathological drive cannot hold the queue.
  static constexpr size_t kFolderLimit = 50000;

  explicit SearchOverlay(std::weak_ptr<DocumentListController> listing);
  ~SearchOverlay() override;

  std::string_view kind() const override { return "SearchOverlay"; }

  void loadView() override;

  // Searches for `text` (what typing into the field does).
  void search(const std::string& text);
  const std::vector<DocumentListing::Item>& results() const { return results_; }
  // True while a search runs.
  bool isSearching() const { return searching_; }

  ui::TextField& searchField();
  ui::Button& cancelButton();
  ui::Label& countLabel();
  ui::ListView& rowsView();
  std::shared_ptr<DocumentListController> listing() const { return listing_.lock(); }

  size_t listViewNumberOfRows(ui::ListView& list) override;
  std::shared_ptr<ui::ListViewCell> listViewMakeCell(ui::ListView& list) override;
  void listViewConfigureCell(ui::ListView& list, ui::ListViewCell& cell, size_t row) override;
  void listViewDidSelectRow(ui::ListView& list, size_t row) override;

 private:
  void resultsArrived(std::uint64_t generation, std::vector<DocumentListing::Item> results);

  std::weak_ptr<DocumentListController> listing_;
  std::shared_ptr<std::atomic<std::uint64_t>> generation_;
  bool searching_ = false;
  std::vector<DocumentListing::Item> results_;
  std::shared_ptr<ui::TextField> field_;
  std::shared_ptr<ui::Button> cancel_;
  std::shared_ptr<ui::Label> count_;
  std::shared_ptr<ui::ListView> rows_;
};

}  // namespace velune::platform

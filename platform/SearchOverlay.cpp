#include "platform/SearchOverlay.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <deque>

#include "platform/DispatchQueue.h"
#include "platform/DocumentListCell.h"
#include "platform/DocumentListController.h"
#include "platform/FolderListingService.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/NameCollator.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/ui/Screen.h"

namespace velune::platform {

namespace {

// Case-folded UTF-16 of UTF-8 text (bad bytes become U+FFFD), for a search
// that ignores case in every script.
std::u16string folded(std::string_view text) {
  std::u16string utf16(text.size() + 1, u'\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(reinterpret_cast<UChar*>(utf16.data()), static_cast<int32_t>(utf16.size()), &length,
                       text.data(), static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
  if (U_FAILURE(status)) {
    return {};
  }
  utf16.resize(static_cast<size_t>(length));
  std::u16string out(utf16.size() * 3 + 1, u'\0');
  status = U_ZERO_ERROR;
  const int32_t foldedLength =
      u_strFoldCase(reinterpret_cast<UChar*>(out.data()), static_cast<int32_t>(out.size()),
                    reinterpret_cast<const UChar*>(utf16.data()), length, U_FOLD_CASE_DEFAULT, &status);
  if (U_FAILURE(status)) {
    return utf16;
  }
  out.resize(static_cast<size_t>(foldedLength));
  return out;
}

// Walks the drive for names containing `query`; stops early when the
// generation moves on.
std::vector<DocumentListing::Item> walk(const std::u16string& query, const std::shared_ptr<std::atomic<std::uint64_t>>& current,
                                        std::uint64_t generation) {
  std::vector<DocumentListing::Item> found;
  const auto services = Platform::services();
  if (!services->folderListings || !services->syncContainers) {
    return found;
  }
  std::deque<URL> folders;
  for (const auto& container : services->syncContainers->allContainers()) {
    const auto documents = container->documentsURL();
    if (!documents) {
      continue;
    }
    if (container->identifier() != services->syncContainers->defaultContainerIdentifier() &&
        folded(container->localizedName()).find(query) != std::u16string::npos) {
      DocumentListing::Item item;
      item.entry.name = documents->lastPathComponent();
      item.entry.url = *documents;
      item.entry.isDirectory = true;
      item.displayName = container->localizedName();
      item.isContainer = true;
      found.push_back(std::move(item));
    }
    folders.push_back(*documents);
  }
  size_t visited = 0;
  while (!folders.empty() && found.size() < SearchOverlay::kResultLimit && visited < SearchOverlay::kFolderLimit) {
    if (current->load() != generation) {
      return {};
    }
    const URL folder = folders.front();
    folders.pop_front();
    ++visited;
    auto entries = services->folderListings->entriesOfFolder(folder);
    if (!entries.ok()) {
      continue;  // a folder that vanished or cannot be read is skipped
    }
    for (auto& entry : entries.value()) {
      if (entry.isDirectory && !entry.isPackage) {
        folders.push_back(entry.url);
      }
      if (found.size() < SearchOverlay::kResultLimit && folded(entry.name).find(query) != std::u16string::npos) {
        DocumentListing::Item item;
        item.displayName = entry.name;
        item.entry = std::move(entry);
        found.push_back(std::move(item));
      }
    }
  }
  const NameCollator collator;
  std::vector<std::pair<std::string, size_t>> keys;
  for (size_t i = 0; i < found.size(); ++i) {
    keys.emplace_back(collator.sortKey(found[i].displayName), i);
  }
  std::sort(keys.begin(), keys.end());
  std::vector<DocumentListing::Item> sorted;
  sorted.reserve(found.size());
  for (const auto& [key, index] : keys) {
    sorted.push_back(std::move(found[index]));
  }
  return sorted;
}

}  // namespace

SearchOverlay::SearchOverlay(std::weak_ptr<DocumentListController> listing)
    : ui::ViewController("SearchOverlay"),
      listing_(std::move(listing)),
      generation_(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

SearchOverlay::~SearchOverlay() { ++*generation_; }

void SearchOverlay::loadView() {
  const auto screen = ui::Screen::mainScreen();
  auto container = ui::View::make(screen ? screen->bounds() : ui::Rect(0, 0, 390, 844));
  container->setIdentifier(identifier() + ".view");
  container->setBackgroundColor(ui::Color::white());
  const double width = container->bounds().width();

  field_ = std::make_shared<ui::TextField>(ui::Rect(16, 28, width - 110, 36));
  field_->setIdentifier(identifier() + ".field");
  field_->setPlaceholder(localized("Search"));
  field_->setAccessibilityLabel(localized("Search"));
  field_->setReturnKeyType(ui::ReturnKeyType::Search);
  field_->addAction(ui::ControlEvent::EditingChanged, [weak = weak_from_this()](ui::Control& control) {
    if (auto self = std::static_pointer_cast<SearchOverlay>(weak.lock())) {
      self->search(static_cast<ui::TextField&>(control).text());
    }
  });

  cancel_ = ui::Button::buttonWithType(ui::ButtonType::System);
  cancel_->setIdentifier(identifier() + ".cancel");
  cancel_->setTitle(localized("Cancel"), ui::ControlState::Normal);
  cancel_->setAccessibilityLabel(localized("Cancel"));
  cancel_->setFrame(ui::Rect(width - 86, 28, 70, 36));
  cancel_->addAction(ui::ControlEvent::TouchUpInside, [weak = weak_from_this()](ui::Control&) {
    if (auto self = weak.lock()) {
      self->dismissViewControllerAnimated(true);
    }
  });

  count_ = ui::Label::make();
  count_->setIdentifier(identifier() + ".count");
  count_->setFrame(ui::Rect(16, 68, width - 32, 20));

  rows_ = ui::ListView::make(ui::Rect(0, 92, width, container->bounds().height() - 92));
  rows_->setIdentifier(identifier() + ".rows");
  rows_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleHeight);
  rows_->setRowHeight(DocumentListCell::kRowHeight);
  const auto self = std::static_pointer_cast<SearchOverlay>(shared_from_this());
  rows_->setDataSource(std::static_pointer_cast<ui::ListViewDataSource>(self));
  rows_->setDelegate(std::static_pointer_cast<ui::ListViewDelegate>(self));
  container->addSubview(rows_);
  container->addSubview(field_);
  container->addSubview(cancel_);
  container->addSubview(count_);
  setView(container);
}

size_t SearchOverlay::listViewNumberOfRows(ui::ListView& /*list*/) { return results_.size(); }

std::shared_ptr<ui::ListViewCell> SearchOverlay::listViewMakeCell(ui::ListView& /*list*/) {
  return std::make_shared<DocumentListCell>();
}

void SearchOverlay::listViewConfigureCell(ui::ListView& /*list*/, ui::ListViewCell& listCell, size_t row) {
  auto* cell = dynamic_cast<DocumentListCell*>(&listCell);
  if (cell == nullptr || row >= results_.size()) {
    return;
  }
  DocumentListCell::Content content;
  content.name = results_[row].displayName;
  content.isFolder = results_[row].entry.isDirectory && !results_[row].entry.isPackage;
  content.isCloudOnly = results_[row].entry.isCloudOnly;
  content.detail = results_[row].entry.url.URLByDeletingLastPathComponent().lastPathComponent();
  const auto services = Platform::services();
  content.icon = DocumentListCell::iconFor(services->documentIcons.get(), results_[row].entry);
  cell->configure(content);
}

ui::TextField& SearchOverlay::searchField() {
  loadViewIfNeeded();
  return *field_;
}
ui::Button& SearchOverlay::cancelButton() {
  loadViewIfNeeded();
  return *cancel_;
}
ui::Label& SearchOverlay::countLabel() {
  loadViewIfNeeded();
  return *count_;
}
ui::ListView& SearchOverlay::rowsView() {
  loadViewIfNeeded();
  return *rows_;
}

void SearchOverlay::search(const std::string& text) {
  VELUNE_ASSERT_MAIN_THREAD();
  const std::uint64_t generation = ++*generation_;
  const std::u16string query = folded(text);
  if (query.empty()) {
    searching_ = false;
    resultsArrived(generation, {});
    return;
  }
  searching_ = true;
  DocumentListing::readQueue()->async(
      [weak = weak_from_this(), current = generation_, generation, query] {
        auto found = walk(query, current, generation);
        if (current->load() != generation) {
          return;
        }
        DispatchQueue::main()->async([weak, generation, found = std::move(found)]() mutable {
          if (auto self = std::static_pointer_cast<SearchOverlay>(weak.lock())) {
            self->resultsArrived(generation, std::move(found));
          }
        });
      });
}

void SearchOverlay::resultsArrived(std::uint64_t generation, std::vector<DocumentListing::Item> results) {
  if (generation != generation_->load()) {
    return;
  }
  searching_ = false;
  results_ = std::move(results);
  loadViewIfNeeded();
  count_->setText(localizedFormat(".DICT.RESULTS.%d", static_cast<int>(results_.size())));
  rows_->reloadData();
}

void SearchOverlay::listViewDidSelectRow(ui::ListView& /*list*/, size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  auto listing = listing_.lock();
  if (!listing || row >= results_.size()) {
    return;
  }
  const auto delegate = listing->delegate();
  if (!delegate) {
    return;
  }
  auto keep = shared_from_this();
  const DocumentListing::Item item = results_[row];
  if (item.entry.isDirectory && !item.entry.isPackage) {
    delegate->documentListControllerDidSelectContainerWithViewController(
        *listing, DocumentListController::listingForFolder(item.entry.url));
  } else {
    delegate->documentListControllerDidSelectItemAtURL(*listing, item.entry.url);
  }
}

}  // namespace velune::platform

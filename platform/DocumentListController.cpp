#include "platform/DocumentListController.h"

#include <algorithm>

#include "platform/ByteCountFormatter.h"
#include "platform/DateFormatter.h"
#include "platform/DocumentListCell.h"
#include "platform/DocumentListRowsView.h"
#include "platform/FileSystem.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/SearchOverlay.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/SyncURLService.h"
#include "platform/ui/Screen.h"

namespace velune::platform {

namespace {

// The bars above the rows (status bar and navigation bar) and the search
// button; the toolbar below them.
constexpr double kTopBarsHeight = 64;
constexpr double kSearchHeight = 44;
constexpr double kToolbarHeight = 44;

std::string rootTitle() {
  const auto containers = Platform::services()->syncContainers;
  return containers ? containers->localizedNameOfDefaultContainer() : std::string();
}

// A container's name for its documents folder, else the folder's own name.
std::string folderTitle(const URL& folder) {
  const auto services = Platform::services();
  if (services->syncURLs && services->syncContainers && services->syncURLs->isDocumentsContainer(folder)) {
    auto container = services->syncContainers->containerForItemAtURL(folder);
    if (container.ok() && container.value()) {
      return container.value()->localizedName();
    }
  }
  return folder.lastPathComponent();
}

std::vector<std::string> splitPath(const std::string& relative) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= relative.size()) {
    const size_t slash = relative.find('/', start);
    const size_t end = slash == std::string::npos ? relative.size() : slash;
    if (end > start) {
      parts.push_back(relative.substr(start, end - start));
    }
    if (slash == std::string::npos) {
      break;
    }
    start = slash + 1;
  }
  return parts;
}

}  // namespace

DocumentListController::DocumentListController()
    : ui::ViewController("DocumentListController"), listing_(DocumentListing::makeRoot()) {
  setTitle(rootTitle());
  connectListing();
}

DocumentListController::DocumentListController(PrivateTag, std::shared_ptr<DocumentListing> listing, std::string title)
    : ui::ViewController("DocumentListController"), listing_(std::move(listing)) {
  setTitle(std::move(title));
  connectListing();
}

DocumentListController::~DocumentListController() { listing_->stop(); }

std::shared_ptr<DocumentListController> DocumentListController::listingForFolder(const URL& folder) {
  const URL directory = folder.hasDirectoryPath() ? folder : URL::fileURLWithPath(folder.path(), true);
  return std::make_shared<DocumentListController>(PrivateTag{}, DocumentListing::makeFolder(directory),
                                                  folderTitle(directory));
}

std::optional<std::vector<std::shared_ptr<DocumentListController>>>
DocumentListController::listControllerHierarchyForURL(const URL& folder) {
  const auto services = Platform::services();
  if (!services->syncURLs || !services->syncContainers || !services->fileSystem || !folder.isFileURL()) {
    return std::nullopt;
  }
  const auto relative = services->syncURLs->relativePathToCloudRoot(folder);
  if (!relative) {
    return std::nullopt;
  }
  const std::vector<std::string> parts = splitPath(*relative);
  for (const auto& part : parts) {
    if (part == "." || part == "..") {
      return std::nullopt;
    }
  }
  std::vector<std::shared_ptr<DocumentListController>> hierarchy{std::make_shared<DocumentListController>()};
  if (parts.empty()) {
    return hierarchy;
  }
  // Below the top level only a container's documents folder and what it holds.
  if (parts.size() < 2 || parts[1] != "Documents") {
    return std::nullopt;
  }
  URL level = services->syncURLs->cloudDocumentsRootURL()
                  .URLByAppendingPathComponent(parts[0], true)
                  .URLByAppendingPathComponent(parts[1], true);
  bool isDirectory = false;
  if (!services->fileSystem->fileExistsAtPath(level.path(), &isDirectory) || !isDirectory) {
    return std::nullopt;
  }
  // The default container's documents are the top level itself.
  if (parts[0] != services->syncContainers->defaultContainerIdentifier()) {
    hierarchy.push_back(listingForFolder(level));
  }
  for (size_t i = 2; i < parts.size(); ++i) {
    level = level.URLByAppendingPathComponent(parts[i], true);
    if (!services->fileSystem->fileExistsAtPath(level.path(), &isDirectory) || !isDirectory) {
      return std::nullopt;
    }
    hierarchy.push_back(listingForFolder(level));
  }
  return hierarchy;
}

void DocumentListController::connectListing() {
  // Handlers run on the main thread and are cleared by stop() in the
  // destructor, so they may name this controller directly.
  listing_->onItemsChanged = [this] {
    // The selection never holds items that are gone.
    std::erase_if(selected_, [this](const URL& url) { return !listing_->indexOfURL(url); });
    if (rows_) {
      rows_->reloadData();
    }
    itemsChanged();
  };
  listing_->onRecordsChanged = [this](size_t first, size_t count) {
    if (rows_) {
      rows_->reloadRows(first, count);
    }
  };
  listing_->start();
}

std::optional<URL> DocumentListController::presentedURL() const {
  if (listing_->folderURL().isEmpty()) {
    return std::nullopt;
  }
  return listing_->folderURL();
}

std::vector<URL> DocumentListController::selectedItems() const {
  std::vector<URL> selected;
  selected.reserve(selected_.size());
  for (const auto& url : listing_->itemURLs()) {
    if (selected_.count(url) != 0) {
      selected.push_back(url);
    }
  }
  return selected;
}

void DocumentListController::setSelectedItems(const std::vector<URL>& items) {
  VELUNE_ASSERT_MAIN_THREAD();
  selected_.clear();
  selected_.reserve(items.size());
  for (const auto& url : items) {
    if (listing_->indexOfURL(url)) {
      selected_.insert(url);
    }
  }
  if (rows_) {
    const auto [first, count] = rows_->visibleRange();
    rows_->reloadRows(first, count);
  }
  itemsChanged();
}

void DocumentListController::setAvailableActions(std::uint32_t actions) {
  VELUNE_ASSERT_MAIN_THREAD();
  availableActions_ = actions;
  if (rows_) {
    const auto [first, count] = rows_->visibleRange();
    rows_->reloadRows(first, count);
  }
}

void DocumentListController::setEditing(bool editing, bool animated) {
  ui::ViewController::setEditing(editing, animated);
  const bool hadSelection = !selected_.empty();
  if (!editing) {
    selected_.clear();
  }
  if (rows_) {
    const auto [first, count] = rows_->visibleRange();
    rows_->reloadRows(first, count);
  }
  if (!editing && hadSelection) {
    itemsChanged();
  }
}

void DocumentListController::loadView() {
  const auto screen = ui::Screen::mainScreen();
  auto container = ui::View::make(screen ? screen->bounds() : ui::Rect(0, 0, 390, 844));
  container->setIdentifier(identifier() + ".view");
  const ui::Rect bounds = container->bounds();

  search_ = ui::Button::buttonWithType(ui::ButtonType::System);
  search_->setIdentifier(identifier() + ".search");
  search_->setTitle(localized("Search"), ui::ControlState::Normal);
  search_->setAccessibilityLabel(localized("Search"));
  search_->setFrame(ui::Rect(0, kTopBarsHeight, bounds.width(), kSearchHeight));
  search_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth);
  search_->addAction(ui::ControlEvent::TouchUpInside, [weak = weak_from_this()](ui::Control&) {
    if (auto self = std::static_pointer_cast<DocumentListController>(weak.lock())) {
      self->presentSearch();
    }
  });

  rows_ = std::make_shared<DocumentListRowsView>(identifier());
  rows_->setFrame(bounds);
  rows_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleHeight);
  rows_->numberOfRows = [this] { return listing_->items().size(); };
  rows_->configureCell = [this](DocumentListCell& cell, size_t row) { configureCell(cell, row); };
  rows_->prepareCell = [weak = weak_from_this()](DocumentListCell& cell) {
    cell.onTap = [weak](DocumentListCell& tapped) {
      if (auto self = std::static_pointer_cast<DocumentListController>(weak.lock())) {
        self->cellTapped(tapped.row());
      }
    };
    cell.onAction = [weak](DocumentListCell& acted, DocumentListRowAction action,
                           const std::shared_ptr<ui::View>& origin) {
      if (auto self = std::static_pointer_cast<DocumentListController>(weak.lock())) {
        self->cellAction(acted.row(), action, origin);
      }
    };
  };
  rows_->onVisibleRangeChanged = [this](size_t first, size_t count) { listing_->setVisibleRange(first, count); };
  container->addSubview(rows_);
  container->addSubview(search_);
  setView(container);
  rows_->setInsets(kTopBarsHeight + kSearchHeight, kToolbarHeight);
  rows_->reloadData();
}

DocumentListRowsView& DocumentListController::rowsView() {
  loadViewIfNeeded();
  return *rows_;
}

ui::Button& DocumentListController::searchButton() {
  loadViewIfNeeded();
  return *search_;
}

void DocumentListController::configureCell(DocumentListCell& cell, size_t row) {
  const auto& items = listing_->items();
  if (row >= items.size()) {
    return;
  }
  const DocumentListing::Item& item = items[row];
  DocumentListCell::Content content;
  content.name = item.displayName;
  content.isFolder = item.entry.isDirectory && !item.entry.isPackage;
  content.isCloudOnly = item.entry.isCloudOnly;
  content.isEditing = isEditing();
  content.isSelected = selected_.count(item.entry.url) != 0;
  content.availableActions = availableActions_;
  if (content.isFolder) {
    content.detail = localized("Folder");
  } else if (item.record) {
    content.detail = ByteCountFormatter::stringFromByteCount(static_cast<std::int64_t>(item.record->size),
                                                             ByteCountFormatter::CountStyle::File);
    if (item.record->modificationDate) {
      content.detail += " \u2013 " + DateFormatter::localizedString(*item.record->modificationDate, 1, 1);
    }
  }
  cell.configure(row, content);
}

void DocumentListController::itemsChanged() {
  auto keep = shared_from_this();
  if (auto d = delegate()) {
    d->documentListControllerItemsChanged(*this);
  }
}

void DocumentListController::cellTapped(size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto& items = listing_->items();
  if (row >= items.size()) {
    return;
  }
  const URL url = items[row].entry.url;
  if (isEditing()) {
    if (!selected_.erase(url)) {
      selected_.insert(url);
    }
    rows_->reloadRows(row, 1);
    itemsChanged();
    return;
  }
  auto keep = shared_from_this();
  const auto d = delegate();
  if (!d) {
    return;
  }
  if (items[row].entry.isDirectory && !items[row].entry.isPackage) {
    d->documentListControllerDidSelectContainerWithViewController(*this, listingForFolder(url));
  } else {
    d->documentListControllerDidSelectItemAtURL(*this, url);
  }
}

void DocumentListController::cellAction(size_t row, DocumentListRowAction action,
                                        const std::shared_ptr<ui::View>& origin) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto& items = listing_->items();
  if (row >= items.size() || (availableActions_ & availableActionBit(action)) == 0) {
    return;
  }
  const URL url = items[row].entry.url;
  auto keep = shared_from_this();
  if (auto d = delegate()) {
    auto completion = [weak = weak_from_this(), url] {
      auto self = std::static_pointer_cast<DocumentListController>(weak.lock());
      if (!self || !self->rows_) {
        return;
      }
      if (const auto index = self->listing_->indexOfURL(url)) {
        if (auto cell = self->rows_->cellForRow(*index)) {
          cell->revealSwipeActions(false);
        }
      }
    };
    d->documentListControllerPerformAction(*this, action, url, origin, std::move(completion));
  }
}

void DocumentListController::presentSearch() {
  VELUNE_ASSERT_MAIN_THREAD();
  auto overlay = std::make_shared<SearchOverlay>(
      std::static_pointer_cast<DocumentListController>(shared_from_this()));
  presentViewController(overlay, true);
}

}  // namespace velune::platform

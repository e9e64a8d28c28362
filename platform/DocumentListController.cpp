#include "platform/DocumentListController.h"

#include <algorithm>

#include "platform/ByteCountFormatter.h"
#include "platform/DateFormatter.h"
#include "platform/DocumentListCell.h"
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
  iconService_ = Platform::services()->documentIcons;
  // Handlers run on the main thread and are cleared by stop() in the
  // destructor, so they may name this controller directly.
  listing_->onItemsChanged = [this] {
    // The selection never holds items that are gone.
    std::erase_if(selected_, [this](const URL& url) { return !listing_->indexOfURL(url); });
    if (rows_) {
      rows_->reloadData();
      showSelection();
    }
    itemsChanged();
  };
  listing_->onRecordsChanged = [this](size_t first, size_t count) {
    if (!rows_) {
      return;
    }
    // Only the rows that have cells now need drawing again.
    std::vector<size_t> shown;
    for (const auto& [row, cell] : rows_->visibleCells()) {
      if (row >= first && row - first < count) {
        shown.push_back(row);
      }
    }
    if (!shown.empty()) {
      rows_->reloadRows(shown);
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
  showSelection();
  itemsChanged();
}

void DocumentListController::showSelection() {
  if (!rows_) {
    return;
  }
  if (selected_.empty()) {
    rows_->deselectAllRows();
    return;
  }
  if (selected_.size() == listing_->items().size()) {
    rows_->selectAllRows();
    return;
  }
  rows_->deselectAllRows();
  for (const auto& url : selected_) {
    if (const auto row = listing_->indexOfURL(url)) {
      rows_->selectRow(*row);
    }
  }
}

void DocumentListController::setAvailableActions(DocumentListAvailableActions actions) {
  VELUNE_ASSERT_MAIN_THREAD();
  availableActions_ = actions;
  if (rows_) {
    std::vector<size_t> shown;
    for (const auto& [row, cell] : rows_->visibleCells()) {
      shown.push_back(row);
    }
    rows_->reloadRows(shown);
  }
}

void DocumentListController::setEditing(bool editing, bool animated) {
  ui::ViewController::setEditing(editing, animated);
  const bool hadSelection = !selected_.empty();
  if (!editing) {
    selected_.clear();
  }
  if (rows_) {
    rows_->setEditing(editing);
    showSelection();
    std::vector<size_t> shown;
    for (const auto& [row, cell] : rows_->visibleCells()) {
      shown.push_back(row);
    }
    rows_->reloadRows(shown);
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

  rows_ = ui::ListView::make(ui::Rect(0, kTopBarsHeight + kSearchHeight, bounds.width(),
                                      bounds.height() - kTopBarsHeight - kSearchHeight - kToolbarHeight));
  rows_->setIdentifier(identifier() + ".rows");
  rows_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleHeight);
  rows_->setRowHeight(DocumentListCell::kRowHeight);
  const auto self = std::static_pointer_cast<DocumentListController>(shared_from_this());
  rows_->setDataSource(std::static_pointer_cast<ui::ListViewDataSource>(self));
  rows_->setDelegate(std::static_pointer_cast<ui::ListViewDelegate>(self));
  container->addSubview(rows_);
  container->addSubview(search_);
  setView(container);
  rows_->setEditing(isEditing());
  rows_->reloadData();
  showSelection();
}

ui::ListView& DocumentListController::rowsView() {
  loadViewIfNeeded();
  return *rows_;
}

std::shared_ptr<DocumentListCell> DocumentListController::cellForRow(size_t row) {
  return std::dynamic_pointer_cast<DocumentListCell>(rowsView().cellForRow(row));
}

ui::Button& DocumentListController::searchButton() {
  loadViewIfNeeded();
  return *search_;
}

size_t DocumentListController::listViewNumberOfRows(ui::ListView& /*list*/) { return listing_->items().size(); }

std::shared_ptr<ui::ListViewCell> DocumentListController::listViewMakeCell(ui::ListView& /*list*/) {
  auto cell = std::make_shared<DocumentListCell>();
  cell->onAction = [weak = weak_from_this()](DocumentListCell& acted, DocumentListRowAction action,
                                            const std::shared_ptr<ui::View>& origin) {
    auto self = std::static_pointer_cast<DocumentListController>(weak.lock());
    if (self && acted.row()) {
      self->reportAction(*acted.row(), action, origin);
    }
  };
  return cell;
}

void DocumentListController::listViewConfigureCell(ui::ListView& /*list*/, ui::ListViewCell& listCell, size_t row) {
  const auto& items = listing_->items();
  auto* cellPointer = dynamic_cast<DocumentListCell*>(&listCell);
  if (row >= items.size() || cellPointer == nullptr) {
    return;
  }
  DocumentListCell& cell = *cellPointer;
  const DocumentListing::Item& item = items[row];
  DocumentListCell::Content content;
  content.name = item.displayName;
  content.isFolder = item.entry.isDirectory && !item.entry.isPackage;
  content.isCloudOnly = item.entry.isCloudOnly;
  content.isEditing = isEditing();
  content.availableActions = availableActions_;
  content.icon = DocumentListCell::iconFor(iconService_.get(), item.entry);
  if (content.isFolder) {
    content.detail = localized("Folder");
  } else if (item.record) {
    content.detail = ByteCountFormatter::stringFromByteCount(static_cast<std::int64_t>(item.record->size),
                                                             ByteCountFormatter::CountStyle::File);
    if (item.record->modificationDate) {
      content.detail += " \u2013 " + DateFormatter::localizedString(*item.record->modificationDate, 1, 1);
    }
  }
  cell.configure(content);
}

std::vector<ui::ListRowAction> DocumentListController::listViewActionsForRow(ui::ListView& /*list*/, size_t /*row*/) {
  std::vector<ui::ListRowAction> actions;
  if (allows(availableActions_, DocumentListRowAction::Rename)) {
    actions.push_back({static_cast<int>(DocumentListRowAction::Rename), localized("Rename"), false});
  }
  if (allows(availableActions_, DocumentListRowAction::Delete)) {
    actions.push_back({static_cast<int>(DocumentListRowAction::Delete), localized("Delete"), true});
  }
  return actions;
}

void DocumentListController::listViewSelectionDidChange(ui::ListView& list) {
  selected_.clear();
  const auto& items = listing_->items();
  for (const size_t row : list.selectedRows()) {
    if (row < items.size()) {
      selected_.insert(items[row].entry.url);
    }
  }
  itemsChanged();
}

void DocumentListController::listViewPerformRowAction(ui::ListView& /*list*/, size_t row, int action,
                                                      const std::shared_ptr<ui::View>& originatingView) {
  reportAction(row, static_cast<DocumentListRowAction>(action), originatingView);
}

void DocumentListController::listViewDidScroll(ui::ListView& list) {
  const auto range = list.visibleRowRange();
  listing_->setVisibleRange(range.first, range.count);
}

void DocumentListController::itemsChanged() {
  auto keep = shared_from_this();
  if (auto d = delegate()) {
    d->documentListControllerItemsChanged(*this);
  }
}

void DocumentListController::listViewDidSelectRow(ui::ListView& /*list*/, size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto& items = listing_->items();
  if (row >= items.size()) {
    return;
  }
  const URL url = items[row].entry.url;
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

void DocumentListController::reportAction(size_t row, DocumentListRowAction action,
                                          const std::shared_ptr<ui::View>& origin) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto& items = listing_->items();
  if (row >= items.size() || !allows(availableActions_, action)) {
    return;
  }
  const URL url = items[row].entry.url;
  auto keep = shared_from_this();
  if (auto d = delegate()) {
    // The list has put the swipe actions away already; nothing waits for the end.
    d->documentListControllerPerformAction(*this, action, url, origin, [] {});
  }
}

void DocumentListController::presentSearch() {
  VELUNE_ASSERT_MAIN_THREAD();
  auto overlay = std::make_shared<SearchOverlay>(
      std::static_pointer_cast<DocumentListController>(shared_from_this()));
  presentViewController(overlay, true);
}

}  // namespace velune::platform

#include "platform/MoveTargetPicker.h"

#include <algorithm>

#include "platform/FileSystem.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/SyncContainer.h"
#include "platform/SyncContainerService.h"
#include "platform/TypeRegistry.h"
#include "platform/ui/Button.h"
#include "platform/ui/Color.h"
#include "platform/ui/Label.h"
#include "platform/ui/ListViewCell.h"

namespace velune::platform {

namespace {

constexpr double kHeaderHeight = 64;
constexpr double kRowHeight = 44;
constexpr double kIndent = 20;

std::string pathWithoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

}  // namespace

std::shared_ptr<MoveTargetPicker> MoveTargetPicker::make(std::vector<URL> urlsToMove) {
  return std::make_shared<MoveTargetPicker>(std::move(urlsToMove));
}

MoveTargetPicker::MoveTargetPicker(std::vector<URL> urlsToMove)
    : ui::ViewController("MoveTargetPicker"), urlsToMove_(std::move(urlsToMove)) {}

bool MoveTargetPicker::isBeingMoved(const std::string& path) const {
  return std::any_of(urlsToMove_.begin(), urlsToMove_.end(), [&](const URL& url) {
    const std::string moved = pathWithoutTrailingSlash(url.path());
    return path == moved || (path.size() > moved.size() && path.compare(0, moved.size(), moved) == 0 &&
                             path[moved.size()] == '/');
  });
}

void MoveTargetPicker::addFolders(const std::string& path, int depth) {
  if (depth > kMaxDepth) {
    return;
  }
  const auto fileSystem = Platform::services()->fileSystem;
  const auto types = Platform::services()->typeRegistry;
  auto names = fileSystem->contentsOfDirectoryAtPath(path);
  if (!names.ok()) {
    return;
  }
  std::vector<std::string> sorted = names.value();
  std::sort(sorted.begin(), sorted.end());
  for (const auto& name : sorted) {
    if (name.empty() || name.front() == '.') {
      continue;
    }
    const std::string child = path + "/" + name;
    bool isDirectory = false;
    if (!fileSystem->fileExistsAtPath(child, &isDirectory) || !isDirectory || isBeingMoved(child)) {
      continue;
    }
    if (const auto dot = name.rfind('.'); dot != std::string::npos && dot > 0 && types) {
      const std::string type = types->preferredIdentifierForExtension(name.substr(dot + 1));
      if (!type.empty() && types->typeConformsTo(type, "public.package")) {
        continue;  // a document, not a folder
      }
    }
    if (rows_.size() >= kMaxRows) {
      truncated_ = true;
      return;
    }
    rows_.push_back(Row{URL::fileURLWithPath(child, true), name, depth});
    addFolders(child, depth + 1);
  }
}

void MoveTargetPicker::readFolders() {
  rows_.clear();
  truncated_ = false;
  const auto containers = Platform::services()->syncContainers;
  if (!containers) {
    return;
  }
  auto all = containers->allContainers();
  const std::string defaultIdentifier = containers->defaultContainerIdentifier();
  // The drive's own container first, the others by name.
  std::stable_sort(all.begin(), all.end(), [&](const auto& a, const auto& b) {
    if ((a->identifier() == defaultIdentifier) != (b->identifier() == defaultIdentifier)) {
      return a->identifier() == defaultIdentifier;
    }
    return a->localizedName() < b->localizedName();
  });
  for (const auto& container : all) {
    const auto documents = container->documentsURL();
    if (!documents || rows_.size() >= kMaxRows) {
      continue;
    }
    rows_.push_back(Row{*documents, container->localizedName(), 0});
    addFolders(pathWithoutTrailingSlash(documents->path()), 1);
  }
  if (truncated_) {
    PLATFORM_LOG(kLogWarning, "The move picker shows only the first %@ folders", kMaxRows);
  }
}

void MoveTargetPicker::loadView() {
  ui::ViewController::loadView();
  const auto root = view();
  root->setBackgroundColor(ui::Color::white());
  const ui::Rect bounds = root->bounds();

  titleLabel_ = ui::Label::make(localized("Move to…"));
  titleLabel_->setIdentifier(identifier() + ".title");
  titleLabel_->setFont(ui::Font::boldSystemFontOfSize(17));
  titleLabel_->setTextAlignment(ui::TextAlignment::Center);
  titleLabel_->setFrame(ui::Rect(80, 20, std::max(0.0, bounds.size.width - 160), 44));
  titleLabel_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth);
  root->addSubview(titleLabel_);

  cancel_ = ui::Button::buttonWithType(ui::ButtonType::System);
  cancel_->setIdentifier(identifier() + ".cancel");
  cancel_->setTitle(localized("Cancel"), ui::ControlState::Normal);
  cancel_->setFrame(ui::Rect(8, 20, 72, 44));
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  cancel_->addAction(ui::ControlEvent::TouchUpInside, [weakSelf](ui::Control&) {
    if (const auto self = weakSelf.lock()) {
      self->dismissViewControllerAnimated(true);
    }
  });
  root->addSubview(cancel_);

  readFolders();
  list_ = ui::ListView::make(
      ui::Rect(0, kHeaderHeight, bounds.size.width, std::max(0.0, bounds.size.height - kHeaderHeight)));
  list_->setIdentifier(identifier() + ".folders");
  list_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleHeight);
  list_->setRowHeight(kRowHeight);
  root->addSubview(list_);
  const auto self = std::static_pointer_cast<MoveTargetPicker>(shared_from_this());
  list_->setDataSource(std::static_pointer_cast<ui::ListViewDataSource>(self));
  list_->setDelegate(std::static_pointer_cast<ui::ListViewDelegate>(self));
  list_->reloadData();
}

std::size_t MoveTargetPicker::listViewNumberOfRows(ui::ListView& /*list*/) { return rows_.size(); }

std::shared_ptr<ui::ListViewCell> MoveTargetPicker::listViewMakeCell(ui::ListView& list) {
  auto cell = ui::ListViewDataSource::listViewMakeCell(list);
  auto label = ui::Label::make();
  label->setIdentifier(cell->identifier() + ".name");
  cell->contentView()->addSubview(label);
  return cell;
}

void MoveTargetPicker::listViewConfigureCell(ui::ListView& list, ui::ListViewCell& cell, std::size_t row) {
  if (row >= rows_.size() || cell.contentView()->subviews().empty()) {
    return;
  }
  const Row& entry = rows_[row];
  auto label = std::dynamic_pointer_cast<ui::Label>(cell.contentView()->subviews().front());
  if (!label) {
    return;
  }
  label->setText(entry.name);
  label->setFont(entry.depth == 0 ? ui::Font::boldSystemFontOfSize(17) : ui::Font::systemFontOfSize(17));
  const double indent = 16 + kIndent * entry.depth;
  label->setFrame(ui::Rect(indent, 0, std::max(0.0, list.bounds().size.width - indent - 16), kRowHeight));
  label->setAccessibilityLabel(entry.folder.path());
}

void MoveTargetPicker::listViewDidSelectRow(ui::ListView& /*list*/, std::size_t row) {
  VELUNE_ASSERT_MAIN_THREAD();
  if (row >= rows_.size()) {
    return;
  }
  const URL folder = rows_[row].folder;
  if (const auto strong = delegate()) {
    strong->documentTargetSelectionControllerDidSelectItemAtURL(*this, folder);
  }
}

}  // namespace velune::platform

#include "platform/ui/ListViewCell.h"

#include "platform/MainThread.h"
#include "platform/ui/Button.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

namespace {
constexpr double kCheckMarkDiameter = 22;
}  // namespace

ListViewCell::ListViewCell() : View(Rect(), "ListViewCell") {
  setAutoresizingMask(Autoresizing::FlexibleWidth);
  contentView_ = View::make();
  contentView_->setIdentifier(identifier() + ".content");
  contentView_->setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleHeight);
  checkMark_ = View::make();
  checkMark_->setIdentifier(identifier() + ".checkmark");
  checkMark_->setHidden(true);
  checkMark_->setUserInteractionEnabled(false);
  checkMark_->layer().setCornerRadius(kCheckMarkDiameter / 2);
}

std::shared_ptr<ListViewCell> ListViewCell::make() {
  auto cell = std::make_shared<ListViewCell>();
  cell->installParts();
  return cell;
}

void ListViewCell::installParts() {
  if (contentView_->superview().get() != this) {
    insertSubview(contentView_, 0);
  }
  if (checkMark_->superview().get() != this) {
    addSubview(checkMark_);
  }
  placeContent();
}

void ListViewCell::attach(const std::shared_ptr<ListView>& list, size_t row) {
  list_ = list;
  row_ = row;
  hideActions();
}

void ListViewCell::detach() {
  row_.reset();
  hideActions();
}

void ListViewCell::setEditingState(bool editing, bool checked) {
  if (editing_ == editing && checked_ == checked) {
    return;
  }
  editing_ = editing;
  checked_ = checked;
  checkMark_->setHidden(!editing);
  checkMark_->setBackgroundColor(checked ? std::optional<Color>(tintColor()) : std::optional<Color>(Color::lightGray()));
  placeContent();
}

void ListViewCell::showActions(const std::vector<ListRowAction>& actions) {
  hideActions();
  std::weak_ptr<ListViewCell> weakCell = std::static_pointer_cast<ListViewCell>(shared_from_this());
  for (const auto& action : actions) {
    auto button = Button::buttonWithType(ButtonType::Custom);
    button->setIdentifier(identifier() + ".action." + std::to_string(action.index));
    button->setTitle(action.title, ControlState::Normal);
    button->setTitleColor(Color::white());
    button->setBackgroundColor(action.destructive ? Color::red() : Color::gray());
    const int index = action.index;
    button->addAction(ControlEvent::TouchUpInside, [weakCell, index](Control&) {
      auto cell = weakCell.lock();
      if (!cell) {
        return;
      }
      if (auto list = cell->list_.lock()) {
        list->actionTapped(*cell, index);
      }
    });
    addSubview(button);
    actionButtons_.push_back(button);
  }
  placeContent();
}

void ListViewCell::hideActions() {
  if (actionButtons_.empty()) {
    return;
  }
  for (const auto& button : actionButtons_) {
    button->removeFromSuperview();
  }
  actionButtons_.clear();
  placeContent();
}

void ListViewCell::placeContent() {
  const double width = bounds().width();
  const double height = bounds().height();
  const double inset = editing_ ? kCheckMarkWidth : 0;
  const double actions = kActionWidth * static_cast<double>(actionButtons_.size());
  // Revealed actions push the content aside instead of covering it.
  contentView_->setFrame(Rect(inset - actions, 0, std::max(0.0, width - inset), height));
  checkMark_->setFrame(Rect((kCheckMarkWidth - kCheckMarkDiameter) / 2, (height - kCheckMarkDiameter) / 2,
                            kCheckMarkDiameter, kCheckMarkDiameter));
  double x = width - actions;
  for (const auto& button : actionButtons_) {
    button->setFrame(Rect(x, 0, kActionWidth, height));
    x += kActionWidth;
  }
}

void ListViewCell::layoutSubviews() { placeContent(); }

bool ListViewCell::tap() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!acceptsInput()) {
    return false;
  }
  auto list = list_.lock();
  return list && list->cellTapped(*this);
}

bool ListViewCell::swipe() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!acceptsInput()) {
    return false;
  }
  auto list = list_.lock();
  return list && list->cellSwiped(*this);
}

}  // namespace velune::ui

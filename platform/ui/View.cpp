#include "platform/ui/View.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/DispatchQueue.h"
#include "platform/Format.h"
#include "platform/MainThread.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "platform/ui/LayoutSystem.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

View::View(Rect frame) : View(frame, "View") {}

View::View(Rect frame, std::string_view kind) : Element(kind), frame_(frame), layer_(std::make_shared<Layer>()) {
  layer_->setFrame(bounds());
}

View::~View() = default;

void View::setFrame(Rect frame) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  applyFrame(frame, false);
}

void View::applyFrame(Rect frame, bool fromLayout) {
  if (frame == frame_) {
    return;
  }
  const Size oldSize = frame_.size;
  frame_ = frame;
  layer_->setFrame(bounds());
  if (!(oldSize == frame.size)) {
    needsDisplay_ = true;
    resizeSubviewsWithOldSize(oldSize, fromLayout);
  }
  if (!fromLayout) {
    markTreeNeedsLayout();
  }
}

void View::setBounds(Rect bounds) {
  const Point c = center();
  setFrame(Rect(c.x - bounds.width() / 2, c.y - bounds.height() / 2, bounds.width(), bounds.height()));
}

void View::setCenter(Point c) { setFrame(Rect(c.x - frame_.width() / 2, c.y - frame_.height() / 2, frame_.width(), frame_.height())); }

void View::resizeSubviewsWithOldSize(Size oldSize, bool fromLayout) {
  const double dw = frame_.width() - oldSize.width;
  const double dh = frame_.height() - oldSize.height;
  for (const auto& child : subviews_) {
    if (!child->translatesAutoresizingMask_ || child->autoresizingMask_ == Autoresizing::None) {
      continue;
    }
    // The change is shared among the flexible parts of each axis, in
    // proportion to their sizes (equally when they are all zero).
    auto share = [](double delta, bool flexA, double a, bool flexB, double b, bool flexC, double c) {
      double parts[3] = {flexA ? a : 0, flexB ? b : 0, flexC ? c : 0};
      const bool flex[3] = {flexA, flexB, flexC};
      const int count = int(flexA) + int(flexB) + int(flexC);
      double sum = parts[0] + parts[1] + parts[2];
      double out[3] = {0, 0, 0};
      for (int i = 0; i < 3; ++i) {
        if (flex[i]) {
          out[i] = sum > 0 ? delta * parts[i] / sum : delta / count;
        }
      }
      return std::array<double, 3>{out[0], out[1], out[2]};
    };
    Rect f = child->frame_;
    const unsigned m = child->autoresizingMask_;
    if (dw != 0 && (m & (Autoresizing::FlexibleLeftMargin | Autoresizing::FlexibleWidth | Autoresizing::FlexibleRightMargin))) {
      const double right = oldSize.width - f.maxX();
      const auto d = share(dw, m & Autoresizing::FlexibleLeftMargin, f.minX(), m & Autoresizing::FlexibleWidth, f.width(),
                           m & Autoresizing::FlexibleRightMargin, right);
      f.origin.x += d[0];
      f.size.width = std::max(0.0, f.size.width + d[1]);
    }
    if (dh != 0 && (m & (Autoresizing::FlexibleTopMargin | Autoresizing::FlexibleHeight | Autoresizing::FlexibleBottomMargin))) {
      const double bottom = oldSize.height - f.maxY();
      const auto d = share(dh, m & Autoresizing::FlexibleTopMargin, f.minY(), m & Autoresizing::FlexibleHeight, f.height(),
                           m & Autoresizing::FlexibleBottomMargin, bottom);
      f.origin.y += d[0];
      f.size.height = std::max(0.0, f.size.height + d[1]);
    }
    child->applyFrame(f, fromLayout);
  }
}

Rect View::convertRectToView(Rect rect, const View* other) const {
  auto absolute = [](const View* view) {
    Point p;
    for (; view != nullptr; view = view->superview_.lock().get()) {
      p.x += view->frame_.minX();
      p.y += view->frame_.minY();
    }
    return p;
  };
  // Offsets from the top of each chain; the top view's own origin cancels out.
  const Point mine = absolute(this);
  const Point theirs = other ? absolute(other) : Point{};
  return rect.offsetBy(mine.x - theirs.x, mine.y - theirs.y);
}

void View::setHidden(bool hidden) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (hidden_ == hidden) {
    return;
  }
  hidden_ = hidden;
  // Stack views leave hidden arranged views out: their superview re-lays out.
  markTreeNeedsLayout();
}

bool View::isHiddenOrHasHiddenAncestor() const {
  for (const View* view = this; view != nullptr; view = view->superview_.lock().get()) {
    if (view->hidden_) {
      return true;
    }
  }
  return false;
}

void View::setAlpha(double alpha) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  layer_->setOpacity(alpha);
}

void View::setBackgroundColor(std::optional<Color> color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  backgroundColor_ = color;
}

std::optional<Color> View::tintColor() const {
  for (const View* view = this; view != nullptr; view = view->superview_.lock().get()) {
    if (view->tintColor_) {
      return view->tintColor_;
    }
  }
  return Color::systemBlue();
}

void View::setTintColor(std::optional<Color> color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  tintColor_ = color;
}

void View::setContentMode(ContentMode mode) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  contentMode_ = mode;
  needsDisplay_ = true;
}

void View::setUserInteractionEnabled(bool enabled) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  userInteractionEnabled_ = enabled;
}

void View::addSubview(const std::shared_ptr<View>& view) { insertSubview(view, subviews_.size()); }

void View::insertSubview(const std::shared_ptr<View>& view, size_t index) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!view || view.get() == this || isDescendantOfView(view.get())) {
    return;  // a view cannot contain itself or one of its ancestors
  }
  const auto oldWindow = view->window();
  if (view->superview().get() == this) {
    // Moving within the same superview keeps its constraints.
    auto it = std::find(subviews_.begin(), subviews_.end(), view);
    const size_t from = static_cast<size_t>(it - subviews_.begin());
    subviews_.erase(it);
    if (index > from) {
      --index;
    }
  } else if (view->superview()) {
    view->removeFromSuperview();
  }
  index = std::min(index, subviews_.size());
  subviews_.insert(subviews_.begin() + static_cast<std::ptrdiff_t>(index), view);
  view->superview_ = weak_from_this();
  view->layoutSystem_.reset();  // laid out with its new root from now on
  view->didMoveToSuperview();
  view->notifyMovedToWindow(oldWindow);
  markTreeNeedsLayout();
}

void View::removeFromSuperview() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  auto parent = superview();
  if (!parent) {
    return;
  }
  // Constraints between this tree and the rest no longer make sense.
  std::vector<std::shared_ptr<LayoutConstraint>> crossing;
  std::vector<View*> stack{this};
  while (!stack.empty()) {
    View* view = stack.back();
    stack.pop_back();
    for (const auto& constraint : view->constraints_) {
      for (const auto& item : {constraint->firstItem(), constraint->secondItem()}) {
        if (item && !item->isDescendantOfView(this)) {
          crossing.push_back(constraint);
        }
      }
    }
    for (const auto& child : view->subviews_) {
      stack.push_back(child.get());
    }
  }
  LayoutConstraint::deactivateConstraints(crossing);

  const auto oldWindow = window();
  auto self = shared_from_this();  // the superview may hold the last reference
  parent->willRemoveSubview(this);
  auto& siblings = parent->subviews_;
  siblings.erase(std::remove(siblings.begin(), siblings.end(), self), siblings.end());
  superview_.reset();
  parent->markTreeNeedsLayout();
  didMoveToSuperview();
  notifyMovedToWindow(oldWindow);
}

void View::notifyMovedToWindow(const std::shared_ptr<Window>& oldWindow) {
  const auto newWindow = window();
  if (newWindow == oldWindow) {
    return;
  }
  didMoveToWindow();
  for (const auto& child : std::vector<std::shared_ptr<View>>(subviews_)) {
    child->notifyMovedToWindow(oldWindow);
  }
  if (newWindow) {
    markTreeNeedsLayout();
  }
}

bool View::isDescendantOfView(const View* view) const {
  for (const View* v = this; v != nullptr; v = v->superview_.lock().get()) {
    if (v == view) {
      return true;
    }
  }
  return false;
}

std::shared_ptr<Window> View::window() const {
  std::shared_ptr<const View> view = shared_from_this();
  while (view) {
    if (auto window = std::dynamic_pointer_cast<const Window>(view)) {
      return std::const_pointer_cast<Window>(window);
    }
    view = view->superview_.lock();
  }
  return nullptr;
}

std::shared_ptr<View> View::findByIdentifier(std::string_view id) {
  if (identifier() == id) {
    return shared_from_this();
  }
  for (const auto& child : subviews_) {
    if (auto found = child->findByIdentifier(id)) {
      return found;
    }
  }
  return nullptr;
}

TraitCollection View::traitCollection() const {
  if (auto w = window()) {
    return w->windowTraits();
  }
  if (auto screen = Screen::mainScreen()) {
    return TraitCollection::forWindowSize(screen->idiom(), screen->bounds().size, screen->scale());
  }
  return TraitCollection{};
}

void View::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  translatesAutoresizingMask_ = translates;
  markTreeNeedsLayout();
}

void View::setAutoresizingMask(unsigned mask) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  autoresizingMask_ = mask;
}

void View::setContentHuggingPriority(LayoutPriority priority, Axis axis) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  hugging_[static_cast<int>(axis)] = std::clamp(priority, 1.0F, kLayoutPriorityRequired);
  markTreeNeedsLayout();
}

void View::setContentCompressionResistancePriority(LayoutPriority priority, Axis axis) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  compressionResistance_[static_cast<int>(axis)] = std::clamp(priority, 1.0F, kLayoutPriorityRequired);
  markTreeNeedsLayout();
}

Size View::intrinsicContentSize() const { return Size{kNoIntrinsicMetric, kNoIntrinsicMetric}; }

Size View::intrinsicContentSizeForWidth(double /*width*/) const { return intrinsicContentSize(); }

void View::invalidateIntrinsicContentSize() { markTreeNeedsLayout(); }

double View::baselineOffsetFromTop(bool /*last*/) const { return -1; }

Size View::sizeThatFits(Size /*size*/) const { return frame_.size; }

void View::sizeToFit() {
  const Size fitted = sizeThatFits(frame_.size);
  setFrame(Rect(frame_.minX(), frame_.minY(), fitted.width, fitted.height));
}

void View::setNeedsLayout() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  markTreeNeedsLayout();
}

void View::markTreeNeedsLayout() {
  ModelChanges::noteChanged();
  View* top = this;
  for (View* view = this; view != nullptr; view = view->superview_.lock().get()) {
    view->needsLayout_ = true;
    top = view;
  }
  // Windows lay themselves out on the next turn of the main run loop.
  if (top->layoutScheduled_ || dynamic_cast<Window*>(top) == nullptr || !platform::isMainThread()) {
    return;
  }
  auto weak = top->weak_from_this();
  if (weak.expired()) {
    return;  // still being made: nothing can be laid out yet
  }
  top->layoutScheduled_ = true;
  platform::DispatchQueue::main()->async([weak] {
    if (auto root = weak.lock()) {
      root->layoutScheduled_ = false;
      root->layoutIfNeeded();
    }
  });
}

void View::layoutIfNeeded() {
  VELUNE_ASSERT_MAIN_THREAD();
  View* top = this;
  for (View* view = this; view != nullptr; view = view->superview_.lock().get()) {
    top = view;
  }
  if (top->needsLayout_) {
    LayoutEngine::layout(*top);
  }
}

Size View::systemLayoutSizeFittingSize(Size target, LayoutPriority horizontalFitting, LayoutPriority verticalFitting) {
  VELUNE_ASSERT_MAIN_THREAD();
  return LayoutEngine::fittingSize(*this, target, horizontalFitting, verticalFitting);
}

void View::attachConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  if (std::find(constraints_.begin(), constraints_.end(), constraint) == constraints_.end()) {
    constraints_.push_back(constraint);
  }
  markTreeNeedsLayout();
}

void View::detachConstraint(const LayoutConstraint* constraint) {
  const auto it = std::find_if(constraints_.begin(), constraints_.end(),
                               [constraint](const auto& c) { return c.get() == constraint; });
  if (it != constraints_.end()) {
    auto keep = *it;  // this list may hold the last reference
    constraints_.erase(it);
    markTreeNeedsLayout();
  }
}

void View::setAccessibilityLabel(std::optional<std::string> label) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  accessibilityLabel_ = std::move(label);
}

void View::setNeedsDisplay() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  needsDisplay_ = true;
}

const GraphicsContext* View::display() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (needsDisplay_ || !drawing_) {
    double scale = traitCollection().displayScale;
    drawing_ = std::make_unique<GraphicsContext>(frame_.size, scale > 0 ? scale : 1.0);
    if (drawsContent()) {
      drawRect(*drawing_, bounds());
    }
    needsDisplay_ = false;
  }
  return drawing_.get();
}

void View::drawRect(GraphicsContext& /*context*/, Rect /*rect*/) {}

void View::addGestureRecognizer(std::shared_ptr<TapGestureRecognizer> recognizer) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (recognizer) {
    recognizers_.push_back(std::move(recognizer));
  }
}

bool View::acceptsInput() const {
  for (const View* view = this; view != nullptr; view = view->superview_.lock().get()) {
    if (view->hidden_ || !view->userInteractionEnabled_ || view->alpha() < 0.01) {
      return false;
    }
  }
  return true;
}

bool View::tap() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!acceptsInput() || recognizers_.empty()) {
    return false;
  }
  bool handled = false;
  for (const auto& recognizer : std::vector<std::shared_ptr<TapGestureRecognizer>>(recognizers_)) {
    if (recognizer->isEnabled()) {
      recognizer->recognize();
      handled = true;
    }
  }
  return handled;
}

std::string View::description() const {
  return platform::format("<%@ %@ frame=%@%s>", std::string(kind()), identifier(), frame_.description(),
                          hidden_ ? " hidden" : "");
}

}  // namespace velune::ui

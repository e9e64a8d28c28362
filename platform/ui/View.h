#pragma once
// View: the rectangle of the UI model that everything on screen is made of.
//
// - Geometry: `frame` in the superview's coordinates, `bounds` in the view's
//   own (origin 0, 0). A view owns its subviews; it knows its superview
//   without owning it. `window()` is the Window at the top of its chain.
// - Layout: a view is placed either by its frame (translatesAutoresizing-
//   MaskIntoConstraints, the default, with the autoresizing mask applied when
//   the superview's size changes) or by constraints (LayoutConstraint, stack
//   views, its intrinsic content size with its hugging and compression-
//   resistance priorities). layoutIfNeeded() runs the layout pass
//   (LayoutEngine) over the view's whole tree and then each view's
//   layoutSubviews() hook. Views in a window are laid out on the next turn of
//   the main run loop after a change; views outside a window when asked.
// - Drawing: subclasses that draw override drawRect(); display() runs it into
//   an image and keeps the operations (setNeedsDisplay marks it stale).
// - Input: tap() is a person's tap on the view (Control and gesture
//   recognizers react); a hidden or disabled view ignores it.
//
// Main thread only: mutating methods assert it.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ui/Color.h"
#include "platform/ui/Element.h"
#include "platform/ui/Geometry.h"
#include "platform/ui/Layer.h"
#include "platform/ui/TraitCollection.h"

namespace velune::ui {

class GraphicsContext;
class Image;
class LayoutConstraint;
class LayoutSystem;
class TapGestureRecognizer;
class Window;

enum class Axis { Horizontal = 0, Vertical = 1 };

using LayoutPriority = float;
inline constexpr LayoutPriority kLayoutPriorityRequired = 1000;
inline constexpr LayoutPriority kLayoutPriorityDefaultHigh = 750;
inline constexpr LayoutPriority kLayoutPriorityDefaultLow = 250;
inline constexpr LayoutPriority kLayoutPriorityFittingSizeLevel = 50;

// Bits of the autoresizing mask.
namespace Autoresizing {
inline constexpr unsigned None = 0;
inline constexpr unsigned FlexibleLeftMargin = 1;
inline constexpr unsigned FlexibleWidth = 2;
inline constexpr unsigned FlexibleRightMargin = 4;
inline constexpr unsigned FlexibleTopMargin = 8;
inline constexpr unsigned FlexibleHeight = 16;
inline constexpr unsigned FlexibleBottomMargin = 32;
}  // namespace Autoresizing

enum class ContentMode { ScaleToFill, ScaleAspectFit, ScaleAspectFill, Center };

class View : public Element, public std::enable_shared_from_this<View> {
 public:
  explicit View(Rect frame = Rect());
  ~View() override;

  static std::shared_ptr<View> make(Rect frame = Rect()) { return std::make_shared<View>(frame); }

  std::string_view kind() const override { return "View"; }

  // --- Geometry ---
  Rect frame() const { return frame_; }
  void setFrame(Rect frame);
  Rect bounds() const { return Rect(0, 0, frame_.width(), frame_.height()); }
  void setBounds(Rect bounds);  // keeps the centre, as the platform does
  Point center() const { return frame_.center(); }
  void setCenter(Point center);
  // A rectangle of this view in another view's coordinates (both in one tree).
  Rect convertRectToView(Rect rect, const View* other) const;

  // --- Appearance ---
  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden);
  // True when this view or one of its ancestors is hidden.
  bool isHiddenOrHasHiddenAncestor() const;
  double alpha() const { return layer_->opacity(); }
  void setAlpha(double alpha);
  std::optional<Color> backgroundColor() const { return backgroundColor_; }
  void setBackgroundColor(std::optional<Color> color);
  std::optional<Color> tintColor() const;  // own, else inherited, else the system blue
  void setTintColor(std::optional<Color> color);
  ContentMode contentMode() const { return contentMode_; }
  void setContentMode(ContentMode mode);
  bool isUserInteractionEnabled() const { return userInteractionEnabled_; }
  void setUserInteractionEnabled(bool enabled);
  Layer& layer() { return *layer_; }
  const Layer& layer() const { return *layer_; }
  // What assistive technology (and the web page) calls the view; when unset
  // the screen names a view by the text it shows.
  const std::optional<std::string>& accessibilityLabel() const { return accessibilityLabel_; }
  void setAccessibilityLabel(std::optional<std::string> label);

  // --- Hierarchy ---
  const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }
  std::shared_ptr<View> superview() const { return superview_.lock(); }
  void addSubview(const std::shared_ptr<View>& view);
  void insertSubview(const std::shared_ptr<View>& view, size_t index);
  // Also deactivates the constraints that tie the removed tree to the rest.
  void removeFromSuperview();
  bool isDescendantOfView(const View* view) const;
  std::shared_ptr<Window> window() const;
  // This view or the first descendant (depth first) with that identifier.
  std::shared_ptr<View> findByIdentifier(std::string_view identifier);
  // The traits of the window (or of the main screen when in no window).
  TraitCollection traitCollection() const;

  // --- Layout ---
  bool translatesAutoresizingMaskIntoConstraints() const { return translatesAutoresizingMask_; }
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates);
  unsigned autoresizingMask() const { return autoresizingMask_; }
  void setAutoresizingMask(unsigned mask);
  LayoutPriority contentHuggingPriority(Axis axis) const { return hugging_[static_cast<int>(axis)]; }
  void setContentHuggingPriority(LayoutPriority priority, Axis axis);
  LayoutPriority contentCompressionResistancePriority(Axis axis) const {
    return compressionResistance_[static_cast<int>(axis)];
  }
  void setContentCompressionResistancePriority(LayoutPriority priority, Axis axis);

  // kNoIntrinsicMetric on an axis without one.
  virtual Size intrinsicContentSize() const;
  // The intrinsic size when the view is `width` wide (text that wraps grows).
  virtual Size intrinsicContentSizeForWidth(double width) const;
  void invalidateIntrinsicContentSize();
  // Distance from the top to the first (or last) baseline of text the view
  // shows, or a negative number when it shows none (the bottom then counts).
  virtual double baselineOffsetFromTop(bool last) const;
  // The size that best fits `size` (default: the current size).
  virtual Size sizeThatFits(Size size) const;
  void sizeToFit();

  // The active constraints that involve this view.
  const std::vector<std::shared_ptr<LayoutConstraint>>& constraints() const { return constraints_; }

  void setNeedsLayout();
  bool needsLayout() const { return needsLayout_; }
  // Runs the layout pass over the view's tree when anything in it changed.
  void layoutIfNeeded();
  // Called after the layout pass placed this view's subviews.
  virtual void layoutSubviews() {}
  // The smallest size (with `target` as a weak preference) that satisfies the
  // constraints of this view's tree, as if the view had no superview.
  Size systemLayoutSizeFittingSize(Size target, LayoutPriority horizontalFitting = kLayoutPriorityFittingSizeLevel,
                                   LayoutPriority verticalFitting = kLayoutPriorityFittingSizeLevel);

  // --- Drawing ---
  void setNeedsDisplay();
  bool needsDisplay() const { return needsDisplay_; }
  // Runs drawRect into a new context of the view's size (at the screen's
  // scale) when the content is stale, and returns the context.
  const GraphicsContext* display();
  // Subclasses that draw override this; the default draws nothing.
  virtual void drawRect(GraphicsContext& context, Rect rect);
  virtual bool drawsContent() const { return false; }

  // --- Input ---
  void addGestureRecognizer(std::shared_ptr<TapGestureRecognizer> recognizer);
  const std::vector<std::shared_ptr<TapGestureRecognizer>>& gestureRecognizers() const { return recognizers_; }
  // A person's tap. Ignored (false) when the view or an ancestor is hidden or
  // does not take input.
  virtual bool tap();

  // --- Hooks ---
  virtual void didMoveToSuperview() {}
  virtual void didMoveToWindow() {}
  virtual void willRemoveSubview(const View* /*subview*/) {}

  std::string description() const;

 protected:
  explicit View(Rect frame, std::string_view kind);
  // Whether tap() may act: visible and taking input along the whole chain.
  bool acceptsInput() const;

 private:
  friend class LayoutConstraint;
  friend class LayoutEngine;

  // Sets the frame; frame-placed subviews follow their autoresizing masks.
  // From the layout pass nothing is marked for another layout.
  void applyFrame(Rect frame, bool fromLayout);
  void resizeSubviewsWithOldSize(Size oldSize, bool fromLayout);
  void markTreeNeedsLayout();
  void notifyMovedToWindow(const std::shared_ptr<Window>& oldWindow);
  void attachConstraint(const std::shared_ptr<LayoutConstraint>& constraint);
  void detachConstraint(const LayoutConstraint* constraint);

  Rect frame_;
  bool hidden_ = false;
  std::optional<Color> backgroundColor_;
  std::optional<Color> tintColor_;
  ContentMode contentMode_ = ContentMode::ScaleToFill;
  bool userInteractionEnabled_ = true;
  std::optional<std::string> accessibilityLabel_;
  std::shared_ptr<Layer> layer_;

  std::vector<std::shared_ptr<View>> subviews_;
  std::weak_ptr<View> superview_;

  bool translatesAutoresizingMask_ = true;
  unsigned autoresizingMask_ = Autoresizing::None;
  LayoutPriority hugging_[2] = {kLayoutPriorityDefaultLow, kLayoutPriorityDefaultLow};
  LayoutPriority compressionResistance_[2] = {kLayoutPriorityDefaultHigh, kLayoutPriorityDefaultHigh};
  std::vector<std::shared_ptr<LayoutConstraint>> constraints_;
  // The rules of this view's tree kept solved while it is the root of layout
  // passes (and of fitting-size questions); dropped when it gets a superview.
  std::unique_ptr<LayoutSystem> layoutSystem_;
  std::unique_ptr<LayoutSystem> fittingSystem_;
  bool needsLayout_ = true;
  bool layoutScheduled_ = false;

  bool needsDisplay_ = true;
  std::unique_ptr<GraphicsContext> drawing_;

  std::vector<std::shared_ptr<TapGestureRecognizer>> recognizers_;
};

// A tap on a view that is not a control (a label that takes taps).
class TapGestureRecognizer {
 public:
  explicit TapGestureRecognizer(std::function<void()> action) : action_(std::move(action)) {}
  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled) { enabled_ = enabled; }
  void recognize() const {
    if (enabled_ && action_) {
      action_();
    }
  }

 private:
  std::function<void()> action_;
  bool enabled_ = true;
};

}  // namespace velune::ui

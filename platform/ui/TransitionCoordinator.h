#pragma once
// TransitionCoordinator: what a view controller is handed while the window
// changes size (a rotation). Animations run with the change; completions run
// on the next turn of the main run loop, after the new size is laid out.

#include <functional>
#include <vector>

#include "platform/ui/Geometry.h"

namespace velune::ui {

class TransitionCoordinator {
 public:
  explicit TransitionCoordinator(Size targetSize) : targetSize_(targetSize) {}

  Size targetSize() const { return targetSize_; }
  void animateAlongsideTransition(std::function<void()> animation, std::function<void()> completion);

  // The window's part: runs the animations, then queues the completions.
  void runAnimations();
  void finish();

 private:
  Size targetSize_;
  std::vector<std::function<void()>> animations_;
  std::vector<std::function<void()>> completions_;
};

}  // namespace velune::ui

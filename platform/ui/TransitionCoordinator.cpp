#include "platform/ui/TransitionCoordinator.h"

#include "platform/DispatchQueue.h"

namespace velune::ui {

void TransitionCoordinator::animateAlongsideTransition(std::function<void()> animation,
                                                       std::function<void()> completion) {
  if (animation) {
    animations_.push_back(std::move(animation));
  }
  if (completion) {
    completions_.push_back(std::move(completion));
  }
}

void TransitionCoordinator::runAnimations() {
  auto animations = std::move(animations_);
  animations_.clear();
  for (auto& animation : animations) {
    animation();
  }
}

void TransitionCoordinator::finish() {
  auto completions = std::move(completions_);
  completions_.clear();
  platform::DispatchQueue::main()->async([completions = std::move(completions)] {
    for (const auto& completion : completions) {
      completion();
    }
  });
}

}  // namespace velune::ui

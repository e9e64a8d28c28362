#pragma once
// ModelChanges: the one "the UI model changed" signal that a screen watches.
//
// Every mutation of the model notes a change (cheap: a flag). Listeners hear
// of it once per turn of the main run loop, at the turn's end (a RunLoop idle
// observer), however many properties changed in it, and never when nothing
// did. By then the windows' layout passes of that turn have run, so what a
// listener reads is laid out. Each signal carries a new generation number.
//
// Main thread only, apart from noteChanged(), which any thread may call (a
// change off the main thread is a bug the mutators assert, but noting it must
// not race). Listeners may change the model; that is a change of the next turn.

#include <cstdint>
#include <functional>

namespace velune::ui {

class ModelChanges {
 public:
  ModelChanges() = delete;

  using Listener = std::function<void(std::uint64_t generation)>;
  using ListenerId = std::uint64_t;

  static void noteChanged();
  // Whether a change waits for the end of the turn.
  static bool hasPendingChange();
  // The generation of the last signal (0 before the first).
  static std::uint64_t generation();

  static ListenerId addListener(Listener listener);
  static void removeListener(ListenerId id);
};

}  // namespace velune::ui

#pragma once

namespace velune::platform {

// Priority classes of queues, with the platform's numbers for them.
// On Linux a queue's threads get a nice value from the class and the relative
// priority (see DispatchQueue.cpp); nothing runs above normal priority.
enum class QualityOfService : int {
  Background = 9,
  Utility = 17,
  Default = 21,
  UserInitiated = 25,
  UserInteractive = 33,
};

}  // namespace velune::platform

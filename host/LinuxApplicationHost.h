#pragma once
// LinuxApplicationHost: the application object of the simulated phone. It
// makes the delegate, tells it that launching finishes, posts the
// became-active notification, and runs the main run loop until SIGINT or
// SIGTERM (or terminate()), then flushes the log and returns 0.

#include "platform/ApplicationHost.h"

namespace velune::host {

class LinuxApplicationHost final : public platform::ApplicationHost {
 public:
  int run(int argc, char** argv, const std::optional<std::string>& principalClassName,
          const std::string& delegateClassName) override;
  void terminate() override;

  // Blocks SIGINT and SIGTERM in the calling thread and every thread it makes
  // later, so that one watcher thread receives them. Call first in main().
  static void blockTerminationSignals();

 private:
  std::shared_ptr<platform::ApplicationDelegate> delegate_;
};

}  // namespace velune::host

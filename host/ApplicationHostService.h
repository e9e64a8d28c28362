#pragma once
// ApplicationHostService: something that runs beside the application for as
// long as the application host runs it (the screen's server). The program
// adds services before it runs the host; the host starts them on the main
// thread before the application launches, and stops them after the main run
// loop returned, before the log is flushed. A service that cannot start ends
// the run (with the error logged) before the application is made.

#include <optional>

#include "platform/Error.h"

namespace velune::host {

class LinuxApplicationHost;

class ApplicationHostService {
 public:
  virtual ~ApplicationHostService() = default;
  virtual std::optional<platform::Error> applicationHostWillRun(LinuxApplicationHost& host) = 0;
  virtual void applicationHostDidStop(LinuxApplicationHost& host) = 0;
};

}  // namespace velune::host

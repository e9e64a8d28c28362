#pragma once
// ApplicationHost: the platform's application object. It makes the
// application delegate named by the process entry, runs the main run loop,
// and answers for the device (idiom, screen). It returns only when the
// process ends.
//
// Delegates are registered by class name (ApplicationDelegate::registerClass)
// so that the process entry can name one, as the platform's entry does.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/URL.h"
#include "platform/Value.h"

namespace velune::platform {

class ApplicationHost;

// The callbacks of an application delegate. Every callback runs on the main
// thread; the defaults answer as an application without a delegate would.
class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;

  virtual bool applicationWillFinishLaunchingWithOptions(ApplicationHost&, const Value::Dictionary&) { return true; }
  virtual bool applicationDidFinishLaunchingWithOptions(ApplicationHost&, const Value::Dictionary&) { return true; }
  // options hold "SourceApplication" (the bundle identifier of the opener,
  // established by the host) when it is known.
  virtual bool applicationOpenURL(ApplicationHost&, const URL&, const Value::Dictionary& /*options*/) { return false; }
  virtual bool applicationShouldSaveApplicationState(ApplicationHost&) { return false; }
  virtual bool applicationShouldRestoreApplicationState(ApplicationHost&) { return false; }
  virtual void applicationWillResignActive(ApplicationHost&) {}
  virtual void applicationDidBecomeActive(ApplicationHost&) {}

  using Factory = std::function<std::shared_ptr<ApplicationDelegate>()>;
  static void registerClass(const std::string& className, Factory factory);
  // Null when no class of that name was registered.
  static std::shared_ptr<ApplicationDelegate> make(const std::string& className);
};

// The key of the source application in the options of applicationOpenURL.
inline constexpr const char* kOpenURLOptionSourceApplication = "SourceApplication";

class ApplicationHost {
 public:
  virtual ~ApplicationHost() = default;

  // Makes the delegate, runs the main run loop until the process is asked to
  // end, and returns the exit status.
  virtual int run(int argc, char** argv, const std::optional<std::string>& principalClassName,
                  const std::string& delegateClassName) = 0;
  // Any thread: asks the running application to end.
  virtual void terminate() = 0;

  // What "%@" shows for the application object in logs.
  virtual std::string description() const { return "<ApplicationHost>"; }

  // The process entry's call: runs the installed ApplicationHost.
  static int main(int argc, char** argv, const std::optional<std::string>& principalClassName,
                  const std::string& delegateClassName);
};

}  // namespace velune::platform

#pragma once
// ViewControllerClasses: view controller classes looked up by name at run
// time, as the platform's class lookup does. The platform's own screens
// ("UnavailableViewController", "SearchOverlay" is not made by name) are
// known from the start; others register. Any thread.

#include <functional>
#include <memory>
#include <string>

namespace velune::ui {
class ViewController;
}  // namespace velune::ui

namespace velune::platform {

class ViewControllerClasses {
 public:
  using Factory = std::function<std::shared_ptr<ui::ViewController>()>;

  ViewControllerClasses() = delete;

  static void registerClass(const std::string& name, Factory factory);
  // Removes a registered class (a screen that is not there on this platform).
  static void unregisterClass(const std::string& name);
  // A new controller of the class (its plain initialiser), or null when no
  // class has that name.
  static std::shared_ptr<ui::ViewController> make(const std::string& name);
};

}  // namespace velune::platform

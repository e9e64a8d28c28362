#pragma once
// Window: the top of a view tree on a screen, showing its root view
// controller's view (and, above it, the views of presented controllers).
// A window starts hidden; makeKeyAndVisible shows it and makes it the key
// window. transitionToSize is a rotation or a resize: controllers hear
// viewWillTransitionToSize first, then the window takes the size and lays
// out. Windows lay themselves out on the next turn of the main run loop after
// any change. Main thread only.

#include <memory>

#include "platform/ui/Screen.h"
#include "platform/ui/View.h"

namespace velune::ui {

class ViewController;

class Window : public View {
 public:
  explicit Window(Rect frame, std::shared_ptr<Screen> screen = Screen::mainScreen());

  std::string_view kind() const override { return "Window"; }

  const std::shared_ptr<Screen>& screen() const { return screen_; }
  void setScreen(std::shared_ptr<Screen> screen);

  const std::shared_ptr<ViewController>& rootViewController() const { return rootViewController_; }
  void setRootViewController(std::shared_ptr<ViewController> controller);

  void makeKeyAndVisible();
  bool isKeyWindow() const;
  static std::shared_ptr<Window> keyWindow();

  // The traits of this window on its screen.
  TraitCollection windowTraits() const;

  void transitionToSize(Size size);

 private:
  std::shared_ptr<Screen> screen_;
  std::shared_ptr<ViewController> rootViewController_;
};

}  // namespace velune::ui

#pragma once
// Helpers of the tests that drive the UI model: a simulated device installed
// with the test services, and a visible window laid out on its screen.

#include <gtest/gtest.h>

#include <memory>

#include "platform/DeviceInfo.h"
#include "platform/Platform.h"
#include "platform/ui/Screen.h"
#include "platform/ui/ViewController.h"
#include "platform/ui/Window.h"
#include "tests/support/TestSupport.h"

namespace velune::testing {

// Installs the base test services with a device of that screen (portrait
// size) and returns the device, so a test can rotate it or change its idiom.
inline std::shared_ptr<platform::DeviceInfo> installDevice(
    ui::Size portrait = ui::Size{390, 844}, double scale = 3,
    ui::UserInterfaceIdiom idiom = ui::UserInterfaceIdiom::Phone) {
  auto services = baseServices();
  services.device = std::make_shared<platform::DeviceInfo>(portrait, scale, idiom);
  platform::Platform::install(services);
  return services.device;
}

// Adds the test phone (390 × 844 points, scale 3) to services that a test
// built itself (a drive's, say) and installs them.
inline void installWithPhone(platform::Services& services) {
  services.device = std::make_shared<platform::DeviceInfo>(ui::Size{390, 844}, 3, ui::UserInterfaceIdiom::Phone);
  platform::Platform::install(services);
}

// A key, visible window of the main screen showing `root`, laid out, with the
// appearance callbacks delivered.
inline std::shared_ptr<ui::Window> showInWindow(const std::shared_ptr<ui::ViewController>& root) {
  auto screen = ui::Screen::mainScreen();
  auto window = std::make_shared<ui::Window>(screen ? screen->bounds() : ui::Rect(0, 0, 390, 844), screen);
  window->setRootViewController(root);
  window->makeKeyAndVisible();
  runMainUntilIdle();
  window->layoutIfNeeded();
  return window;
}

// A test of the UI model: a phone (390 × 844 points, scale 3) is installed
// before each test, and the main queue is drained after it, so that no
// callback of one test runs in the next.
class UITestCase : public ::testing::Test {
 protected:
  void SetUp() override { device_ = installDevice(); }
  void TearDown() override { runMainUntilIdle(); }
  std::shared_ptr<platform::DeviceInfo> device_;
};

}  // namespace velune::testing

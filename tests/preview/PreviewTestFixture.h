#pragma once
// A preview on a temporary home: the drive with its downloads, a phone, and a
// window whose navigation stack starts with a plain page standing for the
// listing. The network watcher reports Wi-Fi unless a test says otherwise.
// Downloads run on the manager's real download queue; finishDownloads()
// waits for that queue, then runs the main queue, so no test sleeps.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "diag/DRLogging.h"
#include "diag/NetworkWatcher.h"
#include "host/HostNetworkActivityIndicator.h"
#include "model/DRItem.h"
#include "platform/DispatchQueue.h"
#include "platform/ui/NavigationStackController.h"
#include "preview/GlimpseItemController.h"
#include "preview/PreviewItemManager.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/LogLines.h"
#include "tests/support/UITestSupport.h"

namespace velune::testing {

class PreviewFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    home_.services().networkActivityIndicator = std::make_shared<host::HostNetworkActivityIndicator>();
    installWithPhone(home_.services());
    device_ = home_.services().device;
    setNetwork(NetworkStateWiFi);
    root_ = std::make_shared<ui::ViewController>();
    root_->setTitle(std::string("Velune Drive"));
    navigation_ = ui::NavigationStackController::make(root_);
    window_ = showInWindow(navigation_);
    clearLogs();
  }
  void TearDown() override {
    for (const auto& manager : managers_) {
      if (auto strong = manager.lock()) {
        strong->cancelDownload();
        strong->downloadQueue()->sync([] {});
      }
    }
    runMainUntilIdle();
    // The shared document preview must leave this test's stack.
    navigation_->setViewControllers({root_}, false);
    runMainUntilIdle();
    setNetwork(NetworkStateWiFi);
  }

  static void setNetwork(NetworkState state) { NetworkWatcher::sharedNetworkWatcher()._updateState(state); }

  std::shared_ptr<PreviewItemManager> makeManager(std::int32_t mode = 0) {
    auto manager = PreviewItemManager::create();
    manager->setMode(mode);
    manager->setNavigationController(navigation_);
    managers_.push_back(manager);
    return manager;
  }
  std::shared_ptr<DRItem> itemAt(const std::string& path) { return DRItem::initWithURL(home_.url(path)); }

  // Waits until the manager's queued downloads have ended, then runs their
  // completions on the main queue.
  static void finishDownloads(const std::shared_ptr<PreviewItemManager>& manager) {
    manager->downloadQueue()->sync([] {});
    runMainUntilIdle();
  }

  std::shared_ptr<ui::ViewController> top() const { return navigation_->topViewController(); }
  std::string topKind() const { return top() ? std::string(top()->kind()) : std::string("(none)"); }

  // A previewable text document of `size` bytes, only in the cloud.
  std::string cloudText(const std::string& name, std::size_t size) {
    return home_.writeCloudOnly(home_.documents() + "/" + name, std::string(size, 't'));
  }

  DriveTestHome home_;
  std::shared_ptr<platform::DeviceInfo> device_;
  std::shared_ptr<ui::ViewController> root_;
  std::shared_ptr<ui::NavigationStackController> navigation_;
  std::shared_ptr<ui::Window> window_;
  std::vector<std::weak_ptr<PreviewItemManager>> managers_;
};

}  // namespace velune::testing

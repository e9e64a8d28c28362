#include "host/DeviceMonitor.h"
#include "host/HostAccountService.h"
#include "host/HostContainerPreferences.h"
#include "host/HostNetworkActivityIndicator.h"
#include "host/HostPlatform.h"
#include "host/HostQuotaService.h"
#include "host/LinuxApplicationHost.h"
#include "host/NetlinkReachability.h"
#include "host/SimulatedReachability.h"
#include "platform/DeviceInfo.h"
#include "platform/RunLoop.h"
#include "platform/ui/ModelChanges.h"
#include "platform/ui/Window.h"

namespace velune::host {

// Wires account, reachability, network activity indicator, quota, container
// preferences, and the application state that the home's app-state.json asks for.
void HostPlatform::wireNetwork(platform::Services& services, const HostOptions& options) {
  const HomeLayout layout(options.home);
  // One monitor of device.json and app-state.json serves every service here;
  // they keep it alive, and it stops when the last of them goes.
  const auto monitor = DeviceMonitor::create(layout);

  if (const auto host = std::dynamic_pointer_cast<LinuxApplicationHost>(services.applicationHost)) {
    std::weak_ptr<LinuxApplicationHost> weakHost = host;
    monitor->addApplicationStateListener([weakHost](ApplicationState state) {
      if (const auto strong = weakHost.lock()) {
        strong->setActive(state == ApplicationState::Active);
      }
    });
  }
  // The screen follows device.json: a new idiom, size or orientation (the
  // control panel, vdtool) turns the device and the key window with it.
  if (const auto device = services.device) {
    monitor->addConfigurationListener([device](const DeviceConfiguration& previous, const DeviceConfiguration& current) {
      if (previous.idiom == current.idiom && previous.screenWidth == current.screenWidth &&
          previous.screenHeight == current.screenHeight && previous.screenScale == current.screenScale) {
        return;
      }
      platform::RunLoop::main().post([device, current] {
        device->setIdiom(current.idiom == DeviceIdiom::Tablet ? ui::UserInterfaceIdiom::Tablet
                                                              : ui::UserInterfaceIdiom::Phone);
        device->setScreen(ui::Size{current.screenWidth, current.screenHeight}, current.screenScale);
        device->setOrientation(current.screenWidth > current.screenHeight ? ui::InterfaceOrientation::LandscapeRight
                                                                          : ui::InterfaceOrientation::Portrait);
        if (const auto window = ui::Window::keyWindow()) {
          window->transitionToSize(device->screenSize());
        }
        // The screen itself is part of what a watcher of the model draws.
        ui::ModelChanges::noteChanged();
      });
    });
  }
  services.account = HostAccountService::create(monitor, services.notifications);
  services.quota = std::make_shared<HostQuotaService>(layout.cloud(), monitor);
  if (options.reachability == ReachabilitySource::Netlink) {
    services.reachability = std::make_shared<NetlinkReachability>();
  } else {
    services.reachability = SimulatedReachability::create(monitor);
  }
  services.networkActivityIndicator = std::make_shared<HostNetworkActivityIndicator>();
  services.containerPreferences = std::make_shared<HostContainerPreferences>(layout.appData());
  // The monitor starts when the main run loop first runs: after the services
  // are installed, since the log takes the services installed when it first
  // logs and nothing may log while they are made. (A tool that never runs
  // the loop reads device.json once and watches nothing.)
  std::weak_ptr<DeviceMonitor> weakMonitor = monitor;
  platform::RunLoop::main().post([weakMonitor] {
    if (const auto strong = weakMonitor.lock()) {
      strong->start();
    }
  });
}

}  // namespace velune::host

#include "host/DeviceConfiguration.h"
#include "host/GeneratedDocumentIconService.h"
#include "host/HostPlatform.h"
#include "host/InProcessTransferProgressService.h"
#include "platform/DeviceInfo.h"
#include "platform/TransferProgressService.h"

namespace velune::host {

// Wires the device's screen and idiom (from HOME/device.json), the document
// icons and the transfer-progress registry.
void HostPlatform::wireInterface(platform::Services& services, const HostOptions& options) {
  const HomeLayout layout(options.home);
  // Wiring runs before the log exists; what cannot be read keeps its default.
  const DeviceConfiguration device = DeviceConfiguration::read(layout.deviceJson());
  const auto idiom = device.idiom == DeviceIdiom::Tablet ? ui::UserInterfaceIdiom::Tablet : ui::UserInterfaceIdiom::Phone;
  // A screen wider than high is a device held in landscape.
  const auto orientation = device.screenWidth > device.screenHeight ? ui::InterfaceOrientation::LandscapeRight
                                                                    : ui::InterfaceOrientation::Portrait;
  services.device = std::make_shared<platform::DeviceInfo>(ui::Size{device.screenWidth, device.screenHeight},
                                                           device.screenScale, idiom, orientation);
  services.documentIcons = std::make_shared<GeneratedDocumentIconService>(device.screenScale);
  services.transferProgress = std::make_shared<InProcessTransferProgressService>();
}

}  // namespace velune::host

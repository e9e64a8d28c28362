#include <gtest/gtest.h>

#include <fstream>

#include "diag/DRLogging.h"
#include "host/HostPlatform.h"
#include "platform/AccountService.h"
#include "platform/ReachabilityService.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

// Regression: the log client takes the services installed when it first
// logs, so a line logged while the services are still being made would send
// the whole process's log nowhere. The wiring logs nothing; the monitor says
// what is wrong with device.json once the main run loop runs.
TEST(HostPlatformNetwork, Wiring_LogsNothingUntilTheMainRunLoopRuns) {
  testing::TempDirectory home;
  std::ofstream(home.file("device.json")) << R"({"network": "satellite", "identityToken": "wired-user"})";
  testing::installBaseServices();
  testing::clearLogs();

  HostOptions options;
  options.home = home.path();
  options.systemLog = SystemLogKind::File;
  auto services = HostPlatform::makeServices(options);
  EXPECT_TRUE(testing::linesStartingWith("device.json").empty());
  ASSERT_TRUE(services.account && services.quota && services.reachability && services.networkActivityIndicator &&
              services.containerPreferences);
  EXPECT_EQ(services.account->identityToken(), platform::IdentityToken("wired-user"));

  testing::runMainUntilIdle();
  EXPECT_EQ(testing::countOf("device.json: unknown network \"satellite\"; expected wifi, cellular or offline"), 1u);
}

}  // namespace
}  // namespace velune::host

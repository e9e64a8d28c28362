#include "app/main.h"

#include <optional>

#include "app/AppDelegate.h"
#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/ApplicationHost.h"

namespace velune {

int main(int argc, char** argv) {
  const char* program = argc > 0 ? argv[0] : nullptr;
  DRLOG(kLogInfo, "Running %s", program);
  // The build's own date and time.
  DRLOG(kLogInfo, "Built (main) on %s @ %s", __DATE__, __TIME__);
  FileUtils::logFileAttributes(program ? program : "");
  AppDelegate::registerDelegateClass();
  return platform::ApplicationHost::main(argc, argv, std::nullopt, kAppDelegateClassName);
}

}  // namespace velune

#include "platform/ApplicationHost.h"

#include <cstdio>
#include <map>
#include <mutex>

#include "platform/Platform.h"

namespace velune::platform {
namespace {

struct DelegateRegistry {
  std::mutex mutex;
  std::map<std::string, ApplicationDelegate::Factory> factories;
};

DelegateRegistry& registry() {
  static auto* instance = new DelegateRegistry();
  return *instance;
}

}  // namespace

void ApplicationDelegate::registerClass(const std::string& className, Factory factory) {
  auto& r = registry();
  std::lock_guard lock(r.mutex);
  r.factories[className] = std::move(factory);
}

std::shared_ptr<ApplicationDelegate> ApplicationDelegate::make(const std::string& className) {
  Factory factory;
  {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    const auto it = r.factories.find(className);
    if (it == r.factories.end()) {
      return nullptr;
    }
    factory = it->second;
  }
  return factory();
}

int ApplicationHost::main(int argc, char** argv, const std::optional<std::string>& principalClassName,
                          const std::string& delegateClassName) {
  const auto host = Platform::services()->applicationHost;
  if (!host) {
    std::fprintf(stderr, "velune: no ApplicationHost is installed\n");
    return 70;  // EX_SOFTWARE
  }
  return host->run(argc, argv, principalClassName, delegateClassName);
}

}  // namespace velune::platform

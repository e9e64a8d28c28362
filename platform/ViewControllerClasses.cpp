#include "platform/ViewControllerClasses.h"

#include <map>
#include <mutex>

#include "platform/UnavailableViewController.h"

namespace velune::platform {

namespace {

struct Registry {
  std::mutex mutex;
  std::map<std::string, ViewControllerClasses::Factory, std::less<>> factories{
      {UnavailableViewController::kClassName, [] { return std::make_shared<UnavailableViewController>(); }},
  };
};

Registry& registry() {
  static auto* instance = new Registry();
  return *instance;
}

}  // namespace

void ViewControllerClasses::registerClass(const std::string& name, Factory factory) {
  auto& r = registry();
  std::lock_guard lock(r.mutex);
  r.factories[name] = std::move(factory);
}

void ViewControllerClasses::unregisterClass(const std::string& name) {
  auto& r = registry();
  std::lock_guard lock(r.mutex);
  r.factories.erase(name);
}

std::shared_ptr<ui::ViewController> ViewControllerClasses::make(const std::string& name) {
  Factory factory;
  {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    const auto found = r.factories.find(name);
    if (found == r.factories.end()) {
      return nullptr;
    }
    factory = found->second;
  }
  return factory ? factory() : nullptr;
}

}  // namespace velune::platform

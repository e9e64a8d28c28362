#include "platform/PathNames.h"

namespace velune::platform {

std::pair<std::string, std::string> splitParent(std::string_view path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) {
    return {".", std::string(path)};
  }
  if (slash == 0) {
    return {"/", std::string(path.substr(1))};
  }
  return {std::string(path.substr(0, slash)), std::string(path.substr(slash + 1))};
}

}  // namespace velune::platform

#include "platform/AppRecord.h"

#include "platform/Format.h"

namespace velune::platform {

std::string AppRecord::description() const {
  return format("<AppRecord %@ “%@”>", bundleIdentifier, localizedName);
}

}  // namespace velune::platform

#include "platform/ui/Element.h"

#include <atomic>

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

namespace {
std::atomic<std::uint64_t> nextSerial{1};
}  // namespace

Element::Element(std::string_view kind)
    : identifier_(std::string(kind) + "-" + std::to_string(nextSerial.fetch_add(1))) {}

void Element::setIdentifier(std::string identifier) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  identifier_ = std::move(identifier);
}

}  // namespace velune::ui

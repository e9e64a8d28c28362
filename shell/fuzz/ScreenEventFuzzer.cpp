// libFuzzer target: the parser of the page's input events, which reads bytes
// from the network. Whatever the bytes, parsing returns (no crash, no
// unbounded recursion), and an accepted event keeps the parser's limits.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "shell/ScreenEvent.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using velune::shell::ScreenEvent;
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  const auto parsed = ScreenEvent::parse(body);
  if (parsed.ok()) {
    const ScreenEvent& event = parsed.value();
    const bool targetNeeded = event.type == ScreenEvent::Type::Tap || event.type == ScreenEvent::Type::Type ||
                              event.type == ScreenEvent::Type::Return || event.type == ScreenEvent::Type::Swipe ||
                              event.type == ScreenEvent::Type::Choose || event.type == ScreenEvent::Type::Scroll;
    if (size > ScreenEvent::kMaxBodyBytes || event.target.size() > ScreenEvent::kMaxIdentifierBytes ||
        event.text.size() > ScreenEvent::kMaxTextBytes || (targetNeeded && event.target.empty())) {
      std::abort();
    }
  } else if (!parsed.error().localizedDescription()) {
    std::abort();  // every refusal says why
  }
  return 0;
}

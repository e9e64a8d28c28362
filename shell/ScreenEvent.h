#pragma once
// ScreenEvent: one input of a person at the page, as the page posts it to
// /api/event. The body is a small JSON object:
//
//   {"type": "tap",     "target": ID}            a tap on a view, bar item or alert action
//   {"type": "type",    "target": ID, "text": T} the text field's whole new text
//   {"type": "return",  "target": ID}            the return key in a text field
//   {"type": "swipe",   "target": ID}            a swipe on a row: shows its row actions
//   {"type": "back"  [, "target": ID]}           the back button of a navigation bar
//   {"type": "choose",  "target": ID}            an action of an alert or an action sheet
//   {"type": "dismiss" [, "target": ID]}         a tap outside a popover
//   {"type": "scroll",  "target": ID, "offset": Y} a list scrolled to Y points
//   {"type": "rotate",  "orientation": "portrait" | "landscape"}
//
// parse() is strict, since the body comes from the network: at most 64 KiB,
// one object nested no deeper than 4, known keys only, identifiers of 1 to
// 1024 bytes, texts of at most 4096 bytes, valid UTF-8, finite offsets.
// Anything else is an error whose description says what was wrong.

#include <optional>
#include <string>
#include <string_view>

#include "platform/Result.h"
#include "platform/ui/TraitCollection.h"

namespace velune::shell {

struct ScreenEvent {
  enum class Type { Tap, Type, Return, Swipe, Back, Choose, Dismiss, Scroll, Rotate };

  Type type = Type::Tap;
  std::string target;  // empty where the type allows none
  std::string text;
  double offset = 0;
  ui::InterfaceOrientation orientation = ui::InterfaceOrientation::Portrait;

  static constexpr size_t kMaxBodyBytes = 64 * 1024;
  static constexpr size_t kMaxIdentifierBytes = 1024;
  static constexpr size_t kMaxTextBytes = 4096;
  static constexpr int kMaxNesting = 4;

  static platform::Result<ScreenEvent> parse(std::string_view body);
  static const char* typeName(Type type);
};

}  // namespace velune::shell

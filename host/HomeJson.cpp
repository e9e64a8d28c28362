#include "host/HomeJson.h"

#include <algorithm>

namespace velune::host {

namespace {

// The deepest nesting of arrays and objects in the text, counted without
// parsing (brackets inside strings do not count); stops early past `limit`.
size_t nestingDepth(std::string_view text, size_t limit) {
  size_t depth = 0;
  size_t deepest = 0;
  bool inString = false;
  bool escaped = false;
  for (const char c : text) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
      if (deepest > limit) {
        return deepest;
      }
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

template <typename Json>
Json parseLimited(std::string_view text, bool* tooDeepResult, size_t maximumDepth) {
  // The values the parser builds, and every walk over them, are recursive:
  // a deeper text is refused before it is parsed.
  const bool tooDeep = nestingDepth(text, maximumDepth) > maximumDepth;
  if (tooDeepResult != nullptr) {
    *tooDeepResult = tooDeep;
  }
  return tooDeep ? Json(Json::value_t::discarded) : Json::parse(text, nullptr, /*allow_exceptions=*/false);
}

}  // namespace

nlohmann::json parseHomeJson(std::string_view text, bool* tooDeep, size_t maximumDepth) {
  return parseLimited<nlohmann::json>(text, tooDeep, maximumDepth);
}

nlohmann::ordered_json parseHomeOrderedJson(std::string_view text, bool* tooDeep, size_t maximumDepth) {
  return parseLimited<nlohmann::ordered_json>(text, tooDeep, maximumDepth);
}

std::string homeJsonText(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string homeJsonText(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace velune::host

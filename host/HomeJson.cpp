#include "host/HomeJson.h"

#include "platform/JsonNesting.h"

namespace velune::host {

namespace {

template <typename Json>
Json parseLimited(std::string_view text, bool* tooDeepResult, size_t maximumDepth) {
  // The values the parser builds, and every walk over them, are recursive:
  // a deeper text is refused before it is parsed.
  const bool tooDeep = platform::jsonNestingDepth(text, maximumDepth) > maximumDepth;
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

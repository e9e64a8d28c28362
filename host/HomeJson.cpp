#include "host/HomeJson.h"

namespace velune::host {

namespace {

template <typename Json>
Json parseLimited(std::string_view text, bool* tooDeepResult) {
  // The parser itself keeps its own stack; only the values it builds are
  // recursive. Deeper values are refused while parsing, before they exist.
  bool tooDeep = false;
  const typename Json::parser_callback_t limit = [&tooDeep](int depth, typename Json::parse_event_t, Json&) {
    if (static_cast<std::size_t>(depth) > kHomeJsonMaximumDepth) {
      tooDeep = true;
      return false;
    }
    return true;
  };
  Json json = Json::parse(text, limit, /*allow_exceptions=*/false);
  if (tooDeepResult != nullptr) {
    *tooDeepResult = tooDeep;
  }
  return tooDeep ? Json(Json::value_t::discarded) : json;
}

}  // namespace

nlohmann::json parseHomeJson(std::string_view text, bool* tooDeep) {
  return parseLimited<nlohmann::json>(text, tooDeep);
}

nlohmann::ordered_json parseHomeOrderedJson(std::string_view text, bool* tooDeep) {
  return parseLimited<nlohmann::ordered_json>(text, tooDeep);
}

std::string homeJsonText(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string homeJsonText(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace velune::host

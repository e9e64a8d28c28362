#include "shell/ScreenEvent.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "platform/Error.h"
#include "platform/JsonNesting.h"

namespace velune::shell {

using nlohmann::json;

namespace {

platform::Error invalid(const std::string& why) {
  return platform::Error("VeluneScreenEvent", 1, {{std::string(platform::kLocalizedDescriptionKey), platform::Value("invalid event: " + why)}});
}

struct TypeInfo {
  const char* name;
  ScreenEvent::Type type;
  bool needsTarget;
  bool allowsTarget;
};

constexpr TypeInfo kTypes[] = {
    {"tap", ScreenEvent::Type::Tap, true, true},         {"type", ScreenEvent::Type::Type, true, true},
    {"return", ScreenEvent::Type::Return, true, true},   {"swipe", ScreenEvent::Type::Swipe, true, true},
    {"back", ScreenEvent::Type::Back, false, true},      {"choose", ScreenEvent::Type::Choose, true, true},
    {"dismiss", ScreenEvent::Type::Dismiss, false, true}, {"scroll", ScreenEvent::Type::Scroll, true, true},
    {"rotate", ScreenEvent::Type::Rotate, false, false},
};

}  // namespace

const char* ScreenEvent::typeName(Type type) {
  for (const auto& info : kTypes) {
    if (info.type == type) {
      return info.name;
    }
  }
  return "unknown";
}

platform::Result<ScreenEvent> ScreenEvent::parse(std::string_view body) {
  if (body.size() > kMaxBodyBytes) {
    return invalid("the body is larger than 64 KiB");
  }
  if (constexpr auto limit = static_cast<std::size_t>(kMaxNesting); platform::jsonNestingDepth(body, limit) > limit) {
    return invalid("nested too deeply");
  }
  // No exceptions: a malformed body (or invalid UTF-8) gives a discarded value.
  const json object = json::parse(body.begin(), body.end(), nullptr, false);
  if (object.is_discarded()) {
    return invalid("not JSON (or not UTF-8)");
  }
  if (!object.is_object()) {
    return invalid("not a JSON object");
  }
  const auto typeField = object.find("type");
  if (typeField == object.end() || !typeField->is_string()) {
    return invalid("no \"type\"");
  }
  const TypeInfo* info = nullptr;
  for (const auto& candidate : kTypes) {
    if (typeField->get_ref<const std::string&>() == candidate.name) {
      info = &candidate;
    }
  }
  if (info == nullptr) {
    return invalid("unknown type");
  }
  ScreenEvent event;
  event.type = info->type;
  for (const auto& [key, value] : object.items()) {
    if (key == "type") {
      continue;
    }
    if (key == "target" && info->allowsTarget) {
      if (!value.is_string()) {
        return invalid("\"target\" is not a string");
      }
      event.target = value.get<std::string>();
      if (event.target.empty() || event.target.size() > kMaxIdentifierBytes) {
        return invalid("\"target\" is empty or too long");
      }
    } else if (key == "text" && info->type == Type::Type) {
      if (!value.is_string()) {
        return invalid("\"text\" is not a string");
      }
      event.text = value.get<std::string>();
      if (event.text.size() > kMaxTextBytes) {
        return invalid("\"text\" is longer than 4096 bytes");
      }
    } else if (key == "offset" && info->type == Type::Scroll) {
      if (!value.is_number()) {
        return invalid("\"offset\" is not a number");
      }
      event.offset = value.get<double>();
      if (!std::isfinite(event.offset) || std::fabs(event.offset) > 1e9) {
        return invalid("\"offset\" is out of range");
      }
    } else if (key == "orientation" && info->type == Type::Rotate) {
      if (value == "portrait") {
        event.orientation = ui::InterfaceOrientation::Portrait;
      } else if (value == "landscape") {
        event.orientation = ui::InterfaceOrientation::LandscapeRight;
      } else {
        return invalid("\"orientation\" is neither portrait nor landscape");
      }
    } else {
      return invalid("unexpected key \"" + key.substr(0, 64) + "\"");
    }
  }
  if (info->needsTarget && event.target.empty()) {
    return invalid("no \"target\"");
  }
  if (info->type == Type::Type && !object.contains("text")) {
    return invalid("no \"text\"");
  }
  if (info->type == Type::Scroll && !object.contains("offset")) {
    return invalid("no \"offset\"");
  }
  if (info->type == Type::Rotate && !object.contains("orientation")) {
    return invalid("no \"orientation\"");
  }
  return event;
}

}  // namespace velune::shell

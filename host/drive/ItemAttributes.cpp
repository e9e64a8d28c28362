#include "host/drive/ItemAttributes.h"

#include "host/HomeJson.h"
#include "platform/Error.h"

namespace velune::host {

using platform::Error;

ItemAttributes ItemAttributes::fromJson(const nlohmann::json& object, std::vector<std::string>* problems) {
  ItemAttributes out;
  auto problem = [&](std::string text) {
    if (problems != nullptr) {
      problems->push_back(std::move(text));
    }
  };
  if (const auto it = object.find("tags"); it != object.end()) {
    if (it->is_array()) {
      for (const auto& tag : *it) {
        if (tag.is_string() && !tag.get<std::string>().empty()) {
          out.tags.push_back(tag.get<std::string>());
        } else {
          problem("a tag that is not a name was skipped");
        }
      }
    } else if (!it->is_null()) {
      problem("\"tags\" is not a list");
    }
  }
  if (const auto it = object.find("shared"); it != object.end()) {
    if (it->is_boolean()) {
      out.shared = it->get<bool>();
    } else if (!it->is_null()) {
      problem("\"shared\" is not true or false");
    }
  }
  if (const auto it = object.find("role"); it != object.end()) {
    if (it->is_string() && (*it == kRoleOwner || *it == kRoleParticipant)) {
      out.role = it->get<std::string>();
    } else if (!it->is_null()) {
      problem("\"role\" is neither \"owner\" nor \"participant\"");
    }
  }
  if (const auto it = object.find("hiddenExtension"); it != object.end()) {
    if (it->is_boolean()) {
      out.hiddenExtension = it->get<bool>();
    } else if (!it->is_null()) {
      problem("\"hiddenExtension\" is not true or false");
    }
  }
  return out;
}

void ItemAttributes::addToJson(nlohmann::json& object) const {
  if (!tags.empty()) {
    object["tags"] = tags;
  }
  if (shared) {
    object["shared"] = true;
    object["role"] = role;
  }
  if (hiddenExtension) {
    object["hiddenExtension"] = true;
  }
}

platform::Result<ItemAttributes> ItemAttributes::parse(std::string_view text, const std::string& path,
                                                       std::vector<std::string>* problems) {
  const auto json = parseHomeJson(text);
  if (!json.is_object()) {
    return Error::platform(platform::ErrorCode::FileReadCorruptFile,
                           {{std::string(platform::kFilePathErrorKey), platform::Value(path)}});
  }
  return fromJson(json, problems);
}

std::string ItemAttributes::serialize() const {
  nlohmann::json object = nlohmann::json::object();
  addToJson(object);
  return homeJsonText(object);
}

}  // namespace velune::host

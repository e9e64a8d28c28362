#include "host/InstalledApplications.h"

#include "host/BoundedJsonFile.h"

namespace velune::host {

namespace {

// A bundle identifier: letters, digits, '-' and '.', as the platform allows.
bool isBundleIdentifier(const std::string& text) {
  if (text.empty() || text.size() > 255) {
    return false;
  }
  for (const char c : text) {
    const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
    if (!ok) {
      return false;
    }
  }
  return true;
}

}  // namespace

InstalledApplications InstalledApplications::read(const std::string& appsJsonPath, std::vector<std::string>* problems) {
  InstalledApplications out;
  const auto report = [problems](std::string text) {
    if (problems != nullptr) {
      problems->push_back(std::move(text));
    }
  };
  auto json = readBoundedJsonFile(appsJsonPath, kMaxFileBytes, kMaxDepth);
  if (!json.ok()) {
    report(appsJsonPath + ": " + json.error().localizedDescription().value_or(json.error().description()));
    return out;
  }
  const auto& root = json.value();
  if (!root.is_object() || !root.contains("applications") || !root["applications"].is_array()) {
    report(appsJsonPath + ": no \"applications\" list");
    return out;
  }
  for (const auto& entry : root["applications"]) {
    if (!entry.is_object() || !entry.contains("identifier") || !entry["identifier"].is_string() ||
        !isBundleIdentifier(entry["identifier"].get<std::string>())) {
      report(appsJsonPath + ": an application without a usable identifier is skipped");
      continue;
    }
    InstalledApplication app;
    app.identifier = entry["identifier"].get<std::string>();
    const auto text = [&](const char* key, std::string& into) {
      if (entry.contains(key)) {
        if (entry[key].is_string()) {
          into = entry[key].get<std::string>();
        } else {
          report(app.identifier + ": \"" + key + "\" is not text");
        }
      }
    };
    text("name", app.name);
    text("shortName", app.shortName);
    text("version", app.version);
    text("vendor", app.vendor);
    text("executable", app.executable);
    text("description", app.description);
    if (entry.contains("opensInPlace")) {
      if (entry["opensInPlace"].is_boolean()) {
        app.opensInPlace = entry["opensInPlace"].get<bool>();
      } else {
        report(app.identifier + ": \"opensInPlace\" is not true or false");
      }
    }
    if (entry.contains("defaultFor") && entry["defaultFor"].is_array()) {
      for (const auto& type : entry["defaultFor"]) {
        if (type.is_string()) {
          app.defaultFor.push_back(type.get<std::string>());
        }
      }
    }
    out.applications_.push_back(std::move(app));
  }
  return out;
}

bool InstalledApplications::isInstalled(const std::string& identifier) const {
  for (const auto& app : applications_) {
    if (app.identifier == identifier) {
      return true;
    }
  }
  return false;
}

}  // namespace velune::host

#include "shell/PhoneControls.h"

#include <unistd.h>

#include <cctype>
#include <cmath>
#include <future>

#include "host/CloudTagDictionary.h"
#include "host/DeviceConfiguration.h"
#include "host/DeviceMonitor.h"
#include "host/DeviceSettingsEditor.h"
#include "host/InstalledApplications.h"
#include "host/LaunchURLChannel.h"
#include "host/drive/Drive.h"
#include "platform/Log.h"

namespace velune::shell {

using nlohmann::json;

platform::Error phoneControlError(const std::string& description) {
  return platform::Error("VelunePhoneControls", 1,
                         {{std::string(platform::kLocalizedDescriptionKey), platform::Value(description)}});
}

namespace {

// The sizes of the two simulated devices, held upright.
struct Screen {
  double width;
  double height;
  double scale;
};
constexpr Screen kPhone{390, 844, 3};
constexpr Screen kTablet{820, 1180, 2};

std::optional<std::string> stringField(const json& body, const char* key) {
  if (!body.is_object()) {
    return std::nullopt;
  }
  const auto it = body.find(key);
  if (it == body.end() || !it->is_string()) {
    return std::nullopt;
  }
  return it->get<std::string>();
}

// Reverse-DNS bundle identifiers: letters, digits, dots, hyphens.
bool isBundleIdentifier(const std::string& text) {
  if (text.empty() || text.size() > 255 || text.front() == '.' || text.back() == '.') {
    return false;
  }
  for (const unsigned char c : text) {
    if (!std::isalnum(c) && c != '.' && c != '-') {
      return false;
    }
  }
  return text.find('.') != std::string::npos;
}

// A path below the drive's root as the page sends it: no "..", no empty or
// hidden parts (the drive refuses what leaves it; this keeps its files out too).
std::optional<platform::Error> checkDrivePath(const std::string& path) {
  if (path.empty() || path.size() > 4096 || path.front() == '/') {
    return phoneControlError("a path below the drive's root is needed (\"<container>/Documents/...\")");
  }
  size_t start = 0;
  while (start <= path.size()) {
    const size_t end = std::min(path.find('/', start), path.size());
    const std::string part = path.substr(start, end - start);
    if (part.empty() || part == "." || part == ".." || part.front() == '.' || part.find('\0') != std::string::npos) {
      return phoneControlError("the path has an empty, hidden or \"..\" part");
    }
    start = end + 1;
  }
  return std::nullopt;
}

}  // namespace

void PhoneControls::setOpenURLHook(OpenURLHook hook) {
  const std::lock_guard lock(mutex_);
  openURL_ = std::move(hook);
}

std::optional<platform::Error> PhoneControls::setKey(const std::string& key, const json& value) {
  std::string note;
  auto error = host::DeviceSettingsEditor::set(layout_, key, value, &note);
  if (!note.empty()) {
    PLATFORM_LOG(kLogWarning, "Control panel: %@", note);
  }
  return error;
}

std::optional<platform::Error> PhoneControls::setNetwork(const json& body) {
  const auto network = stringField(body, "network");
  if (!network || !host::DeviceConfiguration::networkFromName(*network)) {
    return phoneControlError("network must be wifi, cellular or offline");
  }
  const std::lock_guard lock(mutex_);
  PLATFORM_LOG(kLogInfo, "Control panel: network %@", *network);
  return setKey("network", *network);
}

std::optional<platform::Error> PhoneControls::setAccount(const json& body) {
  json token;
  if (const auto account = stringField(body, "account")) {
    if (*account == "signed-in") {
      token = kDemoAccountToken;
    } else if (*account == "other") {
      token = kOtherAccountToken;
    } else if (*account == "signed-out") {
      token = nullptr;
    } else {
      return phoneControlError("account must be signed-in, signed-out or other");
    }
  } else if (const auto given = stringField(body, "token"); given && !given->empty() && given->size() <= 256) {
    token = *given;
  } else {
    return phoneControlError("give an account (signed-in, signed-out, other) or a token");
  }
  const std::lock_guard lock(mutex_);
  PLATFORM_LOG(kLogInfo, "Control panel: account %@", token.is_null() ? std::string("signed out") : token.get<std::string>());
  return setKey("identityToken", token);
}

std::optional<platform::Error> PhoneControls::setApplicationState(const json& body) {
  const auto state = stringField(body, "state");
  if (!state || (*state != "active" && *state != "background")) {
    return phoneControlError("state must be active or background");
  }
  const std::lock_guard lock(mutex_);
  PLATFORM_LOG(kLogInfo, "Control panel: application %@", *state);
  return host::DeviceMonitor::writeApplicationState(
      host::DeviceMonitor::applicationStateFile(layout_),
      *state == "active" ? host::ApplicationState::Active : host::ApplicationState::Background);
}

std::optional<platform::Error> PhoneControls::setDevice(const json& body) {
  const auto idiom = stringField(body, "idiom");
  const auto orientation = stringField(body, "orientation");
  if ((!idiom && !orientation) || (idiom && *idiom != "phone" && *idiom != "tablet") ||
      (orientation && *orientation != "portrait" && *orientation != "landscape")) {
    return phoneControlError("give idiom (phone, tablet) and/or orientation (portrait, landscape)");
  }
  const std::lock_guard lock(mutex_);
  const auto current = host::DeviceConfiguration::read(layout_.deviceJson());
  const bool tablet = idiom ? *idiom == "tablet" : current.idiom == host::DeviceIdiom::Tablet;
  const bool landscape = orientation ? *orientation == "landscape" : current.screenWidth > current.screenHeight;
  const Screen& screen = tablet ? kTablet : kPhone;
  PLATFORM_LOG(kLogInfo, "Control panel: %s in %s", tablet ? "tablet" : "phone", landscape ? "landscape" : "portrait");
  // The screen first: a monitor that reads between the two writes sees a
  // phone-sized tablet for a moment at worst, never a missing screen.
  if (auto error = setKey("screen", json{{"width", landscape ? screen.height : screen.width},
                                          {"height", landscape ? screen.width : screen.height},
                                          {"scale", screen.scale}})) {
    return error;
  }
  return setKey("idiom", tablet ? "tablet" : "phone");
}

std::optional<platform::Error> PhoneControls::rotate(bool landscape) {
  return setDevice(json{{"orientation", landscape ? "landscape" : "portrait"}});
}

std::optional<platform::Error> PhoneControls::setBandwidth(const json& body) {
  if (!body.is_object() || !body.contains("bytesPerSecond") || !body["bytesPerSecond"].is_number()) {
    return phoneControlError("bytesPerSecond must be a number");
  }
  const double value = body["bytesPerSecond"].get<double>();
  if (!std::isfinite(value) || value < 1000 || value > 1e10) {
    return phoneControlError("bytesPerSecond must be between 1000 and 10000000000");
  }
  const std::lock_guard lock(mutex_);
  PLATFORM_LOG(kLogInfo, "Control panel: download bandwidth %@ bytes per second", static_cast<std::uint64_t>(value));
  return setKey("downloadBytesPerSecond", static_cast<std::uint64_t>(value));
}

platform::Result<bool> PhoneControls::launchURL(const json& body, std::chrono::milliseconds timeout) {
  const auto text = stringField(body, "url");
  const auto source = stringField(body, "source");
  if (!text || text->empty() || text->size() > host::LaunchURLChannel::kMaxRequestBytes) {
    return phoneControlError("url is missing or too long");
  }
  if (!source || !isBundleIdentifier(*source)) {
    return phoneControlError("source must be an application's bundle identifier");
  }
  const auto url = platform::URL::URLWithString(*text);
  if (!url) {
    return phoneControlError("url is not a URL");
  }
  OpenURLHook hook;
  {
    const std::lock_guard lock(mutex_);
    hook = openURL_;
  }
  if (!hook) {
    return phoneControlError("this application host delivers no launch URLs");
  }
  host::LaunchURLRequest request;
  request.url = *url;
  request.claimedSource = *source;
  request.pid = ::getpid();
  request.executable = "the screen's control panel";
  PLATFORM_LOG(kLogInfo, "Control panel: launch URL %@ claiming %@", *text, *source);
  auto answer = std::make_shared<std::promise<bool>>();
  auto handled = answer->get_future();
  // Only the answer callback holds the promise: a request dropped unanswered
  // breaks it at once instead of leaving the wait to its timeout.
  hook(request, [answer = std::move(answer)](bool opened) { answer->set_value(opened); });
  if (handled.wait_for(timeout) != std::future_status::ready) {
    return phoneControlError("the app did not answer the launch URL");
  }
  try {
    return handled.get();
  } catch (const std::future_error&) {
    // The app ended with the request still queued: its answer was dropped.
    return phoneControlError("the app ended before it answered the launch URL");
  }
}

std::optional<platform::Error> PhoneControls::changeFromAnotherDevice(const json& body) {
  const auto op = stringField(body, "op");
  const auto path = stringField(body, "path");
  if (!op || (*op != "add" && *op != "modify" && *op != "move" && *op != "delete")) {
    return phoneControlError("op must be add, modify, move or delete");
  }
  if (!path) {
    return phoneControlError("path is missing");
  }
  if (auto error = checkDrivePath(*path)) {
    return error;
  }
  host::Drive::CloudDocument document;
  if (const auto contents = stringField(body, "text")) {
    if (contents->size() > 1024 * 1024) {
      return phoneControlError("text is larger than 1 MiB");
    }
    document.contents = *contents;
  } else if (body.contains("size")) {
    if (!body["size"].is_number_unsigned()) {
      return phoneControlError("size must be a number of bytes");
    }
    document.sparseSize = body["size"].get<std::uint64_t>();
  } else if (*op == "add" || *op == "modify") {
    document.contents = std::string();
  }
  const std::lock_guard lock(mutex_);
  host::Drive drive(layout_);
  PLATFORM_LOG(kLogInfo, "Control panel: another device does %@ on %@", *op, *path);
  if (*op == "add") {
    const bool folder = body.value("folder", false);
    return folder ? drive.cloudAddFolder(*path) : drive.cloudAdd(*path, document);
  }
  if (*op == "modify") {
    return drive.cloudModify(*path, document);
  }
  if (*op == "delete") {
    return drive.cloudDelete(*path);
  }
  const auto to = stringField(body, "to");
  if (!to) {
    return phoneControlError("a move needs \"to\"");
  }
  if (auto error = checkDrivePath(*to)) {
    return error;
  }
  return drive.cloudMove(*path, *to);
}

std::optional<platform::Error> PhoneControls::setTagDictionary(const json& body) {
  constexpr size_t kMostTags = 1000;
  constexpr size_t kLongestName = 255;
  std::uint64_t version = host::CloudTagDictionary::kCurrentVersion;
  if (body.contains("version")) {
    if (!body["version"].is_number_unsigned() || body["version"].get<std::uint64_t>() > 0xFFFFFFFFu) {
      return phoneControlError("version must be a whole number");
    }
    version = body["version"].get<std::uint64_t>();
  }
  if (!body.contains("tags") || !body["tags"].is_array()) {
    return phoneControlError("tags must be a list of {\"name\", \"colour\"}");
  }
  if (body["tags"].size() > kMostTags) {
    return phoneControlError("at most 1000 tags");
  }
  std::vector<host::CloudTag> tags;
  for (const auto& entry : body["tags"]) {
    const auto name = stringField(entry, "name");
    if (!name || name->empty() || name->size() > kLongestName) {
      return phoneControlError("each tag needs a name of 1 to 255 bytes");
    }
    if (!entry.contains("colour") || !entry["colour"].is_number_unsigned() || entry["colour"].get<std::uint64_t>() > 7) {
      return phoneControlError("each tag needs a colour number from 0 to 7");
    }
    tags.push_back(host::CloudTag{*name, entry["colour"].get<std::uint64_t>()});
  }
  const std::lock_guard lock(mutex_);
  PLATFORM_LOG(kLogInfo, "Control panel: another device sets %@ tags (version %@)", tags.size(), version);
  return host::CloudTagDictionary::write(layout_, tags, version);
}

json PhoneControls::state() const {
  const std::lock_guard lock(mutex_);
  const auto device = host::DeviceConfiguration::read(layout_.deviceJson());
  std::string problem;
  const auto appState =
      host::DeviceMonitor::readApplicationState(host::DeviceMonitor::applicationStateFile(layout_), &problem);
  json out;
  out["network"] = host::DeviceConfiguration::networkName(device.network);
  out["identityToken"] = device.identityToken ? json(*device.identityToken) : json(nullptr);
  out["account"] = !device.identityToken                           ? "signed-out"
                   : *device.identityToken == kOtherAccountToken ? "other"
                                                                  : "signed-in";
  out["idiom"] = device.idiom == host::DeviceIdiom::Tablet ? "tablet" : "phone";
  out["orientation"] = device.screenWidth > device.screenHeight ? "landscape" : "portrait";
  out["bytesPerSecond"] = device.downloadBytesPerSecond;
  out["applicationState"] = appState && *appState == host::ApplicationState::Background ? "background" : "active";
  // The applications a launch URL can claim: every one installed (the app
  // trusts two of them), and one that is not installed, which the host
  // reports as an unknown source.
  json sources = json::array();
  const auto installed = host::InstalledApplications::read(layout_.appsJson());
  for (const auto& application : installed.applications()) {
    sources.push_back(json{{"identifier", application.identifier},
                           {"name", application.name.empty() ? application.identifier : application.name},
                           {"installed", true}});
  }
  sources.push_back(json{{"identifier", kNotInstalledSource}, {"name", "Not installed"}, {"installed", false}});
  out["sources"] = std::move(sources);
  out["driveRoot"] = "com.vorlan.drive/Documents";
  // Launch URLs name documents by their absolute path.
  out["drivePath"] = layout_.mobileDocuments();
  // The tag dictionary of the cloud key-value store, as the panel edits it.
  const auto tags = host::CloudTagDictionary::read(layout_);
  if (tags.ok()) {
    json list = json::array();
    for (const auto& tag : tags.value().tags) {
      list.push_back({{"name", tag.name}, {"colour", tag.colour}});
    }
    out["tagDictionary"] = {{"version", tags.value().version}, {"tags", list}};
  } else {
    out["tagDictionary"] = {{"problem", tags.error().localizedDescription().value_or(tags.error().description())}};
  }
  return out;
}

}  // namespace velune::shell

#include "host/DeviceConfiguration.h"

#include <cerrno>
#include <nlohmann/json.hpp>

#include "host/FileIO.h"
#include "host/HomeFileReader.h"
#include "host/HomeJson.h"

namespace velune::host {

const char* DeviceConfiguration::networkName(NetworkSetting network) {
  switch (network) {
    case NetworkSetting::WiFi:
      return "wifi";
    case NetworkSetting::Cellular:
      return "cellular";
    case NetworkSetting::Offline:
      return "offline";
  }
  return "offline";
}

std::optional<NetworkSetting> DeviceConfiguration::networkFromName(const std::string& name) {
  if (name == "wifi") return NetworkSetting::WiFi;
  if (name == "cellular") return NetworkSetting::Cellular;
  if (name == "offline") return NetworkSetting::Offline;
  return std::nullopt;
}

DeviceConfiguration DeviceConfiguration::read(const std::string& path, std::vector<std::string>* problems) {
  return read(path, problems, DeviceConfiguration());
}

DeviceConfiguration DeviceConfiguration::read(const std::string& path, std::vector<std::string>* problems,
                                              const DeviceConfiguration& fallback) {
  DeviceConfiguration config = fallback;
  auto note = [problems](std::string text) {
    if (problems != nullptr) {
      problems->push_back(std::move(text));
    }
  };
  std::string contents;
  if (const int error = readHomeFile(path, kSettingsFileLimit, contents)) {
    if (error == ENOENT) {
      return DeviceConfiguration();  // no file: a new device with the defaults
    }
    const auto why = homeFileError(error, path);
    note("device.json cannot be read: " + why.localizedDescription().value_or(why.description()));
    return config;
  }
  bool tooDeep = false;
  const auto json = parseHomeJson(contents, &tooDeep);
  if (tooDeep) {
    note("device.json nests deeper than " + std::to_string(kHomeJsonMaximumDepth) +
         " levels; its settings are not used");
    return config;
  }
  if (!json.is_object()) {
    note("device.json is not a JSON object; its settings are not used");
    return config;
  }
  if (const auto it = json.find("identityToken"); it != json.end()) {
    if (it->is_null()) {
      config.identityToken.reset();
    } else if (it->is_string() && !it->get<std::string>().empty()) {
      config.identityToken = it->get<std::string>();
    } else {
      note("device.json: identityToken must be a text or null");
    }
  }
  if (const auto it = json.find("network"); it != json.end()) {
    const auto network = it->is_string() ? networkFromName(it->get<std::string>()) : std::nullopt;
    if (network) {
      config.network = *network;
    } else {
      note("device.json: unknown network " + it->dump() + "; expected wifi, cellular or offline");
    }
  }
  if (const auto it = json.find("idiom"); it != json.end()) {
    if (*it == "phone") {
      config.idiom = DeviceIdiom::Phone;
    } else if (*it == "tablet") {
      config.idiom = DeviceIdiom::Tablet;
    } else {
      note("device.json: unknown idiom " + it->dump() + "; expected phone or tablet");
    }
  }
  if (const auto it = json.find("screen"); it != json.end()) {
    auto positive = [&](const char* key, double& target) {
      const auto value = it->find(key);
      if (value == it->end()) {
        return;
      }
      if (value->is_number() && value->get<double>() > 0 && value->get<double>() < 100000) {
        target = value->get<double>();
      } else {
        note(std::string("device.json: screen.") + key + " must be a positive number");
      }
    };
    if (it->is_object()) {
      positive("width", config.screenWidth);
      positive("height", config.screenHeight);
      positive("scale", config.screenScale);
    } else {
      note("device.json: screen must be an object");
    }
  }
  auto count = [&](const char* key, std::uint64_t& target) {
    const auto it = json.find(key);
    if (it == json.end()) {
      return;
    }
    if (it->is_number_unsigned() || (it->is_number_integer() && it->get<std::int64_t>() >= 0)) {
      target = it->get<std::uint64_t>();
    } else {
      note(std::string("device.json: ") + key + " must be a whole number of bytes");
    }
  };
  count("quotaTotalBytes", config.quotaTotalBytes);
  count("downloadBytesPerSecond", config.downloadBytesPerSecond);
  return config;
}

std::string DeviceConfiguration::text() const {
  nlohmann::ordered_json json;
  json["identityToken"] = identityToken ? nlohmann::ordered_json(*identityToken) : nlohmann::ordered_json(nullptr);
  json["network"] = networkName(network);
  json["idiom"] = idiom == DeviceIdiom::Tablet ? "tablet" : "phone";
  json["screen"] = {{"width", screenWidth}, {"height", screenHeight}, {"scale", screenScale}};
  json["quotaTotalBytes"] = quotaTotalBytes;
  json["downloadBytesPerSecond"] = downloadBytesPerSecond;
  return homeJsonText(json);
}

std::optional<platform::Error> DeviceConfiguration::write(const std::string& path) const {
  return writeFileAtomically(path, text());
}

}  // namespace velune::host

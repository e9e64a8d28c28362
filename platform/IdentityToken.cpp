#include "platform/IdentityToken.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace velune::platform {
namespace {

// The archive names its kind and version, so that data of another kind is
// not taken for a token and a later format can be told apart.
constexpr const char* kKindKey = "kind";
constexpr const char* kKindName = "velune.identity-token";
constexpr const char* kVersionKey = "version";
constexpr int kVersion = 1;
constexpr const char* kIdentityKey = "identity";

}  // namespace

std::string IdentityToken::description() const {
  // FNV-1a: stable across runs, so one account shows the same mark in every log.
  std::uint32_t hash = 2166136261u;
  for (const unsigned char c : identity_) {
    hash = (hash ^ c) * 16777619u;
  }
  char text[32];
  std::snprintf(text, sizeof text, "<IdentityToken %08x>", hash);
  return text;
}

Value::Data IdentityToken::archivedData() const {
  nlohmann::ordered_json archive;
  archive[kKindKey] = kKindName;
  archive[kVersionKey] = kVersion;
  archive[kIdentityKey] = identity_;
  // Identities come from outside; invalid UTF-8 is replaced rather than thrown on.
  const std::string text = archive.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return Value::Data(text.begin(), text.end());
}

std::optional<IdentityToken> IdentityToken::fromArchivedData(const Value::Data& data) {
  const auto archive = nlohmann::json::parse(data.begin(), data.end(), nullptr, /*allow_exceptions=*/false);
  if (!archive.is_object()) {
    return std::nullopt;
  }
  const auto kind = archive.find(kKindKey);
  const auto version = archive.find(kVersionKey);
  const auto identity = archive.find(kIdentityKey);
  if (kind == archive.end() || *kind != kKindName || version == archive.end() || *version != kVersion ||
      identity == archive.end() || !identity->is_string()) {
    return std::nullopt;
  }
  return IdentityToken(identity->get<std::string>());
}

}  // namespace velune::platform

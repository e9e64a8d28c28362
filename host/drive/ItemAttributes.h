#pragma once
// ItemAttributes: what the drive keeps about an item besides its bytes: its
// tags, whether it is shared and the user's role in the share, and whether its
// extension is hidden. Kept in the sidecar ".NAME.vdattrs" of a real item, and
// inside the placeholder of a cloud-only one.
//
//   {"tags": ["Red", "Work"], "shared": true, "role": "participant", "hiddenExtension": false}

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace velune::host {

inline constexpr std::string_view kRoleOwner = "owner";
inline constexpr std::string_view kRoleParticipant = "participant";

struct ItemAttributes {
  std::vector<std::string> tags;
  bool shared = false;
  // kRoleOwner or kRoleParticipant; meaningful when shared.
  std::string role = std::string(kRoleOwner);
  bool hiddenExtension = false;

  bool isDefault() const { return tags.empty() && !shared && !hiddenExtension; }

  // Reads the fields of a JSON object; a field of the wrong kind keeps its
  // default and is reported in `problems`.
  static ItemAttributes fromJson(const nlohmann::json& object, std::vector<std::string>* problems);
  void addToJson(nlohmann::json& object) const;

  // A whole sidecar file: an error (ErrorCode::FileReadCorruptFile) when the
  // text is not a JSON object.
  static platform::Result<ItemAttributes> parse(std::string_view text, const std::string& path,
                                                std::vector<std::string>* problems);
  std::string serialize() const;

  bool operator==(const ItemAttributes&) const = default;
};

}  // namespace velune::host

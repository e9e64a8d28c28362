#pragma once
// CloudTagDictionary: the user's tag dictionary as another device writes it
// into the cloud key-value store (vdtool `cloud set-tags`, the screen's
// control panel, the demo home): under "TroverTagDict", a map of
// "TroverTagDictVersion" and "TroverTags", a list of {"n": name, "l": colour
// number}. Colour numbers: 0 none, 1 grey, 2 green, 3 purple, 4 blue,
// 5 yellow, 6 red, 7 orange. Pure functions and file writes; any thread.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/HomeLayout.h"
#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/Value.h"

namespace velune::host {

struct CloudTag {
  std::string name;
  std::uint64_t colour = 0;
  bool operator==(const CloudTag&) const = default;
};

struct CloudTagList {
  std::uint64_t version = 0;
  std::vector<CloudTag> tags;
};

class CloudTagDictionary {
 public:
  CloudTagDictionary() = delete;

  static constexpr const char* kStoreKey = "TroverTagDict";
  static constexpr const char* kVersionKey = "TroverTagDictVersion";
  static constexpr const char* kTagsKey = "TroverTags";
  static constexpr std::uint64_t kCurrentVersion = 2;

  // "none", "grey", "green", "purple", "blue", "yellow", "red", "orange", by number.
  static const std::array<std::string_view, 8>& colourNames();
  // The number of a colour word (any case; "gray" too) or of plain digits;
  // nothing for anything else.
  static std::optional<std::uint64_t> colourNumber(std::string_view text);

  // The dictionary's value.
  static platform::Value make(const std::vector<CloudTag>& tags, std::uint64_t version = kCurrentVersion);
  // Replaces the dictionary in the home's store as another device does.
  static std::optional<platform::Error> write(const HomeLayout& layout, const std::vector<CloudTag>& tags,
                                              std::uint64_t version = kCurrentVersion);
  // Puts any value under the dictionary's key (for tests of bad dictionaries).
  static std::optional<platform::Error> writeValue(const HomeLayout& layout, const platform::Value& value);
  // What the home's store holds, as a list: entries without a text name or
  // that are not maps are left out; a colour that is not a number reads as 0.
  static platform::Result<CloudTagList> read(const HomeLayout& layout);
};

}  // namespace velune::host

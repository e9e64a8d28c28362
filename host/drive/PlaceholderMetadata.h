#pragma once
// PlaceholderMetadata: what the placeholder ".NAME.placeholder" of a
// cloud-only document says about it, as JSON:
//
//   {"size": 8123456, "type": "public.pdf", "created": 1767225600.0,
//    "modified": 1767312000.0, "package": false,
//    "tags": ["Red"], "shared": true, "role": "participant"}
//
// Every field may be missing. Reading is tolerant: a field of the wrong kind
// (a size that is not a whole number of bytes, a date that is not a number)
// reads as missing and is reported; only a file that is not a JSON object is
// refused as corrupt.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/drive/ItemAttributes.h"
#include "platform/Date.h"
#include "platform/Result.h"

namespace velune::host {

struct PlaceholderMetadata {
  std::optional<std::uint64_t> size;
  // A type identifier; when missing, the type of the name's extension.
  std::optional<std::string> type;
  std::optional<platform::Date> created;
  std::optional<platform::Date> modified;
  bool isPackage = false;
  ItemAttributes attributes;

  static platform::Result<PlaceholderMetadata> parse(std::string_view text, const std::string& path,
                                                     std::vector<std::string>* problems);
  std::string serialize() const;
};

}  // namespace velune::host

#pragma once
// BoundedJsonFile: reads a small JSON file of the home, which any process of
// the user may have replaced: only a regular file is read (a symbolic link,
// FIFO, device or folder is refused without blocking), at most `maxBytes`,
// nested at most `maxDepth` deep. Anything else is an error value.

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace velune::host {

inline constexpr size_t kDefaultJsonFileLimit = 1 << 20;
inline constexpr int kDefaultJsonDepthLimit = 16;

platform::Result<nlohmann::json> readBoundedJsonFile(const std::string& path, size_t maxBytes = kDefaultJsonFileLimit,
                                                     int maxDepth = kDefaultJsonDepthLimit);
// The same rules for text already in memory (a message from a socket).
platform::Result<nlohmann::json> parseBoundedJson(std::string_view text, int maxDepth = kDefaultJsonDepthLimit);

}  // namespace velune::host

#pragma once
// BoundedJsonFile: reads a small JSON file of the home, which any process of
// the user may have replaced. The file is read by readHomeFile() (only a
// regular file, a symbolic link, FIFO, device or folder refused without
// blocking, at most `maxBytes`) and parsed by parseHomeJson() (at most
// `maxDepth` levels, checked before parsing). Anything else is an error
// value that says what was refused.
//
// Pure functions; any thread.

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
// The same rules for text already in memory (a message from a socket);
// `what` names the text in the error.
platform::Result<nlohmann::json> parseBoundedJson(std::string_view text, int maxDepth = kDefaultJsonDepthLimit,
                                                  const std::string& what = "The message");

}  // namespace velune::host

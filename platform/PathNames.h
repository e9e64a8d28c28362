#pragma once
// Splitting a path into its folder and its last name: the one splitter of the
// layers that handle plain paths. Pure functions; any thread.

#include <string>
#include <string_view>
#include <utility>

namespace velune::platform {

// "/a/b/c" → {"/a/b", "c"}; "/c" → {"/", "c"}; "c" → {".", "c"}.
std::pair<std::string, std::string> splitParent(std::string_view path);

}  // namespace velune::platform

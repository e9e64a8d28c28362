#pragma once
// The page's files (shell/web/*), built into the program: the page needs no
// build step and no install location, and always matches its server.

#include <span>
#include <string_view>

namespace velune::shell {

struct WebAsset {
  std::string_view name;  // "index.html", "screen.js"...
  std::string_view contentType;
  std::string_view content;
};

std::span<const WebAsset> webAssets();

}  // namespace velune::shell

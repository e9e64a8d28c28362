#pragma once
// The JSON string tables of resources/strings, built into the program by CMake.

#include <span>
#include <string_view>

namespace velune::platform {

std::span<const std::string_view> embeddedStringTables();

}  // namespace velune::platform

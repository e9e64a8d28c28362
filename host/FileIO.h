#pragma once
// Small whole-file helpers for the simulated phone's own files.

#include <optional>
#include <string>

#include "platform/Error.h"
#include "platform/Result.h"

namespace velune::host {

// The whole file, or the error of reading it.
platform::Result<std::string> readWholeFile(const std::string& path);

// Writes through a temporary file in the same folder, flushed, then renamed
// over the target: readers see the old or the new contents, never a part.
// Creates missing parent folders.
std::optional<platform::Error> writeFileAtomically(const std::string& path, const std::string& contents);

// mkdir -p; an error when a part exists and is not a folder.
std::optional<platform::Error> makeDirectories(const std::string& path);

}  // namespace velune::host

#pragma once
// Reading the simulated phone's own files. The home is the user's folder, so
// any of its files may be something else than the small regular file it
// should be: a link (to /dev/zero, to a file outside the home), a FIFO that
// nobody writes, a device, a folder, or a file of gigabytes. Every reader of
// a home file goes through readHomeFile(), which opens without following a
// link and without blocking, keeps only regular files, and reads at most the
// limit of the file's kind; each refusal is an error value, never a hang or
// an unbounded allocation.
//
// Pure functions; any thread.

#include <cstddef>
#include <string>

#include "platform/Error.h"
#include "platform/Result.h"

namespace velune::host {

// Settings: device.json, apps.json, containers.json, app-state.json,
// preferences, kvstore.json.
inline constexpr std::size_t kSettingsFileLimit = 1024 * 1024;
// An item's metadata: placeholders, sidecars, document references.
inline constexpr std::size_t kItemMetadataFileLimit = 64 * 1024;

// The errno values of a refused file besides those of open(2) and read(2):
// ELOOP for a symbolic link, EISDIR for a folder, ENODEV for a FIFO, a
// socket or a device, EFBIG for a file above the limit.
int readHomeFile(const std::string& path, std::size_t limit, std::string& contents);
// The same for the name `name` of the open folder `folderFd`.
int readHomeFileAt(int folderFd, const std::string& name, std::size_t limit, std::string& contents);

// As above, as a result; the error names the path and says in words what was
// refused (a link, not a regular file, too large).
platform::Result<std::string> readHomeFile(const std::string& path, std::size_t limit);

// The error readHomeFile() gives for one of its errno values.
platform::Error homeFileError(int errorNumber, const std::string& path);

}  // namespace velune::host

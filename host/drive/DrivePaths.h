#pragma once
// Names and paths of the simulated drive on disk:
//
//   NAME                      a document or folder that is on the phone
//   .NAME.placeholder         a cloud-only document NAME (JSON metadata)
//   .NAME.vdattrs             tags, sharing and hidden-extension flag of NAME
//   .vdtmp-*                  the drive's temporary files (never shown)
//   NAME.vdref                a document reference (JSON naming its target)
//
// Pure string functions; any thread.

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/PathNames.h"

namespace velune::host {

inline constexpr std::string_view kPlaceholderSuffix = ".placeholder";
inline constexpr std::string_view kSidecarSuffix = ".vdattrs";
inline constexpr std::string_view kTemporaryPrefix = ".vdtmp-";
inline constexpr std::string_view kDocumentReferenceExtension = "vdref";
// A temporary file ".vdtmp-….replace" beside a document: the journal of a
// change of both copies of the document (see TemporaryFileSweeper).
inline constexpr std::string_view kReplacementJournalSuffix = "replace";

std::string placeholderNameFor(std::string_view name);
std::string sidecarNameFor(std::string_view name);
// ".NAME.placeholder" → "NAME"; nothing for other names.
std::optional<std::string> logicalNameOfPlaceholder(std::string_view name);
std::optional<std::string> logicalNameOfSidecar(std::string_view name);
bool isTemporaryName(std::string_view name);

using platform::splitParent;
std::string joinPath(std::string_view folder, std::string_view name);
// The placeholder or sidecar path beside the item at `path`.
std::string placeholderPathFor(std::string_view path);
std::string sidecarPathFor(std::string_view path);

// An absolute path with "." and ".." resolved by name and repeated or
// trailing slashes removed ("/" stays "/"). Nothing for relative paths.
std::optional<std::string> lexicallyNormal(std::string_view path);
// Whether `path` is `ancestor` or lies inside it (both normal).
bool isSameOrInside(std::string_view path, std::string_view ancestor);
// The part of `path` below `ancestor` ("" when equal); nothing when outside.
std::optional<std::string> relativeTo(std::string_view path, std::string_view ancestor);

}  // namespace velune::host

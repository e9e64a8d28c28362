#pragma once
// The URL resolvers of the category VLDAppBookmarks, as free functions on a
// URL: what a document reference points at, and the logical URL of a
// placeholder. Used by the item record, the file operations, the default-app
// launching and the application delegate. Any thread.

#include <optional>

#include "platform/URL.h"

namespace velune {

// For a document reference: its target (the logical URL of the target when
// that is a cloud-only document, with its placeholder recorded); nothing when
// the reference cannot be resolved or `url` is not a reference.
std::optional<platform::URL> vld_URLByResolvingBookmark(const platform::URL& url);

// For a placeholder: the logical URL of the document it stands for, with the
// placeholder recorded as its physical URL; nothing for other URLs.
std::optional<platform::URL> vld_URLByResolvingPromise(const platform::URL& url);

}  // namespace velune

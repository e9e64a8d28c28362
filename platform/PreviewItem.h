#pragma once
// PreviewItem: one item that the document preview shows: a file URL, and
// whether audio and video in it play in the platform's default media player.

#include <optional>
#include <string>

#include "platform/URL.h"

namespace velune::platform {

class PreviewItem {
 public:
  virtual ~PreviewItem() = default;
  virtual URL previewItemURL() const = 0;
  // The title over the preview; nothing: the file's name.
  virtual std::optional<std::string> previewItemTitle() const { return std::nullopt; }
  virtual bool wantsDefaultMediaPlayer() const { return false; }
};

}  // namespace velune::platform

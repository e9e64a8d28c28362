#pragma once
// VeluneDriveAppPreview: a URL as an item of the document preview. Audio and
// video of every URL play in the platform's default media player.

#include "platform/PreviewItem.h"

namespace velune {

class VeluneDriveAppPreview final : public platform::PreviewItem {
 public:
  explicit VeluneDriveAppPreview(platform::URL url) : url_(std::move(url)) {}
  platform::URL previewItemURL() const override { return url_; }
  bool wantsDefaultMediaPlayer() const override { return true; }

 private:
  platform::URL url_;
};

}  // namespace velune

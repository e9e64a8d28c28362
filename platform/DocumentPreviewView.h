#pragma once
// DocumentPreviewView: where the document preview draws its current item.
// It holds what the screen needs to show the document with its own viewers:
// the file URL (none: nothing to show), whether media play in the default
// player, and a revision that grows whenever the document must be read again
// (a reload, or a refresh after the file changed). Main thread only.

#include <cstdint>
#include <optional>

#include "platform/URL.h"
#include "platform/ui/View.h"

namespace velune::platform {

class DocumentPreviewView : public ui::View {
 public:
  DocumentPreviewView() = default;
  std::string_view kind() const override { return "DocumentPreviewView"; }

  const std::optional<URL>& documentURL() const { return documentURL_; }
  bool wantsDefaultMediaPlayer() const { return wantsDefaultMediaPlayer_; }
  std::uint64_t revision() const { return revision_; }

  // Shows `url` (or nothing) and counts a new revision.
  void showDocument(std::optional<URL> url, bool wantsDefaultMediaPlayer);

 private:
  std::optional<URL> documentURL_;
  bool wantsDefaultMediaPlayer_ = false;
  std::uint64_t revision_ = 0;
};

}  // namespace velune::platform

#pragma once
// StyledText: text with attributes per run, and inline images (attachments),
// as a label shows it on one line. A run without its own font or colour uses
// the label's.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ui/Color.h"
#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {

class Image;

struct TextAttributes {
  std::optional<Font> font;
  std::optional<Color> color;
  // Points by which the run is raised above the baseline (negative lowers it).
  double baselineOffset = 0;
  bool operator==(const TextAttributes&) const = default;
};

struct TextAttachment {
  std::shared_ptr<Image> image;
  // Where the image sits: origin.y is its offset from the baseline (up is
  // positive), the size is the room it takes.
  Rect bounds;
};

struct StyledRun {
  std::string text;  // U+FFFC for an attachment
  TextAttributes attributes;
  std::optional<TextAttachment> attachment;
};

class StyledText {
 public:
  StyledText() = default;
  explicit StyledText(std::string text, TextAttributes attributes = {});

  StyledText& append(std::string text, TextAttributes attributes = {});
  StyledText& appendAttachment(TextAttachment attachment, TextAttributes attributes = {});

  const std::vector<StyledRun>& runs() const { return runs_; }
  // The text with U+FFFC for each attachment.
  std::string string() const;
  bool empty() const { return runs_.empty(); }

  // The size of the text on one line, with `font` for runs without their own.
  Size measure(const Font& font) const;

  bool operator==(const StyledText& other) const;
  std::string description() const { return string(); }

 private:
  std::vector<StyledRun> runs_;
};

}  // namespace velune::ui

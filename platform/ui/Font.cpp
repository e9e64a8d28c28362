#include "platform/ui/Font.h"

#include <cairo.h>

#include <cmath>
#include <map>
#include <mutex>
#include <utility>

#include "platform/Format.h"
#include "platform/UTF8.h"

namespace velune::ui {

namespace {

constexpr const char* kSystemFamily = "DejaVu Sans";

struct Metrics {
  double ascent = 0;
  double descent = 0;  // positive, as cairo gives it
  double height = 0;
  double capHeight = 0;
};

// One cairo scaled font per (weight, size), made on first use and kept for the
// process: layout measures the same few fonts again and again.
class FontCache {
 public:
  static FontCache& shared() {
    static auto* cache = new FontCache();
    return *cache;
  }

  struct Entry {
    cairo_scaled_font_t* font = nullptr;  // null when cairo could not make it
    Metrics metrics;
  };

  const Entry& entry(FontWeight weight, double size) {
    const std::lock_guard lock(mutex_);
    const auto key = std::make_pair(weight == FontWeight::Bold, size);
    auto found = entries_.find(key);
    if (found != entries_.end()) {
      return found->second;
    }
    Entry made = make(weight, size);
    return entries_.emplace(key, made).first->second;
  }

 private:
  static Entry make(FontWeight weight, double size) {
    Entry entry;
    cairo_font_face_t* face = cairo_toy_font_face_create(
        kSystemFamily, CAIRO_FONT_SLANT_NORMAL, weight == FontWeight::Bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_matrix_t fontMatrix;
    cairo_matrix_t identity;
    cairo_matrix_init_scale(&fontMatrix, size, size);
    cairo_matrix_init_identity(&identity);
    cairo_font_options_t* options = cairo_font_options_create();
    // Unhinted metrics: widths in fractional points, independent of any pixel grid.
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_scaled_font_t* font = cairo_scaled_font_create(face, &fontMatrix, &identity, options);
    cairo_font_options_destroy(options);
    cairo_font_face_destroy(face);
    if (cairo_scaled_font_status(font) != CAIRO_STATUS_SUCCESS) {
      cairo_scaled_font_destroy(font);
      entry.metrics = fallbackMetrics(size);
      return entry;
    }
    cairo_font_extents_t extents;
    cairo_scaled_font_extents(font, &extents);
    cairo_text_extents_t capital;
    cairo_scaled_font_text_extents(font, "H", &capital);
    entry.font = font;
    entry.metrics = Metrics{extents.ascent, extents.descent, extents.height, -capital.y_bearing};
    if (!(entry.metrics.height > 0)) {
      entry.metrics = fallbackMetrics(size);
    }
    return entry;
  }

  static Metrics fallbackMetrics(double size) { return Metrics{0.93 * size, 0.24 * size, 1.17 * size, 0.73 * size}; }

  std::mutex mutex_;
  std::map<std::pair<bool, double>, Entry> entries_;
};

double standardSize(TextStyle style) {
  switch (style) {
    case TextStyle::LargeTitle:
      return 34;
    case TextStyle::Title1:
      return 28;
    case TextStyle::Title2:
      return 22;
    case TextStyle::Title3:
      return 20;
    case TextStyle::Headline:
    case TextStyle::Body:
      return 17;
    case TextStyle::Callout:
      return 16;
    case TextStyle::Subheadline:
      return 15;
    case TextStyle::Footnote:
      return 13;
    case TextStyle::Caption1:
      return 12;
    case TextStyle::Caption2:
      return 11;
  }
  return 17;
}

FontWeight standardWeight(TextStyle style) { return style == TextStyle::Headline ? FontWeight::Bold : FontWeight::Regular; }

// Only printable text reaches cairo: control characters have no advance on
// screen (tabs count as one space).
std::string measurableText(std::string_view text) {
  std::string clean = sanitizedUTF8(text);
  std::string out;
  out.reserve(clean.size());
  for (const char c : clean) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == '\t') {
      out.push_back(' ');
    } else if (byte >= 0x20 && byte != 0x7F) {
      out.push_back(c);
    }
  }
  return out;
}

}  // namespace

std::string sanitizedUTF8(std::string_view text) {
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string valid = platform::validUTF8(text);
  // Valid UTF-8 may still hold NUL, which would end the text for cairo.
  if (valid.find('\0') == std::string::npos) {
    return valid;
  }
  std::string out;
  out.reserve(valid.size() + 2 * kReplacement.size());
  for (const char c : valid) {
    if (c == '\0') {
      out.append(kReplacement);
    } else {
      out.push_back(c);
    }
  }
  return out;
}

FontDescriptor FontDescriptor::preferredFontDescriptorWithTextStyle(TextStyle style) {
  return FontDescriptor(style, standardSize(style), standardWeight(style));
}

FontDescriptor FontDescriptor::withWeight(FontWeight weight) const { return FontDescriptor(textStyle_, pointSize_, weight); }

Font::Font() : Font(17, FontWeight::Regular, std::nullopt) {}

Font::Font(double size, FontWeight weight, std::optional<TextStyle> style)
    : family_(kSystemFamily), pointSize_(size > 0 && std::isfinite(size) ? size : 17), weight_(weight), textStyle_(style) {}

Font Font::systemFontOfSize(double size) { return Font(size, FontWeight::Regular, std::nullopt); }

Font Font::boldSystemFontOfSize(double size) { return Font(size, FontWeight::Bold, std::nullopt); }

Font Font::preferredFontForTextStyle(TextStyle style) {
  return fontWithDescriptor(FontDescriptor::preferredFontDescriptorWithTextStyle(style), 0);
}

Font Font::fontWithDescriptor(const FontDescriptor& descriptor, double size) {
  return Font(size > 0 ? size : descriptor.pointSize(), descriptor.weight(), descriptor.textStyle());
}

double Font::standardSizeForTextStyle(TextStyle style) { return standardSize(style); }

Font Font::withSize(double size) const { return Font(size, weight_, textStyle_); }

double Font::ascender() const { return FontCache::shared().entry(weight_, pointSize_).metrics.ascent; }

double Font::descender() const { return -FontCache::shared().entry(weight_, pointSize_).metrics.descent; }

double Font::capHeight() const { return FontCache::shared().entry(weight_, pointSize_).metrics.capHeight; }

double Font::lineHeight() const { return FontCache::shared().entry(weight_, pointSize_).metrics.height; }

double Font::widthOfText(std::string_view text) const {
  if (text.empty()) {
    return 0;
  }
  const std::string clean = measurableText(text);
  if (clean.empty()) {
    return 0;
  }
  const auto& entry = FontCache::shared().entry(weight_, pointSize_);
  if (entry.font == nullptr) {
    return 0.55 * pointSize_ * static_cast<double>(platform::codePointCount(clean));
  }
  cairo_text_extents_t extents;
  cairo_scaled_font_text_extents(entry.font, clean.c_str(), &extents);
  if (cairo_scaled_font_status(entry.font) != CAIRO_STATUS_SUCCESS || !std::isfinite(extents.x_advance)) {
    return 0.55 * pointSize_ * static_cast<double>(platform::codePointCount(clean));
  }
  return extents.x_advance;
}

std::string Font::description() const {
  return platform::format("<Font %@ %g%s>", family_, pointSize_, weight_ == FontWeight::Bold ? " bold" : "");
}

}  // namespace velune::ui

#include "platform/ui/Font.h"

#include <cairo.h>

#include <cmath>
#include <map>
#include <mutex>
#include <utility>

#include "platform/Format.h"

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

size_t codePointCount(std::string_view utf8) {
  size_t count = 0;
  for (const char c : utf8) {
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++count;
    }
  }
  return count;
}

}  // namespace

std::string sanitizedUTF8(std::string_view text) {
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string out;
  out.reserve(text.size());
  size_t i = 0;
  const size_t n = text.size();
  while (i < n) {
    const auto b0 = static_cast<unsigned char>(text[i]);
    if (b0 == 0) {
      out.append(kReplacement);
      ++i;
      continue;
    }
    if (b0 < 0x80) {
      out.push_back(static_cast<char>(b0));
      ++i;
      continue;
    }
    size_t length = 0;
    std::uint32_t codePoint = 0;
    std::uint32_t minimum = 0;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
      length = 2;
      codePoint = b0 & 0x1F;
      minimum = 0x80;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
      length = 3;
      codePoint = b0 & 0x0F;
      minimum = 0x800;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
      length = 4;
      codePoint = b0 & 0x07;
      minimum = 0x10000;
    }
    bool valid = length > 0 && i + length <= n;
    for (size_t k = 1; valid && k < length; ++k) {
      const auto bk = static_cast<unsigned char>(text[i + k]);
      if ((bk & 0xC0) != 0x80) {
        valid = false;
      } else {
        codePoint = (codePoint << 6) | (bk & 0x3F);
      }
    }
    valid = valid && codePoint >= minimum && codePoint <= 0x10FFFF && !(codePoint >= 0xD800 && codePoint <= 0xDFFF);
    if (valid) {
      out.append(text.substr(i, length));
      i += length;
    } else {
      out.append(kReplacement);
      ++i;  // resynchronise on the next byte
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
    return 0.55 * pointSize_ * static_cast<double>(codePointCount(clean));
  }
  cairo_text_extents_t extents;
  cairo_scaled_font_text_extents(entry.font, clean.c_str(), &extents);
  if (cairo_scaled_font_status(entry.font) != CAIRO_STATUS_SUCCESS || !std::isfinite(extents.x_advance)) {
    return 0.55 * pointSize_ * static_cast<double>(codePointCount(clean));
  }
  return extents.x_advance;
}

std::string Font::description() const {
  return platform::format("<Font %@ %g%s>", family_, pointSize_, weight_ == FontWeight::Bold ? " bold" : "");
}

}  // namespace velune::ui

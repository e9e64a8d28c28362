#include "platform/ui/TextLayout.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <cmath>
#include <memory>

namespace velune::ui {

namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

bool isBounded(double width) { return width > 0 && std::isfinite(width); }

std::string trimTrailingSpace(std::string line) {
  while (!line.empty() && (line.back() == ' ' || line.back() == '\t' || line.back() == '\r')) {
    line.pop_back();
  }
  return line;
}

// Splits `text` at the boundaries of an ICU break iterator.
std::vector<std::string> split(const icu::UnicodeString& text, icu::BreakIterator* iterator) {
  std::vector<std::string> pieces;
  if (iterator == nullptr) {
    std::string whole;
    text.toUTF8String(whole);
    pieces.push_back(std::move(whole));
    return pieces;
  }
  iterator->setText(text);
  int32_t start = iterator->first();
  for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE; start = end, end = iterator->next()) {
    std::string piece;
    text.tempSubStringBetween(start, end).toUTF8String(piece);
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

class Breaker {
 public:
  Breaker() {
    UErrorCode status = U_ZERO_ERROR;
    lines_.reset(icu::BreakIterator::createLineInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) {
      lines_.reset();
    }
    status = U_ZERO_ERROR;
    characters_.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) {
      characters_.reset();
    }
  }

  std::vector<std::string> words(const std::string& paragraph) {
    return split(icu::UnicodeString::fromUTF8(paragraph), lines_.get());
  }
  std::vector<std::string> graphemes(const std::string& text) {
    return split(icu::UnicodeString::fromUTF8(text), characters_.get());
  }

 private:
  std::unique_ptr<icu::BreakIterator> lines_;
  std::unique_ptr<icu::BreakIterator> characters_;
};

// Cuts `line` until it fits `maxWidth` with the ellipsis after it.
std::string withEllipsis(const std::string& line, const Font& font, double maxWidth, Breaker& breaker) {
  std::string base = trimTrailingSpace(line);
  if (!isBounded(maxWidth)) {
    return base + std::string(kEllipsis);
  }
  auto graphemes = breaker.graphemes(base);
  while (!graphemes.empty()) {
    std::string candidate;
    for (const auto& g : graphemes) {
      candidate += g;
    }
    candidate = trimTrailingSpace(candidate) + std::string(kEllipsis);
    if (font.widthOfText(candidate) <= maxWidth) {
      return candidate;
    }
    graphemes.pop_back();
  }
  return std::string(kEllipsis);
}

}  // namespace

TextLayout TextLayout::make(std::string_view rawText, const Font& font, double maxWidth, int maxLines) {
  TextLayout layout;
  if (rawText.empty()) {
    return layout;
  }
  const std::string text = sanitizedUTF8(rawText);
  const size_t limit = maxLines > 0 ? static_cast<size_t>(maxLines) : 0;
  // Making ICU's iterators costs more than most layouts: one pair per thread.
  thread_local Breaker breaker;
  std::vector<std::string> lines;
  bool more = false;  // text beyond the line limit

  auto full = [&] { return limit != 0 && lines.size() >= limit; };
  size_t paragraphStart = 0;
  while (paragraphStart <= text.size()) {
    const size_t newline = text.find('\n', paragraphStart);
    const size_t paragraphEnd = newline == std::string::npos ? text.size() : newline;
    const std::string paragraph = text.substr(paragraphStart, paragraphEnd - paragraphStart);
    if (full()) {
      more = true;
      break;
    }
    if (!isBounded(maxWidth) || font.widthOfText(paragraph) <= maxWidth) {
      lines.push_back(paragraph);
    } else {
      std::string current;
      double currentWidth = 0;
      auto emit = [&] {
        lines.push_back(trimTrailingSpace(current));
        current.clear();
        currentWidth = 0;
      };
      for (const std::string& word : breaker.words(paragraph)) {
        if (full()) {
          more = true;
          break;
        }
        const double wordWidth = font.widthOfText(word);
        const double visibleWidth = font.widthOfText(trimTrailingSpace(word));
        if (!current.empty() && currentWidth + visibleWidth <= maxWidth) {
          current += word;
          currentWidth += wordWidth;
          continue;
        }
        if (!current.empty()) {
          emit();
          if (full()) {
            more = true;
            break;
          }
        }
        if (visibleWidth <= maxWidth) {
          current = word;
          currentWidth = wordWidth;
          continue;
        }
        // One word wider than the line: break it between graphemes.
        for (const std::string& g : breaker.graphemes(word)) {
          const double graphemeWidth = font.widthOfText(g);
          if (!current.empty() && currentWidth + graphemeWidth > maxWidth) {
            emit();
            if (full()) {
              more = true;
              break;
            }
          }
          current += g;
          currentWidth += graphemeWidth;
        }
        if (more) {
          break;
        }
      }
      if (!more && !current.empty()) {
        if (full()) {
          more = true;
        } else {
          lines.push_back(trimTrailingSpace(current));
        }
      }
      if (more) {
        break;
      }
    }
    if (newline == std::string::npos) {
      break;
    }
    paragraphStart = newline + 1;
  }

  if (more && !lines.empty()) {
    lines.back() = withEllipsis(lines.back(), font, maxWidth, breaker);
    layout.truncated = true;
  }
  double widest = 0;
  for (auto& line : lines) {
    double width = font.widthOfText(line);
    if (isBounded(maxWidth) && width > maxWidth) {
      // Only a single grapheme wider than the whole line gets here.
      line = withEllipsis(line, font, maxWidth, breaker);
      layout.truncated = true;
      width = std::min(font.widthOfText(line), maxWidth);
    }
    widest = std::max(widest, width);
  }
  layout.size = Size{std::ceil(widest), std::ceil(font.lineHeight() * static_cast<double>(lines.size()))};
  layout.lines = std::move(lines);
  return layout;
}

}  // namespace velune::ui

#include "host/GeneratedDocumentIconService.h"

#include <algorithm>
#include <cctype>

#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"

namespace velune::host {

namespace {

std::string lowercase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string extensionOf(const std::string& fileName) {
  const auto dot = fileName.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 >= fileName.size()) {
    return {};
  }
  return lowercase(fileName.substr(dot + 1));
}

bool contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

ui::Color colorFor(GeneratedDocumentIconService::Family family) {
  using Family = GeneratedDocumentIconService::Family;
  switch (family) {
    case Family::Folder:
      return ui::Color::rgba(0.35, 0.62, 0.92);
    case Family::Image:
      return ui::Color::rgba(0.30, 0.69, 0.40);
    case Family::PDF:
      return ui::Color::rgba(0.86, 0.26, 0.22);
    case Family::Movie:
      return ui::Color::rgba(0.55, 0.36, 0.78);
    case Family::Audio:
      return ui::Color::rgba(0.95, 0.55, 0.18);
    case Family::Text:
      return ui::Color::rgba(0.55, 0.55, 0.58);
    case Family::Other:
      break;
  }
  return ui::Color::rgba(0.38, 0.45, 0.55);
}

}  // namespace

GeneratedDocumentIconService::Family GeneratedDocumentIconService::familyFor(
    const std::string& fileName, const std::optional<std::string>& typeIdentifier) {
  const std::string type = lowercase(typeIdentifier.value_or(""));
  const std::string ext = extensionOf(fileName);
  auto is = [&](std::initializer_list<std::string_view> extensions) {
    return std::find(extensions.begin(), extensions.end(), ext) != extensions.end();
  };
  if (contains(type, "folder") || contains(type, "directory")) {
    return Family::Folder;
  }
  if (contains(type, "pdf") || is({"pdf"})) {
    return Family::PDF;
  }
  if (contains(type, "image") || contains(type, "png") || contains(type, "jpeg") ||
      is({"png", "jpg", "jpeg", "gif", "heic", "tif", "tiff", "bmp", "webp", "svg"})) {
    return Family::Image;
  }
  if (contains(type, "movie") || contains(type, "video") || is({"mov", "mp4", "m4v", "avi", "mkv", "webm"})) {
    return Family::Movie;
  }
  if (contains(type, "audio") || contains(type, "mp3") || is({"mp3", "m4a", "wav", "aac", "flac", "ogg", "aiff"})) {
    return Family::Audio;
  }
  if (contains(type, "text") || is({"txt", "md", "rtf", "csv", "json", "xml", "html", "htm", "log"})) {
    return Family::Text;
  }
  return Family::Other;
}

std::shared_ptr<ui::Image> GeneratedDocumentIconService::iconForFile(const std::string& fileName,
                                                                     const std::optional<std::string>& typeIdentifier,
                                                                     int format) {
  const bool large = format == platform::kDocumentIconFormatLarge;
  const Family family = familyFor(fileName, typeIdentifier);
  std::string ext = extensionOf(fileName);
  if (ext.size() > 5) {
    ext.resize(5);
  }
  const auto key = std::make_tuple(static_cast<int>(family), family == Family::Folder ? std::string() : ext, large ? 1 : 0);
  const std::lock_guard lock(mutex_);
  if (auto found = cache_.find(key); found != cache_.end()) {
    return found->second;
  }

  const double side = large ? 128 : 32;
  ui::GraphicsContext context(ui::Size{side, side}, scale_);
  const ui::Color color = colorFor(family);
  const double w = side * 0.75;
  const double left = (side - w) / 2;
  const double fold = side * 0.22;
  if (family == Family::Folder) {
    context.setFillColor(color);
    context.fillRect(ui::Rect(side * 0.08, side * 0.22, side * 0.36, side * 0.12));
    context.fillRect(ui::Rect(side * 0.08, side * 0.3, side * 0.84, side * 0.55));
  } else {
    ui::BezierPath sheet;
    sheet.moveTo(ui::Point{left, side * 0.06})
        .addLineTo(ui::Point{left + w - fold, side * 0.06})
        .addLineTo(ui::Point{left + w, side * 0.06 + fold})
        .addLineTo(ui::Point{left + w, side * 0.94})
        .addLineTo(ui::Point{left, side * 0.94})
        .close();
    context.setFillColor(ui::Color::white());
    context.fill(sheet);
    sheet.setLineWidth(std::max(1.0, side / 64));
    context.setStrokeColor(color);
    context.stroke(sheet);
    ui::BezierPath corner;
    corner.moveTo(ui::Point{left + w - fold, side * 0.06})
        .addLineTo(ui::Point{left + w - fold, side * 0.06 + fold})
        .addLineTo(ui::Point{left + w, side * 0.06 + fold})
        .close();
    context.setFillColor(color.withAlpha(0.5));
    context.fill(corner);
    context.setFillColor(color);
    context.fillRect(ui::Rect(left, side * 0.62, w, side * 0.2));
    if (!ext.empty()) {
      std::string label = ext;
      std::transform(label.begin(), label.end(), label.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
      ui::Font font = ui::Font::boldSystemFontOfSize(side * 0.13);
      const double width = font.widthOfText(label);
      context.drawText(label, ui::Point{(side - width) / 2, side * 0.72 - font.lineHeight() / 2}, font, ui::Color::white());
    }
  }
  auto image = context.makeImage();
  cache_.emplace(key, image);
  return image;
}

}  // namespace velune::host

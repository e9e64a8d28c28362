#include "platform/ui/GraphicsContext.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/ui/Image.h"

namespace velune::ui {

namespace {
void setSource(cairo_t* cr, const Color& c) { cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a); }

int pixels(double points, double scale) {
  if (!(points > 0) || !std::isfinite(points)) {
    return 0;
  }
  return static_cast<int>(std::min(std::ceil(points * scale), 16384.0));
}
}  // namespace

GraphicsContext::GraphicsContext(Size size, double scale)
    : size_(size),
      scale_(scale > 0 && std::isfinite(scale) ? scale : 1.0),
      surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixels(size.width, scale_), pixels(size.height, scale_))),
      cr_(cairo_create(surface_)) {
  cairo_scale(cr_, scale_, scale_);
}

GraphicsContext::~GraphicsContext() {
  cairo_destroy(cr_);
  cairo_surface_destroy(surface_);
}

void GraphicsContext::fill(const BezierPath& path) {
  operations_.push_back(Operation{Operation::Kind::Fill, path, fillColor_, 0, {}, {}});
  cairo_new_path(cr_);
  path.addToCairo(cr_);
  setSource(cr_, fillColor_);
  cairo_fill(cr_);
}

void GraphicsContext::stroke(const BezierPath& path) {
  operations_.push_back(Operation{Operation::Kind::Stroke, path, strokeColor_, path.lineWidth(), {}, {}});
  cairo_new_path(cr_);
  path.addToCairo(cr_);
  setSource(cr_, strokeColor_);
  cairo_set_line_width(cr_, path.lineWidth());
  cairo_stroke(cr_);
}

void GraphicsContext::fillRect(Rect rect) {
  BezierPath path;
  path.moveTo(rect.origin)
      .addLineTo(Point{rect.maxX(), rect.minY()})
      .addLineTo(Point{rect.maxX(), rect.maxY()})
      .addLineTo(Point{rect.minX(), rect.maxY()})
      .close();
  fill(path);
}

void GraphicsContext::drawText(const std::string& text, Point origin, const Font& font, Color color) {
  const std::string clean = sanitizedUTF8(text);
  operations_.push_back(Operation{Operation::Kind::Text, {}, color, 0,
                                  Rect(origin.x, origin.y, font.widthOfText(clean), font.lineHeight()), clean});
  cairo_select_font_face(cr_, font.familyName().c_str(), CAIRO_FONT_SLANT_NORMAL,
                         font.weight() == FontWeight::Bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr_, font.pointSize());
  setSource(cr_, color);
  cairo_move_to(cr_, origin.x, origin.y + font.ascender());
  std::string printable;
  for (const char c : clean) {
    if (static_cast<unsigned char>(c) >= 0x20) {
      printable.push_back(c);
    }
  }
  cairo_show_text(cr_, printable.c_str());
}

void GraphicsContext::drawImage(const Image& image, Rect rect) {
  operations_.push_back(Operation{Operation::Kind::Image, {}, Color::clear(), 0, rect, {}});
  const Size imageSize = image.size();
  if (imageSize.width <= 0 || imageSize.height <= 0 || rect.isEmpty()) {
    return;
  }
  cairo_save(cr_);
  cairo_translate(cr_, rect.minX(), rect.minY());
  cairo_scale(cr_, rect.width() / image.pixelWidth(), rect.height() / image.pixelHeight());
  cairo_set_source_surface(cr_, image.surface(), 0, 0);
  cairo_paint(cr_);
  cairo_restore(cr_);
}

std::shared_ptr<Image> GraphicsContext::makeImage() const {
  cairo_surface_flush(surface_);
  const int width = cairo_image_surface_get_width(surface_);
  const int height = cairo_image_surface_get_height(surface_);
  cairo_surface_t* copy = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(copy);
  cairo_set_source_surface(cr, surface_, 0, 0);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_surface_flush(copy);
  return std::make_shared<Image>(copy, scale_);
}

}  // namespace velune::ui

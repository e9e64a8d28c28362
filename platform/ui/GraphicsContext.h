#pragma once
// GraphicsContext: immediate drawing into a new image (a view's drawRect, an
// icon, a tag blip). Fills and strokes are drawn with cairo and also kept as
// a list of operations, so tests read what was drawn as numbers.

#include <cairo.h>

#include <memory>
#include <vector>

#include "platform/ui/BezierPath.h"
#include "platform/ui/Color.h"
#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {

class Image;

class GraphicsContext {
 public:
  struct Operation {
    enum class Kind { Fill, Stroke, Text, Image };
    Kind kind;
    BezierPath path;  // Fill, Stroke
    Color color;
    double lineWidth = 0;  // Stroke
    Rect rect;             // Text, Image: where
    std::string text;      // Text
  };

  // A transparent canvas of `size` points, `scale` pixels per point.
  GraphicsContext(Size size, double scale);
  ~GraphicsContext();
  GraphicsContext(const GraphicsContext&) = delete;
  GraphicsContext& operator=(const GraphicsContext&) = delete;

  Size size() const { return size_; }
  double scale() const { return scale_; }

  void setFillColor(Color color) { fillColor_ = color; }
  void setStrokeColor(Color color) { strokeColor_ = color; }
  void fill(const BezierPath& path);
  // With the path's line width.
  void stroke(const BezierPath& path);
  void fillRect(Rect rect);
  // One line of text with its baseline at `origin.y + font.ascender()`.
  void drawText(const std::string& text, Point origin, const Font& font, Color color);
  void drawImage(const Image& image, Rect rect);

  const std::vector<Operation>& operations() const { return operations_; }
  // What has been drawn so far, as a new image (the context can go on drawing).
  std::shared_ptr<Image> makeImage() const;

 private:
  Size size_;
  double scale_;
  cairo_surface_t* surface_;
  cairo_t* cr_;
  Color fillColor_ = Color::black();
  Color strokeColor_ = Color::black();
  std::vector<Operation> operations_;
};

}  // namespace velune::ui

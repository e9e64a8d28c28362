#pragma once
// BezierPath: a path of the UI model as data (move, line, arc, oval, close),
// for shape layers and immediate drawing. The elements are kept so that tests
// and the web shell read the geometry as numbers; `addToCairo` replays them.
//
// Coordinates are a view's own points, y pointing down. Angles are radians
// measured from the positive x axis; `clockwise` means clockwise on screen,
// that is towards growing angles (so an arc from 3π/2 clockwise starts at
// twelve o'clock and sweeps towards three o'clock).

#include <cairo.h>

#include <string>
#include <variant>
#include <vector>

#include "platform/ui/Geometry.h"

namespace velune::ui {

class BezierPath {
 public:
  struct MoveTo {
    Point point;
    bool operator==(const MoveTo&) const = default;
  };
  struct LineTo {
    Point point;
    bool operator==(const LineTo&) const = default;
  };
  struct Arc {
    Point center;
    double radius = 0;
    double startAngle = 0;
    double endAngle = 0;
    bool clockwise = true;
    bool operator==(const Arc&) const = default;
  };
  struct Oval {
    Rect rect;
    bool operator==(const Oval&) const = default;
  };
  struct Close {
    bool operator==(const Close&) const = default;
  };
  using Element = std::variant<MoveTo, LineTo, Arc, Oval, Close>;

  BezierPath() = default;
  static BezierPath ovalInRect(Rect rect);
  // A closed full circle.
  static BezierPath circle(Point center, double radius);

  BezierPath& moveTo(Point p);
  BezierPath& addLineTo(Point p);
  // Joins the current point to the arc's start with a line, like the platform.
  BezierPath& addArc(Point center, double radius, double startAngle, double endAngle, bool clockwise);
  BezierPath& close();

  const std::vector<Element>& elements() const { return elements_; }
  bool empty() const { return elements_.empty(); }
  // Line width used when the path is stroked by a drawing context.
  double lineWidth() const { return lineWidth_; }
  void setLineWidth(double width) { lineWidth_ = width; }

  // Appends the path to cairo's current path.
  void addToCairo(cairo_t* cr) const;
  // The smallest rectangle holding every point the path reaches (arcs sampled).
  Rect bounds() const;

  bool operator==(const BezierPath&) const = default;
  std::string description() const;

 private:
  std::vector<Element> elements_;
  double lineWidth_ = 1;
};

}  // namespace velune::ui

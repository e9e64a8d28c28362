#pragma once
// Geometry of the UI model, in points (a point is `scale` pixels on a screen).

#include <algorithm>
#include <string>

namespace velune::ui {

struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
  std::string description() const;
};

struct Size {
  double width = 0;
  double height = 0;
  bool operator==(const Size&) const = default;
  std::string description() const;
};

// A view without an intrinsic size on an axis answers this for that axis.
inline constexpr double kNoIntrinsicMetric = -1;

struct EdgeInsets {
  double top = 0;
  double left = 0;
  double bottom = 0;
  double right = 0;
  bool operator==(const EdgeInsets&) const = default;
};

struct Rect {
  Point origin;
  Size size;

  constexpr Rect() = default;
  constexpr Rect(double x, double y, double width, double height) : origin{x, y}, size{width, height} {}

  double minX() const { return origin.x; }
  double minY() const { return origin.y; }
  double maxX() const { return origin.x + size.width; }
  double maxY() const { return origin.y + size.height; }
  double midX() const { return origin.x + size.width / 2; }
  double midY() const { return origin.y + size.height / 2; }
  double width() const { return size.width; }
  double height() const { return size.height; }
  bool isEmpty() const { return size.width <= 0 || size.height <= 0; }
  Point center() const { return Point{midX(), midY()}; }
  bool contains(Point p) const { return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY(); }
  Rect offsetBy(double dx, double dy) const { return Rect(origin.x + dx, origin.y + dy, size.width, size.height); }
  Rect insetBy(double dx, double dy) const {
    return Rect(origin.x + dx, origin.y + dy, std::max(0.0, size.width - 2 * dx), std::max(0.0, size.height - 2 * dy));
  }
  bool operator==(const Rect&) const = default;
  std::string description() const;
};

}  // namespace velune::ui

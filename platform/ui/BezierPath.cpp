#include "platform/ui/BezierPath.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "platform/Format.h"

namespace velune::ui {

BezierPath BezierPath::ovalInRect(Rect rect) {
  BezierPath path;
  path.elements_.push_back(Oval{rect});
  return path;
}

BezierPath BezierPath::circle(Point center, double radius) {
  BezierPath path;
  path.addArc(center, radius, 0, 2 * std::numbers::pi, true);
  path.close();
  return path;
}

BezierPath& BezierPath::moveTo(Point p) {
  elements_.push_back(MoveTo{p});
  return *this;
}

BezierPath& BezierPath::addLineTo(Point p) {
  elements_.push_back(LineTo{p});
  return *this;
}

BezierPath& BezierPath::addArc(Point center, double radius, double startAngle, double endAngle, bool clockwise) {
  elements_.push_back(Arc{center, radius, startAngle, endAngle, clockwise});
  return *this;
}

BezierPath& BezierPath::close() {
  elements_.push_back(Close{});
  return *this;
}

void BezierPath::addToCairo(cairo_t* cr) const {
  for (const auto& element : elements_) {
    if (const auto* move = std::get_if<MoveTo>(&element)) {
      cairo_move_to(cr, move->point.x, move->point.y);
    } else if (const auto* line = std::get_if<LineTo>(&element)) {
      cairo_line_to(cr, line->point.x, line->point.y);
    } else if (const auto* arc = std::get_if<Arc>(&element)) {
      if (!(arc->radius > 0) || !std::isfinite(arc->radius) || !std::isfinite(arc->startAngle) ||
          !std::isfinite(arc->endAngle)) {
        continue;
      }
      // cairo's arc grows the angle, which is clockwise with y pointing down.
      if (arc->clockwise) {
        cairo_arc(cr, arc->center.x, arc->center.y, arc->radius, arc->startAngle, arc->endAngle);
      } else {
        cairo_arc_negative(cr, arc->center.x, arc->center.y, arc->radius, arc->startAngle, arc->endAngle);
      }
    } else if (const auto* oval = std::get_if<Oval>(&element)) {
      const Rect& r = oval->rect;
      if (r.width() <= 0 || r.height() <= 0) {
        continue;
      }
      cairo_new_sub_path(cr);
      cairo_save(cr);
      cairo_translate(cr, r.midX(), r.midY());
      cairo_scale(cr, r.width() / 2, r.height() / 2);
      cairo_arc(cr, 0, 0, 1, 0, 2 * std::numbers::pi);
      cairo_restore(cr);
      cairo_close_path(cr);
    } else {
      cairo_close_path(cr);
    }
  }
}

Rect BezierPath::bounds() const {
  double minX = std::numeric_limits<double>::infinity();
  double minY = minX;
  double maxX = -minX;
  double maxY = -minX;
  auto include = [&](Point p) {
    minX = std::min(minX, p.x);
    minY = std::min(minY, p.y);
    maxX = std::max(maxX, p.x);
    maxY = std::max(maxY, p.y);
  };
  for (const auto& element : elements_) {
    if (const auto* move = std::get_if<MoveTo>(&element)) {
      include(move->point);
    } else if (const auto* line = std::get_if<LineTo>(&element)) {
      include(line->point);
    } else if (const auto* arc = std::get_if<Arc>(&element)) {
      double sweep = arc->endAngle - arc->startAngle;
      if (!arc->clockwise) {
        sweep = -sweep;
      }
      const int steps = 64;
      for (int i = 0; i <= steps; ++i) {
        double angle = arc->startAngle + (arc->clockwise ? 1 : -1) * std::fabs(sweep) * i / steps;
        include(Point{arc->center.x + arc->radius * std::cos(angle), arc->center.y + arc->radius * std::sin(angle)});
      }
    } else if (const auto* oval = std::get_if<Oval>(&element)) {
      include(oval->rect.origin);
      include(Point{oval->rect.maxX(), oval->rect.maxY()});
    }
  }
  if (minX > maxX) {
    return Rect();
  }
  return Rect(minX, minY, maxX - minX, maxY - minY);
}

std::string BezierPath::description() const {
  std::string out = "<Path";
  for (const auto& element : elements_) {
    if (const auto* move = std::get_if<MoveTo>(&element)) {
      out += platform::format(" M %g %g", move->point.x, move->point.y);
    } else if (const auto* line = std::get_if<LineTo>(&element)) {
      out += platform::format(" L %g %g", line->point.x, line->point.y);
    } else if (const auto* arc = std::get_if<Arc>(&element)) {
      out += platform::format(" A %g %g r%g %g..%g%s", arc->center.x, arc->center.y, arc->radius, arc->startAngle,
                              arc->endAngle, arc->clockwise ? "" : " ccw");
    } else if (const auto* oval = std::get_if<Oval>(&element)) {
      out += " O " + oval->rect.description();
    } else {
      out += " Z";
    }
  }
  return out + ">";
}

}  // namespace velune::ui

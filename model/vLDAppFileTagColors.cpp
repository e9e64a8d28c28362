#include "model/vLDAppFileTagColors.h"

#include <algorithm>
#include <cmath>

namespace velune {

using ui::CompositingFilter;

namespace {

struct Components {
  float c[3];
  float a;
};

Components componentsOf(const ui::Color& color) {
  return {{static_cast<float>(color.r), static_cast<float>(color.g), static_cast<float>(color.b)},
          static_cast<float>(color.a)};
}

ui::Color colorOf(const float c[3], float a) {
  return ui::Color::rgba(c[0], c[1], c[2], a);
}

float clamp01(float x) {
  return std::min(1.0F, std::max(0.0F, x));
}

// The blend functions of the separable modes that keep the base's alpha.
float separable(CompositingFilter filter, float cb, float ct) {
  switch (filter) {
    case CompositingFilter::Multiply:
      return cb * ct;
    case CompositingFilter::Screen:
      return 1 - (1 - ct) * (1 - cb);
    case CompositingFilter::Overlay:
      return cb < 0.5F ? 2 * ct * cb : 1 - 2 * (1 - ct) * (1 - cb);
    case CompositingFilter::Darken:
      return std::min(cb, ct);
    case CompositingFilter::Lighten:
      return std::max(cb, ct);
    default:  // plus-lighter
      return std::min(1.0F, cb + ct);
  }
}

}  // namespace

ui::Color _colorBlendedWithColor(const ui::Color& base, const std::optional<ui::Color>& top) {
  return _colorBlendedWithColor(base, top, CompositingFilter::SourceOver);
}

ui::Color _colorBlendedWithColor(const ui::Color& base, const std::optional<ui::Color>& top,
                                 CompositingFilter filter) {
  if (!top) {
    return base;
  }
  const Components t = componentsOf(*top);
  if (std::fabs(t.a) < kTagColorEpsilon) {
    return base;
  }
  const Components b = componentsOf(base);
  const float at = t.a;
  const float ab = b.a;
  float out[3];
  switch (filter) {
    case CompositingFilter::None:
    case CompositingFilter::Normal:
    case CompositingFilter::SourceOver: {
      const float ao = at + ab * (1 - at);
      if (std::fabs(ao) < kTagColorEpsilon) {
        const float white[3] = {1, 1, 1};
        return colorOf(white, ao);
      }
      for (int i = 0; i < 3; ++i) {
        out[i] = (at * t.c[i] + (1 - at) * ab * b.c[i]) / ao;
      }
      return colorOf(out, ao);
    }
    case CompositingFilter::Multiply:
    case CompositingFilter::Screen:
    case CompositingFilter::Overlay:
    case CompositingFilter::Darken:
    case CompositingFilter::Lighten:
    case CompositingFilter::PlusLighter:
      for (int i = 0; i < 3; ++i) {
        out[i] = (1 - at) * b.c[i] + at * separable(filter, b.c[i], t.c[i]);
      }
      return colorOf(out, ab);
    case CompositingFilter::ColorDodge:
      for (int i = 0; i < 3; ++i) {
        const double blend = std::fabs(1 - t.c[i]) < kTagColorEpsilon ? 1.0 : b.c[i] / (1.0 - t.c[i]);
        out[i] = static_cast<float>(at * blend + (1 - at) * b.c[i]);
      }
      return colorOf(out, ab);
    case CompositingFilter::ColorBurn:
      for (int i = 0; i < 3; ++i) {
        const double blend = std::fabs(t.c[i]) < kTagColorEpsilon ? 0.0 : 1.0 - (1.0 - b.c[i] * ab) / t.c[i];
        out[i] = static_cast<float>(at * blend + (1 - at) * b.c[i] * ab);
      }
      return colorOf(out, ab);
    case CompositingFilter::PlusDarker: {
      const float alpha = clamp01(at + ab);
      for (int i = 0; i < 3; ++i) {
        if (std::fabs(ab) < kTagColorEpsilon || std::fabs(alpha) < kTagColorEpsilon) {
          out[i] = 0;
        } else {
          const float x = clamp01((at - t.c[i] * at) + (ab - b.c[i]));
          out[i] = clamp01(alpha - x / ab);
        }
      }
      return colorOf(out, ab);
    }
    default:
      return base;
  }
}

}  // namespace velune

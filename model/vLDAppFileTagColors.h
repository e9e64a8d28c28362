#pragma once
// The colour category vLDAppFileTagColors, as free functions on a colour:
// composing one colour over another by a blend mode, as the tag blips do for
// their lighter rims. Pure functions; any thread.
//
// Colours here are single-precision: each component of both colours is
// taken as a float, the arithmetic is done in float, and the result's
// components are floats (held in ui::Color's doubles). Only the divisions of
// colour dodge and colour burn are done in double precision, and the
// expressions that take their quotient with them. Nothing is clamped unless
// the mode says so, so an out-of-range input gives an out-of-range result.

#include <optional>

#include "platform/ui/Color.h"
#include "platform/ui/CompositingFilter.h"

namespace velune {

// The single-precision epsilon below which an alpha (or a divisor) counts as 0.
inline constexpr float kTagColorEpsilon = 1.1920929e-7F;

// `top` composited over `base` (source-over).
ui::Color _colorBlendedWithColor(const ui::Color& base, const std::optional<ui::Color>& top);

// `top` composed over `base` by `filter`: no top, or a top whose alpha is
// (nearly) 0, gives `base`. None, normal and source-over composite with
// alphas; multiply, screen, overlay, darken, lighten, plus-lighter, colour
// dodge, colour burn and plus-darker mix the components and keep the base's
// alpha; every other mode gives `base` unchanged.
ui::Color _colorBlendedWithColor(const ui::Color& base, const std::optional<ui::Color>& top,
                                 ui::CompositingFilter filter);

}  // namespace velune

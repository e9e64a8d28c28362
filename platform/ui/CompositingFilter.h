#pragma once
// CompositingFilter: the blend modes by which a layer's content is composed
// over what lies below it (a layer's compositing filter), named as the
// platform names them. None composes as normal, source-over.

namespace velune::ui {

enum class CompositingFilter {
  None,
  Normal,
  SourceOver,
  Multiply,
  Screen,
  Overlay,
  Darken,
  Lighten,
  ColorDodge,
  ColorBurn,
  SoftLight,
  HardLight,
  Difference,
  Exclusion,
  Hue,
  Saturation,
  Color,
  Luminosity,
  PlusLighter,
  PlusDarker,
};

}  // namespace velune::ui

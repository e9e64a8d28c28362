#pragma once
// Color: an RGBA colour of the UI model (components 0 to 1, not premultiplied),
// with the platform's standard colours. "No colour" is std::optional<Color>.

#include <string>

namespace velune::ui {

class Color {
 public:
  double r = 0;
  double g = 0;
  double b = 0;
  double a = 1;

  static constexpr Color rgba(double red, double green, double blue, double alpha = 1) {
    return Color{red, green, blue, alpha};
  }
  // A grey of the given white level (0 black, 1 white) and opacity.
  static constexpr Color whiteWithAlpha(double white, double alpha) { return Color{white, white, white, alpha}; }

  static constexpr Color black() { return whiteWithAlpha(0, 1); }
  static constexpr Color darkGray() { return whiteWithAlpha(1.0 / 3, 1); }
  static constexpr Color gray() { return whiteWithAlpha(0.5, 1); }
  static constexpr Color lightGray() { return whiteWithAlpha(2.0 / 3, 1); }
  static constexpr Color white() { return whiteWithAlpha(1, 1); }
  static constexpr Color clear() { return whiteWithAlpha(0, 0); }
  static constexpr Color red() { return rgba(1, 0, 0); }
  static constexpr Color green() { return rgba(0, 1, 0); }
  static constexpr Color blue() { return rgba(0, 0, 1); }
  static constexpr Color purple() { return rgba(0.5, 0, 0.5); }
  static constexpr Color yellow() { return rgba(1, 1, 0); }
  static constexpr Color orange() { return rgba(1, 0.5, 0); }
  // The tint of system buttons and bar items.
  static constexpr Color systemBlue() { return rgba(0, 122.0 / 255, 1); }
  // The thin line under navigation bars and above toolbars.
  static constexpr Color barHairlineShadow() { return whiteWithAlpha(0, 0.3); }
  // Secondary text (the names of the information rows).
  static constexpr Color secondaryLabel() { return rgba(60.0 / 255, 60.0 / 255, 67.0 / 255, 0.6); }

  constexpr Color withAlpha(double alpha) const { return Color{r, g, b, alpha}; }

  bool operator==(const Color&) const = default;
  // "#RRGGBBAA", as the web shell draws it.
  std::string hexString() const;
  std::string description() const;
};

}  // namespace velune::ui

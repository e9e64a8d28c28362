// The colour category of the tag blips: every blend mode against values
// worked out by hand, the edge cases of the alphas and divisors, and the
// precision of the dodge and burn divisions.

#include <gtest/gtest.h>

#include "model/vLDAppFileTagColors.h"

namespace velune {
namespace {

using ui::Color;
using ui::CompositingFilter;

// Base and top of the worked examples: quarters and halves, so that every
// step is exact in single precision.
constexpr Color kBase = Color::rgba(0.25, 0.5, 0.75, 1.0);
constexpr Color kTop = Color::rgba(0.5, 0.25, 1.0, 0.5);

Color blend(CompositingFilter filter, Color base = kBase, std::optional<Color> top = kTop) {
  return _colorBlendedWithColor(base, top, filter);
}

TEST(TagColors, SeparableModes_MixComponentsAndKeepTheBaseAlpha) {
  struct Case {
    CompositingFilter filter;
    const char* name;
    Color expected;  // (1 − 0.5) × Cb + 0.5 × B(Cb, Ct), alpha of the base
  };
  const Case cases[] = {
      // B = Cb × Ct: (0.125, 0.125, 0.75)
      {CompositingFilter::Multiply, "multiply", Color::rgba(0.1875, 0.3125, 0.75, 1)},
      // B = 1 − (1 − Ct)(1 − Cb): (0.625, 0.625, 1)
      {CompositingFilter::Screen, "screen", Color::rgba(0.4375, 0.5625, 0.875, 1)},
      // B: 2 × Ct × Cb for Cb 0.25 (0.25); 1 − 2(1 − Ct)(1 − Cb) for 0.5 (0.25) and 0.75 (1)
      {CompositingFilter::Overlay, "overlay", Color::rgba(0.25, 0.375, 0.875, 1)},
      {CompositingFilter::Darken, "darken", Color::rgba(0.25, 0.375, 0.75, 1)},
      {CompositingFilter::Lighten, "lighten", Color::rgba(0.375, 0.5, 0.875, 1)},
      // B = min(1, Cb + Ct): (0.75, 0.75, 1)
      {CompositingFilter::PlusLighter, "plus-lighter", Color::rgba(0.5, 0.625, 0.875, 1)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(blend(c.filter), c.expected);
    // The base's alpha is kept whatever it is.
    EXPECT_EQ(blend(c.filter, kBase.withAlpha(0.25)).a, 0.25);
  }
}

TEST(TagColors, SourceOver_CompositesWithAlphas) {
  // αo = 0.5 + 1 × 0.5 = 1; each = 0.5 × Ct + 0.5 × 1 × Cb.
  const Color expected = Color::rgba(0.375, 0.375, 0.875, 1);
  for (const auto filter : {CompositingFilter::None, CompositingFilter::Normal, CompositingFilter::SourceOver}) {
    EXPECT_EQ(blend(filter), expected);
  }
  EXPECT_EQ(_colorBlendedWithColor(kBase, kTop), expected);
  // White at half alpha over opaque blue; opaque red over anything.
  EXPECT_EQ(_colorBlendedWithColor(Color::blue(), Color::whiteWithAlpha(1, 0.5)), Color::rgba(0.5, 0.5, 1, 1));
  EXPECT_EQ(_colorBlendedWithColor(Color::rgba(0.2, 0.9, 0.4, 0.3), Color::red()), Color::red());
  // A half-transparent base: αo = 0.5 + 0.5 × 0.5 = 0.75, red = (0.25 + 0.0625) ÷ 0.75 = 5/12.
  const Color overHalf = _colorBlendedWithColor(kBase.withAlpha(0.5), kTop);
  EXPECT_EQ(overHalf.a, 0.75);
  EXPECT_FLOAT_EQ(static_cast<float>(overHalf.r), 5.0F / 12);
  EXPECT_FLOAT_EQ(static_cast<float>(overHalf.b), (0.5F + 0.1875F) / 0.75F);
  // αo of 0 (a base of alpha −1 under a top of 0.5): white with that alpha, no division.
  EXPECT_EQ(_colorBlendedWithColor(kBase.withAlpha(-1), kTop), Color::rgba(1, 1, 1, 0));
}

TEST(TagColors, NoTopTransparentTopAndOtherModes_GiveTheBase) {
  const Color base = Color::rgba(0.25, 0.5, 0.75, 0.5);
  EXPECT_EQ(_colorBlendedWithColor(base, std::nullopt), base);
  EXPECT_EQ(_colorBlendedWithColor(base, std::nullopt, CompositingFilter::Multiply), base);
  for (const auto filter : {CompositingFilter::SourceOver, CompositingFilter::Multiply, CompositingFilter::ColorBurn,
                            CompositingFilter::PlusDarker}) {
    EXPECT_EQ(_colorBlendedWithColor(base, Color::rgba(1, 0, 0, 0), filter), base);
    // Below the single-precision epsilon counts as transparent; at it, not.
    EXPECT_EQ(_colorBlendedWithColor(base, Color::rgba(1, 0, 0, 1e-7), filter), base);
    EXPECT_EQ(_colorBlendedWithColor(base, Color::rgba(1, 0, 0, -1e-7), filter), base);
    EXPECT_NE(_colorBlendedWithColor(base, Color::rgba(1, 0, 0, 1.1920929e-7), filter), base) << static_cast<int>(filter);
  }
  for (const auto filter : {CompositingFilter::SoftLight, CompositingFilter::HardLight, CompositingFilter::Difference,
                            CompositingFilter::Exclusion, CompositingFilter::Hue, CompositingFilter::Saturation,
                            CompositingFilter::Color, CompositingFilter::Luminosity}) {
    EXPECT_EQ(_colorBlendedWithColor(base, Color::red(), filter), base);
  }
}

TEST(TagColors, DodgeAndBurn_DivideInDoublePrecisionWithoutClamping) {
  // Dodge, B = Cb ÷ (1 − Ct): 0.5, 2/3, and 1 for a white top; 0.5 × B + 0.5 × Cb.
  const Color dodge = blend(CompositingFilter::ColorDodge);
  EXPECT_EQ(dodge.r, 0.375);
  EXPECT_FLOAT_EQ(static_cast<float>(dodge.g), 7.0F / 12);
  EXPECT_EQ(dodge.b, 0.875);
  EXPECT_EQ(dodge.a, 1);
  // A black top leaves the base as it is; a white one gives B = 1.
  EXPECT_EQ(blend(CompositingFilter::ColorDodge, kBase, Color::rgba(0, 0, 0, 0.5)), kBase);
  EXPECT_EQ(blend(CompositingFilter::ColorDodge, kBase, Color::rgba(1, 1, 1, 1)), Color::rgba(1, 1, 1, 1));

  // Burn, B = 1 − (1 − Cb × αb) ÷ Ct: −0.5, −1, 0.75; below 0 is kept.
  EXPECT_EQ(blend(CompositingFilter::ColorBurn), Color::rgba(-0.125, -0.25, 0.75, 1));
  // A black top (Ct = 0) gives B = 0: 0.5 × 0 + 0.5 × Cb × αb.
  EXPECT_EQ(blend(CompositingFilter::ColorBurn, kBase.withAlpha(0.5), Color::rgba(0, 0, 0, 0.5)),
            Color::rgba(0.0625, 0.125, 0.1875, 0.5));

  // With tenths, the quotient kept in double lands on the float nearest the
  // exact value; done in single precision it would be one unit off.
  // 0.5 × 0.1 ÷ 0.9 + 0.5 × 0.1 = 19/180 = 0.10555…
  const Color tenths = _colorBlendedWithColor(Color::rgba(0.1F, 0.1F, 0.1F, 1), Color::rgba(0.1F, 0.1F, 0.1F, 0.5F),
                                              CompositingFilter::ColorDodge);
  EXPECT_EQ(tenths.r, 0.105555556714534759521484375);  // single precision throughout: 0.1055555641651153564453125
  // 0.3 × (1 − 0.9 ÷ 0.2) + 0.7 × 0.1 = −0.98
  const Color burnt = _colorBlendedWithColor(Color::rgba(0.1F, 0.1F, 0.1F, 1), Color::rgba(0.2F, 0.2F, 0.2F, 0.3F),
                                             CompositingFilter::ColorBurn);
  EXPECT_EQ(burnt.r, -0.980000019073486328125);  // single precision throughout: −0.980000078678131103515625
}

TEST(TagColors, PlusDarker_ClampsItsSumsAndNeedsABaseAlpha) {
  // α′ = min(1, 1.5) = 1; x = (αt − Ct·αt) + (αb − Cb) limited: 1, 0.875, 0.25; each = α′ − x ÷ αb.
  EXPECT_EQ(blend(CompositingFilter::PlusDarker), Color::rgba(0, 0.125, 0.75, 1));
  // A transparent base: black, with the base's alpha.
  EXPECT_EQ(blend(CompositingFilter::PlusDarker, kBase.withAlpha(0)), Color::rgba(0, 0, 0, 0));
  // α′ limited below too: αt + αb = 0 gives black.
  EXPECT_EQ(blend(CompositingFilter::PlusDarker, kBase.withAlpha(-0.5)), Color::rgba(0, 0, 0, -0.5));
  // A result below 0 is limited: α′ = 0.75, x = 0.5 + (0.25 − 0.25) = 0.5, 0.75 − 0.5 ÷ 0.25 = −1.25 → 0.
  EXPECT_EQ(blend(CompositingFilter::PlusDarker, Color::rgba(0.25, 0.25, 0.25, 0.25), Color::rgba(0, 0, 0, 0.5)).r, 0);
}

}  // namespace
}  // namespace velune

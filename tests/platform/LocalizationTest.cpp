#include "platform/Localization.h"

#include <gtest/gtest.h>

#include "platform/ByteCountFormatter.h"

namespace velune::platform {
namespace {

TEST(Localization, MissingKeysShowThemselves) {
  EXPECT_EQ(localized("A key nobody defined"), "A key nobody defined");
  EXPECT_EQ(localizedFormat("No entry for %@", "x"), "No entry for x");
  EXPECT_EQ(localizedFormat(".DICT.NOBODY.%d", 3), ".DICT.NOBODY.3");
}

TEST(Localization, PluralKeysPickTheirFormByTheFirstArgument) {
  EXPECT_EQ(localizedFormat(".DICT.ITEMS.%d", 0), "0 items");
  EXPECT_EQ(localizedFormat(".DICT.ITEMS.%d", 1), "1 item");
  EXPECT_EQ(localizedFormat(".DICT.ITEMS.%d", 3), "3 items");
  EXPECT_EQ(localizedFormat(".DICT.CANNOT_DELETE_ITEMS.%d", 2), "2 items could not be deleted");
  // A floating-point count: 1.5 is not "one" in English.
  EXPECT_EQ(pluralCategory(1.0), "one");
  EXPECT_EQ(pluralCategory(1.5), "other");
  EXPECT_EQ(localizedFormat(".DICT.AVAILABLE.%g", 1.5, "1.5 GB"), "1.5 GB available");
  // A plural key without a number argument takes the "other" form.
  EXPECT_EQ(localizedFormat(".DICT.ITEMS.%d", "x"), "%!d(string=x) items");
  EXPECT_EQ(localized(".DICT.ITEMS.%d"), "%d items");
}

TEST(Localization, PseudoLocalization_MarksOnlyTextsFromTheTable) {
  setPseudoLocalization(true);
  const std::string found = localized("OK");
  const std::string plural = localizedFormat(".DICT.ITEMS.%d", 2);
  const std::string missing = localized("A key nobody defined");
  const std::string missingFormat = localizedFormat("No entry for %@", "x");
  setPseudoLocalization(false);
  EXPECT_EQ(found, "[OK]");
  EXPECT_EQ(plural, "[2 items]");
  EXPECT_EQ(missing, "A key nobody defined");
  EXPECT_EQ(missingFormat, "No entry for x");
  EXPECT_EQ(localized("OK"), "OK");
}

TEST(ByteCountFormatter, FileAndBinaryStyles) {
  using Style = ByteCountFormatter::CountStyle;
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(0, Style::File), "Zero KB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(1, Style::File), "1 byte");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(999, Style::File), "999 bytes");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(1500, Style::File), "2 KB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(2'000'000, Style::File), "2 MB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(1'234'567, Style::File), "1.2 MB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(999'999, Style::File), "1 MB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(1'530'000'000, Style::File), "1.53 GB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(6'291'456, Style::File), "6.3 MB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(104'857'600, Style::Binary), "100 MB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(1'610'612'736, Style::Binary), "1.5 GB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(1'610'612'736, Style::Binary, false), "1.5");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(0, Style::Binary, false), "0");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(-2'000'000, Style::File), "-2 MB");
  EXPECT_EQ(ByteCountFormatter::stringFromByteCount(INT64_MAX, Style::File), "9.22 EB");
}

}  // namespace
}  // namespace velune::platform

#include <gtest/gtest.h>

#include "platform/DateFormatter.h"

namespace velune::platform {
namespace {

TEST(DateFormatter, StylesFollowThePlatformScale) {
  const Date date = Date::fromSecondsSince1970(1767355200);  // Friday 2026-01-02 12:00 UTC
  const auto full = DateFormatter::localizedString(date, 4, 1, "UTC");
  const auto longText = DateFormatter::localizedString(date, 3, 1, "UTC");
  const auto medium = DateFormatter::localizedString(date, 2, 1, "UTC");
  const auto shortText = DateFormatter::localizedString(date, 1, 1, "UTC");
  const auto timeOnly = DateFormatter::localizedString(date, 0, 1, "UTC");
  EXPECT_NE(full.find("Friday"), std::string::npos) << full;
  EXPECT_NE(longText.find("January 2, 2026"), std::string::npos) << longText;
  EXPECT_EQ(longText.find("Friday"), std::string::npos) << longText;
  EXPECT_NE(medium.find("Jan 2, 2026"), std::string::npos) << medium;
  EXPECT_NE(shortText.find("1/2/26"), std::string::npos) << shortText;
  EXPECT_NE(timeOnly.find("12:00"), std::string::npos) << timeOnly;
  EXPECT_EQ(timeOnly.find("26"), std::string::npos) << timeOnly;
  EXPECT_TRUE(DateFormatter::localizedString(date, 0, 0, "UTC").empty());
  // The zone changes the text; styles out of range are taken as the nearest.
  EXPECT_NE(DateFormatter::localizedString(date, 0, 1, "Asia/Tokyo").find("9:00"), std::string::npos);
  EXPECT_EQ(DateFormatter::localizedString(date, 9, 1, "UTC"), full);
}

}  // namespace
}  // namespace velune::platform

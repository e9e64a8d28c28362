// FileTags: the tag dictionary of the cloud key-value store read into
// colours (its reload rules and log lines, copies handed out, a reload on
// every change from another device) and the blips drawn from it.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <cmath>
#include <thread>

#include "diag/DRLogging.h"
#include "host/MemoryCloudKeyValueStore.h"
#include "model/FileTags.h"
#include "model/vLDAppFileTagColors.h"
#include "platform/Notifications.h"
#include "platform/ui/Image.h"
#include "tests/support/LogLines.h"
#include "tests/support/TestSupport.h"

namespace velune {
namespace {

using platform::Value;
using ui::Color;

constexpr const char* kEmptyLine = "Trover tag dictionary is empty";

Value entry(Value name, Value colour) {
  Value::Dictionary e;
  if (!name.isNull()) {
    e.emplace("n", std::move(name));
  }
  if (!colour.isNull()) {
    e.emplace("l", std::move(colour));
  }
  return Value(std::move(e));
}

Value dictionary(Value version, Value::Array entries) {
  return Value(Value::Dictionary{{"TroverTagDictVersion", std::move(version)}, {"TroverTags", Value(std::move(entries))}});
}

// One pixel of an image as (red, green, blue, alpha), 0 to 255, not premultiplied.
std::array<int, 4> pixel(const ui::Image& image, int x, int y) {
  cairo_surface_flush(image.surface());
  const unsigned char* data = cairo_image_surface_get_data(image.surface());
  const int stride = cairo_image_surface_get_stride(image.surface());
  std::uint32_t argb = 0;
  std::memcpy(&argb, data + static_cast<ptrdiff_t>(y) * stride + x * 4, 4);
  const int a = static_cast<int>(argb >> 24);
  auto unpremultiply = [a](std::uint32_t c) { return a == 0 ? 0 : static_cast<int>(std::lround((c & 0xFF) * 255.0 / a)); };
  return {unpremultiply(argb >> 16), unpremultiply(argb >> 8), unpremultiply(argb), a};
}

class FileTagsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    store_ = std::make_shared<host::MemoryCloudKeyValueStore>(platform::Platform::services()->notifications);
    auto services = testing::baseServices();
    services.cloudKeyValueStore = store_;
    platform::Platform::install(services);
    // Loads (and, the first time in the process, subscribes); then each test
    // changes the dictionary as another device would.
    (void)FileTags::tagColorsByTag();
    store_->changeFromAnotherDevice("TroverTagDict", Value());
    testing::clearLogs();
  }
  void TearDown() override { testing::installBaseServices(); }

  void change(Value value) { store_->changeFromAnotherDevice("TroverTagDict", std::move(value)); }

  std::shared_ptr<host::MemoryCloudKeyValueStore> store_;
};

TEST_F(FileTagsTest, Reload_ReadsNamesAndColourNumbersInTheUsersOrder) {
  change(dictionary(Value(2), {entry("Red", Value(6)), entry("Work", Value(0)), entry("Later", Value(9)),
                               entry("Green", Value(2)), entry("Red", Value(4)), entry("Plain", Value())}));
  EXPECT_EQ(FileTags::allTags(), (std::vector<std::string>{"Red", "Work", "Later", "Green", "Red", "Plain"}));
  const auto colors = FileTags::tagColorsByTag();
  const auto& table = FileTags::_tagBlipColors();
  EXPECT_EQ(colors.size(), 5U);
  EXPECT_EQ(colors.at("Red"), table[4]);  // the last entry of a repeated name wins
  EXPECT_EQ(colors.at("Work"), table[0]);
  EXPECT_EQ(colors.at("Later"), table[0]);  // 8 or more: no colour
  EXPECT_EQ(colors.at("Green"), Color::green());
  EXPECT_EQ(colors.at("Plain"), table[0]);  // no number reads as 0
  EXPECT_TRUE(testing::logLines().empty());

  // The table: a light grey of white level 0.8 (in single precision), then the standard colours.
  EXPECT_EQ(table[0], Color::rgba(0.8F, 0.8F, 0.8F, 1));
  EXPECT_EQ(table[1], Color::gray());
  EXPECT_EQ(table[3], Color::purple());
  EXPECT_EQ(table[4], Color::blue());
  EXPECT_EQ(table[5], Color::yellow());
  EXPECT_EQ(table[6], Color::red());
  EXPECT_EQ(table[7], Color::orange());
}

TEST_F(FileTagsTest, Reload_RefusesOtherVersionsAndLogsAnEmptyDictionary) {
  for (const int version : {1, 3}) {
    SCOPED_TRACE(version);
    change(dictionary(Value(2), {entry("Red", Value(6))}));
    testing::clearLogs();
    change(dictionary(Value(version), {entry("Red", Value(6))}));
    EXPECT_TRUE(FileTags::tagColorsByTag().empty());
    EXPECT_TRUE(FileTags::allTags().empty());
    const auto lines = testing::logLines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].message, "Trover tag dictionary has incorrect version (" + std::to_string(version) + ", should be 2)");
    EXPECT_EQ(lines[0].level, 7);
    EXPECT_EQ(lines[1].message, kEmptyLine);
    EXPECT_EQ(lines[1].level, 4);
  }
  // Version 2 with no tags: no tags, and neither line.
  testing::clearLogs();
  change(dictionary(Value(2), {}));
  EXPECT_TRUE(FileTags::allTags().empty());
  EXPECT_TRUE(testing::logLines().empty());
  // No dictionary at all, or an empty map: only the empty line.
  for (Value absent : {Value(), Value(Value::Dictionary{})}) {
    testing::clearLogs();
    change(absent);
    EXPECT_EQ(testing::countOf(kEmptyLine), 1U);
    EXPECT_EQ(testing::linesStartingWith("Trover tag dictionary has incorrect version").size(),
              absent.isNull() ? 0U : 1U);  // an empty map has version 0
  }
}

// Another device may write anything: each shape has one defined result.
TEST_F(FileTagsTest, Reload_GivesDefinedResultsForEntriesOfTheWrongTypes) {
  change(dictionary(Value("2"), {entry(Value(5), Value(1)), entry("Text colour", Value("6")),
                                 entry("Negative", Value(-1)), entry("Huge", Value(std::uint64_t{1} << 63)),
                                 entry("Fraction", Value(2.9)), Value("Bare"), Value(7),
                                 entry("Bad words", Value("red")), entry("\xff\xfe", Value(3))}));
  EXPECT_EQ(FileTags::allTags(), (std::vector<std::string>{"Text colour", "Negative", "Huge", "Fraction", "Bad words",
                                                            "\xff\xfe"}));
  const auto colors = FileTags::tagColorsByTag();
  const auto& table = FileTags::_tagBlipColors();
  EXPECT_EQ(colors.at("Text colour"), table[6]);  // read from the text, as the platform's numbers do
  EXPECT_EQ(colors.at("Negative"), table[0]);
  EXPECT_EQ(colors.at("Huge"), table[0]);
  EXPECT_EQ(colors.at("Fraction"), table[2]);
  EXPECT_EQ(colors.at("Bad words"), table[0]);
  EXPECT_EQ(colors.at("\xff\xfe"), table[3]);

  // The dictionary itself of the wrong kind, or its list.
  for (Value odd : {Value("TroverTags"), Value(Value::Array{Value(2)}), Value(Value::Dictionary{
                        {"TroverTagDictVersion", Value(2)}, {"TroverTags", Value("Red")}})}) {
    change(odd);
    EXPECT_TRUE(FileTags::allTags().empty());
  }
  // Versions far from 2 are refused, not wrapped onto it.
  change(dictionary(Value(-2), {entry("Red", Value(6))}));
  EXPECT_TRUE(FileTags::allTags().empty());
  change(dictionary(Value(18446744073709551618.0), {entry("Red", Value(6))}));
  EXPECT_TRUE(FileTags::allTags().empty());
}

TEST_F(FileTagsTest, Copies_AreTheCallersAndANotificationReplacesTheShared) {
  change(dictionary(Value(2), {entry("Red", Value(6))}));
  auto colors = FileTags::tagColorsByTag();
  auto tags = FileTags::allTags();
  colors["Red"] = Color::black();
  colors["Mine"] = Color::black();
  tags.push_back("Mine");
  EXPECT_EQ(FileTags::tagColorsByTag().at("Red"), Color::red());
  EXPECT_EQ(FileTags::tagColorsByTag().count("Mine"), 0U);
  EXPECT_EQ(FileTags::allTags(), std::vector<std::string>{"Red"});

  // A change that arrives without a notification is not seen; the next notification reads it.
  store_->setValue("TroverTagDict", dictionary(Value(2), {entry("Red", Value(4))}));
  EXPECT_EQ(FileTags::tagColorsByTag().at("Red"), Color::red());
  std::atomic<int> told{0};
  platform::Platform::services()->notifications->addObserver(
      this, std::string(kFileTagsDidChangeNotification), nullptr, [&](const platform::Notification&) { ++told; });
  store_->changeFromAnotherDevice("SomethingElse", Value(1));
  EXPECT_EQ(FileTags::tagColorsByTag().at("Red"), Color::blue());
  EXPECT_EQ(told.load(), 1);
  platform::Platform::services()->notifications->removeObserver(this);
}

TEST_F(FileTagsTest, LargeDictionary_OfAHundredThousandTagsLoads) {
  Value::Array entries;
  for (int i = 0; i < 100'000; ++i) {
    entries.push_back(entry(Value("tag " + std::to_string(i)), Value(i % 10)));
  }
  change(dictionary(Value(2), std::move(entries)));
  EXPECT_EQ(FileTags::allTags().size(), 100'000U);
  const auto colors = FileTags::tagColorsByTag();
  EXPECT_EQ(colors.at("tag 99997"), FileTags::_tagBlipColors()[7]);
  EXPECT_EQ(colors.at("tag 99999"), FileTags::_tagBlipColors()[0]);  // 9
}

TEST_F(FileTagsTest, BlipRow_SizesFollowHeightCountAndScale) {
  change(dictionary(Value(2), {entry("Red", Value(6)), entry("Blue", Value(4)), entry("Green", Value(2))}));
  const std::vector<std::string> three = {"Red", "Blue", "Green"};
  for (const double scale : {1.0, 2.0, 3.0}) {
    SCOPED_TRACE(scale);
    const auto image = FileTags::blipWithTags(three, 12, scale);
    ASSERT_TRUE(image);
    // 12 + 6 × 2 wide, 12 high.
    EXPECT_EQ(image->size(), (ui::Size{24, 12}));
    EXPECT_EQ(image->scale(), scale);
    EXPECT_EQ(image->pixelWidth(), static_cast<int>(24 * scale));
    EXPECT_EQ(image->pixelHeight(), static_cast<int>(12 * scale));
  }
  // 11.5: circles of 12 points, a step of 5.75.
  const auto uneven = FileTags::blipWithTags(three, 11.5, 2);
  ASSERT_TRUE(uneven);
  EXPECT_EQ(uneven->size(), (ui::Size{23.5, 12}));
  EXPECT_EQ(uneven->pixelWidth(), 47);
  EXPECT_EQ(FileTags::blipWithTags({"Red"}, 12, 3)->size(), (ui::Size{12, 12}));

  EXPECT_EQ(FileTags::blipWithTags({}, 12, 2), nullptr);
  for (const double bad : {0.0, -4.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(FileTags::blipWithTags(three, bad, 2), nullptr) << bad;
  }
}

TEST_F(FileTagsTest, BlipRow_DrawsOverlappingCirclesWithLighterRims) {
  change(dictionary(Value(2), {entry("Red", Value(6)), entry("Blue", Value(4))}));
  const auto image = FileTags::blipWithTags({"Red", "Blue", "Unknown"}, 20, 1);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->size(), (ui::Size{40, 20}));
  // The red circle's middle, and its left rim: red blended with white at half alpha.
  EXPECT_EQ(pixel(*image, 5, 10), (std::array<int, 4>{255, 0, 0, 255}));
  const Color rim = _colorBlendedWithColor(Color::red(), Color::whiteWithAlpha(1, 0.5));
  EXPECT_EQ(rim, Color::rgba(1, 0.5, 0.5, 1));
  const auto edge = pixel(*image, 0, 10);
  EXPECT_EQ(edge[0], 255);
  EXPECT_NEAR(edge[1], 128, 12);
  EXPECT_NEAR(edge[3], 255, 40);
  // The blue circle (10 points on) is drawn over the red one's right half.
  EXPECT_EQ(pixel(*image, 18, 10), (std::array<int, 4>{0, 0, 255, 255}));
  // A tag the dictionary does not know draws nothing: past the blue circle, nothing shows.
  EXPECT_EQ(pixel(*image, 35, 10)[3], 0);
}

TEST_F(FileTagsTest, SingleBlip_IsACircleAtTheOffsetAtScaleOne) {
  change(dictionary(Value(2), {entry("Orange", Value(7))}));
  EXPECT_EQ(FileTags::blipWithTag(std::nullopt, ui::Size{14, 18}, 10, ui::Point{0, 4}), nullptr);
  const auto image = FileTags::blipWithTag(std::string("Orange"), ui::Size{14, 18}, 10, ui::Point{0, 4});
  ASSERT_TRUE(image);
  EXPECT_EQ(image->scale(), 1);
  EXPECT_EQ(image->size(), (ui::Size{14, 18}));
  EXPECT_EQ(pixel(*image, 5, 9), (std::array<int, 4>{255, 128, 0, 255}));  // the circle's middle (5, 9)
  EXPECT_EQ(pixel(*image, 5, 1)[3], 0);    // above the offset
  EXPECT_EQ(pixel(*image, 12, 9)[3], 0);   // right of the circle
  // No rim: the edge of the circle is the fill's colour, fading out.
  const auto edge = pixel(*image, 0, 9);
  EXPECT_EQ(edge[0], 255);
  EXPECT_LT(edge[1], 140);
  // An unknown tag: an image with nothing visible in it.
  const auto unknown = FileTags::blipWithTag(std::string("Nobody"), ui::Size{14, 18}, 10, ui::Point{0, 4});
  ASSERT_TRUE(unknown);
  EXPECT_EQ(pixel(*unknown, 5, 9)[3], 0);
}

// Guards against a row of blips that looks each tag up in whatever
// dictionary is current, so that a reload arriving on the store's thread
// while the row is drawn gives its first and last blips colours of two
// different dictionaries.
TEST_F(FileTagsTest, Reload_WhileBlipsAreDrawn_DrawsEachRowFromOneDictionary) {
  change(dictionary(Value(2), {entry("A", Value(6)), entry("B", Value(6))}));
  std::atomic<bool> stop{false};
  std::thread otherDevice([&] {
    for (int i = 0; !stop.load(); ++i) {
      const int colour = i % 2 == 0 ? 4 : 6;
      store_->changeFromAnotherDevice("TroverTagDict",
                                      dictionary(Value(2), {entry("A", Value(colour)), entry("B", Value(colour))}));
    }
  });
  // Ten blips of height 8, 4 points apart: the first one's middle shows at
  // (2, 4), the last one's at (41, 4), and nothing covers either.
  const std::vector<std::string> row = {"A", "B", "A", "B", "A", "B", "A", "B", "A", "B"};
  const std::array<int, 4> red{255, 0, 0, 255};
  const std::array<int, 4> blue{0, 0, 255, 255};
  int mixed = 0;
  for (int drawn = 0; drawn < 2000; ++drawn) {
    const auto image = FileTags::blipWithTags(row, 8, 1);
    ASSERT_TRUE(image);
    const auto first = pixel(*image, 2, 4);
    const auto last = pixel(*image, 41, 4);
    EXPECT_TRUE(first == red || first == blue);
    mixed += first != last ? 1 : 0;
    const auto colors = FileTags::tagColorsByTag();
    ASSERT_EQ(colors.size(), 2U);
    EXPECT_EQ(colors.at("A"), colors.at("B"));
  }
  stop = true;
  otherDevice.join();
  EXPECT_EQ(mixed, 0);
}

}  // namespace
}  // namespace velune

#include <gtest/gtest.h>

#include "host/drive/PlaceholderMetadata.h"

namespace velune::host {
namespace {

namespace ErrorCode = platform::ErrorCode;

TEST(PlaceholderMetadata, RoundTripsEveryField) {
  PlaceholderMetadata metadata;
  metadata.size = 123456789012ULL;
  metadata.type = "public.pdf";
  metadata.created = platform::Date::fromSecondsSince1970(1700000000.5);
  metadata.modified = platform::Date::fromSecondsSince1970(1700000100.25);
  metadata.isPackage = true;
  metadata.attributes = ItemAttributes{{"Red", "Work"}, true, "participant", true};
  std::vector<std::string> problems;
  auto read = PlaceholderMetadata::parse(metadata.serialize(), "/p", &problems);
  ASSERT_TRUE(read.ok());
  EXPECT_TRUE(problems.empty());
  EXPECT_EQ(read.value().size, metadata.size);
  EXPECT_EQ(read.value().type, metadata.type);
  EXPECT_EQ(read.value().created, metadata.created);
  EXPECT_EQ(read.value().modified, metadata.modified);
  EXPECT_TRUE(read.value().isPackage);
  EXPECT_EQ(read.value().attributes, metadata.attributes);
}

TEST(PlaceholderMetadata, WrongKindsReadAsMissingAndAreReported) {
  std::vector<std::string> problems;
  auto read = PlaceholderMetadata::parse(
      R"({"size": -5, "type": 3, "created": "yesterday", "modified": null, "package": "yes",
          "tags": ["ok", 4, ""], "shared": "true", "role": "boss", "unknown": 1})",
      "/p", &problems);
  ASSERT_TRUE(read.ok());
  EXPECT_FALSE(read.value().size);
  EXPECT_FALSE(read.value().type);
  EXPECT_FALSE(read.value().created);
  EXPECT_FALSE(read.value().modified);
  EXPECT_FALSE(read.value().isPackage);
  EXPECT_EQ(read.value().attributes.tags, std::vector<std::string>{"ok"});
  EXPECT_FALSE(read.value().attributes.shared);
  EXPECT_EQ(read.value().attributes.role, "owner");
  EXPECT_EQ(problems.size(), 8U);
  EXPECT_TRUE(PlaceholderMetadata::parse("{}", "/p", nullptr).ok());
}

TEST(PlaceholderMetadata, TextThatIsNoObjectIsCorrupt) {
  for (const std::string text : {"", "[]", "\"text\"", "{unterminated", "\xFF\xFE"}) {
    auto read = PlaceholderMetadata::parse(text, "/where/.x.placeholder", nullptr);
    ASSERT_FALSE(read.ok()) << text;
    EXPECT_EQ(read.error().code(), ErrorCode::FileReadCorruptFile);
  }
  auto attributes = ItemAttributes::parse("nope", "/where/.x.vdattrs", nullptr);
  ASSERT_FALSE(attributes.ok());
  EXPECT_EQ(attributes.error().code(), ErrorCode::FileReadCorruptFile);
}

}  // namespace
}  // namespace velune::host

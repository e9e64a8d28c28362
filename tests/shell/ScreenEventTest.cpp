#include "shell/ScreenEvent.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velune::shell {
namespace {

TEST(ScreenEvent, Parse_AcceptsEveryKindOfInput) {
  auto tap = ScreenEvent::parse(R"({"type":"tap","target":"download.cancel"})");
  ASSERT_TRUE(tap.ok());
  EXPECT_EQ(tap.value().type, ScreenEvent::Type::Tap);
  EXPECT_EQ(tap.value().target, "download.cancel");

  auto typed = ScreenEvent::parse(R"({"target":"AlertController-3.field.0","type":"type","text":"Caf\u00e9 \"2\""})");
  ASSERT_TRUE(typed.ok());
  EXPECT_EQ(typed.value().text, "Caf\xC3\xA9 \"2\"");

  auto empty = ScreenEvent::parse(R"({"type":"type","target":"f","text":""})");
  ASSERT_TRUE(empty.ok()) << "clearing a field is an edit";

  auto back = ScreenEvent::parse(R"({"type":"back"})");
  ASSERT_TRUE(back.ok());
  EXPECT_TRUE(back.value().target.empty());

  auto scroll = ScreenEvent::parse(R"({"type":"scroll","target":"list","offset":1234.5})");
  ASSERT_TRUE(scroll.ok());
  EXPECT_DOUBLE_EQ(scroll.value().offset, 1234.5);

  auto rotate = ScreenEvent::parse(R"({"type":"rotate","orientation":"landscape"})");
  ASSERT_TRUE(rotate.ok());
  EXPECT_TRUE(ui::isLandscape(rotate.value().orientation));

  for (const char* body : {R"({"type":"return","target":"f"})", R"({"type":"swipe","target":"row"})",
                           R"({"type":"choose","target":"AlertAction-9"})", R"({"type":"dismiss"})",
                           R"({"type":"dismiss","target":"View-4"})"}) {
    EXPECT_TRUE(ScreenEvent::parse(body).ok()) << body;
  }
}

TEST(ScreenEvent, Parse_RefusesWhatThePageNeverSends) {
  const std::string longId(ScreenEvent::kMaxIdentifierBytes + 1, 'a');
  const std::string longText(ScreenEvent::kMaxTextBytes + 1, 'x');
  const std::vector<std::string> bad = {
      "",
      "tap",
      "[]",
      "null",
      R"("tap")",
      R"({"type":"launch","target":"x"})",
      R"({"type":1,"target":"x"})",
      R"({"target":"x"})",
      R"({"type":"tap"})",
      R"({"type":"tap","target":""})",
      R"({"type":"tap","target":7})",
      R"({"type":"tap","target":"x","extra":1})",
      R"({"type":"tap","target":"x","text":"hi"})",
      R"({"type":"type","target":"f"})",
      R"({"type":"type","target":"f","text":["a"]})",
      R"({"type":"scroll","target":"l"})",
      R"({"type":"scroll","target":"l","offset":"5"})",
      R"({"type":"scroll","target":"l","offset":1e300})",
      R"({"type":"rotate"})",
      R"({"type":"rotate","orientation":"upside-down"})",
      R"({"type":"rotate","orientation":"portrait","target":"x"})",
      R"({"type":"tap","target":"x"} trailing)",
      R"({"type":"tap","target":"x")",
      R"({"type":"tap","target":"x","target":{"a":{"b":{"c":{"d":1}}}}})",
      "{\"type\":\"tap\",\"target\":\"\xff\xfe\"}",
      "{\"type\":\"tap\",\"target\":\"" + longId + "\"}",
      "{\"type\":\"type\",\"target\":\"f\",\"text\":\"" + longText + "\"}",
      std::string(100'000, '['),
      "{\"type\":\"tap\",\"target\":\"x\",\"pad\":\"" + std::string(ScreenEvent::kMaxBodyBytes, ' ') + "\"}",
  };
  for (const auto& body : bad) {
    const auto parsed = ScreenEvent::parse(body);
    EXPECT_FALSE(parsed.ok()) << body.substr(0, 120);
    if (!parsed.ok()) {
      EXPECT_TRUE(parsed.error().localizedDescription().has_value());
    }
  }
}

TEST(ScreenEvent, Parse_BracketsInsideStringsDoNotCountAsNesting) {
  auto parsed = ScreenEvent::parse(R"({"type":"type","target":"f","text":"[[[[[[{{{{{{ \"]]]]"})");
  ASSERT_TRUE(parsed.ok());
  EXPECT_EQ(parsed.value().text, "[[[[[[{{{{{{ \"]]]]");
}

}  // namespace
}  // namespace velune::shell

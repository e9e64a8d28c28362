#include <gtest/gtest.h>

#include "platform/Format.h"
#include "platform/IdentityToken.h"

namespace velune::platform {
namespace {

TEST(IdentityToken, Archive_ReadsBackAnEqualTokenAndRefusesOtherData) {
  const IdentityToken token("user-1 \xc3\xa9");
  const auto data = token.archivedData();
  const auto back = IdentityToken::fromArchivedData(data);
  ASSERT_TRUE(back);
  EXPECT_EQ(*back, token);
  EXPECT_FALSE(*back == IdentityToken("user-2"));

  const auto asData = [](const std::string& text) { return Value::Data(text.begin(), text.end()); };
  for (const char* other : {"", "not json", "[]", R"({"identity": "user-1"})",
                            R"({"kind": "something.else", "version": 1, "identity": "x"})",
                            R"({"kind": "velune.identity-token", "version": 2, "identity": "x"})",
                            R"({"kind": "velune.identity-token", "version": 1, "identity": 7})"}) {
    EXPECT_FALSE(IdentityToken::fromArchivedData(asData(other))) << other;
  }
  // An identity that is not UTF-8 still archives (replaced), never throws.
  EXPECT_TRUE(IdentityToken::fromArchivedData(IdentityToken("bad \xff").archivedData()));
}

TEST(IdentityToken, Description_IsAStableFingerprintThatHidesTheIdentity) {
  const IdentityToken token("alice@example.org");
  const std::string shown = format("%@", token);
  EXPECT_EQ(shown.find("alice"), std::string::npos) << shown;
  EXPECT_EQ(shown, IdentityToken("alice@example.org").description());
  EXPECT_NE(shown, IdentityToken("bob@example.org").description());
}

}  // namespace
}  // namespace velune::platform

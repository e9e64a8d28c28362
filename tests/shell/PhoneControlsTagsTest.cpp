// The control panel's tag dictionary: what the page may send, what reaches
// the cloud key-value store, and what the panel is shown back.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/CloudTagDictionary.h"
#include "host/FileIO.h"
#include "host/HostCloudKeyValueStore.h"
#include "shell/PhoneControls.h"
#include "tests/support/TestSupport.h"

namespace velune::shell {
namespace {

using nlohmann::json;

class PhoneControlsTagsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(layout_.ensureSkeleton()); }
  testing::TempDirectory temp_;
  host::HomeLayout layout_{temp_.path() + "/home"};
  PhoneControls controls_{layout_};
};

TEST_F(PhoneControlsTagsTest, SetTagDictionary_WritesWhatThePageSentAndShowsItBack) {
  ASSERT_FALSE(controls_.setTagDictionary(
      json::parse(R"({"version": 2, "tags": [{"name": "Red", "colour": 6}, {"name": "Caf\u00e9 \u2615", "colour": 0}]})")));
  const auto list = host::CloudTagDictionary::read(layout_);
  ASSERT_TRUE(list.ok());
  EXPECT_EQ(list.value().version, 2U);
  EXPECT_EQ(list.value().tags, (std::vector<host::CloudTag>{{"Red", 6}, {"Caf\u00e9 \u2615", 0}}));
  EXPECT_EQ(controls_.state()["tagDictionary"],
            json::parse(R"({"version": 2, "tags": [{"name": "Red", "colour": 6}, {"name": "Caf\u00e9 \u2615", "colour": 0}]})"));

  // Another version (to show the app refusing it) and an empty list are allowed.
  ASSERT_FALSE(controls_.setTagDictionary(json::parse(R"({"version": 3, "tags": []})")));
  EXPECT_EQ(host::CloudTagDictionary::read(layout_).value().version, 3U);
  // Without a version: the current one.
  ASSERT_FALSE(controls_.setTagDictionary(json::parse(R"({"tags": [{"name": "Blue", "colour": 4}]})")));
  EXPECT_EQ(host::CloudTagDictionary::read(layout_).value().version, 2U);
}

TEST_F(PhoneControlsTagsTest, SetTagDictionary_RefusesWhatThePanelNeverSends) {
  ASSERT_FALSE(controls_.setTagDictionary(json::parse(R"({"tags": [{"name": "Keep", "colour": 1}]})")));
  json many = json::array();
  for (int i = 0; i < 1001; ++i) {
    many.push_back({{"name", "t" + std::to_string(i)}, {"colour", 1}});
  }
  for (const json& body : {
           json::parse(R"({})"),
           json::parse(R"({"tags": {"name": "Red"}})"),
           json::parse(R"({"tags": [{"name": "", "colour": 1}]})"),
           json::parse(R"({"tags": [{"name": 5, "colour": 1}]})"),
           json::parse(R"({"tags": [{"colour": 1}]})"),
           json::parse(R"({"tags": [{"name": "Red", "colour": 8}]})"),
           json::parse(R"({"tags": [{"name": "Red", "colour": -1}]})"),
           json::parse(R"({"tags": [{"name": "Red", "colour": "6"}]})"),
           json::parse(R"({"tags": [{"name": "Red", "colour": 1.5}]})"),
           json::parse(R"({"tags": ["Red"]})"),
           json::parse(R"({"version": -2, "tags": []})"),
           json::parse(R"({"version": 4294967296, "tags": []})"),
           json{{"tags", json::array({{{"name", std::string(256, 'x')}, {"colour", 1}}})}},
           json{{"tags", many}},
       }) {
    SCOPED_TRACE(body.dump().substr(0, 80));
    EXPECT_TRUE(controls_.setTagDictionary(body));
  }
  EXPECT_EQ(host::CloudTagDictionary::read(layout_).value().tags, (std::vector<host::CloudTag>{{"Keep", 1}}));
}

TEST_F(PhoneControlsTagsTest, State_SaysWhyTheStoreCannotBeRead) {
  ASSERT_FALSE(host::writeFileAtomically(host::HostCloudKeyValueStore::filePath(layout_), "[1"));
  const json state = controls_.state();
  ASSERT_TRUE(state["tagDictionary"].contains("problem"));
  EXPECT_NE(state["tagDictionary"]["problem"].get<std::string>().find("not JSON"), std::string::npos);
  // And the panel cannot overwrite it.
  EXPECT_TRUE(controls_.setTagDictionary(json::parse(R"({"tags": []})")));
}

}  // namespace
}  // namespace velune::shell

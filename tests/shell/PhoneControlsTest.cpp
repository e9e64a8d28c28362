// The control panel's launch URL: the panel offers the applications installed
// on the phone (and one that is not), hands the request with the claimed
// source to the application host, and reports the host's answer.

#include "shell/PhoneControls.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include "host/FileIO.h"
#include "host/drive/DemoHome.h"
#include "tests/support/TestSupport.h"

namespace velune::shell {
namespace {

using nlohmann::json;

class PhoneControlsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::installBaseServices();
    ASSERT_FALSE(layout_.ensureSkeleton());
  }

  testing::TempDirectory home_;
  host::HomeLayout layout_{home_.path()};
};

TEST_F(PhoneControlsTest, Sources_AreTheInstalledApplicationsAndOneThatIsNot) {
  PhoneControls controls(layout_);
  ASSERT_FALSE(host::writeFileAtomically(layout_.appsJson(), host::DemoHome::appsJson()));
  const json sources = controls.state()["sources"];
  ASSERT_GE(sources.size(), 3U);
  EXPECT_EQ(sources[0], (json{{"identifier", "com.vorlan.Drillrun"}, {"name", "Drillrun"}, {"installed", true}}));
  EXPECT_EQ(sources.back(),
            (json{{"identifier", PhoneControls::kNotInstalledSource}, {"name", "Not installed"}, {"installed", false}}));
  for (size_t i = 0; i + 1 < sources.size(); ++i) {
    EXPECT_NE(sources[i]["identifier"], PhoneControls::kNotInstalledSource);
  }

  // A phone whose apps.json is unreadable offers only the one not installed.
  ASSERT_FALSE(host::writeFileAtomically(layout_.appsJson(), "{\"applications\": "));
  EXPECT_EQ(controls.state()["sources"].size(), 1U);
}

TEST_F(PhoneControlsTest, LaunchURL_HandsTheClaimToTheHostAndReportsItsAnswer) {
  PhoneControls controls(layout_);
  const json body{{"url", "velunedriveapp:///com.vorlan.drive/Documents/Budget.csv"}, {"source", "com.vorlan.Jotter"}};
  EXPECT_FALSE(controls.launchURL(body).ok()) << "no host to deliver to";

  std::vector<host::LaunchURLRequest> requests;
  bool answer = true;
  controls.setOpenURLHook([&](const host::LaunchURLRequest& request, std::function<void(bool)> done) {
    requests.push_back(request);
    done(answer);
  });
  auto handled = controls.launchURL(body);
  ASSERT_TRUE(handled.ok());
  EXPECT_TRUE(handled.value());
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].url.absoluteString(), "velunedriveapp:///com.vorlan.drive/Documents/Budget.csv");
  EXPECT_EQ(requests[0].claimedSource, std::optional<std::string>("com.vorlan.Jotter"));
  EXPECT_EQ(requests[0].pid, ::getpid());
  answer = false;
  handled = controls.launchURL(body);
  ASSERT_TRUE(handled.ok());
  EXPECT_FALSE(handled.value()) << "the app refused it";

  // Requests the panel refuses never reach the host.
  const std::vector<json> refused = {
      json{{"source", "com.vorlan.Jotter"}},
      json{{"url", ""}, {"source", "com.vorlan.Jotter"}},
      json{{"url", std::string(70000, 'a')}, {"source", "com.vorlan.Jotter"}},
      json{{"url", "velunedriveapp:///x"}},
      json{{"url", "velunedriveapp:///x"}, {"source", "not an identifier"}},
      json{{"url", 5}, {"source", "com.vorlan.Jotter"}},
  };
  for (const auto& bad : refused) {
    EXPECT_FALSE(controls.launchURL(bad).ok()) << bad.dump().substr(0, 80);
  }
  EXPECT_EQ(requests.size(), 2U);
}

TEST_F(PhoneControlsTest, LaunchURL_AnAnswerThatNeverComesIsAnError) {
  PhoneControls controls(layout_);
  const json body{{"url", "velunedriveapp:///x"}, {"source", "com.vorlan.Drillrun"}};
  std::function<void(bool)> kept;
  controls.setOpenURLHook([&](const host::LaunchURLRequest&, std::function<void(bool)> done) { kept = std::move(done); });
  EXPECT_FALSE(controls.launchURL(body, std::chrono::milliseconds(1)).ok()) << "not answered in time";
  // An app that ends drops the queued request with its answer.
  controls.setOpenURLHook([](const host::LaunchURLRequest&, std::function<void(bool)>) {});
  const auto dropped = controls.launchURL(body, std::chrono::minutes(5));
  ASSERT_FALSE(dropped.ok());
  EXPECT_NE(dropped.error().localizedDescription().value_or("").find("ended"), std::string::npos);
}

}  // namespace
}  // namespace velune::shell

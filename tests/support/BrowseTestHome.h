#pragma once
// BrowseTestHome: a DriveTestHome with what the browsing screens need beside
// the drive: the test phone, an account whose identity token a test sets
// (posting the identity-changed notification as the platform does), and a
// quota service that keeps its requests (a test answers through the fetcher).

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/AccountService.h"
#include "platform/DispatchQueue.h"
#include "platform/DocumentListing.h"
#include "platform/Notifications.h"
#include "platform/QuotaService.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"

namespace velune::testing {

class TestAccountService final : public platform::AccountService {
 public:
  std::optional<platform::IdentityToken> identityToken() const override {
    std::lock_guard lock(mutex_);
    return token_;
  }
  // Changes the token and posts the notice, as the platform's account does.
  void signIn(const std::string& identity) { set(platform::IdentityToken(identity)); }
  void signOut() { set(std::nullopt); }
  void set(std::optional<platform::IdentityToken> token) {
    {
      std::lock_guard lock(mutex_);
      token_ = std::move(token);
    }
    notifications().post(std::string(platform::kAccountIdentityDidChangeNotification), this);
  }

 private:
  mutable std::mutex mutex_;
  std::optional<platform::IdentityToken> token_;
};

class HeldQuotaService final : public platform::QuotaService {
 public:
  std::string cloudDocumentsContainerIdentifier() const override { return "com.vorlan.VeluneDrive.documents"; }
  void submit(platform::QuotaRequest, Completion completion) override {
    std::lock_guard lock(mutex_);
    held_.push_back(std::move(completion));
  }

 private:
  std::mutex mutex_;
  std::vector<Completion> held_;
};

class BrowseTestHome : public DriveTestHome {
 public:
  BrowseTestHome() {
    services().account = account_;
    services().quota = quota_;
    installWithPhone(services());
  }
  TestAccountService& account() { return *account_; }

 private:
  std::shared_ptr<TestAccountService> account_ = std::make_shared<TestAccountService>();
  std::shared_ptr<HeldQuotaService> quota_ = std::make_shared<HeldQuotaService>();
};

// Lets every listing of the process catch up: the drive's notices reach the
// listings' presenters, their reads run on the read queue and are handed to
// the main thread. Bounded: a few rounds of barriers, no sleeps.
inline void settleListings(DriveTestHome& home) {
  for (int round = 0; round < 4; ++round) {
    home.coordination().waitUntilWatcherCaughtUp();
    platform::DocumentListing::waitForPresenters();
    runMainUntilIdle();
    platform::DocumentListing::readQueue()->sync([] {});
    runMainUntilIdle();
  }
}

}  // namespace velune::testing

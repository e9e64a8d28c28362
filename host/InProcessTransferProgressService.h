#pragma once
// InProcessTransferProgressService: the transfer-progress registry of the
// simulated phone, inside the app's process. Subscribers are matched by file
// URL (equality of URLs). See platform/TransferProgressService.h for the
// guarantees. Thread-safe.

#include <map>
#include <mutex>
#include <vector>

#include "platform/TransferProgressService.h"

namespace velune::host {

class InProcessTransferProgressService final : public platform::TransferProgressService {
 public:
  SubscriptionToken addSubscriber(const platform::URL& url, PublishingHandler handler) override;
  void removeSubscriber(SubscriptionToken token) override;
  PublicationToken publish(const platform::URL& url, std::shared_ptr<platform::TransferProgress> progress) override;
  void unpublish(PublicationToken token) override;

 private:
  // Calls a subscriber's handler for a publication and keeps the unpublisher
  // it returns (or runs it at once when the publication ended meanwhile).
  void deliver(PublicationToken publication, const PublishingHandler& handler,
               const std::shared_ptr<platform::TransferProgress>& progress);

  struct Subscription {
    platform::URL url;
    std::shared_ptr<PublishingHandler> handler;
  };
  struct Publication {
    platform::URL url;
    std::shared_ptr<platform::TransferProgress> progress;
    // The unpublishing handlers that subscribers returned for this progress.
    std::vector<UnpublishingHandler> unpublishers;
  };

  std::mutex mutex_;
  std::uint64_t nextToken_ = 1;
  std::map<SubscriptionToken, Subscription> subscriptions_;
  std::map<PublicationToken, Publication> publications_;
};

}  // namespace velune::host

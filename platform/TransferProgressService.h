#pragma once
// TransferProgressService: where file transfers publish their progress and
// where screens subscribe to the progress of a file.
//
// - A subscriber names a file URL and gives a publishing handler. The handler
//   is called once for every progress published for that URL (also for those
//   already published when it subscribes) and returns an unpublishing
//   handler, which is called when that progress is unpublished.
// - Handlers run on the thread that subscribes or publishes, never under the
//   service's lock: they may subscribe, unsubscribe or read the progress.
// Thread-safe.

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/TransferProgress.h"
#include "platform/URL.h"

namespace velune::platform {

class TransferProgressService {
 public:
  using UnpublishingHandler = std::function<void()>;
  using PublishingHandler = std::function<UnpublishingHandler(const std::shared_ptr<TransferProgress>&)>;
  using SubscriptionToken = std::uint64_t;
  using PublicationToken = std::uint64_t;

  virtual ~TransferProgressService() = default;

  virtual SubscriptionToken addSubscriber(const URL& url, PublishingHandler handler) = 0;
  // Later publications no longer reach the subscriber; unknown tokens are ignored.
  virtual void removeSubscriber(SubscriptionToken token) = 0;

  virtual PublicationToken publish(const URL& url, std::shared_ptr<TransferProgress> progress) = 0;
  virtual void unpublish(PublicationToken token) = 0;
};

}  // namespace velune::platform

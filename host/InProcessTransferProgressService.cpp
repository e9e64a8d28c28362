#include "host/InProcessTransferProgressService.h"

namespace velune::host {

using platform::TransferProgress;
using platform::URL;

InProcessTransferProgressService::SubscriptionToken InProcessTransferProgressService::addSubscriber(
    const URL& url, PublishingHandler handler) {
  auto shared = std::make_shared<PublishingHandler>(std::move(handler));
  std::vector<std::pair<PublicationToken, std::shared_ptr<TransferProgress>>> existing;
  SubscriptionToken token = 0;
  {
    const std::lock_guard lock(mutex_);
    token = nextToken_++;
    subscriptions_.emplace(token, Subscription{url, shared});
    for (const auto& [id, publication] : publications_) {
      if (publication.url == url) {
        existing.emplace_back(id, publication.progress);
      }
    }
  }
  for (const auto& [id, progress] : existing) {
    deliver(id, *shared, progress);
  }
  return token;
}

void InProcessTransferProgressService::deliver(PublicationToken publication, const PublishingHandler& handler,
                                               const std::shared_ptr<TransferProgress>& progress) {
  UnpublishingHandler unpublisher = handler ? handler(progress) : nullptr;
  if (!unpublisher) {
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    if (auto found = publications_.find(publication); found != publications_.end()) {
      found->second.unpublishers.push_back(std::move(unpublisher));
      return;
    }
  }
  unpublisher();  // the publication ended while the handler ran
}

void InProcessTransferProgressService::removeSubscriber(SubscriptionToken token) {
  const std::lock_guard lock(mutex_);
  subscriptions_.erase(token);
}

InProcessTransferProgressService::PublicationToken InProcessTransferProgressService::publish(
    const URL& url, std::shared_ptr<TransferProgress> progress) {
  std::vector<std::shared_ptr<PublishingHandler>> handlers;
  PublicationToken token = 0;
  {
    const std::lock_guard lock(mutex_);
    token = nextToken_++;
    publications_.emplace(token, Publication{url, progress, {}});
    for (const auto& [id, subscription] : subscriptions_) {
      if (subscription.url == url) {
        handlers.push_back(subscription.handler);
      }
    }
  }
  for (const auto& handler : handlers) {
    deliver(token, *handler, progress);
  }
  return token;
}

void InProcessTransferProgressService::unpublish(PublicationToken token) {
  std::vector<UnpublishingHandler> unpublishers;
  {
    const std::lock_guard lock(mutex_);
    auto found = publications_.find(token);
    if (found == publications_.end()) {
      return;
    }
    unpublishers = std::move(found->second.unpublishers);
    publications_.erase(found);
  }
  for (const auto& unpublisher : unpublishers) {
    unpublisher();
  }
}

}  // namespace velune::host

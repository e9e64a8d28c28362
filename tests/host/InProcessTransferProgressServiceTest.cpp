#include "host/InProcessTransferProgressService.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace velune::host {
namespace {

using platform::TransferProgress;
using platform::URL;

std::shared_ptr<TransferProgress> fileProgress(std::int64_t total) {
  return std::make_shared<TransferProgress>(platform::kProgressKindFile, total);
}

TEST(TransferProgress, Fraction_UnknownOrZeroTotalsGiveZeroAndObserversHearChanges) {
  auto progress = fileProgress(0);
  EXPECT_EQ(progress->fractionCompleted(), 0);
  progress->setCompletedUnitCount(10);
  EXPECT_EQ(progress->fractionCompleted(), 0);
  progress->setTotalUnitCount(-1);
  EXPECT_EQ(progress->fractionCompleted(), 0);
  std::vector<double> seen;
  TransferProgress::ObserverId id = 0;
  id = progress->addFractionCompletedObserver([&](TransferProgress& p) {
    seen.push_back(p.fractionCompleted());
    if (p.completedUnitCount() >= 40) {
      p.removeFractionCompletedObserver(id);  // an observer may leave from inside
    }
  });
  progress->setTotalUnitCount(40);
  progress->setCompletedUnitCount(20);
  progress->setCompletedUnitCount(40);
  progress->setCompletedUnitCount(30);
  EXPECT_EQ(seen, (std::vector<double>{0.25, 0.5, 1.0}));
  EXPECT_TRUE(progress->isFileKind());
  EXPECT_FALSE(TransferProgress("ProgressKindUpload", 1).isFileKind());
  EXPECT_NE(progress->description().find("30 of 40"), std::string::npos);
}

TEST(InProcessTransferProgressService, Publish_ReachesSubscribersOfThatFileBeforeOrAfterTheySubscribed) {
  InProcessTransferProgressService service;
  const URL file = URL::fileURLWithPath("/drive/a.pdf", false);
  const URL other = URL::fileURLWithPath("/drive/b.pdf", false);
  int published = 0;
  int unpublished = 0;
  auto handler = [&](const std::shared_ptr<TransferProgress>&) {
    ++published;
    return [&unpublished] { ++unpublished; };
  };
  const auto early = service.addSubscriber(file, handler);
  const auto first = service.publish(file, fileProgress(100));
  service.publish(other, fileProgress(100));
  EXPECT_EQ(published, 1);
  // A late subscriber is told about what is already published.
  service.addSubscriber(file, handler);
  EXPECT_EQ(published, 2);
  service.unpublish(first);
  EXPECT_EQ(unpublished, 2);
  service.unpublish(first);  // twice: nothing more
  EXPECT_EQ(unpublished, 2);
  service.removeSubscriber(early);
  service.publish(file, fileProgress(5));
  EXPECT_EQ(published, 3);  // only the late subscriber is left
  service.removeSubscriber(12345);
}

TEST(InProcessTransferProgressService, Threads_EveryPublicationIsToldOnceAndEveryUnpublisherRunsOnce) {
  InProcessTransferProgressService service;
  const URL file = URL::fileURLWithPath("/drive/big.mov", false);
  std::atomic<int> published{0};
  std::atomic<int> unpublished{0};
  constexpr int kSubscribers = 3;
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  for (int i = 0; i < kSubscribers; ++i) {
    service.addSubscriber(file, [&](const std::shared_ptr<TransferProgress>&) {
      published.fetch_add(1);
      return [&unpublished] { unpublished.fetch_add(1); };
    });
  }
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&service, &file] {
      for (int i = 0; i < kEach; ++i) {
        const auto token = service.publish(file, fileProgress(i + 1));
        service.unpublish(token);
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(published.load(), kSubscribers * kThreads * kEach);
  EXPECT_EQ(unpublished.load(), kSubscribers * kThreads * kEach);
}

}  // namespace
}  // namespace velune::host

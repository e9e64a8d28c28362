#include "platform/TransferProgress.h"

#include <vector>

#include "platform/Format.h"

namespace velune::platform {

TransferProgress::TransferProgress(std::optional<std::string> kind, std::int64_t totalUnitCount)
    : kind_(std::move(kind)), total_(totalUnitCount) {}

void TransferProgress::setTotalUnitCount(std::int64_t total) {
  total_.store(total);
  notify();
}

void TransferProgress::setCompletedUnitCount(std::int64_t completed) {
  completed_.store(completed);
  notify();
}

double TransferProgress::fractionCompleted() const {
  const std::int64_t total = total_.load();
  if (total <= 0) {
    return 0;
  }
  return static_cast<double>(completed_.load()) / static_cast<double>(total);
}

TransferProgress::ObserverId TransferProgress::addFractionCompletedObserver(Observer observer) {
  const std::lock_guard lock(mutex_);
  const ObserverId id = nextId_++;
  observers_.emplace(id, std::make_shared<Observer>(std::move(observer)));
  return id;
}

void TransferProgress::removeFractionCompletedObserver(ObserverId id) {
  const std::lock_guard lock(mutex_);
  observers_.erase(id);
}

void TransferProgress::notify() {
  std::vector<std::shared_ptr<Observer>> observers;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, observer] : observers_) {
      observers.push_back(observer);
    }
  }
  for (const auto& observer : observers) {
    if (*observer) {
      (*observer)(*this);
    }
  }
}

std::string TransferProgress::description() const {
  return format("<TransferProgress kind=%@ %lld of %lld (%.0f%%)>", kind_, static_cast<long long>(completed_.load()),
                static_cast<long long>(total_.load()), fractionCompleted() * 100);
}

}  // namespace velune::platform

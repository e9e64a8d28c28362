#pragma once
// TransferProgress: the progress of one file transfer as the platform
// publishes it: a kind (file transfers have kProgressKindFile), completed and
// total unit counts (bytes, signed 64-bit) and the fraction completed.
//
// Thread-safe. Observers of the fraction completed are called on the thread
// that changed a count, after the change, outside any lock; an observer may
// remove itself.

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace velune::platform {

inline constexpr const char* kProgressKindFile = "ProgressKindFile";

class TransferProgress : public std::enable_shared_from_this<TransferProgress> {
 public:
  using Observer = std::function<void(TransferProgress&)>;
  using ObserverId = std::uint64_t;

  TransferProgress(std::optional<std::string> kind, std::int64_t totalUnitCount);

  const std::optional<std::string>& kind() const { return kind_; }
  bool isFileKind() const { return kind_ && *kind_ == kProgressKindFile; }

  std::int64_t totalUnitCount() const { return total_.load(); }
  std::int64_t completedUnitCount() const { return completed_.load(); }
  void setTotalUnitCount(std::int64_t total);
  void setCompletedUnitCount(std::int64_t completed);
  // completed ÷ total; 0 when the total is 0 or negative (an unknown size).
  double fractionCompleted() const;

  ObserverId addFractionCompletedObserver(Observer observer);
  void removeFractionCompletedObserver(ObserverId id);

  // "<TransferProgress kind=… 512 of 2048 (25%)>", for the log.
  std::string description() const;

 private:
  void notify();

  const std::optional<std::string> kind_;
  std::atomic<std::int64_t> total_;
  std::atomic<std::int64_t> completed_{0};
  std::mutex mutex_;
  std::map<ObserverId, std::shared_ptr<Observer>> observers_;
  ObserverId nextId_ = 1;
};

}  // namespace velune::platform

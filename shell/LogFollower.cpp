#include "shell/LogFollower.h"

namespace velune::shell {

LogFollower::LogFollower(std::shared_ptr<platform::LogRecordTee> tee, std::uint64_t after)
    : tee_(std::move(tee)), inbox_(std::make_shared<Inbox>()) {
  inbox_->after = after;
  if (!tee_) {
    return;
  }
  token_ = tee_->subscribe([inbox = inbox_](const platform::LogRecord& record) {
    {
      const std::lock_guard lock(inbox->mutex);
      if (inbox->closed || record.sequence <= inbox->after) {
        return;
      }
      if (inbox->records.size() == kMaxPending) {
        inbox->records.pop_front();
      }
      inbox->records.push_back(record);
    }
    inbox->arrived.notify_all();
  });
}

LogFollower::~LogFollower() {
  if (tee_) {
    tee_->unsubscribe(token_);
  }
}

std::vector<platform::LogRecord> LogFollower::take(std::chrono::milliseconds timeout) {
  std::unique_lock lock(inbox_->mutex);
  inbox_->arrived.wait_for(lock, timeout, [&] { return inbox_->closed || !inbox_->records.empty(); });
  std::vector<platform::LogRecord> out(std::make_move_iterator(inbox_->records.begin()),
                                       std::make_move_iterator(inbox_->records.end()));
  inbox_->records.clear();
  return out;
}

void LogFollower::close() {
  {
    const std::lock_guard lock(inbox_->mutex);
    inbox_->closed = true;
    inbox_->records.clear();
  }
  inbox_->arrived.notify_all();
}

bool LogFollower::isClosed() const {
  const std::lock_guard lock(inbox_->mutex);
  return inbox_->closed;
}

}  // namespace velune::shell

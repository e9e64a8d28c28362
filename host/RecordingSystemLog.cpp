#include "host/RecordingSystemLog.h"

#include <algorithm>

namespace velune::host {

RecordingSystemLog::RecordingSystemLog(std::shared_ptr<platform::SystemLog> next, size_t capacity)
    : next_(std::move(next)), capacity_(std::max<size_t>(1, capacity)) {}

platform::SystemLog::Client* RecordingSystemLog::open(const char* identity, std::string_view facility,
                                                      std::uint32_t options) {
  auto client = std::make_unique<RecordingClient>();
  // Records are kept even when the next log cannot be opened.
  client->inner = next_ ? next_->open(identity, facility, options) : nullptr;
  const std::lock_guard lock(mutex_);
  clients_.push_back(std::move(client));
  return clients_.back().get();
}

void RecordingSystemLog::close(Client* client) {
  auto* recording = static_cast<RecordingClient*>(client);
  if (recording == nullptr) {
    return;
  }
  if (next_ && recording->inner) {
    next_->close(recording->inner);
  }
  const std::lock_guard lock(mutex_);
  std::erase_if(clients_, [recording](const auto& c) { return c.get() == recording; });
}

void RecordingSystemLog::setFilterMask(Client* client, std::uint32_t mask) {
  auto* recording = static_cast<RecordingClient*>(client);
  if (recording == nullptr) {
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    recording->mask = mask;
  }
  if (next_ && recording->inner) {
    next_->setFilterMask(recording->inner, mask);
  }
}

std::unique_ptr<platform::SystemLogRecord> RecordingSystemLog::newRecord() {
  return next_ ? next_->newRecord() : std::make_unique<platform::SystemLogRecord>();
}

void RecordingSystemLog::send(Client* client, const platform::SystemLogRecord& record) {
  auto* recording = static_cast<RecordingClient*>(client);
  if (recording == nullptr) {
    return;
  }
  if (next_ && recording->inner) {
    next_->send(recording->inner, record);
  }
  const int level = platform::systemLogRecordLevel(record);
  {
    const std::lock_guard lock(mutex_);
    if (level >= 0 && level < 32 && (recording->mask & (1U << level)) == 0) {
      return;
    }
    entries_.push_back(Entry{++sequence_, record});
    if (entries_.size() > capacity_) {
      entries_.pop_front();
    }
  }
  added_.notify_all();
}

void RecordingSystemLog::flush() {
  if (next_) {
    next_->flush();
  }
}

std::vector<RecordingSystemLog::Entry> RecordingSystemLog::collectLocked(std::uint64_t after, size_t limit) const {
  std::vector<Entry> out;
  // Entries are numbered consecutively: the first wanted one is found by arithmetic.
  if (entries_.empty() || entries_.back().sequence <= after) {
    return out;
  }
  const std::uint64_t first = entries_.front().sequence;
  size_t index = after < first ? 0 : static_cast<size_t>(after - first + 1);
  for (; index < entries_.size() && out.size() < limit; ++index) {
    out.push_back(entries_[index]);
  }
  return out;
}

std::vector<RecordingSystemLog::Entry> RecordingSystemLog::recordsAfter(std::uint64_t after, size_t limit) const {
  const std::lock_guard lock(mutex_);
  return collectLocked(after, limit);
}

std::vector<RecordingSystemLog::Entry> RecordingSystemLog::waitForRecordsAfter(std::uint64_t after,
                                                                               std::chrono::milliseconds timeout,
                                                                               size_t limit) {
  std::unique_lock lock(mutex_);
  added_.wait_for(lock, timeout, [&] { return closed_ || (!entries_.empty() && entries_.back().sequence > after); });
  return collectLocked(after, limit);
}

std::uint64_t RecordingSystemLog::lastSequence() const {
  const std::lock_guard lock(mutex_);
  return sequence_;
}

void RecordingSystemLog::closeReaders() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }
  added_.notify_all();
}

}  // namespace velune::host

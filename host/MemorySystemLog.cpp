#include "host/MemorySystemLog.h"

#include <algorithm>

namespace velune::host {

platform::SystemLog::Client* MemorySystemLog::open(const char*, std::string_view facility, std::uint32_t) {
  std::lock_guard lock(mutex_);
  facility_ = std::string(facility);
  ++opens_;
  clients_.push_back(std::make_unique<MemoryClient>());
  return clients_.back().get();
}

void MemorySystemLog::close(Client* client) {
  std::lock_guard lock(mutex_);
  std::erase_if(clients_, [client](const auto& owned) { return owned.get() == client; });
}

size_t MemorySystemLog::liveClientCount() const {
  std::lock_guard lock(mutex_);
  return clients_.size();
}

void MemorySystemLog::setFilterMask(Client*, std::uint32_t mask) {
  std::lock_guard lock(mutex_);
  mask_ = mask;
}

std::unique_ptr<platform::SystemLogRecord> MemorySystemLog::newRecord() {
  std::lock_guard lock(mutex_);
  if (recordCreationFails_) {
    return nullptr;
  }
  return std::make_unique<platform::SystemLogRecord>();
}

void MemorySystemLog::send(Client*, const platform::SystemLogRecord& record) {
  {
    std::lock_guard lock(mutex_);
    const int level = platform::systemLogRecordLevel(record);
    const bool passed = level >= 0 && level < 32 && (mask_ & (1u << level)) != 0;
    sent_.push_back(Sent{record, passed});
  }
  changed_.notify_all();
}

std::vector<MemorySystemLog::Sent> MemorySystemLog::sent() const {
  std::lock_guard lock(mutex_);
  return sent_;
}

std::vector<std::string> MemorySystemLog::messages() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> result;
  for (const Sent& sent : sent_) {
    const std::string* message = sent.record.get("Message");
    result.push_back(message ? *message : std::string());
  }
  return result;
}

void MemorySystemLog::clear() {
  std::lock_guard lock(mutex_);
  sent_.clear();
}

std::uint32_t MemorySystemLog::filterMask() const {
  std::lock_guard lock(mutex_);
  return mask_;
}

std::string MemorySystemLog::openedFacility() const {
  std::lock_guard lock(mutex_);
  return facility_;
}

int MemorySystemLog::openCount() const {
  std::lock_guard lock(mutex_);
  return opens_;
}

void MemorySystemLog::setRecordCreationFails(bool fails) {
  std::lock_guard lock(mutex_);
  recordCreationFails_ = fails;
}

bool MemorySystemLog::waitForRecord(const std::function<bool(const platform::SystemLogRecord&)>& matches,
                                    std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] {
    return std::any_of(sent_.begin(), sent_.end(), [&](const Sent& sent) { return matches(sent.record); });
  });
}

size_t MemorySystemLog::messageCount(const std::string& message) const {
  std::lock_guard lock(mutex_);
  return static_cast<size_t>(std::count_if(sent_.begin(), sent_.end(), [&](const Sent& sent) {
    const std::string* text = sent.record.get("Message");
    return text != nullptr && *text == message;
  }));
}

bool MemorySystemLog::waitForMessageCount(const std::string& message, size_t count,
                                          std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] {
    const auto seen = std::count_if(sent_.begin(), sent_.end(), [&](const Sent& sent) {
      const std::string* text = sent.record.get("Message");
      return text != nullptr && *text == message;
    });
    return static_cast<size_t>(seen) >= count;
  });
}

}  // namespace velune::host

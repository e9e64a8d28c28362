#pragma once
// RecordingSystemLog: a SystemLog that passes every record on to another log
// (the journal, syslog, the file) and keeps the last records that passed the
// client's filter mask in memory, numbered, for readers that follow the log
// as it grows (the screen's live log view).
//
// Readers ask for the records after a number they have seen and may wait
// (bounded) for new ones; close() wakes every waiter for good. At most
// `capacity` records are kept: older ones are dropped first, and a reader that
// fell behind sees the gap in the numbers. Thread-safe.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/SystemLog.h"

namespace velune::host {

class RecordingSystemLog final : public platform::SystemLog {
 public:
  struct Entry {
    std::uint64_t sequence = 0;
    platform::SystemLogRecord record;
  };

  RecordingSystemLog(std::shared_ptr<platform::SystemLog> next, size_t capacity = 2000);

  Client* open(const char* identity, std::string_view facility, std::uint32_t options) override;
  void close(Client* client) override;
  void setFilterMask(Client* client, std::uint32_t mask) override;
  std::unique_ptr<platform::SystemLogRecord> newRecord() override;
  void send(Client* client, const platform::SystemLogRecord& record) override;
  void flush() override;

  // The kept records numbered above `after`, oldest first, at most `limit`.
  std::vector<Entry> recordsAfter(std::uint64_t after, size_t limit = 500) const;
  // As recordsAfter, waiting up to `timeout` while there is none (and the log is open).
  std::vector<Entry> waitForRecordsAfter(std::uint64_t after, std::chrono::milliseconds timeout, size_t limit = 500);
  std::uint64_t lastSequence() const;
  // Wakes every waiter; later waits return at once.
  void closeReaders();

  const std::shared_ptr<platform::SystemLog>& next() const { return next_; }

 private:
  struct RecordingClient final : Client {
    Client* inner = nullptr;
    std::uint32_t mask = 0xFF;
  };

  std::vector<Entry> collectLocked(std::uint64_t after, size_t limit) const;

  const std::shared_ptr<platform::SystemLog> next_;
  const size_t capacity_;
  mutable std::mutex mutex_;
  std::condition_variable added_;
  std::deque<Entry> entries_;
  std::uint64_t sequence_ = 0;
  bool closed_ = false;
  std::vector<std::unique_ptr<RecordingClient>> clients_;
};

}  // namespace velune::host

#pragma once
// MemorySystemLog: a SystemLog that keeps every record in memory, for tests.
// Records are kept whatever the filter mask says; each remembers whether the
// mask let it through. Record creation can be made to fail.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/SystemLog.h"

namespace velune::host {

class MemorySystemLog final : public platform::SystemLog {
 public:
  struct Sent {
    platform::SystemLogRecord record;
    bool passedFilter = true;
  };

  Client* open(const char* identity, std::string_view facility, std::uint32_t options) override;
  void close(Client* client) override;
  void setFilterMask(Client* client, std::uint32_t mask) override;
  std::unique_ptr<platform::SystemLogRecord> newRecord() override;
  void send(Client* client, const platform::SystemLogRecord& record) override;

  std::vector<Sent> sent() const;
  // The "Message" of every record sent, in order.
  std::vector<std::string> messages() const;
  void clear();
  std::uint32_t filterMask() const;
  std::string openedFacility() const;
  int openCount() const;
  // Clients opened and not closed yet.
  size_t liveClientCount() const;
  void setRecordCreationFails(bool fails);
  // Waits (bounded, without polling) until a sent record satisfies `matches`.
  bool waitForRecord(const std::function<bool(const platform::SystemLogRecord&)>& matches,
                     std::chrono::milliseconds timeout);
  // Waits until at least `count` sent records have the message `message`.
  bool waitForMessageCount(const std::string& message, size_t count, std::chrono::milliseconds timeout);
  size_t messageCount(const std::string& message) const;

 private:
  class MemoryClient final : public Client {};

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Sent> sent_;
  std::vector<std::unique_ptr<MemoryClient>> clients_;
  std::uint32_t mask_ = 0xFF;
  std::string facility_;
  int opens_ = 0;
  bool recordCreationFails_ = false;
};

}  // namespace velune::host

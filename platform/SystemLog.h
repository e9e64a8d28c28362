#pragma once
// SystemLog: the platform's structured system log. A client is opened with a
// facility name; records of string keys and values are sent through it; a
// filter mask chooses which levels (bit n for level n) the log keeps.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velune::platform {

// One record: keys in the order in which they were set.
class SystemLogRecord {
 public:
  void set(std::string key, std::string value) { fields_.emplace_back(std::move(key), std::move(value)); }
  const std::vector<std::pair<std::string, std::string>>& fields() const { return fields_; }
  // The value of a key, or null.
  const std::string* get(std::string_view key) const {
    for (const auto& [k, v] : fields_) {
      if (k == key) {
        return &v;
      }
    }
    return nullptr;
  }

 private:
  std::vector<std::pair<std::string, std::string>> fields_;
};

class SystemLog {
 public:
  // What open() gives; owned by the SystemLog, released by close().
  class Client {
   public:
    virtual ~Client() = default;
  };

  virtual ~SystemLog() = default;

  // Null when the log cannot be opened.
  virtual Client* open(const char* identity, std::string_view facility, std::uint32_t options) = 0;
  virtual void close(Client* client) = 0;
  virtual void setFilterMask(Client* client, std::uint32_t mask) = 0;
  // Null when a record cannot be made.
  virtual std::unique_ptr<SystemLogRecord> newRecord() = 0;
  // Records whose "Level" is not in the client's filter mask are dropped.
  // A log may keep sent records in a buffer until flush().
  virtual void send(Client* client, const SystemLogRecord& record) = 0;
  // Writes out buffered records. The log client calls it whenever its queue
  // has run dry, so records wait in memory only while more are coming.
  virtual void flush() {}
};

// The level of a record ("Level" key, one digit), or -1.
int systemLogRecordLevel(const SystemLogRecord& record);

}  // namespace velune::platform

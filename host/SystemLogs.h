#pragma once
// The SystemLog implementations of the simulated phone, side by side:
//
// - JournalSystemLog: the systemd journal. Every key of a record becomes a
//   field "VELUNE_<KEY>" (upper case, other characters as "_"), plus MESSAGE,
//   PRIORITY and SYSLOG_IDENTIFIER "velunedriveapp".
// - SyslogSystemLog: the local syslog daemon. One line per record: the
//   message, then every key and value as a JSON object, so no key is lost.
// - JsonLinesSystemLog: a file of JSON objects, one record per line, keys in
//   record order; the fallback when neither daemon is there.
//
// Each drops records whose level is outside the client's filter mask.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/SystemLog.h"

namespace velune::host {

// Memory: kept in the process only (a tool asked about a home that does not
// exist writes no log file into it).
enum class SystemLogKind { Automatic, Journal, Syslog, File, Memory };

// Automatic: the journal when its socket exists (and the build has libsystemd),
// else syslog when /dev/log exists, else the file.
std::shared_ptr<platform::SystemLog> makeSystemLog(SystemLogKind kind, const std::string& filePath);
const char* systemLogKindName(SystemLogKind kind);
bool journalAvailable();

// The JSON object of a record, keys in record order.
std::string systemLogRecordJson(const platform::SystemLogRecord& record);

class FilteringSystemLog : public platform::SystemLog {
 public:
  Client* open(const char* identity, std::string_view facility, std::uint32_t options) override;
  void close(Client* client) override;
  void setFilterMask(Client* client, std::uint32_t mask) override;
  std::unique_ptr<platform::SystemLogRecord> newRecord() override;
  void send(Client* client, const platform::SystemLogRecord& record) override;

 protected:
  virtual void write(const platform::SystemLogRecord& record) = 0;

 private:
  struct FilteringClient final : Client {
    std::uint32_t mask = 0xFF;
  };
};

// Appends to the file through a buffer of up to 64 KiB, written out at
// flush() (after each batch of the log queue) or when full.
class JsonLinesSystemLog final : public FilteringSystemLog {
 public:
  explicit JsonLinesSystemLog(std::string path);
  ~JsonLinesSystemLog() override;
  const std::string& path() const { return path_; }
  void flush() override;
  // Records that could not be written (no file, a full disk). The first loss
  // is said once on standard error: the log cannot report its own failure.
  std::uint64_t lostRecords();

 protected:
  void write(const platform::SystemLogRecord& record) override;

 private:
  void flushLocked();
  void noteLostLocked(std::uint64_t count, int error);

  const std::string path_;
  std::mutex mutex_;
  int fd_ = -1;
  int openError_ = 0;
  std::string buffer_;
  std::uint64_t lost_ = 0;
};

class SyslogSystemLog final : public FilteringSystemLog {
 protected:
  void write(const platform::SystemLogRecord& record) override;
};

class JournalSystemLog final : public FilteringSystemLog {
 protected:
  void write(const platform::SystemLogRecord& record) override;
};

}  // namespace velune::host

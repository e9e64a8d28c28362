#pragma once
// NullSystemLog, NullConsoleLog: logs that keep nothing, for benchmarks that
// measure the drive or the listings, not a log sink. Any thread.

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/ConsoleLog.h"
#include "platform/SystemLog.h"

namespace velune::bench {

class NullSystemLog final : public platform::SystemLog {
 public:
  Client* open(const char*, std::string_view, std::uint32_t) override { return &client_; }
  void close(Client*) override {}
  void setFilterMask(Client*, std::uint32_t) override {}
  std::unique_ptr<platform::SystemLogRecord> newRecord() override {
    return std::make_unique<platform::SystemLogRecord>();
  }
  void send(Client*, const platform::SystemLogRecord&) override {}

 private:
  Client client_;
};

class NullConsoleLog final : public platform::ConsoleLog {
 public:
  void write(std::string_view) override {}
};

}  // namespace velune::bench

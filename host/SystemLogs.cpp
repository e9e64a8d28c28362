#include "host/SystemLogs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "host/FileIO.h"
#include "host/MemorySystemLog.h"
#include "platform/PercentEncoding.h"
#include "platform/UTF8.h"

#ifdef VELUNE_HAVE_SYSTEMD
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#endif

namespace velune::host {

using platform::SystemLogRecord;

namespace {

void appendJsonString(std::string& out, std::string_view raw) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string repaired;
  std::string_view text = raw;
  if (!platform::isValidUTF8(raw)) {
    repaired = platform::validUTF8(raw);
    text = repaired;
  }
  out.push_back('"');
  size_t plainStart = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != '"' && c != '\\') {
      continue;
    }
    out.append(text.substr(plainStart, i - plainStart));
    plainStart = i + 1;
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        out += "\\u00";
        out.push_back(kHex[(c >> 4) & 0xF]);
        out.push_back(kHex[c & 0xF]);
    }
  }
  out.append(text.substr(plainStart));
  out.push_back('"');
}

}  // namespace

std::string systemLogRecordJson(const SystemLogRecord& record) {
  // Flat objects of texts: written by hand, it is the hot path of the file log.
  std::string out;
  out.reserve(512);
  out.push_back('{');
  bool first = true;
  for (const auto& [key, value] : record.fields()) {
    if (!first) {
      out.push_back(',');
    }
    first = false;
    appendJsonString(out, key);
    out.push_back(':');
    appendJsonString(out, value);
  }
  out.push_back('}');
  return out;
}

platform::SystemLog::Client* FilteringSystemLog::open(const char*, std::string_view, std::uint32_t) {
  return new FilteringClient();
}

void FilteringSystemLog::close(Client* client) { delete client; }

void FilteringSystemLog::setFilterMask(Client* client, std::uint32_t mask) {
  if (auto* filtering = dynamic_cast<FilteringClient*>(client)) {
    filtering->mask = mask;
  }
}

std::unique_ptr<SystemLogRecord> FilteringSystemLog::newRecord() { return std::make_unique<SystemLogRecord>(); }

void FilteringSystemLog::send(Client* client, const SystemLogRecord& record) {
  const auto* filtering = dynamic_cast<FilteringClient*>(client);
  const std::uint32_t mask = filtering ? filtering->mask : 0xFF;
  const int level = platform::systemLogRecordLevel(record);
  if (level < 0 || level > 31 || (mask & (1u << level)) == 0) {
    return;
  }
  write(record);
}

JsonLinesSystemLog::JsonLinesSystemLog(std::string path) : path_(std::move(path)) {
  const size_t slash = path_.rfind('/');
  if (slash != std::string::npos && slash > 0) {
    makeDirectories(path_.substr(0, slash));
  }
  // A link is not followed out of the home, and a FIFO does not block the
  // start: only a regular file (or a character device such as /dev/null) is
  // written; anything else loses the records and says so once.
  fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
  if (fd_ < 0) {
    openError_ = errno;
    return;
  }
  struct stat info {};
  if (::fstat(fd_, &info) != 0 || !(S_ISREG(info.st_mode) || S_ISCHR(info.st_mode)) ||
      ::fcntl(fd_, F_SETFL, O_APPEND) != 0) {
    openError_ = ENODEV;
    ::close(fd_);
    fd_ = -1;
  }
}

JsonLinesSystemLog::~JsonLinesSystemLog() {
  std::lock_guard lock(mutex_);
  flushLocked();
  if (fd_ >= 0) {
    ::close(fd_);
  }
}

void JsonLinesSystemLog::write(const SystemLogRecord& record) {
  std::lock_guard lock(mutex_);
  if (fd_ < 0) {
    noteLostLocked(1, openError_);
    return;
  }
  buffer_ += systemLogRecordJson(record);
  buffer_.push_back('\n');
  if (buffer_.size() >= 64 * 1024) {
    flushLocked();
  }
}

void JsonLinesSystemLog::flush() {
  std::lock_guard lock(mutex_);
  flushLocked();
}

void JsonLinesSystemLog::flushLocked() {
  size_t written = 0;
  while (fd_ >= 0 && written < buffer_.size()) {
    const ssize_t n = ::write(fd_, buffer_.data() + written, buffer_.size() - written);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      // A full disk loses the records not yet written; logging never fails its caller.
      const auto unwritten = std::string_view(buffer_).substr(written);
      noteLostLocked(static_cast<std::uint64_t>(std::count(unwritten.begin(), unwritten.end(), '\n')),
                     n < 0 ? errno : ENOSPC);
      break;
    }
    written += static_cast<size_t>(n);
  }
  buffer_.clear();
}

void JsonLinesSystemLog::noteLostLocked(std::uint64_t count, int error) {
  if (count == 0) {
    return;
  }
  if (lost_ == 0) {
    std::fprintf(stderr, "velunedriveapp: the log file %s cannot be written (%s); records are being lost\n",
                 path_.c_str(), std::strerror(error));
  }
  lost_ += count;
}

std::uint64_t JsonLinesSystemLog::lostRecords() {
  std::lock_guard lock(mutex_);
  return lost_;
}

void SyslogSystemLog::write(const SystemLogRecord& record) {
  static const bool opened = [] {
    openlog("velunedriveapp", LOG_PID | LOG_NDELAY, LOG_USER);
    return true;
  }();
  (void)opened;
  const std::string* message = record.get("Message");
  const std::string text = (message ? *message : std::string()) + " " + systemLogRecordJson(record);
  syslog(LOG_USER | platform::systemLogRecordLevel(record), "%s", text.c_str());
}

void JournalSystemLog::write(const SystemLogRecord& record) {
#ifdef VELUNE_HAVE_SYSTEMD
  std::vector<std::string> fields;
  fields.reserve(record.fields().size() + 3);
  for (const auto& [key, value] : record.fields()) {
    std::string name = "VELUNE_";
    for (char c : key) {
      if (c >= 'a' && c <= 'z') {
        name.push_back(static_cast<char>(c - 'a' + 'A'));
      } else if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) {
        name.push_back(c);
      } else {
        name.push_back('_');
      }
    }
    fields.push_back(name.substr(0, 64) + "=" + value);
  }
  const std::string* message = record.get("Message");
  fields.push_back("MESSAGE=" + (message ? *message : std::string()));
  fields.push_back("PRIORITY=" + std::to_string(platform::systemLogRecordLevel(record)));
  fields.emplace_back("SYSLOG_IDENTIFIER=velunedriveapp");
  std::vector<iovec> vectors;
  vectors.reserve(fields.size());
  for (std::string& field : fields) {
    vectors.push_back(iovec{field.data(), field.size()});
  }
  sd_journal_sendv(vectors.data(), static_cast<int>(vectors.size()));
#else
  (void)record;
#endif
}

bool journalAvailable() {
#ifdef VELUNE_HAVE_SYSTEMD
  struct stat info {};
  return stat("/run/systemd/journal/socket", &info) == 0 && S_ISSOCK(info.st_mode);
#else
  return false;
#endif
}

namespace {
bool syslogAvailable() {
  struct stat info {};
  return stat("/dev/log", &info) == 0 && S_ISSOCK(info.st_mode);
}
}  // namespace

const char* systemLogKindName(SystemLogKind kind) {
  switch (kind) {
    case SystemLogKind::Automatic:
      return "automatic";
    case SystemLogKind::Journal:
      return "journal";
    case SystemLogKind::Syslog:
      return "syslog";
    case SystemLogKind::File:
      return "file";
    case SystemLogKind::Memory:
      return "memory";
  }
  return "file";
}

std::shared_ptr<platform::SystemLog> makeSystemLog(SystemLogKind kind, const std::string& filePath) {
  if (kind == SystemLogKind::Automatic) {
    kind = journalAvailable() ? SystemLogKind::Journal : syslogAvailable() ? SystemLogKind::Syslog : SystemLogKind::File;
  }
  switch (kind) {
    case SystemLogKind::Journal:
      return std::make_shared<JournalSystemLog>();
    case SystemLogKind::Syslog:
      return std::make_shared<SyslogSystemLog>();
    case SystemLogKind::Memory:
      return std::make_shared<MemorySystemLog>();
    default:
      return std::make_shared<JsonLinesSystemLog>(filePath);
  }
}

}  // namespace velune::host

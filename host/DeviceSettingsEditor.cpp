#include "host/DeviceSettingsEditor.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "host/DeviceConfiguration.h"
#include "host/FileIO.h"
#include "host/HomeFileReader.h"
#include "host/HomeJson.h"

namespace velune::host {

namespace {

// Holds an exclusive flock for its lifetime.
class LockFile {
 public:
  // Not through a link: the lock file must not create or lock a file elsewhere.
  explicit LockFile(const std::string& path)
      : fd_(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644)) {
    if (fd_ < 0) {
      error_ = errno;
      return;
    }
    while (flock(fd_, LOCK_EX) != 0) {
      if (errno != EINTR) {
        error_ = errno;
        break;
      }
    }
  }
  ~LockFile() {
    if (fd_ >= 0) {
      close(fd_);  // releases the lock
    }
  }
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  int error() const { return error_; }

 private:
  int fd_;
  int error_ = 0;
};

}  // namespace

std::optional<platform::Error> DeviceSettingsEditor::set(const HomeLayout& layout, const std::string& key,
                                                         const nlohmann::json& value, std::string* note) {
  const std::string path = layout.deviceJson();
  const std::string lockPath = layout.root() + "/.device.json.lock";
  LockFile lock(lockPath);
  if (lock.error() != 0) {
    return platform::Error::fromErrno(lock.error(), lockPath, true);
  }

  nlohmann::ordered_json settings;
  const auto contents = readHomeFile(path, kSettingsFileLimit);
  if (contents.ok()) {
    settings = parseHomeOrderedJson(contents.value());
    if (!settings.is_object()) {
      // Copied, not moved: the file is never missing, so a running app does
      // not fall back to the default device for a moment.
      const std::string aside = path + ".corrupt";
      if (auto error = writeFileAtomically(aside, contents.value())) {
        return error;
      }
      if (note != nullptr) {
        *note = "device.json was not a JSON object; it was kept as " + aside;
      }
      settings = nullptr;
    }
  } else if (contents.error().code() != platform::ErrorCode::FileReadNoSuchFile) {
    // A link, a FIFO, a folder or a huge file: never followed, waited on or
    // copied; the user removes it.
    return contents.error();
  }
  if (settings.is_null()) {
    // A new device: every setting written out, so the file shows what can be set.
    settings = nlohmann::ordered_json::parse(DeviceConfiguration().text());
  }
  settings[key] = value;
  // Text from a command line may not be UTF-8: replaced, never thrown on.
  return writeFileAtomically(path, homeJsonText(settings));
}

}  // namespace velune::host

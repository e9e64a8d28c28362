#pragma once
// JsonPreferencesStore: a preferences domain kept as one JSON object in a
// file (see PreferencesStore for the write and synchronise rules).
//
// A file that is not a JSON object (or that cannot be read: no permission, a
// link, a FIFO, above kSettingsFileLimit, nested too deep) is read as empty
// and, before the first write replaces it, moved aside to "<file>.corrupt"
// so nothing is lost.
// Never logs: the log client reads its level through this store.

#include <mutex>
#include <string>

#include "platform/PreferencesStore.h"

namespace velune::host {

class JsonPreferencesStore final : public platform::PreferencesStore {
 public:
  // `arguments`: values from launch arguments, which override the file.
  explicit JsonPreferencesStore(std::string path, platform::Value::Dictionary arguments = {});

  platform::Value objectForKey(std::string_view key) override;
  void setObject(std::string_view key, platform::Value value) override;
  bool synchronize() override;

  const std::string& path() const { return path_; }

  // "-Key value" pairs of a command line; values that read as JSON numbers or
  // booleans become numbers or booleans, anything else stays text.
  static platform::Value::Dictionary argumentDomain(int argc, char** argv);

 private:
  void loadLocked();
  bool writeLocked();

  const std::string path_;
  const platform::Value::Dictionary arguments_;
  std::mutex mutex_;
  platform::Value::Dictionary values_;
  bool dirty_ = false;
  bool corruptOnDisk_ = false;
};

}  // namespace velune::host

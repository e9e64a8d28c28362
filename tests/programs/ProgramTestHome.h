#pragma once
// A demo home in a temporary folder for the tests that run the programs,
// with a folder "elsewhere" beside it that stands for everything outside the
// home: its snapshot must never change.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/drive/DemoHome.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/ProgramRun.h"

namespace velune::testing {

class ProgramTestHome {
 public:
  ProgramTestHome() {
    copyTree(demoTemplate(), home());
    DriveTestHome::writeRaw(elsewhere() + "/Brochure.pdf", "outside brochure");
    DriveTestHome::writeRaw(elsewhere() + "/Secret.txt", "outside secret");
    DriveTestHome::writeRaw(elsewhere() + "/Plans/Roadmap.md", "outside roadmap");
    DriveTestHome::writeRaw(elsewhere() + "/Plans/Milestones.csv", "outside milestones");
  }

  std::string home() const { return temp_.path() + "/phone"; }
  std::string elsewhere() const { return temp_.path() + "/elsewhere"; }
  std::string scratch(const std::string& name) const { return temp_.path() + "/" + name; }
  // Below "Mobile Documents" and "cloud".
  std::string drive(const std::string& relative) const { return home() + "/Mobile Documents/" + relative; }
  std::string cloud(const std::string& relative) const { return home() + "/cloud/" + relative; }
  std::string documents(const std::string& relative) const { return drive("com.vorlan.drive/Documents/" + relative); }
  std::string cloudDocuments(const std::string& relative) const {
    return cloud("com.vorlan.drive/Documents/" + relative);
  }

  // vdtool --home HOME ARGUMENTS...
  ProgramRun vdtool(std::vector<std::string> arguments, ProgramOptions options = {}) const {
    arguments.insert(arguments.begin(), {vdtoolBinary(), "--home", home()});
    return runProgram(arguments, std::move(options));
  }

  // Every item below `folder` (links not followed): its kind and contents.
  static std::map<std::string, std::string> snapshot(const std::string& folder) {
    std::map<std::string, std::string> items;
    addTo(items, folder, "");
    return items;
  }

  // The names of the drive's temporary files anywhere in the home.
  std::vector<std::string> temporaryFiles() const {
    std::vector<std::string> found;
    for (const auto& [path, kind] : snapshot(home())) {
      const std::string name = path.substr(path.rfind('/') + 1);
      if (name.starts_with(".vdtmp-")) {
        found.push_back(path);
      }
    }
    return found;
  }

  // Replaces the item at `path` by a symbolic link to `target`.
  static void replaceByLink(const std::string& path, const std::string& target) {
    host::FileOperations().removeTree(path);
    if (::symlink(target.c_str(), path.c_str()) != 0) {
      ADD_FAILURE() << "cannot link " << path;
    }
  }

 private:
  // A demo home is made once per test program (it writes and flushes many
  // files); each test gets a copy.
  static const std::string& demoTemplate() {
    static const std::string path = [] {
      const std::string folder = processScratchDirectory() + "/demo-home-template";
      if (auto error = host::DemoHome::make(folder)) {
        ADD_FAILURE() << error->description();
      }
      return folder;
    }();
    return path;
  }

  // Copies files, folders and links; big files keep their holes (the demo's
  // film is sparse), so a copy costs what the data costs.
  static void copyTree(const std::string& from, const std::string& to) {
    struct stat info {};
    if (::lstat(from.c_str(), &info) != 0) {
      ADD_FAILURE() << "cannot copy " << from;
      return;
    }
    if (S_ISDIR(info.st_mode)) {
      ::mkdir(to.c_str(), 0755);
      std::vector<std::string> names;
      host::FileOperations::folderNames(from, names);
      for (const auto& name : names) {
        copyTree(from + "/" + name, to + "/" + name);
      }
      return;
    }
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (in < 0 || out < 0 || ::ftruncate(out, info.st_size) != 0) {
      ADD_FAILURE() << "cannot copy " << from;
    }
    std::vector<char> buffer(1 << 16);
    for (off_t data = ::lseek(in, 0, SEEK_DATA); data >= 0 && data < info.st_size;
         data = ::lseek(in, data, SEEK_DATA)) {
      const off_t hole = ::lseek(in, data, SEEK_HOLE);
      for (off_t at = data; at < hole;) {
        const ssize_t n = ::pread(in, buffer.data(), std::min<off_t>(hole - at, buffer.size()), at);
        if (n <= 0 || ::pwrite(out, buffer.data(), static_cast<size_t>(n), at) != n) {
          ADD_FAILURE() << "cannot copy " << from;
          break;
        }
        at += n;
      }
      data = hole;
    }
    ::close(in);
    ::close(out);
  }

  static void addTo(std::map<std::string, std::string>& items, const std::string& folder, const std::string& prefix) {
    std::vector<std::string> names;
    host::FileOperations::folderNames(folder, names);
    for (const auto& name : names) {
      const std::string path = folder + "/" + name;
      const std::string key = prefix + "/" + name;
      struct stat info {};
      if (::lstat(path.c_str(), &info) != 0) {
        continue;
      }
      if (S_ISLNK(info.st_mode)) {
        char target[4096];
        const ssize_t n = ::readlink(path.c_str(), target, sizeof target);
        items[key] = "link " + std::string(target, n > 0 ? static_cast<size_t>(n) : 0);
      } else if (S_ISDIR(info.st_mode)) {
        items[key] = "folder";
        addTo(items, path, key);
      } else if (S_ISREG(info.st_mode)) {
        // Sizes and checksums: short to print when a test fails.
        const std::string contents = info.st_size > (64 << 20) ? std::string() : DriveTestHome::read(path);
        items[key] = "file of " + std::to_string(info.st_size) + " bytes, checksum " +
                     std::to_string(std::hash<std::string>()(contents));
      } else {
        items[key] = "special";
      }
    }
  }

  TempDirectory temp_;
};

}  // namespace velune::testing

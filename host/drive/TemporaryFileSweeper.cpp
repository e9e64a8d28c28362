#include "host/drive/TemporaryFileSweeper.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "host/HomeFileReader.h"
#include "host/HomeJson.h"
#include "host/drive/BeneathPath.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/FolderEntries.h"
#include "host/drive/TemporaryNames.h"
#include "platform/Log.h"

namespace velune::host {

namespace {

bool existsAt(int folderFd, const std::string& name) {
  struct stat info {};
  return folderFd >= 0 && ::fstatat(folderFd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

// One path component made by this system: no folder, no "." or "..".
bool isPlainName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

// Deeper folders are not visited: the walk holds one descriptor and one
// stack frame per level, and a home can be made as deep as anyone likes.
constexpr int kMaximumDepth = 256;

bool isDeadTemporary(const std::string& name) {
  const auto owner = temporaryNameOwner(name);
  return owner && !isTemporaryOwnerRunning(*owner);
}

}  // namespace

TemporaryFileSweeper::TemporaryFileSweeper(std::string driveRoot, std::string cloudRoot)
    : driveRoot_(std::move(driveRoot)), cloudRoot_(std::move(cloudRoot)) {}

TemporaryFileSweeper::Report TemporaryFileSweeper::sweep() {
  Report report;
  const UniqueFd drive(::open(driveRoot_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const UniqueFd cloud(::open(cloudRoot_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const int lockFd = cloud.valid() ? cloud.get() : drive.get();
  if (lockFd < 0) {
    return report;  // a home without a drive: nothing was ever left
  }
  while (::flock(lockFd, LOCK_EX) != 0 && errno == EINTR) {
  }
  // The phone's side first: its journals decide by what the cloud side still
  // holds, which the cloud side's own sweep would remove.
  if (drive.valid()) {
    sweepFolder(drive.get(), "", true, cloud.get(), 0, report);
  }
  if (cloud.valid()) {
    sweepFolder(cloud.get(), "", false, -1, 0, report);
  }
  ::flock(lockFd, LOCK_UN);
  if (report.removed + report.completed + report.undone > 0) {
    PLATFORM_LOG(kLogNotice,
                 "Cleaned up after stopped processes: %@ temporary items removed, %@ changes completed, %@ undone",
                 report.removed, report.completed, report.undone);
  }
  return report;
}

void TemporaryFileSweeper::sweepFolder(int folderFd, const std::string& relative, bool driveSide, int cloudRootFd,
                                       int depth, Report& report) {
  std::vector<FolderEntry> names;
  entriesOfFolderAt(folderFd, names);  // an unreadable folder has nothing to sweep
  if (driveSide) {
    for (const auto& entry : names) {
      if (entry.name.ends_with("." + std::string(kReplacementJournalSuffix)) && isDeadTemporary(entry.name)) {
        finishReplacement(folderFd, entry.name, relative, cloudRootFd, report);
      }
    }
  }
  for (const auto& entry : names) {
    if (isTemporaryName(entry.name)) {
      if (isDeadTemporary(entry.name) && existsAt(folderFd, entry.name)) {
        if (const int error = removeItemAt(folderFd, entry.name)) {
          PLATFORM_LOG(kLogWarning, "Cannot remove the temporary item %@ of a stopped process: %@",
                       joinPath(driveSide ? driveRoot_ : cloudRoot_, joinPath(relative, entry.name)), error);
        } else {
          ++report.removed;
        }
      }
      continue;
    }
    if ((entry.type != DT_DIR && entry.type != DT_UNKNOWN) || depth >= kMaximumDepth) {
      continue;
    }
    const UniqueFd inner(::openat(folderFd, entry.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (inner.valid()) {
      sweepFolder(inner.get(), relative.empty() ? entry.name : relative + "/" + entry.name, driveSide, cloudRootFd,
                  depth + 1, report);
    }
  }
}

void TemporaryFileSweeper::finishReplacement(int folderFd, const std::string& journal, const std::string& relative,
                                             int cloudRootFd, Report& report) {
  std::string text;
  const int readError = readHomeFileAt(folderFd, journal, kItemMetadataFileLimit, text);
  const auto json = readError == 0 ? parseHomeJson(text) : nlohmann::json();
  auto field = [&json](const char* key) {
    const auto it = json.is_object() ? json.find(key) : json.end();
    return json.is_object() && it != json.end() && it->is_string() ? it->get<std::string>() : std::string();
  };
  const std::string name = field("name");
  const std::string staged = field("staged");
  const std::string cloudStaged = field("cloudStaged");
  // Only names of this folder, and only temporary ones as staged copies: a
  // journal cannot make the sweep touch anything else.
  if (!isPlainName(name) || isTemporaryName(name) || !isPlainName(staged) || !isTemporaryName(staged) ||
      !isPlainName(cloudStaged) || !isTemporaryName(cloudStaged)) {
    PLATFORM_LOG(kLogWarning, "Ignored the unreadable change journal %@", joinPath(driveRoot_, joinPath(relative, journal)));
    ::unlinkat(folderFd, journal.c_str(), 0);
    return;
  }
  const UniqueFd cloudFolder(cloudRootFd >= 0 ? openBeneath(cloudRootFd, relative, O_PATH | O_DIRECTORY) : -1);
  const int cloudFd = cloudFolder.get();
  const bool phoneStaged = existsAt(folderFd, staged);
  const bool serverReplaced = !existsAt(cloudFd, cloudStaged) && existsAt(cloudFd, name);
  if (phoneStaged && serverReplaced && ::renameat(folderFd, staged.c_str(), folderFd, name.c_str()) == 0) {
    ++report.completed;
  } else if (phoneStaged || existsAt(cloudFd, cloudStaged)) {
    if (phoneStaged) {
      removeItemAt(folderFd, staged);
    }
    if (cloudFd >= 0 && existsAt(cloudFd, cloudStaged)) {
      removeItemAt(cloudFd, cloudStaged);
    }
    ++report.undone;
  }
  ::unlinkat(folderFd, journal.c_str(), 0);
}

}  // namespace velune::host

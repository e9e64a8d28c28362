#pragma once
// TemporaryFileSweeper: removes what killed processes left behind in a
// home's drive and on its cloud side. Run once at start (HostPlatform wires
// it before the drive's services are used).
//
// - A temporary file (".vdtmp-PID-START-…", TemporaryNames.h) whose maker no
//   longer runs is removed, file or folder. Those of running processes, and
//   names this system did not make, are left alone.
// - A replacement journal (".vdtmp-….replace", Drive::cloudModify) of a dead
//   process is finished: when the server's copy was already replaced, the
//   phone's staged copy is renamed into place (both sides have the new
//   version); otherwise both staged copies are removed (both keep the old).
//
// The walk opens each folder relative to its parent without following links,
// so it never leaves the drive or the cloud side, and goes no deeper than 256
// folders (the drive's own files are never that deep). Sweeps of several
// processes are serialised by a lock on the cloud side's folder.
//
// Any thread; one sweep at a time per home.

#include <string>

namespace velune::host {

class TemporaryFileSweeper {
 public:
  TemporaryFileSweeper(std::string driveRoot, std::string cloudRoot);

  struct Report {
    int removed = 0;    // temporary files and folders of dead processes
    int completed = 0;  // interrupted replacements finished with the new version
    int undone = 0;     // interrupted replacements undone (the old version stays)
  };
  Report sweep();

 private:
  void sweepFolder(int folderFd, const std::string& relative, bool driveSide, int cloudRootFd, int depth,
                   Report& report);
  void finishReplacement(int folderFd, const std::string& journal, const std::string& relative, int cloudRootFd,
                         Report& report);

  std::string driveRoot_;
  std::string cloudRoot_;
};

}  // namespace velune::host

#pragma once
// SyncEngine: the simulated phone's downloads. When a coordinated read needs
// the contents of a cloud-only document, the coordinator calls materialize()
// on the reading thread, inside the read's claim; it returns once the
// document is on the phone or the download has failed.
//
// A download:
//   1. refuses at once with CloudServerNotAvailable (4355) when the device is
//      offline;
//   2. opens the server's copy (a regular file, links not followed) and a new
//      temporary file ".vdtmp-…" beside the document (FileOperations'
//      naming, so a start after a crash sweeps what a killed download left);
//   3. copies in chunks at the device's download bandwidth, checking the
//      cancellation flag and the network before every chunk: a cancellation
//      ends it with UserCancelled (3072), going offline with 4355, a failed
//      write (a full disk: FileWriteOutOfSpace) with the write's error; the
//      temporary file is removed in every one of these cases;
//   4. publishes a TransferProgress (file kind, bytes) for the document's URL
//      with the platform's TransferProgressService: the completed count is
//      set at most ten times a second of the clock, and once more with the
//      final count;
//   5. finishes only when the copy has exactly the expected size (the
//      placeholder's, else the server file's): the temporary file is flushed,
//      the placeholder's tags move to the document's sidecar, the file is
//      renamed into place without replacing anything, and the placeholder is
//      removed. A server copy that is shorter or longer, or gone (deleted or
//      moved by another device while it downloaded), fails the download
//      instead of passing as complete.
//
// Eviction (the way back to a placeholder) is Drive::evictItem.
//
// Thread-safe: downloads of different documents run side by side; the read's
// claim keeps two downloads of one document apart.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "host/drive/PlaceholderMaterializer.h"
#include "platform/Error.h"

namespace velune::host {

class Drive;

// The device's state as a download sees it; read before every chunk.
struct DownloadConditions {
  bool offline = false;
  // 0: as fast as the disk allows.
  std::uint64_t bytesPerSecond = 0;
};

class SyncEngine final : public PlaceholderMaterializer {
 public:
  using ConditionsProvider = std::function<DownloadConditions()>;
  // Called before each write of a chunk into the temporary file with its
  // path; a non-zero answer fails that write with that errno (tests: a full disk).
  using WriteFaultInjector = std::function<int(const std::string& temporaryPath)>;

  // Conditions from HOME/device.json (network and downloadBytesPerSecond).
  static ConditionsProvider deviceConditions(const std::string& deviceJsonPath);

  SyncEngine(std::shared_ptr<Drive> drive, ConditionsProvider conditions);

  std::optional<platform::Error> materialize(const std::string& logicalPath,
                                             const CancellationFlag& cancelled) override;

  void setWriteFaultInjector(WriteFaultInjector injector);
  // Replaces where the conditions come from (tests: a network switch and a
  // bandwidth of their own).
  void setConditionsProvider(ConditionsProvider conditions);

  // A chunk at full speed (copied by the kernel: a cancellation still takes
  // effect within a few milliseconds); at a set bandwidth a twentieth of a
  // second's bytes, at most kMaxChunkBytes.
  static constexpr std::size_t kUnlimitedChunkBytes = 8 * 1024 * 1024;
  static constexpr std::size_t kMaxChunkBytes = 1024 * 1024;
  static constexpr std::size_t kMinChunkBytes = 4 * 1024;
  // Progress reports per second of the clock, at most (the final one aside).
  static constexpr int kProgressReportsPerSecond = 10;

 private:
  struct Transfer;
  std::optional<platform::Error> copyFile(Transfer& transfer, const CancellationFlag& cancelled);
  std::optional<platform::Error> finish(Transfer& transfer);
  int injectedWriteFault(const std::string& path);
  DownloadConditions conditions();

  std::shared_ptr<Drive> drive_;
  std::mutex hooksMutex_;
  ConditionsProvider conditions_;
  WriteFaultInjector writeFault_;
};

}  // namespace velune::host

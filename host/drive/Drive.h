#pragma once
// Drive: the simulated phone's cloud drive on disk, one per home:
//
//   HOME/Mobile Documents/<container id>/Documents/...   the drive (what the app shows)
//   HOME/cloud/<container id>/Documents/...              the server: every document's bytes
//
// A document is "present" when its file (or package folder) is on the phone,
// "cloud-only" when only its placeholder ".NAME.placeholder" is (see
// DrivePaths.h and PlaceholderMetadata.h). Tags and sharing of present items
// are in a sidecar ".NAME.vdattrs"; a sidecar works the same on every file
// system (user extended attributes are refused by some, such as older tmpfs),
// and the drive moves and deletes it with its item.
//
// The changes this phone makes (new folder, move, rename, delete, evict,
// emptying a container) are mirrored to the cloud side; changes made by
// "another device" (cloud*) change the cloud side and then this phone's drive,
// as its sync engine would. Nothing is ever overwritten: new names and moves
// end with a no-replace rename, and the two names of one document (its file and
// its placeholder) are claimed one after the other, each claim checking the
// other and giving way when it is taken, so two creators of one name never
// both succeed. A step that fails undoes the steps before it.
//
// Paths are absolute. Items outside the drive are refused by the changing
// operations when they would leave it (by "..", or by symbolic links of the
// existing folders). Thread-safe: this process's changes are serialised by
// one lock over the names they check and take; the bytes of a document (the
// copy of an eviction, another device's new version) are copied into
// temporary files before it is taken, so a rename never waits for a copy.

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/HomeLayout.h"
#include "host/drive/FileOperations.h"
#include "host/drive/ItemAttributes.h"
#include "host/drive/PlaceholderMetadata.h"
#include "platform/Error.h"
#include "platform/Result.h"
#include "platform/URL.h"

namespace velune::host {

class Drive {
 public:
  enum class ItemState { Missing, Present, CloudOnly };

  struct Entry {
    std::string name;
    std::string path;
    platform::URL url;  // see itemURL()
    bool isDirectory = false;
    bool isCloudOnly = false;
  };

  // What another device puts on the server: exactly one source of bytes.
  struct CloudDocument {
    std::optional<std::string> contents;
    std::optional<std::uint64_t> sparseSize;
    std::optional<std::string> sourceFile;
    ItemAttributes attributes;
  };

  explicit Drive(const HomeLayout& layout);

  const std::string& root() const { return root_; }
  const std::string& cloudRoot() const { return cloudRoot_; }
  FileOperations& operations() { return operations_; }

  // The path below the drive's root ("" for the root), by name only; nothing
  // outside it.
  std::optional<std::string> relativePath(std::string_view path) const;
  std::string drivePath(std::string_view relative) const;
  std::string cloudPath(std::string_view relative) const;
  // An error when the folders of `path` that exist lead outside the drive
  // through symbolic links (or loop).
  std::optional<platform::Error> checkPhysicallyInside(const std::string& path) const;
  // Opens a folder of the drive below the drive's root (O_RDONLY |
  // O_DIRECTORY): one that is, or lies behind, a link leading outside is
  // refused with an error saying so, whatever the path looked like when it
  // was checked. The caller owns the descriptor.
  platform::Result<int> openFolderInside(const std::string& path) const;

  ItemState stateOf(const std::string& path) const;
  platform::Result<PlaceholderMetadata> readPlaceholder(const std::string& logicalPath,
                                                        std::vector<std::string>* problems = nullptr) const;
  // Of a present item: its sidecar (defaults without one); of a cloud-only
  // one: its placeholder's.
  platform::Result<ItemAttributes> readAttributes(const std::string& path) const;
  std::optional<platform::Error> setAttributes(const std::string& path, const ItemAttributes& attributes);

  // The URL under which the drive shows the item: a folder URL for folders;
  // for a cloud-only document its logical URL with the placeholder recorded as
  // physical URL.
  platform::URL itemURL(const std::string& path) const;
  // The items of a folder as the drive shows them: placeholders under their
  // documents' names, sidecars and temporary files never; hidden names only
  // when asked. Sorted by name.
  platform::Result<std::vector<Entry>> contentsOfFolder(const std::string& path, bool includeHidden) const;

  // --- This phone's changes, mirrored to the cloud ---
  std::optional<platform::Error> createDirectory(const std::string& path, bool withIntermediateDirectories);
  std::optional<platform::Error> removeItem(const std::string& path);
  std::optional<platform::Error> moveItem(const std::string& from, const std::string& to);
  // Makes a present document cloud-only (after putting its bytes on the
  // server when the server's copy is missing or older).
  std::optional<platform::Error> evictItem(const std::string& path);
  // Empties a container's documents folder here and on the server.
  std::optional<platform::Error> deleteContainerContents(const std::string& containerIdentifier);

  // --- Document references ---
  std::optional<platform::Error> writeDocumentReference(const std::string& referencePath,
                                                        const std::string& targetPath);
  // The absolute path the reference names (which may be cloud-only or gone);
  // an error for a corrupt reference or one that points outside the drive.
  platform::Result<std::string> documentReferenceTarget(const std::string& referencePath) const;

  // --- Another device's changes (by path below the drive's root) ---
  std::optional<platform::Error> cloudAdd(const std::string& relative, const CloudDocument& document);
  std::optional<platform::Error> cloudAddFolder(const std::string& relative);
  std::optional<platform::Error> cloudModify(const std::string& relative, const CloudDocument& document);
  std::optional<platform::Error> cloudMove(const std::string& fromRelative, const std::string& toRelative);
  std::optional<platform::Error> cloudDelete(const std::string& relative);

  // Whether a name is free in its folder: no item, no placeholder, and no
  // item whose name is the same text in another Unicode normal form.
  bool isNameTaken(const std::string& path, const std::string& ignoring = {}) const;

 private:
  static std::optional<std::string> normal(std::string_view path);
  std::optional<platform::Error> refuseEscape(const std::string& rawPath, const std::string& normalPath) const;
  std::optional<platform::Error> checkChangeablePath(const std::string& path, bool creating) const;
  // An error when the folder `relativeFolder` of the server's side (or the
  // deepest of its folders that exists) leads outside it; `path` names the
  // item in the error.
  std::optional<platform::Error> checkCloudFolderInside(const std::string& relativeFolder,
                                                        const std::string& path) const;
  std::optional<platform::Error> moveLocal(const std::string& from, const std::string& to);
  void undoLocalMove(const std::string& from, const std::string& to, ItemState state);
  std::optional<platform::Error> mirrorMove(const std::string& fromRelative, const std::string& toRelative);
  std::optional<platform::Error> placeNewPlaceholder(const std::string& logicalPath,
                                                     const PlaceholderMetadata& metadata);
  std::optional<platform::Error> removeLocal(const std::string& path);
  int writeCloudBytes(const std::string& cloudFile, const CloudDocument& document, bool replace);
  // A new version written beside the server's copy and (when the phone has
  // the document) beside the phone's: temporary paths, empty when not made.
  struct Staged {
    std::string cloud;
    std::string phone;
  };
  // cloudModify() of a document that is on the phone: both copies change, or
  // (after a kill and the next start's sweep) neither. Under the lock.
  std::optional<platform::Error> replaceOnBothSides(const std::string& path, const std::string& cloudFile,
                                                    Staged& staged);

  std::string root_;
  std::string cloudRoot_;
  FileOperations operations_;
  mutable std::mutex mutex_;
};

// A write error of the general domain for an errno, naming `path`.
platform::Error driveWriteError(int errorNumber, const std::string& path);
// An error of the general domain with its own text.
platform::Error driveError(std::int64_t code, const std::string& path, const std::string& description);

}  // namespace velune::host

// FileUtils: the coordinated changes of the drive and the file-name rule.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "diag/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/FileCoordinationService.h"
#include "platform/FileCoordinator.h"
#include "platform/Platform.h"
#include "platform/SyncURLService.h"
#include "tests/support/DriveTestHome.h"

namespace velune {
namespace {

namespace ErrorCode = platform::ErrorCode;
using platform::URL;
using testing::DriveTestHome;

class FileUtilsOperationsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::clearLogs();
  }
  static URL fileURL(const std::string& path) { return URL::fileURLWithPath(path, false); }
  static URL folderURL(const std::string& path) { return URL::fileURLWithPath(path, true); }
  static bool exists(const std::string& path) { return DriveTestHome::exists(path); }
  // Makes the named operation fail with `error` on paths containing `where`.
  void failOn(const std::string& operation, const std::string& where, int error) {
    home_.drive().operations().setFaultInjector(
        [operation, where, error](std::string_view op, const std::string& path) {
          return op == operation && path.find(where) != std::string::npos ? error : 0;
        });
  }

  DriveTestHome home_;
};

// The drive's coordinators, each cancelled before it is handed out: every
// coordinated call then refuses without running its accessor.
class RefusingCoordination final : public platform::FileCoordinationService {
 public:
  explicit RefusingCoordination(std::shared_ptr<platform::FileCoordinationService> real) : real_(std::move(real)) {}
  std::shared_ptr<platform::FileCoordinator> makeCoordinator(
      std::shared_ptr<platform::FilePresenter> presenter) override {
    auto coordinator = real_->makeCoordinator(std::move(presenter));
    coordinator->cancel();
    return coordinator;
  }
  void addFilePresenter(const std::shared_ptr<platform::FilePresenter>& presenter) override {
    real_->addFilePresenter(presenter);
  }
  void removeFilePresenter(const platform::FilePresenter* presenter) override {
    real_->removeFilePresenter(presenter);
  }
  std::vector<std::shared_ptr<platform::FilePresenter>> filePresenters() override {
    return real_->filePresenters();
  }

 private:
  std::shared_ptr<platform::FileCoordinationService> real_;
};

TEST_F(FileUtilsOperationsTest, CoordinatorRefuses_MkdirRemoveAndMoveReturnItsErrorAndChangeNothing) {
  const std::string document = home_.writeDocument(home_.documents() + "/Kept.txt", "k");
  auto services = home_.services();
  services.fileCoordination = std::make_shared<RefusingCoordination>(services.fileCoordination);
  platform::Platform::install(services);

  const std::string folder = home_.documents() + "/New Folder";
  auto error = FileUtils::mkdir(folderURL(folder));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::UserCancelled);
  EXPECT_FALSE(exists(folder));
  EXPECT_FALSE(exists(home_.cloudPathOf(folder)));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "Coordinated Write returned Error Domain="));
  EXPECT_FALSE(testing::loggedPrefixAt(kLogInfo, "Created directory: "));

  error = FileUtils::remove(fileURL(document));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::UserCancelled);
  EXPECT_TRUE(exists(document));
  EXPECT_TRUE(exists(home_.cloudPathOf(document)));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogInfo, "Coordinated Write returned Error Domain="));

  const std::string moved = home_.documents() + "/Moved.txt";
  error = FileUtils::move(fileURL(document), fileURL(moved));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::UserCancelled);
  EXPECT_TRUE(exists(document));
  EXPECT_FALSE(exists(moved));
  EXPECT_FALSE(exists(home_.cloudPathOf(moved)));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "Move failed: Error Domain="));
  EXPECT_FALSE(testing::loggedAt(kLogInfo, "Move successful"));
  platform::Platform::install(home_.services());
}

TEST_F(FileUtilsOperationsTest, ExistsIsFileIsDir_SeeFilesFoldersAndPackagesButNotCloudOnlyDocuments) {
  const std::string file = home_.writeDocument(home_.documents() + "/File.txt", "f");
  const std::string folder = home_.makeFolder(home_.documents() + "/Folder");
  const std::string package = home_.makeFolder(home_.documents(testing::kLumiboardContainer) + "/Mood.board");
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.txt", "c");
  EXPECT_TRUE(FileUtils::exists(fileURL(file)) && FileUtils::isFile(fileURL(file)) && !FileUtils::isDir(fileURL(file)));
  EXPECT_TRUE(FileUtils::exists(folderURL(folder)) && FileUtils::isDir(folderURL(folder)) &&
              !FileUtils::isFile(folderURL(folder)));
  EXPECT_TRUE(FileUtils::isDir(folderURL(package)));
  EXPECT_FALSE(FileUtils::exists(home_.url(cloud)) || FileUtils::isFile(home_.url(cloud)));
  EXPECT_FALSE(FileUtils::exists(fileURL(home_.documents() + "/Nothing")));
}

TEST_F(FileUtilsOperationsTest, Mkdir_MakesTheFolderWithItsParentsHereAndOnTheServer) {
  const std::string folder = home_.documents(testing::kDrillrunContainer) + "/Plans/2026";
  EXPECT_FALSE(FileUtils::mkdir(folderURL(folder)));
  EXPECT_TRUE(FileUtils::isDir(folderURL(folder)));
  EXPECT_TRUE(exists(home_.cloudPathOf(folder)));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Creating directory: '" + folderURL(folder).absoluteString() + "'"));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Created directory: '" + folderURL(folder).absoluteString() + "'"));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Coordinated Write returned (null)"));
  // An existing folder is no error.
  EXPECT_FALSE(FileUtils::mkdir(folderURL(folder)));
}

TEST_F(FileUtilsOperationsTest, Mkdir_RefusesTakenNamesAndFailsCleanly) {
  const std::string file = home_.writeDocument(home_.documents() + "/Taken", "file");
  auto error = FileUtils::mkdir(folderURL(file));
  ASSERT_TRUE(error);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "failed to create directory:'"));
  EXPECT_EQ(DriveTestHome::read(file), "file");

  // The name of a cloud-only document is taken too.
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud Name", "c");
  error = FileUtils::mkdir(folderURL(cloud));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteFileExists);

  // A full disk: an error, and no half-made folders on either side.
  failOn("mkdir", "/Deeper", ENOSPC);
  const std::string deep = home_.documents() + "/Deep/Deeper";
  error = FileUtils::mkdir(folderURL(deep));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteOutOfSpace);
  EXPECT_FALSE(exists(home_.documents() + "/Deep"));
  EXPECT_FALSE(exists(home_.cloudPathOf(home_.documents() + "/Deep")));

  // The server refuses (its disk is full): the folder made here is taken back.
  failOn("mkdir", home_.layout().cloud() + "/", ENOSPC);
  error = FileUtils::mkdir(folderURL(home_.documents() + "/Mirror"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteOutOfSpace);
  EXPECT_FALSE(exists(home_.documents() + "/Mirror"));
}

TEST_F(FileUtilsOperationsTest, Mkdir_PermissionDeniedIsAnError) {
  const std::string locked = home_.makeFolder(home_.documents() + "/Locked");
  if (geteuid() == 0) {
    failOn("mkdir", "/Locked/", EACCES);  // the superuser passes every permission check
  } else {
    ASSERT_EQ(::chmod(locked.c_str(), 0555), 0);
  }
  auto error = FileUtils::mkdir(folderURL(locked + "/Inside"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteNoPermission);
  EXPECT_FALSE(exists(locked + "/Inside"));
}

TEST_F(FileUtilsOperationsTest, Mkdir_RefusesPathsThatLeaveTheDrive) {
  testing::TempDirectory outside;
  const std::string link = home_.documents() + "/Elsewhere";
  ASSERT_EQ(::symlink(outside.path().c_str(), link.c_str()), 0);
  const std::string loop = home_.documents() + "/Loop";
  ASSERT_EQ(::symlink(loop.c_str(), loop.c_str()), 0);

  for (const std::string& path :
       std::vector<std::string>{link + "/Escaped", home_.documents() + "/../../../../Escaped", loop + "/Inside"}) {
    auto error = FileUtils::mkdir(folderURL(path));
    EXPECT_TRUE(error) << path;
  }
  EXPECT_FALSE(exists(outside.path() + "/Escaped"));
  EXPECT_FALSE(exists(home_.root() + "/Escaped"));
  // The drive's top level is not a place for folders either.
  EXPECT_TRUE(FileUtils::mkdir(folderURL(home_.root() + "/com.vorlan.New")));
  EXPECT_FALSE(exists(home_.root() + "/com.vorlan.New"));
}

TEST_F(FileUtilsOperationsTest, Remove_DeletesHereAndOnTheServer) {
  const std::string file = home_.writeDocument(home_.documents() + "/Old.txt", "old");
  home_.drive().setAttributes(file, host::ItemAttributes{{"Red"}, false, "owner", false});
  EXPECT_FALSE(FileUtils::remove(fileURL(file)));
  EXPECT_FALSE(exists(file));
  EXPECT_FALSE(exists(host::sidecarPathFor(file)));
  EXPECT_FALSE(exists(home_.cloudPathOf(file)));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Removing item: '" + fileURL(file).absoluteString() + "'"));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Deleted item: '" + fileURL(file).absoluteString() + "'"));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Coordinated Write returned (null)"));

  // A folder with a cloud-only document inside.
  const std::string folder = home_.makeFolder(home_.documents() + "/Old Folder");
  home_.writeCloudOnly(folder + "/Inside.pdf", "%PDF");
  EXPECT_FALSE(FileUtils::remove(folderURL(folder)));
  EXPECT_FALSE(exists(folder));
  EXPECT_FALSE(exists(home_.cloudPathOf(folder)));

  // A cloud-only document by its logical URL.
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.pdf", "%PDF");
  EXPECT_FALSE(FileUtils::remove(home_.url(cloud)));
  EXPECT_FALSE(exists(host::placeholderPathFor(cloud)));
  EXPECT_FALSE(exists(home_.cloudPathOf(cloud)));
}

TEST_F(FileUtilsOperationsTest, Remove_FailuresAreErrorsAndKeepEverything) {
  auto error = FileUtils::remove(fileURL(home_.documents() + "/Nothing.txt"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileNoSuchFile);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "failed to delete item:'"));

  // A container's own folder is never removed this way.
  const std::string inside = home_.writeDocument(home_.documents(testing::kJotterContainer) + "/Keep.txt", "keep");
  EXPECT_TRUE(FileUtils::remove(folderURL(home_.documents(testing::kJotterContainer))));
  EXPECT_EQ(DriveTestHome::read(inside), "keep");

  // Removal refused here: the server's copy stays.
  const std::string stuck = home_.writeDocument(home_.documents() + "/Stuck.txt", "stuck");
  failOn("remove", "/Stuck.txt", EACCES);
  error = FileUtils::remove(fileURL(stuck));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteNoPermission);
  EXPECT_EQ(DriveTestHome::read(stuck), "stuck");
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(stuck)), "stuck");
}

TEST_F(FileUtilsOperationsTest, Move_ToItsOwnPathDoesNothing) {
  const std::string file = home_.writeDocument(home_.documents() + "/Same.txt", "same");
  EXPECT_FALSE(FileUtils::move(fileURL(file), fileURL(file)));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Move: src and dest are the same"));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Moving src1:  '" + fileURL(file).absoluteString() + "'"));
  EXPECT_TRUE(testing::loggedAt(kLogDebug, "Moving dest1: '" + fileURL(file).absoluteString() + "'"));
  EXPECT_EQ(DriveTestHome::read(file), "same");
}

TEST_F(FileUtilsOperationsTest, Move_ToATakenNameGoesToTheFirstFreeVariant) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Reports");
  home_.writeDocument(folder + "/Report.pdf", "first");
  home_.writeDocument(folder + "/Report 2.pdf", "second");
  home_.writeDocument(folder + "/Notes", "notes");
  home_.writeDocument(folder + "/archive.tar.gz", "archive");
  const std::string report = home_.writeDocument(home_.documents() + "/Report.pdf", "moved");
  const std::string notes = home_.writeDocument(home_.documents() + "/Notes", "moved notes");
  const std::string archive = home_.writeDocument(home_.documents() + "/archive.tar.gz", "moved archive");

  EXPECT_FALSE(FileUtils::move(fileURL(report), fileURL(folder + "/Report.pdf")));
  EXPECT_EQ(DriveTestHome::read(folder + "/Report 3.pdf"), "moved");
  EXPECT_EQ(DriveTestHome::read(folder + "/Report.pdf"), "first");
  EXPECT_EQ(DriveTestHome::read(folder + "/Report 2.pdf"), "second");
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(folder + "/Report 3.pdf")), "moved");
  EXPECT_FALSE(exists(report));
  EXPECT_TRUE(
      testing::loggedAt(kLogDebug, "Avail  dest1: '" + fileURL(folder + "/Report 3.pdf").absoluteString() + "'"));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Move successful"));

  EXPECT_FALSE(FileUtils::move(fileURL(notes), fileURL(folder + "/Notes")));
  EXPECT_EQ(DriveTestHome::read(folder + "/Notes 2"), "moved notes");
  EXPECT_FALSE(FileUtils::move(fileURL(archive), fileURL(folder + "/archive.tar.gz")));
  EXPECT_EQ(DriveTestHome::read(folder + "/archive.tar 2.gz"), "moved archive");
}

TEST_F(FileUtilsOperationsTest, Move_ReportsWhereTheItemWent) {
  // vdtool printed a destination guessed before the move, which differed from
  // where the move put the item when the names changed meanwhile, and printed
  // a new name for a move onto itself.
  const std::string folder = home_.makeFolder(home_.documents() + "/Reports");
  home_.writeDocument(folder + "/Report.pdf", "first");
  const std::string report = home_.writeDocument(home_.documents() + "/Report.pdf", "moved");
  // Another process takes the variant a caller would have guessed.
  home_.writeDocument(folder + "/Report 2.pdf", "theirs");
  URL moved;
  EXPECT_FALSE(FileUtils::move(fileURL(report), fileURL(folder + "/Report.pdf"), &moved));
  EXPECT_EQ(moved.path(), folder + "/Report 3.pdf");
  EXPECT_EQ(DriveTestHome::read(folder + "/Report 3.pdf"), "moved");
  EXPECT_FALSE(FileUtils::move(moved, moved, &moved));
  EXPECT_EQ(moved.path(), folder + "/Report 3.pdf");
  URL untouched = fileURL("/unchanged");
  EXPECT_TRUE(FileUtils::move(fileURL(home_.documents() + "/Missing.txt"), fileURL(folder + "/Missing.txt"), &untouched));
  EXPECT_EQ(untouched.path(), "/unchanged") << "nothing is reported for a failed move";
}

TEST_F(FileUtilsOperationsTest, Move_FileAndFolderNeverTakeEachOthersPlace) {
  const std::string file = home_.writeDocument(home_.documents() + "/Paper.txt", "paper");
  const std::string folder = home_.makeFolder(home_.documents() + "/Box");
  auto error = FileUtils::move(fileURL(file), folderURL(folder));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FeatureUnsupported);
  EXPECT_TRUE(testing::loggedAt(kLogErr, "Move: must move a file to a file (dest is a dir)"));
  error = FileUtils::move(folderURL(folder), fileURL(file));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FeatureUnsupported);
  EXPECT_TRUE(testing::loggedAt(kLogErr, "Move: must move a dir to a dir (dest is a file)"));
  EXPECT_EQ(DriveTestHome::read(file), "paper");
  EXPECT_TRUE(FileUtils::isDir(folderURL(folder)));
}

TEST_F(FileUtilsOperationsTest, Move_ACloudOnlyDocumentMovesItsPlaceholderAndItsServerCopy) {
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud.pdf", "%PDF cloud");
  const std::string folder = home_.makeFolder(home_.documents() + "/Archive");
  EXPECT_FALSE(FileUtils::move(home_.url(cloud), fileURL(folder + "/Cloud.pdf")));
  EXPECT_TRUE(testing::loggedAt(kLogInfo, "Move: source filename does not exist, must be a fault."));
  EXPECT_FALSE(exists(host::placeholderPathFor(cloud)));
  EXPECT_TRUE(exists(host::placeholderPathFor(folder + "/Cloud.pdf")));
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(folder + "/Cloud.pdf")), "%PDF cloud");
  EXPECT_FALSE(exists(folder + "/Cloud.pdf"));  // still cloud-only
}

// A cloud-only document's name did not count as taken: a move onto it went to
// that very name and failed with "file exists" instead of taking a free one.
TEST_F(FileUtilsOperationsTest, Move_OntoACloudOnlyDocumentsNameGoesToTheFirstFreeVariant) {
  const std::string taken = home_.writeCloudOnly(home_.documents() + "/Taken.txt", "cloud bytes");
  const std::string mover = home_.writeDocument(home_.documents() + "/Mover.txt", "mover");
  URL movedTo;
  EXPECT_FALSE(FileUtils::move(fileURL(mover), fileURL(taken), &movedTo));
  EXPECT_EQ(movedTo.path(), home_.documents() + "/Taken 2.txt");
  EXPECT_EQ(DriveTestHome::read(home_.documents() + "/Taken 2.txt"), "mover");
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(home_.documents() + "/Taken 2.txt")), "mover");
  EXPECT_EQ(home_.drive().stateOf(taken), host::Drive::ItemState::CloudOnly);
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(taken)), "cloud bytes");
  EXPECT_FALSE(exists(mover));
  // The name check does not make the document exist: it still has to be downloaded.
  EXPECT_FALSE(FileUtils::exists(home_.url(taken)));
  EXPECT_TRUE(FileUtils::isNameTaken(home_.url(taken)));
}

TEST_F(FileUtilsOperationsTest, Move_NeverReplacesAndUndoesWhatTheServerRefuses) {
  // Straight to the move service (no free-name search): a cloud-only
  // document's name is refused as taken, nothing is lost on either side.
  const std::string taken = home_.writeCloudOnly(home_.documents() + "/Taken.txt", "cloud bytes");
  const std::string mover = home_.writeDocument(home_.documents() + "/Mover.txt", "mover");
  auto error = VELUNE_SERVICE(syncURLs)->moveItemAtURL(fileURL(mover), fileURL(taken));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteFileExists);
  EXPECT_EQ(DriveTestHome::read(mover), "mover");
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(mover)), "mover");
  EXPECT_EQ(home_.drive().stateOf(taken), host::Drive::ItemState::CloudOnly);
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(taken)), "cloud bytes");

  // The server cannot take the move: the move here is undone.
  failOn("rename", home_.layout().cloud() + "/", ENOSPC);
  error = FileUtils::move(fileURL(mover), fileURL(home_.documents() + "/Renamed.txt"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), ErrorCode::FileWriteOutOfSpace);
  EXPECT_EQ(DriveTestHome::read(mover), "mover");
  EXPECT_FALSE(exists(home_.documents() + "/Renamed.txt"));
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(mover)), "mover");
}

TEST_F(FileUtilsOperationsTest, Move_NamesInEveryUnicodeShape) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Unicode");
  const std::string composed = "Caf\u00E9.txt";
  const std::string decomposed = "Cafe\u0301.txt";
  home_.writeDocument(folder + "/" + decomposed, "already here");
  const std::string source = home_.writeDocument(home_.documents() + "/" + composed, "composed");
  // The same name in another normal form is taken: the first free variant is used.
  EXPECT_FALSE(FileUtils::move(fileURL(source), fileURL(folder + "/" + composed)));
  EXPECT_EQ(DriveTestHome::read(folder + "/" + decomposed), "already here");
  EXPECT_EQ(DriveTestHome::read(folder + "/Caf\u00E9 2.txt"), "composed");

  for (const std::string& name :
       std::vector<std::string>{"Notes \U0001F4DD.txt", "\u0645\u0644\u0627\u062D\u0638\u0627\u062A.txt",
                                "\u05E9\u05DC\u05D5\u05DD world.md", "\u65E5\u672C\u8A9E.txt"}) {
    const std::string from = home_.writeDocument(home_.documents() + "/" + name, name);
    EXPECT_FALSE(FileUtils::move(fileURL(from), fileURL(folder + "/" + name))) << name;
    EXPECT_EQ(DriveTestHome::read(folder + "/" + name), name);
    EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(folder + "/" + name)), name);
  }
}

TEST_F(FileUtilsOperationsTest, Move_RefusesDestinationsOutsideTheDrive) {
  testing::TempDirectory outside;
  const std::string file = home_.writeDocument(home_.documents() + "/Stay.txt", "stay");
  const std::string link = home_.documents() + "/Out";
  ASSERT_EQ(::symlink(outside.path().c_str(), link.c_str()), 0);
  for (const std::string& destination :
       std::vector<std::string>{link + "/Stay.txt", home_.documents() + "/../../../Stay.txt",
                                home_.root() + "/Stay.txt", outside.path() + "/Stay.txt"}) {
    auto error = FileUtils::move(fileURL(file), fileURL(destination));
    ASSERT_TRUE(error) << destination;
    EXPECT_EQ(error->code(), ErrorCode::FileWriteNoPermission) << destination;
  }
  EXPECT_EQ(DriveTestHome::read(file), "stay");
  EXPECT_FALSE(exists(outside.path() + "/Stay.txt"));
}

TEST_F(FileUtilsOperationsTest, UniqueNames_FirstFreeVariantOrTheNameItself) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Names");
  EXPECT_FALSE(FileUtils::stringByUniquingPathInsideDirectory(folder, "Free.txt"));
  EXPECT_EQ(FileUtils::generateUniquePath(fileURL(folder + "/Free.txt")).path(), folder + "/Free.txt");
  home_.writeDocument(folder + "/Taken.txt", "t");
  home_.writeDocument(folder + "/Taken 2.txt", "t");
  EXPECT_EQ(FileUtils::stringByUniquingPathInsideDirectory(folder, "Taken.txt"), "Taken 3.txt");
  EXPECT_EQ(FileUtils::generateUniquePath(fileURL(folder + "/Taken.txt")).path(), folder + "/Taken 3.txt");
  home_.makeFolder(folder + "/Box");
  const URL box = FileUtils::generateUniquePath(folderURL(folder + "/Box"));
  EXPECT_EQ(box.path(), folder + "/Box 2");
  EXPECT_TRUE(box.hasDirectoryPath());
  // A name that is only an extension keeps it as its stem.
  home_.writeDocument(folder + "/.hidden", "h");
  EXPECT_EQ(FileUtils::stringByUniquingPathInsideDirectory(folder, ".hidden"), " 2.hidden");
}

// The free-name search saw only real files: it could pick the name of a
// cloud-only document, and the move to that name then failed.
TEST_F(FileUtilsOperationsTest, UniqueNames_SkipCloudOnlyDocuments) {
  const std::string folder = home_.makeFolder(home_.documents() + "/Names");
  home_.writeDocument(folder + "/Report.pdf", "first");
  home_.writeCloudOnly(folder + "/Report 2.pdf", "second, in the cloud");
  EXPECT_EQ(FileUtils::stringByUniquingPathInsideDirectory(folder, "Report.pdf"), "Report 3.pdf");
  // Cloud-only itself, and under its name's other Unicode form.
  home_.writeCloudOnly(folder + "/Cloud", "c");
  EXPECT_EQ(FileUtils::generateUniquePath(folderURL(folder + "/Cloud")).path(), folder + "/Cloud 2");
  home_.writeCloudOnly(folder + "/Cafe\u0301.txt", "c");
  EXPECT_EQ(FileUtils::stringByUniquingPathInsideDirectory(folder, "Caf\u00E9.txt"), "Caf\u00E9 2.txt");
  // The whole way: a move into the folder lands on the free name.
  const std::string report = home_.writeDocument(home_.documents() + "/Report.pdf", "moved");
  EXPECT_FALSE(FileUtils::move(fileURL(report), fileURL(folder + "/Report.pdf")));
  EXPECT_EQ(DriveTestHome::read(folder + "/Report 3.pdf"), "moved");
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(folder + "/Report 2.pdf")), "second, in the cloud");
  EXPECT_EQ(home_.drive().stateOf(folder + "/Report 2.pdf"), host::Drive::ItemState::CloudOnly);
}

TEST_F(FileUtilsOperationsTest, EvictDocument_LeavesTheDocumentOnlyInTheCloud) {
  const std::string file = home_.writeDocument(home_.documents() + "/Big.pdf", "big bytes");
  home_.drive().setAttributes(file, host::ItemAttributes{{"Blue"}, true, "participant", false});
  FileUtils::evictDocument(fileURL(file));
  EXPECT_FALSE(exists(file));
  EXPECT_TRUE(exists(host::placeholderPathFor(file)));
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(file)), "big bytes");
  auto tags = home_.drive().readAttributes(file);
  ASSERT_TRUE(tags.ok());
  EXPECT_EQ(tags.value().tags, std::vector<std::string>{"Blue"});
  EXPECT_TRUE(tags.value().shared);

  // A document that was never put on the server is uploaded before it leaves the phone.
  const std::string localOnly = home_.documents() + "/Local.txt";
  DriveTestHome::writeRaw(localOnly, "only here");
  FileUtils::evictDocument(fileURL(localOnly));
  EXPECT_FALSE(exists(localOnly));
  EXPECT_EQ(DriveTestHome::read(home_.cloudPathOf(localOnly)), "only here");

  // Failures are logged and change nothing.
  FileUtils::evictDocument(fileURL(home_.documents() + "/Nothing.txt"));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "Evict error: "));
  const std::string folder = home_.makeFolder(home_.documents() + "/Folder");
  FileUtils::evictDocument(folderURL(folder));
  EXPECT_TRUE(FileUtils::isDir(folderURL(folder)));
  const std::string uploadFails = home_.documents() + "/Fails.txt";
  DriveTestHome::writeRaw(uploadFails, "keep me");
  failOn("copy", "/Fails.txt", ENOSPC);
  FileUtils::evictDocument(fileURL(uploadFails));
  EXPECT_EQ(DriveTestHome::read(uploadFails), "keep me");
  EXPECT_FALSE(exists(host::placeholderPathFor(uploadFails)));
}

TEST_F(FileUtilsOperationsTest, IsValidFilename_TheOneRule) {
  for (const std::string& name :
       std::vector<std::string>{"Report.pdf", "a", "archive.tar.gz", "Caf\u00E9", "Cafe\u0301", "Notes \U0001F4DD",
                                "\u0645\u0644\u0627\u062D\u0638\u0627\u062A", "trailing.", "sp ace", "x\uE000y",
                                "emoji\uFE0F", std::string(300, 'n')}) {
    EXPECT_TRUE(FileUtils::isValidFilename(name)) << name;
  }
  for (const std::string& name : std::vector<std::string>{
           std::string(), std::string(".hidden"), std::string("a/b"), std::string("a:b"), std::string("tab\there"),
           std::string("line\nbreak"), std::string("cr\rhere"), std::string("nel\u0085"), std::string("ls\u2028"),
           std::string("ps\u2029"), std::string("unassigned\u0378"), std::string("non\uFFFE"), std::string("non\uFDD0"),
           std::string("zwj\u200D"), std::string("rlm\u200F"), std::string("bom\uFEFF"), std::string("nul\0x", 5),
           std::string("bad\xFF\xFE"), std::string("over\xC0\xAF")}) {
    EXPECT_FALSE(FileUtils::isValidFilename(name)) << name;
  }
}

}  // namespace
}  // namespace velune

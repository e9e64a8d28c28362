#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "diag/DRLogging.h"
#include "host/drive/ItemAttributes.h"
#include "model/DRItem.h"
#include "platform/FileCoordinationService.h"
#include "platform/FileCoordinator.h"
#include "platform/ui/Image.h"
#include "tests/support/DriveTestHome.h"

namespace velune {
namespace {

using platform::URL;
using platform::Value;
using testing::DriveTestHome;

// Counts coordinated reads and can refuse every call, as a coordinator that
// is cancelled or cannot reach the item does.
class CountingCoordination final : public platform::FileCoordinationService {
 public:
  explicit CountingCoordination(std::shared_ptr<platform::FileCoordinationService> inner) : inner_(std::move(inner)) {}

  class Coordinator final : public platform::FileCoordinator {
   public:
    Coordinator(CountingCoordination& owner, std::shared_ptr<platform::FileCoordinator> inner)
        : owner_(owner), inner_(std::move(inner)) {}
    std::optional<platform::Error> coordinateReadingItemAtURL(const URL& url,
                                                              platform::FileCoordinatorReadingOptions options,
                                                              const Accessor& accessor) override {
      ++owner_.reads;
      owner_.lastReadingOptions = options;
      if (owner_.refuse) {
        return platform::Error::platform(platform::ErrorCode::UserCancelled);
      }
      return inner_->coordinateReadingItemAtURL(url, options, accessor);
    }
    std::optional<platform::Error> coordinateWritingItemAtURL(const URL& url,
                                                              platform::FileCoordinatorWritingOptions options,
                                                              const Accessor& accessor) override {
      return inner_->coordinateWritingItemAtURL(url, options, accessor);
    }
    std::optional<platform::Error> coordinateWritingItemAtURL(const URL& a, platform::FileCoordinatorWritingOptions oa,
                                                              const URL& b, platform::FileCoordinatorWritingOptions ob,
                                                              const TwoURLAccessor& accessor) override {
      return inner_->coordinateWritingItemAtURL(a, oa, b, ob, accessor);
    }
    void itemAtURLWillMoveToURL(const URL& from, const URL& to) override { inner_->itemAtURLWillMoveToURL(from, to); }
    void cancel() override { inner_->cancel(); }
    std::shared_ptr<platform::FilePresenter> filePresenter() const override { return inner_->filePresenter(); }

   private:
    CountingCoordination& owner_;
    std::shared_ptr<platform::FileCoordinator> inner_;
  };

  std::shared_ptr<platform::FileCoordinator> makeCoordinator(
      std::shared_ptr<platform::FilePresenter> presenter) override {
    return std::make_shared<Coordinator>(*this, inner_->makeCoordinator(std::move(presenter)));
  }
  void addFilePresenter(const std::shared_ptr<platform::FilePresenter>& p) override { inner_->addFilePresenter(p); }
  void removeFilePresenter(const platform::FilePresenter* p) override { inner_->removeFilePresenter(p); }
  std::vector<std::shared_ptr<platform::FilePresenter>> filePresenters() override { return inner_->filePresenters(); }

  std::atomic<int> reads{0};
  std::atomic<unsigned> lastReadingOptions{0};
  bool refuse = false;

 private:
  std::shared_ptr<platform::FileCoordinationService> inner_;
};

class DRItemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    testing::clearLogs();
  }
  // Installs a counting coordinator in front of the drive's.
  CountingCoordination& countReads() {
    counting_ = std::make_shared<CountingCoordination>(home_.services().fileCoordination);
    auto services = home_.services();
    services.fileCoordination = counting_;
    platform::Platform::install(services);
    return *counting_;
  }
  void writePNG(const std::string& path, double width, double height) {
    auto image = ui::Image::blank({width, height}, 1.0);
    ASSERT_TRUE(image);
    ASSERT_FALSE(image->writePNG(path).has_value());
  }

  DriveTestHome home_;
  std::shared_ptr<CountingCoordination> counting_;
};

TEST_F(DRItemTest, InitWithURL_PlainDocumentReadsEveryValue) {
  const std::string path = home_.writeDocument(home_.documents() + "/Notes.txt", "twelve bytes");
  home_.drive().setAttributes(path, host::ItemAttributes{{"Green", "Work"}, false, "owner", false});
  const URL url = URL::fileURLWithPath(path, false);

  auto item = DRItem::initWithURL(url);
  ASSERT_TRUE(item);
  EXPECT_EQ(item->url(), url);
  EXPECT_FALSE(item->isBookmark());
  EXPECT_EQ(item->resolvedURL(), url);
  ASSERT_TRUE(item->promiseURL());
  EXPECT_EQ(*item->promiseURL(), item->resolvedURL());
  EXPECT_FALSE(item->isPromise());
  EXPECT_EQ(item->localizedName(), "Notes.txt");
  EXPECT_EQ(item->typeIdentifier(), "public.plain-text");
  EXPECT_EQ(item->localizedTypeDescription(), "Plain Text Document");
  EXPECT_EQ(item->fileSize(), 12U);
  EXPECT_EQ(item->friendlyFileSize(), "12 bytes");
  EXPECT_TRUE(item->creationDate().isDate());
  EXPECT_TRUE(item->contentModificationDate().isDate());
  ASSERT_TRUE(item->parentDirectoryURL().isURL());
  EXPECT_EQ(item->parentDirectoryURL().asURL()->path(), home_.documents());
  EXPECT_FALSE(item->isDirectory());
  EXPECT_FALSE(item->isPackage());
  EXPECT_FALSE(item->isContainer());
  EXPECT_FALSE(item->hasHiddenExtension());
  EXPECT_TRUE(item->renameable());
  EXPECT_TRUE(item->isDownloaded());
  EXPECT_TRUE(item->canPreview());
  EXPECT_EQ(item->tags(), (std::vector<std::string>{"Green", "Work"}));
  EXPECT_FALSE(item->thumbnailFetched());
  // Every security-scoped access that was started was stopped.
  EXPECT_EQ(home_.resources().accessCount(), 0);
}

TEST_F(DRItemTest, InitWithURL_FoldersAndPackages) {
  home_.makeFolder(home_.documents() + "/Projects");
  home_.makeFolder(home_.documents(testing::kLumiboardContainer) + "/Mood.board");
  home_.writeDocument(home_.documents(testing::kLumiboardContainer) + "/Mood.board/index.json", "{}");

  auto folder = DRItem::initWithURL(URL::fileURLWithPath(home_.documents() + "/Projects", true));
  ASSERT_TRUE(folder);
  EXPECT_TRUE(folder->isDirectory());
  EXPECT_FALSE(folder->isPackage());
  EXPECT_EQ(folder->typeIdentifier(), "public.folder");
  EXPECT_FALSE(folder->fileSize());
  EXPECT_FALSE(folder->friendlyFileSize());
  EXPECT_FALSE(folder->canPreview());

  // A folder that is shown and handled as one document.
  auto package =
      DRItem::initWithURL(URL::fileURLWithPath(home_.documents(testing::kLumiboardContainer) + "/Mood.board", true));
  ASSERT_TRUE(package);
  EXPECT_TRUE(package->isPackage());
  EXPECT_FALSE(package->isDirectory());
  EXPECT_EQ(package->typeIdentifier(), "com.vorlan.lumiboard.board");
  EXPECT_EQ(package->localizedTypeDescription(), "Lumiboard Board");
}

TEST_F(DRItemTest, InitWithURL_CloudOnlyDocumentIsAPromiseNotDownloaded) {
  host::PlaceholderMetadata metadata;
  metadata.size = 8'123'456;
  metadata.attributes.tags = {"Red"};
  const std::string path = home_.writeCloudOnly(home_.documents() + "/Annual Report.pdf", "%PDF-1.4", metadata);

  auto item = DRItem::initWithURL(home_.url(path));
  ASSERT_TRUE(item);
  EXPECT_FALSE(item->isBookmark());
  EXPECT_EQ(item->resolvedURL().path(), path);
  ASSERT_TRUE(item->promiseURL());
  EXPECT_EQ(item->promiseURL()->path(), host::placeholderPathFor(path));
  EXPECT_TRUE(item->isPromise());
  EXPECT_FALSE(item->isDownloaded());
  EXPECT_EQ(item->localizedName(), "Annual Report.pdf");
  EXPECT_EQ(item->typeIdentifier(), "public.pdf");
  EXPECT_EQ(item->fileSize(), 8'123'456U);
  EXPECT_EQ(item->friendlyFileSize(), "8.1 MB");
  EXPECT_TRUE(item->canPreview());
  EXPECT_EQ(item->tags(), std::vector<std::string>{"Red"});

  // The logical URL alone (nothing recorded) still reads, as a document that is not on the phone.
  auto plain = DRItem::initWithURL(URL::fileURLWithPath(path, false));
  ASSERT_TRUE(plain);
  EXPECT_FALSE(plain->isPromise());
  EXPECT_FALSE(plain->isDownloaded());
  EXPECT_EQ(plain->fileSize(), 8'123'456U);
}

TEST_F(DRItemTest, InitWithURL_DocumentReferencesDescribeTheirTarget) {
  const std::string drill = home_.writeDocument(home_.documents(testing::kDrillrunContainer) + "/Warmup.drill", "run");
  const std::string report = home_.writeCloudOnly(home_.documents() + "/Report.pdf", "%PDF");
  const std::string toDrill = home_.documents() + "/Warmup.vdref";
  const std::string toReport = home_.documents() + "/Report.vdref";
  ASSERT_FALSE(home_.drive().writeDocumentReference(toDrill, drill));
  ASSERT_FALSE(home_.drive().writeDocumentReference(toReport, report));

  auto present = DRItem::initWithURL(URL::fileURLWithPath(toDrill, false));
  ASSERT_TRUE(present);
  EXPECT_TRUE(present->isBookmark());
  EXPECT_EQ(present->url().path(), toDrill);
  EXPECT_EQ(present->resolvedURL().path(), drill);
  EXPECT_EQ(present->localizedName(), "Warmup.drill");
  EXPECT_FALSE(present->isPromise());
  EXPECT_TRUE(present->isDownloaded());

  // A placeholder reached through a reference.
  auto promised = DRItem::initWithURL(URL::fileURLWithPath(toReport, false));
  ASSERT_TRUE(promised);
  EXPECT_TRUE(promised->isBookmark());
  EXPECT_EQ(promised->resolvedURL().path(), report);
  ASSERT_TRUE(promised->promiseURL());
  EXPECT_EQ(promised->promiseURL()->path(), host::placeholderPathFor(report));
  EXPECT_TRUE(promised->isPromise());
  EXPECT_FALSE(promised->isDownloaded());

  // A reference whose target is gone, or that points outside the drive, is read as the file it is.
  const std::string broken = home_.documents() + "/Gone.vdref";
  testing::DriveTestHome::writeRaw(broken, R"({"target": "com.vorlan.drive/Documents/Nothing.txt"})");
  const std::string escaping = home_.documents() + "/Escape.vdref";
  testing::DriveTestHome::writeRaw(escaping, R"({"target": "../../../../etc/passwd"})");
  for (const auto& reference : {broken, escaping}) {
    auto item = DRItem::initWithURL(URL::fileURLWithPath(reference, false));
    ASSERT_TRUE(item) << reference;
    EXPECT_FALSE(item->isBookmark());
    EXPECT_EQ(item->resolvedURL().path(), reference);
    EXPECT_EQ(item->typeIdentifier(), "com.vorlan.velune.document-reference");
  }
}

TEST_F(DRItemTest, InitWithURL_SizesThatAreMissingOrNotNumbersGiveNoSize) {
  const std::string noSize = home_.documents() + "/No Size.pdf";
  const std::string wordSize = home_.documents() + "/Word Size.pdf";
  testing::DriveTestHome::writeRaw(host::placeholderPathFor(noSize), R"({"type": "public.pdf"})");
  testing::DriveTestHome::writeRaw(host::placeholderPathFor(wordSize), R"({"size": "big", "modified": "soon"})");
  for (const auto& path : {noSize, wordSize}) {
    auto item = DRItem::initWithURL(home_.url(path));
    ASSERT_TRUE(item) << path;
    EXPECT_FALSE(item->fileSize()) << path;
    EXPECT_FALSE(item->friendlyFileSize()) << path;
  }
  auto word = DRItem::initWithURL(home_.url(wordSize));
  EXPECT_TRUE(word->contentModificationDate().isNull());
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "Placeholder of " + wordSize));
}

TEST_F(DRItemTest, InitFromKeysAndValues_FillsFieldsByTheRules) {
  auto item = DRItem::initWithURL(URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/a.txt", "a"), false));
  ASSERT_TRUE(item);
  const URL where = URL::fileURLWithPath(home_.documents() + "/a.txt", false);
  auto fill = [&](Value::Dictionary values) {
    item->clearValues();
    item->initFromKeysAndValues(values, where);
  };

  // Downloading status: missing and not-downloaded read as not downloaded; any other as downloaded.
  fill({});
  EXPECT_FALSE(item->isDownloaded());
  fill({{ResourceKey::DownloadingStatus, Value(kDownloadingStatusNotDownloaded)}});
  EXPECT_FALSE(item->isDownloaded());
  fill({{ResourceKey::DownloadingStatus, Value(kDownloadingStatusDownloaded)}});
  EXPECT_TRUE(item->isDownloaded());
  fill({{ResourceKey::DownloadingStatus, Value(kDownloadingStatusCurrent)}});
  EXPECT_TRUE(item->isDownloaded());

  // Sharing: an owner may rename, a participant may not.
  fill({{ResourceKey::IsShared, Value(true)}, {ResourceKey::SharedItemRole, Value(kSharedItemRoleOwner)}});
  EXPECT_TRUE(item->renameable());
  fill({{ResourceKey::IsShared, Value(true)}, {ResourceKey::SharedItemRole, Value(kSharedItemRoleParticipant)}});
  EXPECT_FALSE(item->renameable());
  fill({{ResourceKey::IsShared, Value(false)}, {ResourceKey::SharedItemRole, Value(kSharedItemRoleParticipant)}});
  EXPECT_TRUE(item->renameable());

  // Names: the localised name, else the plain one.
  fill({{ResourceKey::Name, Value("plain.txt")}});
  EXPECT_EQ(item->localizedName(), "plain.txt");
  fill({{ResourceKey::Name, Value("plain.txt")}, {ResourceKey::LocalizedName, Value("Shown")}});
  EXPECT_EQ(item->localizedName(), "Shown");

  // The registry's description replaces the item's own; an unknown type keeps it.
  fill({{ResourceKey::TypeIdentifier, Value("public.png")}, {ResourceKey::LocalizedTypeDescription, Value("Picture")}});
  EXPECT_EQ(item->localizedTypeDescription(), "PNG Image");
  fill({{ResourceKey::TypeIdentifier, Value("org.example.x")}, {ResourceKey::LocalizedTypeDescription, Value("X")}});
  EXPECT_EQ(item->localizedTypeDescription(), "X");

  // Sizes: a number gives a size and its text; anything else leaves both empty.
  fill({{ResourceKey::FileSize, Value(std::uint64_t{2'000'000})}});
  EXPECT_EQ(item->fileSize(), 2'000'000U);
  EXPECT_EQ(item->friendlyFileSize(), "2 MB");
  fill({{ResourceKey::FileSize, Value("2000")}});
  EXPECT_FALSE(item->fileSize());
  EXPECT_FALSE(item->friendlyFileSize());

  // A package is never also a folder.
  fill({{ResourceKey::IsDirectory, Value(true)}, {ResourceKey::IsPackage, Value(true)}});
  EXPECT_TRUE(item->isPackage());
  EXPECT_FALSE(item->isDirectory());
  fill({{ResourceKey::HasHiddenExtension, Value(true)}});
  EXPECT_TRUE(item->hasHiddenExtension());
  fill({});
  EXPECT_FALSE(item->hasHiddenExtension());
}

TEST_F(DRItemTest, InitWithURL_ContainersAreNamedByTheirContainerAndNeverRenameable) {
  for (const auto& [container, name] : std::vector<std::pair<std::string, std::string>>{
           {testing::kDrillrunContainer, "Drillrun"}, {testing::kDefaultContainer, "Velune Drive"}}) {
    auto item = DRItem::initWithURL(URL::fileURLWithPath(home_.documents(container), true));
    ASSERT_TRUE(item) << container;
    EXPECT_TRUE(item->isContainer());
    EXPECT_FALSE(item->renameable());
    EXPECT_EQ(item->localizedName(), name);
  }
  // A folder inside a container is an ordinary folder.
  home_.makeFolder(home_.documents(testing::kDrillrunContainer) + "/Documents");
  auto inner =
      DRItem::initWithURL(URL::fileURLWithPath(home_.documents(testing::kDrillrunContainer) + "/Documents", true));
  ASSERT_TRUE(inner);
  EXPECT_FALSE(inner->isContainer());
  EXPECT_TRUE(inner->renameable());
}

TEST_F(DRItemTest, InitWithURL_SharedDocumentsOfParticipantsAreNotRenameable) {
  const std::string mine = home_.writeDocument(home_.documents() + "/Mine.txt", "m");
  const std::string theirs = home_.writeDocument(home_.documents() + "/Theirs.txt", "t");
  home_.drive().setAttributes(mine, host::ItemAttributes{{}, true, "owner", false});
  home_.drive().setAttributes(theirs, host::ItemAttributes{{}, true, "participant", false});
  host::PlaceholderMetadata cloudShared;
  cloudShared.attributes = host::ItemAttributes{{}, true, "participant", false};
  const std::string cloud = home_.writeCloudOnly(home_.documents() + "/Cloud Shared.txt", "c", cloudShared);

  EXPECT_TRUE(DRItem::initWithURL(URL::fileURLWithPath(mine, false))->renameable());
  EXPECT_FALSE(DRItem::initWithURL(URL::fileURLWithPath(theirs, false))->renameable());
  EXPECT_FALSE(DRItem::initWithURL(home_.url(cloud))->renameable());
}

TEST_F(DRItemTest, InitWithURL_FailuresGiveNoRecordAndAreLogged) {
  const std::string missing = home_.documents() + "/Missing.txt";
  EXPECT_FALSE(DRItem::initWithURL(URL::fileURLWithPath(missing, false)));
  EXPECT_TRUE(testing::loggedAt(
      kLogErr, "Failed to cache values for URL " + URL::fileURLWithPath(missing, false).absoluteString()));

  // A placeholder that is not JSON: the promised values fail, the plain ones too.
  const std::string corrupt = home_.documents() + "/Corrupt.pdf";
  testing::DriveTestHome::writeRaw(host::placeholderPathFor(corrupt), "{not json");
  testing::clearLogs();
  EXPECT_FALSE(DRItem::initWithURL(home_.url(corrupt)));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogWarning, "promisedItemResourceValuesForKeys failed on "));
  EXPECT_TRUE(testing::loggedPrefixAt(kLogErr, "Failed to cache values for URL "));
  // Nothing was lost: the broken placeholder is still there for someone to mend.
  EXPECT_EQ(testing::DriveTestHome::read(host::placeholderPathFor(corrupt)), "{not json");

  EXPECT_FALSE(DRItem::initWithURL(URL()));
  EXPECT_EQ(home_.resources().accessCount(), 0);
}

TEST_F(DRItemTest, InitWithURL_RefusedReadStillGivesTheClearedRecord) {
  const std::string path = home_.writeDocument(home_.documents() + "/Notes.txt", "notes");
  auto& counting = countReads();
  counting.refuse = true;

  auto item = DRItem::initWithURL(URL::fileURLWithPath(path, false));
  ASSERT_TRUE(item);
  EXPECT_EQ(counting.reads.load(), 1);
  EXPECT_EQ(counting.lastReadingOptions.load(), platform::kReadingImmediatelyAvailableMetadataOnly);
  EXPECT_EQ(item->resolvedURL().path(), path);
  EXPECT_FALSE(item->isBookmark());
  ASSERT_TRUE(item->promiseURL());
  EXPECT_FALSE(item->localizedName());
  EXPECT_FALSE(item->fileSize());
  EXPECT_TRUE(item->renameable());
  EXPECT_TRUE(item->hasHiddenExtension());
  EXPECT_FALSE(item->isDownloaded());
  EXPECT_FALSE(item->tags());
  // The access started before the read is stopped although the accessor never ran.
  EXPECT_EQ(home_.resources().accessCount(), 0);
}

TEST_F(DRItemTest, SetUrl_RereadsOnlyForAnotherURL) {
  const std::string first = home_.writeDocument(home_.documents() + "/First.txt", "1");
  const std::string second = home_.writeDocument(home_.documents() + "/Second.md", "22");
  auto item = DRItem::initWithURL(URL::fileURLWithPath(first, false));
  ASSERT_TRUE(item);
  auto& counting = countReads();

  item->setUrl(URL::fileURLWithPath(first, false));
  EXPECT_EQ(counting.reads.load(), 0);
  EXPECT_EQ(item->localizedName(), "First.txt");

  item->setUrl(URL::fileURLWithPath(second, false));
  EXPECT_EQ(counting.reads.load(), 1);
  EXPECT_EQ(item->localizedName(), "Second.md");
  EXPECT_EQ(item->typeIdentifier(), "public.markdown");
  EXPECT_EQ(item->fileSize(), 2U);
}

TEST_F(DRItemTest, Thumbnail_IsFetchedOnceAndOnlyAt1024) {
  const std::string picture = home_.documents() + "/Sunset.png";
  writePNG(picture, 1600, 900);
  const std::string text = home_.writeDocument(home_.documents() + "/Plain.txt", "no picture");
  auto image = DRItem::initWithURL(URL::fileURLWithPath(picture, false));
  auto plain = DRItem::initWithURL(URL::fileURLWithPath(text, false));
  ASSERT_TRUE(image && plain);
  auto& counting = countReads();

  auto thumbnail = image->thumbnail();
  ASSERT_TRUE(thumbnail);
  EXPECT_TRUE(image->thumbnailFetched());
  EXPECT_EQ(thumbnail->pixelWidth(), 1024);
  EXPECT_EQ(thumbnail->pixelHeight(), 1024);
  EXPECT_EQ(image->thumbnail(), thumbnail);
  EXPECT_EQ(counting.reads.load(), 1);

  // Nothing found the first time: later calls never read again.
  EXPECT_FALSE(plain->thumbnail());
  EXPECT_FALSE(plain->thumbnail());
  EXPECT_EQ(counting.reads.load(), 2);
  EXPECT_EQ(home_.resources().accessCount(), 0);
}

TEST_F(DRItemTest, UpdateThumbnailImage_TakesOnlyAn1024Image) {
  auto item = DRItem::initWithURL(URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/x.txt", "x"), false));
  ASSERT_TRUE(item);
  auto picture = ui::Image::blank({1024, 1024}, 1.0);
  item->updateThumbnailImage(Value(Value::Dictionary{{"512x512", Value(picture)}}));
  EXPECT_FALSE(item->thumbnail());  // (fetching found nothing for a text file either)
  item->updateThumbnailImage(Value(Value::Dictionary{{kThumbnail1024x1024SizeKey, Value("not an image")}}));
  item->updateThumbnailImage(Value("not a map"));
  item->updateThumbnailImage(Value(Value::Dictionary{}));
  EXPECT_FALSE(item->thumbnail());
  item->updateThumbnailImage(Value(Value::Dictionary{{kThumbnail1024x1024SizeKey, Value(picture)}}));
  EXPECT_EQ(item->thumbnail(), picture);
  EXPECT_TRUE(testing::loggedPrefixAt(kLogDebug, "URL Thumbs: "));
}

TEST_F(DRItemTest, Thumbnail_OfACloudOnlyPictureComesFromTheServersCopy) {
  const std::string path = home_.documents() + "/Harbour.png";
  writePNG(home_.cloudPathOf(path), 400, 300);
  testing::DriveTestHome::writeRaw(host::placeholderPathFor(path), R"({"size": 1234})");
  auto item = DRItem::initWithURL(home_.url(path));
  ASSERT_TRUE(item);
  EXPECT_FALSE(item->isDownloaded());
  auto thumbnail = item->thumbnail();
  ASSERT_TRUE(thumbnail);
  EXPECT_EQ(thumbnail->pixelWidth(), 1024);
}

TEST_F(DRItemTest, Init_IsRefused) {
  try {
    DRItem::init();
    FAIL() << "DRItem::init() made a record";
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "Don't call DRItem::init.");
  }
}

TEST_F(DRItemTest, FriendlyDates_OnlyForDates) {
  EXPECT_FALSE(DRItem::friendlyDate(Value("2026-01-02"), 3));
  EXPECT_FALSE(DRItem::friendlyDate(Value(), 3));
  const Value date(platform::Date::fromSecondsSince1970(1767355200));  // 2026-01-02 12:00 UTC
  const auto longText = DRItem::friendlyDate(date, 3);
  const auto shortText = DRItem::friendlyDate(date, 1);
  const auto timeOnly = DRItem::friendlyDate(date, 0);
  ASSERT_TRUE(longText && shortText && timeOnly);
  EXPECT_NE(longText->find("2026"), std::string::npos);
  EXPECT_NE(longText->find("January"), std::string::npos);
  EXPECT_EQ(shortText->find("January"), std::string::npos);
  EXPECT_EQ(timeOnly->find("2026"), std::string::npos);
  EXPECT_NE(timeOnly->find(':'), std::string::npos);

  auto item = DRItem::initWithURL(URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/d.txt", "d"), false));
  ASSERT_TRUE(item);
  EXPECT_TRUE(item->friendlyCreationDate(2));
  EXPECT_TRUE(item->friendlyContentModificationDate(2));
  item->clearValues();
  EXPECT_FALSE(item->friendlyCreationDate(2));
  EXPECT_FALSE(item->friendlyContentModificationDate(2));
}

TEST_F(DRItemTest, SharedKeysAndThumbnailQueue_AreMadeOnce) {
  // Every one of the 14 positions: the record's reader takes values by place.
  EXPECT_EQ(DRItem::resourceKeys(),
            (std::vector<std::string>{ResourceKey::Name, ResourceKey::LocalizedName, ResourceKey::TypeIdentifier,
                                      ResourceKey::LocalizedTypeDescription, ResourceKey::FileSize,
                                      ResourceKey::CreationDate, ResourceKey::ContentModificationDate,
                                      ResourceKey::IsDirectory, ResourceKey::IsPackage,
                                      ResourceKey::HasHiddenExtension, ResourceKey::ParentDirectoryURL,
                                      ResourceKey::IsShared, ResourceKey::SharedItemRole,
                                      ResourceKey::DownloadingStatus}));

  // Threads that ask at the same moment all get the one queue and key list.
  std::vector<const void*> queues(8);
  std::vector<const void*> keyLists(8);
  {
    std::vector<std::thread> threads;
    for (size_t i = 0; i < queues.size(); ++i) {
      threads.emplace_back([&, i] {
        queues[i] = &DRItem::getThumbnailQueue();
        keyLists[i] = &DRItem::resourceKeys();
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
  }
  auto& queue = DRItem::getThumbnailQueue();
  for (size_t i = 0; i < queues.size(); ++i) {
    EXPECT_EQ(queues[i], &queue);
    EXPECT_EQ(keyLists[i], keyLists[0]);
  }
  EXPECT_EQ(queue.name(), "thumbnailQueue");
  EXPECT_EQ(static_cast<int>(queue.qualityOfService()), 9);
  EXPECT_NE(queue.maxConcurrentOperationCount(), 1);

  auto item = DRItem::initWithURL(URL::fileURLWithPath(home_.writeDocument(home_.documents() + "/g.txt", "g"), false));
  ASSERT_TRUE(item);
  EXPECT_FALSE(item->canGenerateThumbnail());
  bool called = false;
  item->generateThumbnail([&](std::shared_ptr<ui::Image> image) {
    called = true;
    EXPECT_FALSE(image);
  });
  EXPECT_TRUE(called);
}

}  // namespace
}  // namespace velune

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "host/DeviceSettingsEditor.h"
#include "host/HostQuotaService.h"
#include "platform/DispatchQueue.h"
#include "tests/support/TestSupport.h"

namespace velune::host {
namespace {

using platform::QuotaRequest;

void writeBytes(const std::string& path, size_t count) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << std::string(count, 'x');
}

// A file that claims `size` bytes but holds none on disk.
void makeSparse(const std::string& path, off_t size) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(ftruncate(fd, size), 0);
  close(fd);
}

QuotaRequest driveRequest() {
  QuotaRequest request;
  request.containerIdentifier = kCloudDocumentsContainerIdentifier;
  return request;
}

class HostQuotaServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(layout.cloud());
    device.quotaTotalBytes = 1'000'000'000;
  }

  testing::TempDirectory home;
  HomeLayout layout{home.path()};
  DeviceConfiguration device;
};

TEST_F(HostQuotaServiceTest, Count_TakesLogicalSizesOfFilesOnlyAndStaysInsideTheCloud) {
  writeBytes(layout.cloud() + "/Documents/a.txt", 1000);
  writeBytes(layout.cloud() + "/Documents/Deep/er/b.bin", 24);
  writeBytes(layout.cloud() + "/kvstore.json", 0);
  makeSparse(layout.cloud() + "/Documents/movie.mov", 200 * 1024 * 1024);
  // Outside the cloud, reached only through links: not counted.
  writeBytes(home.file("outside/big.bin"), 5000);
  std::filesystem::create_symlink(home.file("outside/big.bin"), layout.cloud() + "/link-to-file");
  std::filesystem::create_directory_symlink(home.file("outside"), layout.cloud() + "/link-to-folder");
  // A copy in progress (or left by a killed process) is no one's document.
  writeBytes(layout.cloud() + "/Documents/.vdtmp-123-456-0-1", 7000);
  std::filesystem::create_directory(layout.cloud() + "/Documents/.vdtmp-123-456-1-2");
  writeBytes(layout.cloud() + "/Documents/.vdtmp-123-456-1-2/inside.bin", 300);

  const auto stored = HostQuotaService::bytesStored(layout.cloud());
  ASSERT_TRUE(stored.ok()) << stored.error().description();
  EXPECT_EQ(stored.value(), 1000u + 24u + 200u * 1024 * 1024);

  const auto available = HostQuotaService::bytesAvailable(driveRequest(), device, layout.cloud());
  ASSERT_TRUE(available.ok());
  EXPECT_EQ(available.value(), 1'000'000'000u - stored.value());

  // Over quota is none left, not a wrapped-around number.
  device.quotaTotalBytes = 1000;
  EXPECT_EQ(HostQuotaService::bytesAvailable(driveRequest(), device, layout.cloud()).value(), 0u);
  // Nothing stored yet.
  EXPECT_EQ(HostQuotaService::bytesStored(home.file("no-cloud-yet")).value(), 0u);
}

TEST_F(HostQuotaServiceTest, Refusals_NameWhyTheQuotaIsNotKnown) {
  struct Case {
    const char* what;
    std::function<void(DeviceConfiguration&, QuotaRequest&, std::string&)> change;
    std::string domain;
    std::int64_t code;
  };
  const Case cases[] = {
      {"offline", [](auto& d, auto&, auto&) { d.network = NetworkSetting::Offline; },
       std::string(platform::kPlatformErrorDomain), platform::ErrorCode::CloudServerNotAvailable},
      {"signed out", [](auto& d, auto&, auto&) { d.identityToken.reset(); }, std::string(platform::kQuotaErrorDomain),
       platform::QuotaErrorCode::NotAuthenticated},
      {"cellular not allowed",
       [](auto& d, auto& r, auto&) {
         d.network = NetworkSetting::Cellular;
         r.allowsCellularAccess = false;
       },
       std::string(platform::kQuotaErrorDomain), platform::QuotaErrorCode::CellularAccessDenied},
      {"another container", [](auto&, auto& r, auto&) { r.containerIdentifier = "com.example.other"; },
       std::string(platform::kQuotaErrorDomain), platform::QuotaErrorCode::UnknownContainer},
      {"shared database", [](auto&, auto& r, auto&) { r.databaseScope = platform::QuotaDatabaseScope::Shared; },
       std::string(platform::kQuotaErrorDomain), platform::QuotaErrorCode::UnknownContainer},
      {"cloud is not a folder",
       [this](auto&, auto&, auto& root) {
         root = home.file("cloud-file");
         std::ofstream(root) << "x";
       },
       std::string(platform::kQuotaErrorDomain), platform::QuotaErrorCode::StorageUnreadable},
  };
  for (const auto& each : cases) {
    DeviceConfiguration changed = device;
    QuotaRequest request = driveRequest();
    std::string root = layout.cloud();
    each.change(changed, request, root);
    const auto answer = HostQuotaService::bytesAvailable(request, changed, root);
    ASSERT_FALSE(answer.ok()) << each.what;
    EXPECT_EQ(answer.error().domain(), each.domain) << each.what;
    EXPECT_EQ(answer.error().code(), each.code) << each.what;
    EXPECT_TRUE(answer.error().localizedDescription()) << each.what;
  }
  // Cellular with cellular allowed is fine.
  device.network = NetworkSetting::Cellular;
  EXPECT_TRUE(HostQuotaService::bytesAvailable(driveRequest(), device, layout.cloud()).ok());
}

TEST_F(HostQuotaServiceTest, Submit_CompletesOnceOnTheServiceQueueWithTheDevicesSettings) {
  ASSERT_FALSE(DeviceSettingsEditor::set(layout, "quotaTotalBytes", 10'000));
  writeBytes(layout.cloud() + "/Documents/a.txt", 4000);
  auto monitor = DeviceMonitor::create(layout);
  auto service = std::make_shared<HostQuotaService>(layout.cloud(), monitor);
  EXPECT_EQ(service->cloudDocumentsContainerIdentifier(), kCloudDocumentsContainerIdentifier);

  std::mutex mutex;
  std::condition_variable done;
  std::vector<std::pair<std::uint64_t, std::string>> answers;  // bytes, queue
  std::vector<std::optional<platform::Error>> errors;
  auto completion = [&](std::uint64_t bytes, std::optional<platform::Error> error) {
    std::lock_guard lock(mutex);
    answers.emplace_back(bytes, platform::DispatchQueue::currentLabel());
    errors.push_back(std::move(error));
    done.notify_all();
  };
  service->submit(driveRequest(), completion);
  QuotaRequest wrong = driveRequest();
  wrong.containerIdentifier = "elsewhere";
  service->submit(wrong, completion);
  service.reset();  // answers come even when the service has gone
  std::unique_lock lock(mutex);
  ASSERT_TRUE(done.wait_for(lock, std::chrono::seconds(5), [&] { return answers.size() == 2; }));
  EXPECT_EQ(answers[0], std::make_pair(std::uint64_t{6000}, std::string(kQuotaServiceQueueLabel)));
  EXPECT_FALSE(errors[0]);
  EXPECT_EQ(answers[1].second, kQuotaServiceQueueLabel);
  ASSERT_TRUE(errors[1]);
  EXPECT_EQ(errors[1]->code(), platform::QuotaErrorCode::UnknownContainer);
}

}  // namespace
}  // namespace velune::host

#include "host/drive/DemoHome.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "host/CloudTagDictionary.h"
#include "host/DeviceConfiguration.h"
#include "host/FileIO.h"
#include "host/HostCloudKeyValueStore.h"
#include "host/drive/Drive.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/FileOperations.h"
#include "host/drive/PlaceholderMetadata.h"
#include "platform/Date.h"

namespace velune::host {

using platform::Error;

namespace {

// The installed applications: the two that may send launch URLs (Drillrun
// and the Lumiboard home screen), Jotter (installed, not trusted), a mail
// application that opens documents only as copies, and this app itself as
// the default for two picture types (so it is never handed its own pictures).
constexpr const char* kAppsJson = R"({
  "applications": [
    {"identifier": "com.vorlan.Drillrun", "name": "Drillrun", "shortName": "Drills", "version": "4.2",
     "vendor": "Vorlan", "executable": "Drillrun", "description": "Training drills", "opensInPlace": true, "defaultFor": ["com.vorlan.drillrun.drill"]},
    {"identifier": "com.vorlan.lumiboard", "name": "Lumiboard", "version": "2.0", "vendor": "Vorlan",
     "opensInPlace": true, "defaultFor": ["com.vorlan.lumiboard.board"]},
    {"identifier": "com.vorlan.Jotter", "name": "Jotter", "version": "1.3", "vendor": "Vorlan",
     "opensInPlace": true, "defaultFor": []},
    {"identifier": "org.example.mailer", "name": "Mailer", "version": "7.1", "vendor": "Example",
     "opensInPlace": false, "defaultFor": ["public.pdf"]},
    {"identifier": "com.vorlan.VeluneDriveApp", "name": "Velune Drive", "version": "1.0", "vendor": "Vorlan",
     "opensInPlace": true, "defaultFor": ["public.png", "public.jpeg"]}
  ]
}
)";

constexpr const char* kContainersJson = R"({
  "containers": [
    {"identifier": "com.vorlan.drive", "name": "Velune Drive"},
    {"identifier": "com.vorlan.Drillrun", "name": "Drillrun", "folderDepth": "any",
     "documentTypes": [{"name": "Drill", "contentTypes": ["com.vorlan.drillrun.drill", "public.plain-text"]}]},
    {"identifier": "com.vorlan.lumiboard", "name": "Lumiboard", "folderDepth": "one",
     "documentTypes": [{"name": "Board", "contentTypes": ["com.vorlan.lumiboard.board"]},
                       {"name": "Picture", "contentTypes": ["public.image"]}]},
    {"identifier": "com.vorlan.Jotter", "name": "Jotter", "folderDepth": "none",
     "documentTypes": [{"name": "Note", "contentTypes": ["public.text"]}]}
  ]
}
)";

bool isEmptyOrMissing(const std::string& directory) {
  std::vector<std::string> names;
  const int error = FileOperations::folderNames(directory, names);
  return error == ENOENT || (error == 0 && names.empty());
}

cairo_status_t appendBytes(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

// A picture: a sky gradient, a sun and hills, with a title.
std::string drawPicture(int width, int height, double hue, const std::string& title) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_pattern_t* sky = cairo_pattern_create_linear(0, 0, 0, height);
  cairo_pattern_add_color_stop_rgb(sky, 0, 0.1 + hue * 0.5, 0.3, 0.7 - hue * 0.4);
  cairo_pattern_add_color_stop_rgb(sky, 1, 0.95, 0.6 + hue * 0.3, 0.4);
  cairo_set_source(cr, sky);
  cairo_paint(cr);
  cairo_pattern_destroy(sky);
  cairo_set_source_rgb(cr, 1.0, 0.85, 0.3);
  cairo_arc(cr, width * 0.7, height * 0.45, height * 0.12, 0, 2 * M_PI);
  cairo_fill(cr);
  cairo_set_source_rgb(cr, 0.15, 0.35 + hue * 0.2, 0.2);
  cairo_move_to(cr, 0, height);
  for (int x = 0; x <= width; x += 8) {
    cairo_line_to(cr, x, height * (0.72 + 0.08 * std::sin(x * 0.01 + hue * 3)));
  }
  cairo_line_to(cr, width, height);
  cairo_close_path(cr);
  cairo_fill(cr);
  cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(cr, height * 0.08);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_move_to(cr, width * 0.05, height * 0.15);
  cairo_show_text(cr, title.c_str());
  cairo_destroy(cr);
  std::string png;
  cairo_surface_write_to_png_stream(surface, appendBytes, &png);
  cairo_surface_destroy(surface);
  return png;
}

// A PDF of pages of text; with `noiseBytes`, a page holding a photo-like
// picture of that many bytes, which does not compress (to make a big document).
std::string drawPDF(const std::string& title, const std::vector<std::string>& lines, size_t noiseBytes) {
  std::string pdf;
  cairo_surface_t* surface = cairo_pdf_surface_create_for_stream(appendBytes, &pdf, 595, 842);
  cairo_t* cr = cairo_create(surface);
  cairo_select_font_face(cr, "DejaVu Serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(cr, 26);
  cairo_move_to(cr, 60, 100);
  cairo_show_text(cr, title.c_str());
  cairo_select_font_face(cr, "DejaVu Serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr, 13);
  double y = 150;
  for (const auto& line : lines) {
    cairo_move_to(cr, 60, y);
    cairo_show_text(cr, line.c_str());
    y += 22;
  }
  cairo_show_page(cr);
  if (noiseBytes > 0) {
    const int side = static_cast<int>(std::sqrt(static_cast<double>(noiseBytes) / 3.0)) + 1;
    cairo_surface_t* picture = cairo_image_surface_create(CAIRO_FORMAT_RGB24, side, side);
    cairo_surface_flush(picture);
    unsigned char* pixels = cairo_image_surface_get_data(picture);
    const int stride = cairo_image_surface_get_stride(picture);
    std::mt19937 random(42);
    for (int row = 0; row < side; ++row) {
      auto* out = reinterpret_cast<std::uint32_t*>(pixels + static_cast<ptrdiff_t>(row) * stride);
      for (int x = 0; x < side; ++x) {
        out[x] = random() & 0xFFFFFFU;
      }
    }
    cairo_surface_mark_dirty(picture);
    cairo_save(cr);
    cairo_scale(cr, 475.0 / side, 475.0 / side);
    cairo_set_source_surface(cr, picture, 60 * side / 475.0, 120 * side / 475.0);
    cairo_paint(cr);
    cairo_restore(cr);
    cairo_surface_destroy(picture);
    cairo_show_page(cr);
  }
  cairo_destroy(cr);
  cairo_surface_finish(surface);
  cairo_surface_destroy(surface);
  return pdf;
}

// One second of a chime (16-bit mono PCM).
std::string chimeWAV() {
  const int rate = 22050;
  std::vector<std::int16_t> samples(rate);
  for (size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i) / rate;
    samples[i] = static_cast<std::int16_t>(9000 * std::exp(-3 * t) *
                                           (std::sin(2 * M_PI * 880 * t) + 0.5 * std::sin(2 * M_PI * 1320 * t)));
  }
  auto u32 = [](std::uint32_t v) {
    return std::string{static_cast<char>(v & 0xFF), static_cast<char>((v >> 8) & 0xFF),
                       static_cast<char>((v >> 16) & 0xFF), static_cast<char>((v >> 24) & 0xFF)};
  };
  auto u16 = [](std::uint16_t v) { return std::string{static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)}; };
  const auto dataBytes = static_cast<std::uint32_t>(samples.size() * 2);
  std::string wav = "RIFF" + u32(36 + dataBytes) + "WAVEfmt " + u32(16) + u16(1) + u16(1) + u32(rate) + u32(rate * 2) +
                    u16(2) + u16(16) + "data" + u32(dataBytes);
  wav.append(reinterpret_cast<const char*>(samples.data()), dataBytes);
  return wav;
}

class Builder {
 public:
  explicit Builder(const HomeLayout& layout) : layout_(layout), drive_(layout) {}

  std::string docs(const std::string& container) const {
    return layout_.mobileDocuments() + "/" + container + "/Documents";
  }

  // A document on the phone and on the server, last changed `daysAgo` days ago.
  void document(const std::string& path, const std::string& bytes, double daysAgo) {
    write(path, bytes, daysAgo);
    write(cloudOf(path), bytes, daysAgo);
  }
  void folder(const std::string& path) {
    remember(makeDirectories(path));
    remember(makeDirectories(cloudOf(path)));
  }
  // Only in the cloud: the bytes on the server and a placeholder on the phone.
  void cloudOnly(const std::string& path, const std::string& bytes, double daysAgo, ItemAttributes attributes = {}) {
    write(cloudOf(path), bytes, daysAgo);
    placeholder(path, bytes.size(), daysAgo, std::move(attributes));
  }
  void sparseCloudOnly(const std::string& path, std::uint64_t size, double daysAgo) {
    remember(makeDirectories(splitParent(cloudOf(path)).first));
    if (const int error = drive_.operations().writeSparseFile(cloudOf(path), size, false)) {
      remember(Error::fromErrno(error, path, true));
    }
    placeholder(path, size, daysAgo, {});
  }
  void attributes(const std::string& path, const ItemAttributes& attributes) {
    remember(drive_.setAttributes(path, attributes));
  }
  void reference(const std::string& path, const std::string& target) {
    remember(drive_.writeDocumentReference(path, target));
  }
  // Only on the phone: never uploaded (hidden scratch files).
  void localOnly(const std::string& path, const std::string& bytes) { write(path, bytes, 1); }

  std::optional<Error> result() const { return firstError_; }
  const HomeLayout& layout() const { return layout_; }

 private:
  std::string cloudOf(const std::string& path) const {
    return layout_.cloud() + path.substr(layout_.mobileDocuments().size());
  }
  void remember(std::optional<Error> error) {
    if (error && !firstError_) {
      firstError_ = std::move(error);
    }
  }
  void write(const std::string& path, const std::string& bytes, double daysAgo) {
    remember(makeDirectories(splitParent(path).first));
    if (const int error = drive_.operations().writeFile(path, bytes, false)) {
      remember(Error::fromErrno(error, path, true));
      return;
    }
    const double when = platform::Date::now().timeIntervalSince1970() - daysAgo * 86400.0;
    timespec times[2];
    times[0].tv_sec = static_cast<time_t>(when);
    times[0].tv_nsec = 0;
    times[1] = times[0];
    ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
  }
  void placeholder(const std::string& path, std::uint64_t size, double daysAgo, ItemAttributes attributes) {
    PlaceholderMetadata metadata;
    metadata.size = size;
    const double when = platform::Date::now().timeIntervalSince1970() - daysAgo * 86400.0;
    metadata.created = platform::Date::fromSecondsSince1970(when - 86400.0 * 3);
    metadata.modified = platform::Date::fromSecondsSince1970(when);
    metadata.attributes = std::move(attributes);
    remember(makeDirectories(splitParent(path).first));
    if (const int error = drive_.operations().writeFile(placeholderPathFor(path), metadata.serialize(), false)) {
      remember(Error::fromErrno(error, path, true));
    }
  }

  HomeLayout layout_;
  Drive drive_;
  std::optional<Error> firstError_;
};

}  // namespace

const char* DemoHome::containersJson() { return kContainersJson; }
const char* DemoHome::appsJson() { return kAppsJson; }

std::vector<CloudTag> DemoHome::demoTags() {
  return {{"Red", 6},   {"Orange", 7}, {"Yellow", 5}, {"Green", 2}, {"Blue", 4},
          {"Purple", 3}, {"Grey", 1},   {"Work", 0},   {"Home", 4}};
}

std::optional<Error> DemoHome::make(const std::string& directory) {
  if (!isEmptyOrMissing(directory)) {
    return Error::platform(platform::ErrorCode::FileWriteFileExists,
                           {{std::string(platform::kFilePathErrorKey), platform::Value(directory)},
                            {std::string(platform::kLocalizedDescriptionKey),
                             platform::Value(directory + " is not empty; a demo home is only made in a new folder.")}});
  }
  const HomeLayout layout(directory);
  if (auto error = layout.ensureSkeleton()) {
    return error;
  }
  return populate(layout);
}

std::optional<Error> DemoHome::populate(const HomeLayout& layout) {
  if (!isEmptyOrMissing(layout.mobileDocuments())) {
    return std::nullopt;  // a drive that has contents is the user's
  }
  struct stat info {};
  if (::stat(layout.containersJson().c_str(), &info) != 0) {
    if (auto error = writeFileAtomically(layout.containersJson(), kContainersJson)) {
      return error;
    }
  }
  if (::stat(layout.deviceJson().c_str(), &info) != 0) {
    if (auto error = DeviceConfiguration{}.write(layout.deviceJson())) {
      return error;
    }
  }
  if (::lstat(layout.appsJson().c_str(), &info) != 0) {
    if (auto error = writeFileAtomically(layout.appsJson(), kAppsJson)) {
      return error;
    }
  }
  Builder b(layout);
  const std::string drive = b.docs("com.vorlan.drive");
  const std::string drillrun = b.docs("com.vorlan.Drillrun");
  const std::string lumiboard = b.docs("com.vorlan.lumiboard");
  const std::string jotter = b.docs("com.vorlan.Jotter");
  for (const auto& documents : {drive, drillrun, lumiboard, jotter}) {
    b.folder(documents);
  }

  // The drive's own container.
  b.document(drive + "/Welcome.txt",
             "Welcome to Velune Drive.\n\nTap a document to open it; documents with a cloud mark are downloaded "
             "when you open them.\nUse Edit to move, delete or make folders.\n",
             0.5);
  b.attributes(drive + "/Welcome.txt", ItemAttributes{{"Green"}, false, std::string(kRoleOwner), false});
  b.folder(drive + "/Projects");
  b.attributes(drive + "/Projects", ItemAttributes{{"Blue", "Work"}, false, std::string(kRoleOwner), false});
  b.folder(drive + "/Projects/Plans");
  b.document(drive + "/Projects/Plans/Roadmap.md",
             "# Roadmap\n\n- Spring: drafts\n- Summer: reviews\n- Autumn: release\n", 12);
  b.document(drive + "/Projects/Plans/Milestones.csv", "Milestone,Due\nDraft,2026-03-01\nReview,2026-06-15\n", 9);
  b.document(drive + "/Projects/Brochure.pdf",
             drawPDF("Velune Brochure", {"A short brochure made for the demo drive.", "It has one page of text."}, 0),
             20);
  // Every colour of the dictionary on one document, and a tag it does not know.
  b.attributes(drive + "/Projects/Brochure.pdf",
               ItemAttributes{{"Red", "Orange", "Yellow", "Green", "Blue", "Purple", "Grey", "Work", "Draft"},
                              false,
                              std::string(kRoleOwner),
                              false});
  b.folder(drive + "/Photos");
  b.document(drive + "/Photos/Sunset.png", drawPicture(1600, 1000, 0.2, "Sunset"), 30);
  b.attributes(drive + "/Photos/Sunset.png", ItemAttributes{{"Orange"}, false, std::string(kRoleOwner), false});
  b.cloudOnly(drive + "/Photos/Harbour.png", drawPicture(1400, 900, 0.7, "Harbour"), 4);
  b.cloudOnly(drive + "/Annual Report.pdf",
              drawPDF("Annual Report", {"Figures of the year, with a full-page photograph."}, 7'000'000), 2,
              ItemAttributes{{"Red"}, false, std::string(kRoleOwner), false});
  b.sparseCloudOnly(drive + "/Holiday Film.mp4", 157'286'400, 40);
  b.document(drive + "/Chime.wav", chimeWAV(), 15);
  b.attributes(drive + "/Chime.wav", ItemAttributes{{"Grey", "Home"}, false, std::string(kRoleOwner), false});
  b.document(drive + "/Team Plan.md", "# Team plan\n\nShared with you by Robin; only Robin can rename it.\n", 3);
  b.attributes(drive + "/Team Plan.md", ItemAttributes{{}, true, std::string(kRoleParticipant), false});
  b.document(drive + "/Budget.csv", "Item,Amount\nVenue,1200\nFood,450\n", 6);
  b.attributes(drive + "/Budget.csv", ItemAttributes{{"Yellow"}, true, std::string(kRoleOwner), false});
  b.document(drive + "/Page.html", "<!doctype html><title>Page</title><h1>A web page</h1><p>Kept in the drive.</p>\n",
             8);
  b.document(drive + "/Caf\u00E9 Menu.txt", "Espresso 2.50\nCroissant 1.80\n", 11);  // composed form
  b.document(drive + "/Re\u0301sume\u0301.txt", "A name written in decomposed form.\n", 13);
  b.document(drive + "/Notes \U0001F4DD.md", "Emoji in a name.\n", 2);
  b.document(drive + "/\u0645\u0644\u0627\u062D\u0638\u0627\u062A.txt", "Right-to-left name.\n", 5);
  b.localOnly(drive + "/.draft-notes.txt", "A hidden scratch file.\n");

  // Drillrun: folders at any depth.
  b.document(drillrun + "/Warmup.drill", "{\"name\": \"Warmup\", \"laps\": 4}\n", 7);
  b.folder(drillrun + "/Drills");
  b.folder(drillrun + "/Drills/Advanced");
  b.document(drillrun + "/Drills/Advanced/Sprint.drill", "{\"name\": \"Sprint\", \"laps\": 10}\n", 14);
  b.cloudOnly(drillrun + "/Drills/Intervals.drill", "{\"name\": \"Intervals\", \"laps\": 8}\n", 21);
  b.folder(drillrun + "/.cache");
  b.localOnly(drillrun + "/.cache/state.json", "{}\n");
  b.reference(drive + "/Warmup (Drillrun).vdref", drillrun + "/Warmup.drill");
  b.reference(drive + "/Annual Report (link).vdref", drive + "/Annual Report.pdf");

  // Lumiboard: one level of folders, boards are packages.
  b.folder(lumiboard + "/Mood Board.board");
  b.document(lumiboard + "/Mood Board.board/board.json", "{\"cards\": [\"sky\", \"sea\"]}\n", 10);
  b.document(lumiboard + "/Mood Board.board/preview.png", drawPicture(400, 300, 0.5, "Board"), 10);
  b.folder(lumiboard + "/Sketches");
  b.document(lumiboard + "/Sketches/Idea.png", drawPicture(800, 600, 0.9, "Idea"), 16);
  b.cloudOnly(lumiboard + "/Sketches/Storyboard.png", drawPicture(1200, 800, 0.35, "Storyboard"), 18,
              ItemAttributes{{"Purple"}, false, std::string(kRoleOwner), false});

  // Jotter: no folders.
  b.document(jotter + "/Shopping.txt", "Apples\nBread\nCoffee\n", 1);
  b.attributes(jotter + "/Shopping.txt", ItemAttributes{{"Home", "Yellow"}, false, std::string(kRoleOwner), false});
  b.cloudOnly(jotter + "/Ideas.txt", "An app that lists ideas.\n", 25);

  // The tag dictionary that the user's other devices keep: every colour
  // number, in the user's order. "Draft" is on an item but not here.
  struct stat kvstore {};
  if (::stat(HostCloudKeyValueStore::filePath(layout).c_str(), &kvstore) != 0) {
    if (auto error = CloudTagDictionary::write(layout, demoTags())) {
      return error;
    }
  }
  return b.result();
}

}  // namespace velune::host

#include "host/drive/BuiltinTypeRegistry.h"

#include <cctype>

#include "platform/Localization.h"

namespace velune::host {

namespace {
std::string lowercased(std::string_view text) {
  std::string out(text);
  for (char& ch : out) {
    ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  }
  return out;
}
}  // namespace

void BuiltinTypeRegistry::add(std::string identifier, std::vector<std::string> parents, std::string description,
                              std::vector<std::string> extensions) {
  for (const auto& extension : extensions) {
    byExtension_.emplace(lowercased(extension), identifier);  // the first type to claim an extension keeps it
  }
  types_[std::move(identifier)] = TypeEntry{std::move(parents), std::move(description), std::move(extensions)};
}

BuiltinTypeRegistry::BuiltinTypeRegistry() {
  // Roots and structure.
  add("public.item", {}, "");
  add("public.content", {"public.item"}, "");
  add("public.data", {"public.item"}, "");
  add("public.composite-content", {"public.content"}, "");
  add("public.directory", {"public.item"}, "");
  add("public.folder", {"public.directory"}, "Folder");
  add("public.package", {"public.directory"}, "Package");
  add("public.symlink", {"public.item"}, "Alias");
  add("public.archive", {"public.data"}, "Archive");

  // Text.
  add("public.text", {"public.data", "public.content"}, "Text");
  add("public.plain-text", {"public.text"}, "Plain Text Document", {"txt", "text"});
  add("public.utf8-plain-text", {"public.plain-text"}, "Plain Text Document");
  add("public.markdown", {"public.plain-text"}, "Markdown Document", {"md", "markdown"});
  add("public.comma-separated-values-text", {"public.text"}, "CSV Document", {"csv"});
  add("public.tab-separated-values-text", {"public.text"}, "TSV Document", {"tsv"});
  add("public.json", {"public.text"}, "JSON Document", {"json"});
  add("public.xml", {"public.text"}, "XML Document", {"xml"});
  add("public.yaml", {"public.text"}, "YAML Document", {"yaml", "yml"});
  add("public.log", {"public.plain-text"}, "Log File", {"log"});
  add("public.source-code", {"public.plain-text"}, "Source Code");
  add("public.c-source", {"public.source-code"}, "C Source File", {"c"});
  add("public.c-header", {"public.source-code"}, "C Header File", {"h"});
  add("public.c-plus-plus-source", {"public.source-code"}, "C++ Source File", {"cpp", "cc", "cxx"});
  add("public.script", {"public.source-code"}, "Script");
  add("public.shell-script", {"public.script"}, "Shell Script", {"sh"});
  add("public.python-script", {"public.script"}, "Python Script", {"py"});
  add("public.javascript", {"public.script"}, "JavaScript File", {"js"});
  add("public.html", {"public.text"}, "HTML Document", {"html", "htm"});
  add("public.rtf", {"public.text"}, "Rich Text Document", {"rtf"});

  // Documents.
  add("public.pdf", {"public.data", "public.composite-content"}, "PDF Document", {"pdf"});
  add("public.word-processing-document", {"public.data", "public.composite-content"}, "Word Processing Document",
      {"docx", "doc", "odt"});
  add("public.spreadsheet", {"public.data", "public.content"}, "Spreadsheet", {"xlsx", "xls", "ods"});
  add("public.presentation", {"public.data", "public.composite-content"}, "Presentation", {"pptx", "ppt", "odp"});
  add("public.epub", {"public.data", "public.composite-content"}, "EPUB Book", {"epub"});

  // Images.
  add("public.image", {"public.data", "public.content"}, "Image");
  add("public.png", {"public.image"}, "PNG Image", {"png"});
  add("public.jpeg", {"public.image"}, "JPEG Image", {"jpg", "jpeg", "jpe"});
  add("public.gif", {"public.image"}, "GIF Image", {"gif"});
  add("public.webp", {"public.image"}, "WebP Image", {"webp"});
  add("public.bmp", {"public.image"}, "BMP Image", {"bmp"});
  add("public.tiff", {"public.image"}, "TIFF Image", {"tif", "tiff"});
  add("public.heic", {"public.image"}, "HEIC Image", {"heic", "heif"});
  add("public.svg-image", {"public.image", "public.xml"}, "SVG Image", {"svg"});

  // Movies and audio.
  add("public.audiovisual-content", {"public.data", "public.content"}, "");
  add("public.movie", {"public.audiovisual-content"}, "Movie");
  add("public.video", {"public.movie"}, "Video");
  add("public.mpeg-4", {"public.movie"}, "MPEG-4 Movie", {"mp4", "m4v"});
  add("public.webm", {"public.movie"}, "WebM Movie", {"webm"});
  add("public.mov-movie", {"public.movie"}, "Movie", {"mov"});
  add("public.avi", {"public.movie"}, "AVI Movie", {"avi"});
  add("public.mpeg", {"public.movie"}, "MPEG Movie", {"mpg", "mpeg"});
  add("public.audio", {"public.audiovisual-content"}, "Audio");
  add("public.mp3", {"public.audio"}, "MP3 Audio", {"mp3"});
  add("public.mpeg-4-audio", {"public.audio"}, "MPEG-4 Audio", {"m4a"});
  add("public.aac-audio", {"public.audio"}, "AAC Audio", {"aac"});
  add("public.wav-audio", {"public.audio"}, "Waveform Audio", {"wav"});
  add("public.flac-audio", {"public.audio"}, "FLAC Audio", {"flac"});
  add("public.ogg-audio", {"public.audio"}, "Ogg Audio", {"ogg", "oga"});

  // Archives.
  add("public.zip-archive", {"public.archive"}, "ZIP Archive", {"zip"});
  add("public.tar-archive", {"public.archive"}, "Tar Archive", {"tar"});
  add("public.gzip-archive", {"public.archive"}, "GZip Archive", {"gz", "gzip", "tgz"});
  add("public.bzip2-archive", {"public.archive"}, "BZip2 Archive", {"bz2"});
  add("public.xz-archive", {"public.archive"}, "XZ Archive", {"xz"});
  add("public.7z-archive", {"public.archive"}, "7-Zip Archive", {"7z"});

  // The drive's own files and the demo apps' documents.
  add("com.vorlan.velune.document-reference", {"public.data"}, "Document Reference", {"vdref"});
  add("com.vorlan.drillrun.drill", {"public.data", "public.content"}, "Drillrun Drill", {"drill"});
  add("com.vorlan.lumiboard.board", {"public.package", "public.composite-content"}, "Lumiboard Board", {"board"});
  add("com.vorlan.jotter.note", {"public.plain-text"}, "Jotter Note", {"jot"});
  computeAncestors();
}

void BuiltinTypeRegistry::computeAncestors() {
  for (const auto& [identifier, entry] : types_) {
    auto& found = ancestors_[identifier];
    std::vector<std::string> pending(entry.parents.begin(), entry.parents.end());
    while (!pending.empty()) {
      std::string current = std::move(pending.back());
      pending.pop_back();
      if (!found.insert(current).second) {
        continue;
      }
      if (const auto parent = types_.find(current); parent != types_.end()) {
        pending.insert(pending.end(), parent->second.parents.begin(), parent->second.parents.end());
      }
    }
  }
}

std::string BuiltinTypeRegistry::preferredIdentifierForExtension(std::string_view extension) {
  if (extension.empty()) {
    return {};
  }
  const auto found = byExtension_.find(lowercased(extension));
  return found == byExtension_.end() ? std::string() : found->second;
}

bool BuiltinTypeRegistry::typeConformsTo(std::string_view type, std::string_view parent) {
  if (type.empty() || parent.empty()) {
    return false;
  }
  if (type == parent) {
    return true;
  }
  const auto found = ancestors_.find(type);
  return found != ancestors_.end() && found->second.find(parent) != found->second.end();
}

std::optional<std::string> BuiltinTypeRegistry::localizedDescription(std::string_view type) {
  const auto found = types_.find(type);
  if (found == types_.end() || found->second.description.empty()) {
    return std::nullopt;
  }
  return platform::localized(found->second.description);
}

std::vector<std::string> BuiltinTypeRegistry::extensionsForType(std::string_view type) {
  const auto found = types_.find(type);
  return found == types_.end() ? std::vector<std::string>() : found->second.extensions;
}

}  // namespace velune::host

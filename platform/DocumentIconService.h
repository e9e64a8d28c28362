#pragma once
// DocumentIconService: the platform's generic icon for documents of a type,
// for a file name and (when known) a type identifier. Thread-safe.

#include <memory>
#include <optional>
#include <string>

namespace velune::ui {
class Image;
}  // namespace velune::ui

namespace velune::platform {

// Icon formats: the platform's large document icon is format 12.
inline constexpr int kDocumentIconFormatSmall = 0;
inline constexpr int kDocumentIconFormatLarge = 12;

class DocumentIconService {
 public:
  virtual ~DocumentIconService() = default;
  // Never null for a known format; an unknown format gives the small icon.
  virtual std::shared_ptr<ui::Image> iconForFile(const std::string& fileName,
                                                 const std::optional<std::string>& typeIdentifier, int format) = 0;
};

}  // namespace velune::platform

#pragma once
// GeneratedDocumentIconService: the simulated phone's document icons, drawn
// with cairo: a sheet of paper with a folded corner, coloured by the kind of
// document (folders blue, images green, PDF red, movies purple, audio orange,
// text grey, others slate), with the file's extension written on it.
// Large icons (format 12) are 128 points square, small ones 32. Icons are
// made once per kind, extension, format and scale. Thread-safe.

#include <map>
#include <mutex>
#include <string>
#include <tuple>

#include "platform/DocumentIconService.h"

namespace velune::host {

class GeneratedDocumentIconService final : public platform::DocumentIconService {
 public:
  explicit GeneratedDocumentIconService(double scale = 2.0) : scale_(scale > 0 ? scale : 1.0) {}

  std::shared_ptr<ui::Image> iconForFile(const std::string& fileName, const std::optional<std::string>& typeIdentifier,
                                         int format) override;

  enum class Family { Folder, Image, PDF, Movie, Audio, Text, Other };
  static Family familyFor(const std::string& fileName, const std::optional<std::string>& typeIdentifier);

 private:
  double scale_;
  std::mutex mutex_;
  std::map<std::tuple<int, std::string, int>, std::shared_ptr<ui::Image>> cache_;
};

}  // namespace velune::host

#pragma once
// RenamePrompt: the name prompt for a new name of an item: titled "Rename
// Item", the field starting with the current name (Done enabled). Main
// thread only; the caller keeps it while its alert is shown.

#include "model/FilenamePrompt.h"

namespace velune {

class RenamePrompt final : public FilenamePrompt {
 public:
  static std::shared_ptr<RenamePrompt> newWithFilename(const std::string& filename, Callback completion);

 private:
  RenamePrompt() = default;
};

}  // namespace velune

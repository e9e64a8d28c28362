#pragma once
// NewFolderPrompt: the name prompt for a new folder: an empty field with the
// placeholder "Folder Name" (Done disabled until a valid name is typed).
// Main thread only; the caller keeps it while its alert is shown.

#include "model/FilenamePrompt.h"

namespace velune {

class NewFolderPrompt final : public FilenamePrompt {
 public:
  static std::shared_ptr<NewFolderPrompt> newWithTitle(const std::optional<std::string>& title,
                                                       const std::optional<std::string>& doneButtonText,
                                                       Callback completion);

 private:
  NewFolderPrompt() = default;
};

}  // namespace velune

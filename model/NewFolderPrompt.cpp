#include "model/NewFolderPrompt.h"

#include "platform/Localization.h"

namespace velune {

std::shared_ptr<NewFolderPrompt> NewFolderPrompt::newWithTitle(const std::optional<std::string>& title,
                                                               const std::optional<std::string>& doneButtonText,
                                                               Callback completion) {
  std::shared_ptr<NewFolderPrompt> prompt(new NewFolderPrompt());
  prompt->initWithTitle(title, platform::localized("Enter a name for this folder."), platform::localized("Folder Name"),
                        std::nullopt, doneButtonText, std::move(completion));
  return prompt;
}

}  // namespace velune

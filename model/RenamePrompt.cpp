#include "model/RenamePrompt.h"

#include "platform/Localization.h"

namespace velune {

std::shared_ptr<RenamePrompt> RenamePrompt::newWithFilename(const std::string& filename, Callback completion) {
  std::shared_ptr<RenamePrompt> prompt(new RenamePrompt());
  prompt->initWithTitle(platform::localized("Rename Item"), platform::localized("Enter a new name for this item."),
                        filename, filename, platform::localized("Done"), std::move(completion));
  return prompt;
}

}  // namespace velune

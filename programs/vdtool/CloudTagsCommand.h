#pragma once
// vdtool cloud set-tags: replaces the user's tag dictionary in the cloud
// key-value store as another device would; a running app hears of it.

#include <string>
#include <vector>

#include "programs/vdtool/VdtoolCommand.h"

namespace velune::host::vdtool {

// `arguments` are those after "set-tags". The exit status.
int runCloudSetTags(VdtoolContext& context, const std::vector<std::string>& arguments);

}  // namespace velune::host::vdtool

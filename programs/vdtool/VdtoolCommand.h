#pragma once
// vdtool commands register themselves by name; each lives in its own file of
// this folder, so that new commands never touch a shared list.
//
//   namespace { const VdtoolCommand::Registration kLs{{"ls", "PATH", "list a folder", &runLs}}; }

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/HomeLayout.h"

namespace velune::host::vdtool {

struct VdtoolContext {
  HomeLayout layout;
  bool verbose = false;
};

struct VdtoolCommand {
  std::string name;
  std::string arguments;  // for the usage line
  std::string summary;
  // Exit status: 0 on success, 1 when the operation failed, 64 for bad usage.
  std::function<int(VdtoolContext&, const std::vector<std::string>&)> run;

  struct Registration {
    explicit Registration(VdtoolCommand command);
  };
  static const std::map<std::string, VdtoolCommand>& all();
};

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 64;

}  // namespace velune::host::vdtool

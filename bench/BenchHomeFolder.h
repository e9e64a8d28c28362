#pragma once
// makeBenchHomeFolder: a new folder, under `parent`, holding the skeleton of
// a simulated phone's home, for a benchmark to fill. Benchmarks that measure
// the disk make it in the build folder's file system (/tmp is often memory).
// Aborts when the folder cannot be made: there is nothing to measure then.

#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "host/HomeLayout.h"

namespace velune::bench {

inline std::string makeBenchHomeFolder(const std::filesystem::path& parent, const std::string& prefix) {
  std::string pattern = (parent / (prefix + "-XXXXXX")).string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    std::perror("mkdtemp");
    std::abort();
  }
  (void)host::HomeLayout(pattern).ensureSkeleton();
  return pattern;
}

}  // namespace velune::bench

#pragma once
// InstalledApplications: the applications installed on the simulated phone,
// from HOME/apps.json:
//
//   {"applications": [{"identifier": "com.vorlan.Drillrun", "name": "Drillrun",
//     "version": "4.2", "vendor": "Vorlan", "opensInPlace": true,
//     "defaultFor": ["com.vorlan.drillrun.drill"]}, ...]}
//
// Read with the home's rules for files (a regular file only, at most 256 KiB,
// nested at most 8 deep). A file that cannot be read lists nothing; an entry
// without a usable identifier is skipped; fields of the wrong kind keep their
// defaults. Each problem is returned to the caller. Any thread.

#include <string>
#include <vector>

namespace velune::host {

struct InstalledApplication {
  std::string identifier;
  std::string name;
  std::string version;
  std::string vendor;
  bool opensInPlace = false;
  // Type identifiers the application is the default for.
  std::vector<std::string> defaultFor;
};

class InstalledApplications {
 public:
  static constexpr size_t kMaxFileBytes = 256 * 1024;
  static constexpr int kMaxDepth = 8;

  static InstalledApplications read(const std::string& appsJsonPath, std::vector<std::string>* problems = nullptr);

  const std::vector<InstalledApplication>& applications() const { return applications_; }
  bool isInstalled(const std::string& identifier) const;

 private:
  std::vector<InstalledApplication> applications_;
};

}  // namespace velune::host

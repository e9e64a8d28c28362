#pragma once
// InstalledApplications: the applications installed on the simulated phone,
// from HOME/apps.json:
//
//   {"applications": [{"identifier": "com.vorlan.Drillrun", "name": "Drillrun",
//     "shortName": "Drills", "version": "4.2", "vendor": "Vorlan",
//     "executable": "Drillrun", "description": "Training drills",
//     "opensInPlace": true, "defaultFor": ["com.vorlan.drillrun.drill"]}, ...]}
//
// The one reader of that file: the launch-URL check of the source
// application and the platform's application registry (HostAppRegistry)
// both read it here.
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
  std::string shortName;
  std::string version;
  std::string vendor;
  std::string executable;
  std::string description;
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

#pragma once
// NameCollator: orders names the way a person expects in a listing:
// case-insensitively, accents after their base letter, and digits by their
// numeric value ("File 2" before "File 10"), by the Unicode collation rules
// (ICU) of the app's language. Names that collate equal are ordered by their
// bytes, so the order is total and the same on every run.
//
// Not thread-safe: make one per thread (it is cheap). Invalid UTF-8 is
// collated with U+FFFD for each bad byte.

#include <memory>
#include <string>
#include <string_view>

namespace velune::platform {

class NameCollator {
 public:
  NameCollator();
  ~NameCollator();
  NameCollator(const NameCollator&) = delete;
  NameCollator& operator=(const NameCollator&) = delete;

  // A key whose byte order (std::string's <) is the collation order. Sorting
  // by keys computed once is much faster than comparing names pairwise.
  std::string sortKey(std::string_view name) const;
  bool less(std::string_view a, std::string_view b) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace velune::platform

#pragma once
// BuiltinTypeRegistry: the simulated phone's table of type identifiers: the
// roots "public.item", "public.content" and "public.data", folders and
// packages, text and its kinds, HTML, rich text, PDF, images, movies, audio,
// archives, office documents, and the documents of the demo apps.
// Immutable after construction; any thread.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/TypeRegistry.h"

namespace velune::host {

class BuiltinTypeRegistry final : public platform::TypeRegistry {
 public:
  BuiltinTypeRegistry();

  std::string preferredIdentifierForExtension(std::string_view extension) override;
  bool typeConformsTo(std::string_view type, std::string_view parent) override;
  std::optional<std::string> localizedDescription(std::string_view type) override;
  std::vector<std::string> extensionsForType(std::string_view type) override;

 private:
  struct TypeEntry {
    std::vector<std::string> parents;
    std::string description;  // a string-table key; empty for abstract types
    std::vector<std::string> extensions;
  };
  void add(std::string identifier, std::vector<std::string> parents, std::string description,
           std::vector<std::string> extensions = {});

  void computeAncestors();

  std::map<std::string, TypeEntry, std::less<>> types_;
  // Every type's ancestors (itself excluded), computed once: conformance is a lookup.
  std::map<std::string, std::set<std::string, std::less<>>, std::less<>> ancestors_;
  std::map<std::string, std::string, std::less<>> byExtension_;
};

}  // namespace velune::host

#pragma once
// TypeRegistry: type identifiers ("public.image"), their conformance (a type
// conforms to itself and to every ancestor) and descriptions, and the
// preferred identifier for a filename extension. Callable from any thread.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velune::platform {

class TypeRegistry {
 public:
  virtual ~TypeRegistry() = default;

  // The preferred identifier for an extension (without the dot; any case);
  // empty when the registry knows no type for it.
  virtual std::string preferredIdentifierForExtension(std::string_view extension) = 0;
  virtual bool typeConformsTo(std::string_view type, std::string_view parent) = 0;
  // The localised description; nothing for unknown and abstract types.
  virtual std::optional<std::string> localizedDescription(std::string_view type) = 0;
  // The extensions of a type, the preferred one first.
  virtual std::vector<std::string> extensionsForType(std::string_view type) = 0;
};

}  // namespace velune::platform

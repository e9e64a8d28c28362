#pragma once
// Element: what every object of the UI model shares: a stable identifier.
//
// An identifier never changes while the element lives and is unique among the
// living elements of the process. Code that builds a screen names the
// elements that people and tests look for (setIdentifier("download.cancel"));
// every other element gets "<kind>-<n>" from a process-wide counter when it is
// made. The web shell and the tests find elements by identifier
// (View::findByIdentifier), never by position.
//
// Main thread only, like the whole UI model.

#include <cstdint>
#include <string>
#include <string_view>

namespace velune::ui {

class Element {
 public:
  virtual ~Element() = default;
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

  const std::string& identifier() const { return identifier_; }
  // Replaces the generated identifier with a name chosen by the screen's code.
  void setIdentifier(std::string identifier);

  // The kind of element, for generated identifiers and descriptions ("Label").
  virtual std::string_view kind() const = 0;

 protected:
  // `kind` seeds the generated identifier: a constructor cannot ask the
  // derived class's kind() yet.
  explicit Element(std::string_view kind);

 private:
  std::string identifier_;
};

}  // namespace velune::ui

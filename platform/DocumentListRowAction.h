#pragma once
// The row actions a listing reports to its delegate, and the bits of its
// available-actions mask that let a row offer them. The numbers are the
// platform's: the delegate sees the action as it was chosen, and a value
// outside the four known ones is passed through as it is.

#include <cstdint>

namespace velune::platform {

enum class DocumentListRowAction : int {
  Delete = 0,
  ActionsMenu = 1,
  Details = 2,
  Rename = 3,
};

// The available-actions mask of a listing (DocumentListController::
// availableActions()): one named bit per row action its rows may offer, bit n
// for the action numbered n. Masks are made with | and asked with allows();
// bits beyond the four known ones are kept as given and allow nothing.
enum class DocumentListAvailableActions : std::uint32_t {
  None = 0,
  Delete = 1U << 0,
  ActionsMenu = 1U << 1,
  Details = 1U << 2,
  Rename = 1U << 3,
};

constexpr DocumentListAvailableActions operator|(DocumentListAvailableActions a, DocumentListAvailableActions b) {
  return static_cast<DocumentListAvailableActions>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}
constexpr DocumentListAvailableActions operator&(DocumentListAvailableActions a, DocumentListAvailableActions b) {
  return static_cast<DocumentListAvailableActions>(static_cast<std::uint32_t>(a) & static_cast<std::uint32_t>(b));
}
constexpr DocumentListAvailableActions& operator|=(DocumentListAvailableActions& a, DocumentListAvailableActions b) {
  return a = a | b;
}

// The bit that allows `action`; None for an action outside the four known ones.
constexpr DocumentListAvailableActions availableActionFor(DocumentListRowAction action) {
  switch (action) {
    case DocumentListRowAction::Delete:
      return DocumentListAvailableActions::Delete;
    case DocumentListRowAction::ActionsMenu:
      return DocumentListAvailableActions::ActionsMenu;
    case DocumentListRowAction::Details:
      return DocumentListAvailableActions::Details;
    case DocumentListRowAction::Rename:
      return DocumentListAvailableActions::Rename;
  }
  return DocumentListAvailableActions::None;
}

// Whether `mask` lets the rows offer `action`.
constexpr bool allows(DocumentListAvailableActions mask, DocumentListRowAction action) {
  const DocumentListAvailableActions bit = availableActionFor(action);
  return bit != DocumentListAvailableActions::None && (mask & bit) == bit;
}

}  // namespace velune::platform

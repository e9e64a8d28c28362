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

// Bits of DocumentListController::availableActions().
namespace DocumentListAvailableAction {
inline constexpr std::uint32_t Delete = 1U << 0;
inline constexpr std::uint32_t ActionsMenu = 1U << 1;
inline constexpr std::uint32_t Details = 1U << 2;
inline constexpr std::uint32_t Rename = 1U << 3;
}  // namespace DocumentListAvailableAction

// The bit that allows `action`; 0 for an unknown action.
constexpr std::uint32_t availableActionBit(DocumentListRowAction action) {
  const int value = static_cast<int>(action);
  return value >= 0 && value <= 3 ? (1U << value) : 0U;
}

}  // namespace velune::platform

#pragma once
// FileInfoCell: one name/value row of an item's facts: a grey name, and ten
// points after it the value, which sets the row's height. When a row is too
// narrow the value, not the name, gives way (it is cut to its line limit).
// Main thread only.

#include <memory>
#include <string>

#include "platform/ui/Font.h"
#include "platform/ui/StyledText.h"
#include "platform/ui/View.h"

namespace velune::ui {
class Label;
}  // namespace velune::ui

namespace velune {

class FileInfoCell : public ui::View {
 public:
  // A row with an empty name and value, on one line.
  static std::shared_ptr<FileInfoCell> init();
  static std::shared_ptr<FileInfoCell> initWithNameAndValue(const std::string& name, const std::string& value,
                                                            int maxLines);
  // A value of styled text (the tags with their colour dots).
  static std::shared_ptr<FileInfoCell> initWithNameAndValue(const std::string& name, const ui::StyledText& value,
                                                            int maxLines);

  std::string_view kind() const override { return "FileInfoCell"; }

  // The rows' font: the subheadline text style at its standard size.
  static ui::Font font();

  const std::shared_ptr<ui::Label>& nameLabel() const { return nameLabel_; }
  const std::shared_ptr<ui::Label>& valueLabel() const { return valueLabel_; }

  // Names the row and its two labels ("<identifier>.name", ".value") for the
  // screen and the tests.
  void setRowIdentifier(const std::string& identifier);

  FileInfoCell();

 private:
  void build(const std::string& name, int maxLines);

  std::shared_ptr<ui::Label> nameLabel_;
  std::shared_ptr<ui::Label> valueLabel_;
};

}  // namespace velune

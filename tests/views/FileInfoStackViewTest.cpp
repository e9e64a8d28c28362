// The file information rows of a real item on a temporary drive: which rows
// appear for which values, the equal name column, the line limits, the tags
// with their dots, the date style that fits the width, and the tags' colours
// following a change of the dictionary on another device.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "diag/DRLogging.h"
#include "host/MemoryCloudKeyValueStore.h"
#include "model/DRItem.h"
#include "model/FileTags.h"
#include "platform/DateFormatter.h"
#include "platform/UTF8.h"
#include "platform/ui/Image.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"
#include "views/FileInfoCell.h"
#include "views/FileInfoStackView.h"

namespace velune {
namespace {

using platform::Date;
using platform::Value;
using ui::LayoutAttribute;
using ui::LayoutConstraint;

Value tagDictionary(const std::vector<std::pair<std::string, int>>& tags) {
  Value::Array entries;
  for (const auto& [name, colour] : tags) {
    entries.push_back(Value(Value::Dictionary{{"n", Value(name)}, {"l", Value(colour)}}));
  }
  return Value(Value::Dictionary{{"TroverTagDictVersion", Value(2)}, {"TroverTags", Value(std::move(entries))}});
}

// The colour at the middle of an image, 0 to 255, not premultiplied.
std::array<int, 4> middlePixel(const ui::Image& image, double x, double y) {
  cairo_surface_flush(image.surface());
  const unsigned char* data = cairo_image_surface_get_data(image.surface());
  const int stride = cairo_image_surface_get_stride(image.surface());
  std::uint32_t argb = 0;
  std::memcpy(&argb, data + static_cast<ptrdiff_t>(y) * stride + static_cast<int>(x) * 4, 4);
  const int a = static_cast<int>(argb >> 24);
  auto channel = [a](std::uint32_t c) { return a == 0 ? 0 : static_cast<int>(std::lround((c & 0xFF) * 255.0 / a)); };
  return {channel(argb >> 16), channel(argb >> 8), channel(argb), a};
}

class FileInfoStackViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DRSetLogLevel(7);
    store_ = std::make_shared<host::MemoryCloudKeyValueStore>(home_.services().notifications);
    home_.services().cloudKeyValueStore = store_;
    testing::installWithPhone(home_.services());
    (void)FileTags::tagColorsByTag();
    store_->changeFromAnotherDevice("TroverTagDict", tagDictionary({{"Red", 6}, {"Blue", 4}}));
    testing::runMainUntilIdle();
  }
  void TearDown() override { testing::runMainUntilIdle(); }

  // A document with tags, on the phone.
  std::shared_ptr<DRItem> document(const std::string& relative, std::vector<std::string> tags = {"Red", "Blue"}) {
    const std::string path = home_.writeDocument(home_.documents() + "/" + relative, "twelve bytes");
    if (!tags.empty()) {
      EXPECT_FALSE(home_.drive().setAttributes(path, host::ItemAttributes{tags, false, "owner", false}));
    }
    auto item = DRItem::initWithURL(home_.url(path));
    EXPECT_TRUE(item) << path;
    return item;
  }

  // The column in a container `width` wide, pinned to its top and leading
  // edge and no wider than it, laid out.
  std::shared_ptr<FileInfoStackView> column(const std::shared_ptr<DRItem>& item, double width) {
    container_ = ui::View::make(ui::Rect(0, 0, width, 800));
    auto rows = FileInfoStackView::initWithFrame(ui::Rect());
    rows->setIdentifier("info");
    rows->setTranslatesAutoresizingMaskIntoConstraints(false);
    container_->addSubview(rows);
    LayoutConstraint::activateConstraints({
        LayoutConstraint::equal(rows, LayoutAttribute::Top, container_, LayoutAttribute::Top),
        LayoutConstraint::equal(rows, LayoutAttribute::Leading, container_, LayoutAttribute::Leading),
        LayoutConstraint::lessOrEqual(rows, LayoutAttribute::Trailing, container_, LayoutAttribute::Trailing),
    });
    rows->setItem(item);
    container_->layoutIfNeeded();
    return rows;
  }

  static std::vector<std::string> rowNames(const FileInfoStackView& rows) {
    std::vector<std::string> names;
    for (const auto& row : rows.arrangedSubviews()) {
      names.push_back(std::static_pointer_cast<FileInfoCell>(row)->nameLabel()->text());
    }
    return names;
  }

  testing::DriveTestHome home_;
  std::shared_ptr<host::MemoryCloudKeyValueStore> store_;
  std::shared_ptr<ui::View> container_;
};

TEST_F(FileInfoStackViewTest, Rows_AppearInOrderForEachValueTheItemHas) {
  const auto item = document("Projects/Plan.txt");
  const auto rows = column(item, 390);
  EXPECT_EQ(rowNames(*rows), (std::vector<std::string>{"Kind", "Size", "Where", "Created", "Modified", "Tags"}));
  EXPECT_EQ(rows->findByIdentifier("info.kind.value")->kind(), "Label");
  EXPECT_EQ(std::static_pointer_cast<ui::Label>(rows->findByIdentifier("info.where.value"))->text(),
            "Velune Drive \u25B8 Projects");
  EXPECT_EQ(rows->creationDateCell()->valueLabel()->text(), *item->friendlyCreationDate(3));
  EXPECT_EQ(rows->modifiedDateCell()->valueLabel()->text(), *item->friendlyContentModificationDate(3));

  // The same rows again (a refresh): the cells stay and take the new values.
  const auto sizeRow = rows->findByIdentifier("info.size");
  auto refreshed = DRItem::initWithURL(item->url());
  refreshed->setFriendlyFileSize(std::string("3 KB"));
  rows->setItem(refreshed);
  EXPECT_EQ(rows->findByIdentifier("info.size"), sizeRow);
  EXPECT_EQ(std::static_pointer_cast<ui::Label>(rows->findByIdentifier("info.size.value"))->text(), "3 KB");

  // Each value taken away takes its row, and only that row.
  struct Case {
    const char* row;
    std::function<void(DRItem&)> remove;
  };
  const Case cases[] = {
      {"Kind", [](DRItem& i) { i.setLocalizedTypeDescription(std::nullopt); }},
      {"Size", [](DRItem& i) { i.setFriendlyFileSize(std::nullopt); }},
      {"Created", [](DRItem& i) { i.setCreationDate(Value()); }},
      {"Modified", [](DRItem& i) { i.setContentModificationDate(Value("not a date")); }},
      {"Tags", [](DRItem& i) { i.setTags(std::vector<std::string>{}); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.row);
    auto changed = DRItem::initWithURL(item->url());
    ASSERT_TRUE(changed);
    c.remove(*changed);
    rows->setItem(changed);
    auto expected = std::vector<std::string>{"Kind", "Size", "Where", "Created", "Modified", "Tags"};
    std::erase(expected, std::string(c.row));
    EXPECT_EQ(rowNames(*rows), expected);
  }
  // An item outside the drive has no location (nor tags).
  testing::DriveTestHome::writeRaw(home_.layout().root() + "/elsewhere.txt", "outside");
  rows->setItem(DRItem::initWithURL(platform::URL::fileURLWithPath(home_.layout().root() + "/elsewhere.txt")));
  EXPECT_EQ(rowNames(*rows), (std::vector<std::string>{"Kind", "Size", "Created", "Modified"}));

  // No tags at all.
  auto untagged = DRItem::initWithURL(item->url());
  untagged->setTags(std::nullopt);
  rows->setItem(untagged);
  EXPECT_EQ(rows->tagsCell(), nullptr);
  EXPECT_EQ(rowNames(*rows).back(), "Modified");

  // No item: the rows stay.
  rows->setItem(nullptr);
  EXPECT_EQ(rows->item(), nullptr);
  EXPECT_EQ(rowNames(*rows).size(), 5U);
}

TEST_F(FileInfoStackViewTest, Layout_NamesShareOneWidthAndOnlyWhereWrapsToThreeLines) {
  // A "Where" of many levels needs more than three lines.
  std::string deep;
  for (int level = 0; level < 12; ++level) {
    deep += "Folder number " + std::to_string(level) + "/";
  }
  const auto item = document(deep + "A document with a name long enough to be cut on one line of a phone.txt");
  const auto rows = column(item, 300);
  double widest = 0;
  for (const auto& row : rows->arrangedSubviews()) {
    widest = std::max(widest, std::static_pointer_cast<FileInfoCell>(row)->nameLabel()->intrinsicContentSize().width);
  }
  const double line = rows->arrangedSubviews()[0]->frame().height();
  for (const auto& view : rows->arrangedSubviews()) {
    const auto row = std::static_pointer_cast<FileInfoCell>(view);
    SCOPED_TRACE(row->nameLabel()->text());
    EXPECT_NEAR(row->nameLabel()->frame().width(), widest, 1e-9);
    EXPECT_NEAR(row->valueLabel()->frame().minX(), widest + 10, 1e-9);
    EXPECT_EQ(row->nameLabel()->frame().minY(), 0);
    EXPECT_LE(row->frame().maxX(), 300 + 1e-9);
    EXPECT_EQ(row->nameLabel()->textAlignment(), ui::TextAlignment::Right);
    EXPECT_EQ(row->nameLabel()->textColor(), ui::Color::gray());
  }
  const auto where = rows->findByIdentifier("info.where");
  const auto whereValue = std::static_pointer_cast<ui::Label>(rows->findByIdentifier("info.where.value"));
  EXPECT_EQ(whereValue->numberOfLines(), 3);
  EXPECT_EQ(whereValue->displayedText().lines.size(), 3U);
  EXPECT_TRUE(whereValue->displayedText().truncated);
  EXPECT_NEAR(where->frame().height(), 3 * line, 1);
  for (const char* single : {"info.kind.value", "info.size.value", "info.created.value", "info.modified.value"}) {
    EXPECT_EQ(std::static_pointer_cast<ui::Label>(rows->findByIdentifier(single))->numberOfLines(), 1) << single;
  }
  for (size_t i = 1; i < rows->arrangedSubviews().size(); ++i) {
    EXPECT_NEAR(rows->arrangedSubviews()[i]->frame().minY(), rows->arrangedSubviews()[i - 1]->frame().maxY() + 10, 1e-9);
  }
  EXPECT_TRUE(ui::LayoutEngine::lastConflicts().empty());
}

TEST_F(FileInfoStackViewTest, Tags_AreDotsAndNamesRaisedByTheDescender) {
  const auto item = document("Tagged.txt", {"Red", "Blue"});
  const ui::Font font = FileInfoCell::font();
  const auto text = FileInfoStackView::buildTagsWithImagesString(*item, font);
  ASSERT_TRUE(text);
  const auto& runs = text->runs();
  ASSERT_EQ(runs.size(), 4U);
  EXPECT_TRUE(runs[0].attachment);
  EXPECT_EQ(runs[1].text, "Red ");
  EXPECT_TRUE(runs[2].attachment);
  EXPECT_EQ(runs[3].text, "Blue");
  for (const auto& run : runs) {
    EXPECT_EQ(run.attributes.baselineOffset, -font.descender());
    EXPECT_GT(run.attributes.baselineOffset, 0);
  }
  const auto& dot = *runs[0].attachment;
  ASSERT_TRUE(dot.image);
  EXPECT_EQ(dot.image->size(), (ui::Size{std::ceil(font.capHeight() + 2), std::ceil(font.lineHeight())}));
  EXPECT_EQ(dot.image->scale(), 1);
  // The dot's middle: its circle starts at y = ascender − cap height + 1, cap height across.
  const double middleY = font.ascender() - font.capHeight() + 1 + font.capHeight() / 2;
  EXPECT_EQ(middlePixel(*dot.image, font.capHeight() / 2, middleY), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(middlePixel(*runs[2].attachment->image, font.capHeight() / 2, middleY), (std::array<int, 4>{0, 0, 255, 255}));

  // One tag: no space after it. No tags or an empty list: no text.
  item->setTags(std::vector<std::string>{"Red"});
  EXPECT_EQ(FileInfoStackView::buildTagsWithImagesString(*item, font)->runs().back().text, "Red");
  item->setTags(std::vector<std::string>{});
  EXPECT_FALSE(FileInfoStackView::buildTagsWithImagesString(*item, font));
  item->setTags(std::nullopt);
  EXPECT_FALSE(FileInfoStackView::buildTagsWithImagesString(*item, font));
}

TEST_F(FileInfoStackViewTest, Dates_FallBackFromLongToMediumToShortAsTheWidthShrinks) {
  const auto item = document("Dated.txt");
  // September is the longest month name; May one of the shortest.
  item->setCreationDate(Value(Date::fromSecondsSince1970(1'632'900'000)));  // 29 September 2021
  item->setContentModificationDate(Value(Date::fromSecondsSince1970(1'620'000'000)));  // 3 May 2021
  const ui::Font font = FileInfoCell::font();
  const auto width = [&](int style, bool created) {
    return font.widthOfText(*(created ? item->friendlyCreationDate(style) : item->friendlyContentModificationDate(style)));
  };
  const auto widest = [&](int style) { return std::max(width(style, true), width(style, false)); };
  ASSERT_GT(width(3, true), width(3, false));
  ASSERT_GT(width(3, false), widest(2));
  ASSERT_GT(std::min(width(2, true), width(2, false)), widest(1) + 1);
  const auto probe = column(item, 1000);
  double nameColumn = 0;
  for (const auto& row : probe->arrangedSubviews()) {
    nameColumn = std::max(nameColumn, std::static_pointer_cast<FileInfoCell>(row)->nameLabel()->frame().width());
  }
  struct Case {
    const char* what;
    double valueWidth;
    int style;
  };
  const Case cases[] = {
      {"room for both long texts", width(3, true) + 20, 3},
      {"room for the modification's long text only", (width(3, true) + width(3, false)) / 2, 2},
      {"room for both medium texts only", widest(2) + 0.5, 2},
      {"room for neither medium text", widest(1) + 1, 1},
      {"room for not even the short texts", 10, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const auto rows = column(item, nameColumn + 10 + c.valueWidth);
    EXPECT_EQ(rows->creationDateCell()->valueLabel()->text(), *item->friendlyCreationDate(c.style));
    EXPECT_EQ(rows->modifiedDateCell()->valueLabel()->text(), *item->friendlyContentModificationDate(c.style));
  }

  // Without a creation date the modification date is measured alone: its
  // long text fits where the creation's would not have.
  item->setCreationDate(Value());
  const auto alone = column(item, nameColumn + 10 + width(3, false) + 1);
  EXPECT_EQ(alone->creationDateCell(), nullptr);
  EXPECT_EQ(alone->modifiedDateCell()->valueLabel()->text(), *item->friendlyContentModificationDate(3));
}

TEST_F(FileInfoStackViewTest, TagColours_FollowAChangeOnAnotherDeviceWithoutANewItem) {
  const auto item = document("Live.txt", {"Red"});
  const auto rows = column(item, 390);
  const ui::Font font = FileInfoCell::font();
  const double middleY = font.ascender() - font.capHeight() + 1 + font.capHeight() / 2;
  const auto dotColour = [&] {
    const auto& text = rows->tagsCell()->valueLabel()->styledText();
    return middlePixel(*text->runs()[0].attachment->image, font.capHeight() / 2, middleY);
  };
  EXPECT_EQ(dotColour(), (std::array<int, 4>{255, 0, 0, 255}));
  const auto tagsRow = rows->tagsCell();

  // The change arrives on the store's thread; the row is redrawn on the main thread.
  std::thread otherDevice([&] { store_->changeFromAnotherDevice("TroverTagDict", tagDictionary({{"Red", 2}})); });
  otherDevice.join();
  testing::runMainUntilIdle();
  EXPECT_EQ(dotColour(), (std::array<int, 4>{0, 255, 0, 255}));
  EXPECT_EQ(rows->tagsCell(), tagsRow);  // the same row, redrawn
  // Gone from the dictionary: the dot shows nothing.
  store_->changeFromAnotherDevice("TroverTagDict", tagDictionary({}));
  testing::runMainUntilIdle();
  EXPECT_EQ(dotColour()[3], 0);
}

// Values no one expects still give rows: dates far in the past and future
// (and not a number), and names in several scripts of 255 bytes.
TEST_F(FileInfoStackViewTest, BadInput_StillGivesRows) {
  const auto item = document("Odd.txt", {});
  item->setTags(std::vector<std::string>{std::string(255, 'x'), "\xff\xfe", "\u0645\u0644\u0627\u062D\u0638\u0627\u062A"});
  for (const double seconds : {-1e15, 1e15, -62'135'596'800.0, 253'402'300'799.0, std::nan("")}) {
    SCOPED_TRACE(seconds);
    item->setCreationDate(Value(Date::fromSecondsSince1970(seconds)));
    item->setContentModificationDate(Value(Date::fromSecondsSince1970(-seconds)));
    const auto rows = column(item, 320);
    EXPECT_EQ(rowNames(*rows).size(), 6U);
    EXPECT_LE(rows->frame().maxX(), 320 + 1e-9);
  }
}

// Names of 255 bytes (the longest a folder or file may have) in scripts of
// two, three and four bytes a character, with combining marks and without a
// single space to break at, in a folder many levels deep: the "Where" row
// keeps to its three lines inside the column, every line whole UTF-8, and
// every row of the document is there.
TEST_F(FileInfoStackViewTest, BadInput_NamesOf255BytesInAnyScriptStayInsideTheColumn) {
  const auto ofLength255 = [](const std::string& unit) {
    std::string name;
    while (name.size() + unit.size() <= 255) {
      name += unit;
    }
    return name + std::string(255 - name.size(), 'a');
  };
  const std::vector<std::string> names = {
      ofLength255("文"),                      // CJK, three bytes
      ofLength255("ب"),                      // Arabic, right to left, two bytes
      ofLength255("😀"),                  // emoji, four bytes
      ofLength255("नमस्"),    // Devanagari with a virama
      ofLength255("é"),                     // a letter and a combining accent
  };
  std::string folder = home_.documents();
  for (const auto& name : names) {
    folder += "/" + name;
  }
  for (int level = 0; level < 40; ++level) {
    folder += "/" + std::to_string(level);
  }
  home_.makeFolder(folder);
  for (const auto& name : names) {
    SCOPED_TRACE(name.substr(0, 12));
    ASSERT_EQ(name.size(), 255U);
    const std::string path = home_.writeDocument(folder + "/" + name, "text");
    const auto item = DRItem::initWithURL(home_.url(path));
    ASSERT_TRUE(item);
    // Set on the record: the drive keeps tags in a sidecar ".NAME.vdattrs",
    // whose name cannot be longer than 255 bytes either.
    item->setTags(std::vector<std::string>{name, "Red"});
    const auto rows = column(item, 320);
    EXPECT_EQ(rowNames(*rows), (std::vector<std::string>{"Kind", "Size", "Where", "Created", "Modified", "Tags"}));
    const auto where = std::static_pointer_cast<ui::Label>(rows->findByIdentifier("info.where.value"));
    EXPECT_EQ(where->displayedText().lines.size(), 3U);
    EXPECT_TRUE(where->displayedText().truncated);
    for (const auto& line : where->displayedText().lines) {
      EXPECT_TRUE(platform::isValidUTF8(line)) << line;
      EXPECT_LE(FileInfoCell::font().widthOfText(line), where->frame().width() + 1e-6) << line;
    }
    for (const auto& view : rows->arrangedSubviews()) {
      EXPECT_LE(view->frame().maxX(), 320 + 1e-9);
    }
  }
}

}  // namespace
}  // namespace velune

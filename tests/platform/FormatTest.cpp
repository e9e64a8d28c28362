#include "platform/Format.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "platform/Error.h"
#include "platform/URL.h"
#include "platform/Value.h"

namespace velune::platform {
namespace {

TEST(Format, Conversions) {
  EXPECT_EQ(format("%d items", 3), "3 items");
  EXPECT_EQ(format("%u %lu", 7u, 18446744073709551615ull), "7 18446744073709551615");
  EXPECT_EQ(format("0x%x", 0x40002u), "0x40002");
  EXPECT_EQ(format("%X", 255), "FF");
  EXPECT_EQ(format("%lf seconds", 2.5), "2.500000 seconds");
  EXPECT_EQ(format("%g", 1.5), "1.5");
  EXPECT_EQ(format("%.1f%%", 42.0), "42.0%");
  EXPECT_EQ(format("%s and %s", "text", std::string("string")), "text and string");
  EXPECT_EQ(format("[%5d|%-5s|%05.1f]", 42, "ab", 3.14159), "[   42|ab   |003.1]");
  EXPECT_EQ(format("%c", 65), "A");
  EXPECT_EQ(format("no arguments, 100%%"), "no arguments, 100%");
}

TEST(Format, ObjectPlaceholderDescribesAnyArgument) {
  const URL url = URL::fileURLWithPath("/a/b c", false);
  EXPECT_EQ(format("%@", url), "file:///a/b%20c");
  EXPECT_EQ(format("%@ = %@", "GridMode", false), "GridMode = 0");
  EXPECT_EQ(format("%@", true), "1");
  EXPECT_EQ(format("%@", nullptr), "(null)");
  EXPECT_EQ(format("%@", std::optional<URL>()), "(null)");
  EXPECT_EQ(format("%@", static_cast<const char*>(nullptr)), "(null)");
  EXPECT_EQ(format("%@%%", 5.0), "5%");
  EXPECT_EQ(format("%@", 0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(format("%@", Value(Value::Dictionary{{"l", Value(2)}, {"n", Value("Red tag")}})),
            "{\n    l = 2;\n    n = \"Red tag\";\n}");
  EXPECT_EQ(format("%@", std::vector<URL>{URL::fileURLWithPath("/x", false), URL::fileURLWithPath("/y", true)}),
            "(\n    file:///x,\n    file:///y/\n)");
  EXPECT_EQ(format("%@", std::vector<std::string>{"plain", "two words"}), "(\n    plain,\n    \"two words\"\n)");
  const Error error = Error::platform(ErrorCode::FileWriteInvalidFileName);
  EXPECT_EQ(format("%@", error), "Error Domain=PlatformErrorDomain Code=514 \"The file name is invalid.\"");
}

TEST(Format, PositionalArguments) {
  EXPECT_EQ(format("%2$@ of %1$@", "total", "done"), "done of total");
  EXPECT_EQ(format("%1$@, %1$@", 7), "7, 7");
  EXPECT_EQ(format("The name “%1$@” with extension “.%2$@”", "Report", "pdf"),
            "The name “Report” with extension “.pdf”");
}

// A format that does not match its arguments shows the mismatch in the text
// instead of reading memory that was never passed.
TEST(Format, MismatchesAreVisibleMarksNeverUndefinedBehaviour) {
  EXPECT_EQ(format("%d", "abc"), "%!d(string=abc)");
  EXPECT_EQ(format("%s", 42), "%!s(int=42)");
  EXPECT_EQ(format("%f", "x"), "%!f(string=x)");
  EXPECT_EQ(format("%d and %d", 1), "1 and %!d(MISSING)");
  EXPECT_EQ(format("%d", 1, "extra", 2.5), "1%!(EXTRA string=extra, double=2.5)");
  EXPECT_EQ(format("%3$@", 1, 2), "%!@(BADINDEX)%!(EXTRA int=1, int=2)");
  EXPECT_EQ(format("%0$@", 1), "%!@(BADINDEX)%!(EXTRA int=1)");
  EXPECT_EQ(format("%n", 1), "%!n(UNSUPPORTED)%!(EXTRA int=1)");
  EXPECT_EQ(format("%*d", 5, 1), "%!d(UNSUPPORTED)%!(EXTRA int=5, int=1)");
  EXPECT_EQ(format("ends with %"), "ends with %!(NOVERB)");
  EXPECT_EQ(format("ends with %l"), "ends with %!(NOVERB)");
  EXPECT_EQ(format("%s", nullptr), "(null)");
  // Wide widths and precisions are bounded, not trusted.
  EXPECT_EQ(format("%.3s", "abcdef"), "abc");
  EXPECT_LE(format("%99999999d", 1).size(), 100001u);
}

TEST(Format, NegativeNumbersInUnsignedConversionsWrapAtTheNamedWidth) {
  EXPECT_EQ(format("%u", -1), "4294967295");
  EXPECT_EQ(format("%lu", -1), "18446744073709551615");
  EXPECT_EQ(format("%x", -1), "ffffffff");
  EXPECT_EQ(format("%d", 18446744073709551615ull), "18446744073709551615");
}

TEST(Format, LargeTextsPassThroughWhole) {
  const std::string big(1 << 20, 'x');
  EXPECT_EQ(format("%@", big).size(), big.size());
  EXPECT_EQ(format("[%s]", big).size(), big.size() + 2);
}

}  // namespace
}  // namespace velune::platform

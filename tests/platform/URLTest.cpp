#include "platform/URL.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "platform/PercentEncoding.h"
#include "platform/URLComponents.h"

namespace velune::platform {
namespace {

TEST(URL, FileURLs_EqualityFollowsTheAbsoluteStringIncludingTheDirectorySlash) {
  const URL directory = URL::fileURLWithPath("/a/b", true);
  const URL file = URL::fileURLWithPath("/a/b", false);
  EXPECT_EQ(directory.absoluteString(), "file:///a/b/");
  EXPECT_EQ(file.absoluteString(), "file:///a/b");
  EXPECT_NE(directory, file);
  EXPECT_EQ(directory.path(), file.path());
  EXPECT_TRUE(directory.hasDirectoryPath());
  EXPECT_FALSE(file.hasDirectoryPath());
  EXPECT_EQ(URL::fileURLWithPath("/a/b/"), directory);

  std::unordered_set<URL> set{directory, file, URL::fileURLWithPath("/a/b", false)};
  EXPECT_EQ(set.size(), 2u);
}

TEST(URL, FileURLs_EncodeWhatAPathCannotHoldAndDecodeItBack) {
  const URL url = URL::fileURLWithPath("/Docs/My Report #1?.pdf", false);
  EXPECT_EQ(url.absoluteString(), "file:///Docs/My%20Report%20%231%3F.pdf");
  EXPECT_EQ(url.path(), "/Docs/My Report #1?.pdf");
  EXPECT_EQ(url.lastPathComponent(), "My Report #1?.pdf");

  const URL unicode = URL::fileURLWithPath("/Docs/Ünïcödé 📄 עברית.txt", false);
  EXPECT_EQ(unicode.path(), "/Docs/Ünïcödé 📄 עברית.txt");
  EXPECT_EQ(unicode.pathExtension(), "txt");
  // A literal percent sign survives the round trip.
  EXPECT_EQ(URL::fileURLWithPath("/100%.txt", false).path(), "/100%.txt");
}

TEST(URL, PathOperations) {
  const URL url = URL::fileURLWithPath("/drive/Folder/archive.tar.gz", false);
  EXPECT_EQ(url.pathExtension(), "gz");
  EXPECT_EQ(url.URLByDeletingPathExtension().lastPathComponent(), "archive.tar");
  EXPECT_EQ(url.URLByDeletingLastPathComponent(), URL::fileURLWithPath("/drive/Folder/", true));
  EXPECT_EQ(url.URLByDeletingLastPathComponent().URLByAppendingPathComponent("x y", false).path(),
            "/drive/Folder/x y");
  EXPECT_EQ(url.pathComponents(), (std::vector<std::string>{"/", "drive", "Folder", "archive.tar.gz"}));
  EXPECT_EQ(URL::fileURLWithPath("/", true).URLByDeletingLastPathComponent().path(), "/");

  // No extension: no dot, a leading dot only, or a trailing dot.
  EXPECT_EQ(URL::fileURLWithPath("/a/README", false).pathExtension(), "");
  EXPECT_EQ(URL::fileURLWithPath("/a/.profile", false).pathExtension(), "");
  EXPECT_EQ(URL::fileURLWithPath("/a/name.", false).pathExtension(), "");
  EXPECT_EQ(URL::fileURLWithPath("/a/Report.pdf", false).URLByDeletingPathExtension().URLByAppendingPathExtension("txt").lastPathComponent(),
            "Report.txt");
}

TEST(URL, RecordedPhysicalURL_TravelsWithCopiesButIsNotPartOfEquality) {
  const URL logical = URL::fileURLWithPath("/drive/Report.pdf", false);
  const URL placeholder = URL::fileURLWithPath("/drive/.Report.pdf.placeholder", false);
  const URL promised = logical.withPhysicalURL(placeholder);
  ASSERT_NE(promised.physicalURL(), nullptr);
  EXPECT_EQ(*promised.physicalURL(), placeholder);
  EXPECT_EQ(promised, logical);
  EXPECT_EQ(std::hash<URL>()(promised), std::hash<URL>()(logical));
  const URL copy = promised;
  ASSERT_NE(copy.physicalURL(), nullptr);
  EXPECT_EQ(logical.physicalURL(), nullptr);
}

TEST(URL, EmptyURL) {
  const URL empty;
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_EQ(empty.absoluteString(), "");
  EXPECT_EQ(empty.path(), "");
  EXPECT_EQ(empty, URL());
  EXPECT_NE(empty, URL::fileURLWithPath("/", true));
  EXPECT_TRUE(empty.URLByAppendingPathComponent("x", false).isEmpty());
}

TEST(URLComponents, LaunchURLs_SplitIntoDecodedParts) {
  const auto url = URL::URLWithString("velunedriveapp://host/Mobile%20Documents/My%2520Doc.pdf?mode=details&%6Dode=info&flag");
  ASSERT_TRUE(url.has_value());
  const auto parts = URLComponents::fromURL(*url);
  ASSERT_TRUE(parts.has_value());
  EXPECT_EQ(parts->scheme(), "velunedriveapp");
  EXPECT_EQ(parts->host(), "host");
  // One decoding by the components, a second one by the caller.
  ASSERT_TRUE(parts->path().has_value());
  EXPECT_EQ(*parts->path(), "/Mobile Documents/My%20Doc.pdf");
  EXPECT_EQ(removingPercentEncoding(*parts->path()), "/Mobile Documents/My Doc.pdf");
  const auto items = parts->queryItems();
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0], (URLQueryItem{"mode", "details"}));
  EXPECT_EQ(items[1], (URLQueryItem{"mode", "info"}));  // the name was written %6Dode
  EXPECT_EQ(items[2], (URLQueryItem{"flag", std::nullopt}));
}

TEST(URLComponents, MalformedText_IsNotAURL) {
  EXPECT_FALSE(URL::URLWithString("").has_value());
  EXPECT_FALSE(URL::URLWithString("velunedriveapp:///a b").has_value());     // a blank
  EXPECT_FALSE(URL::URLWithString("velunedriveapp:///a%zz").has_value());    // broken escape
  EXPECT_FALSE(URL::URLWithString("velunedriveapp:///a%4").has_value());     // cut escape
  EXPECT_FALSE(URL::URLWithString("velunedriveapp:///%").has_value());
  EXPECT_FALSE(URL::URLWithString("http://host:99999/").has_value());        // port out of range
  EXPECT_FALSE(URL::URLWithString("http://host:12ab/").has_value());
  EXPECT_FALSE(URL::URLWithString("velunedriveapp:///ä").has_value());       // unencoded non-ASCII
  EXPECT_TRUE(URL::URLWithString("http://[::1]:8080/x").has_value());
  EXPECT_EQ(URLComponents::fromString("http://[::1]:8080/x")->port(), 8080);
  EXPECT_EQ(URLComponents::fromString("http://[::1]:8080/x")->host(), "[::1]");
}

TEST(PercentEncoding, SecondDecodingFailsOnBrokenEscapesAndInvalidUTF8) {
  EXPECT_EQ(removingPercentEncoding("My%20Doc"), "My Doc");
  EXPECT_EQ(removingPercentEncoding("%E2%9C%93"), "✓");
  EXPECT_FALSE(removingPercentEncoding("100%").has_value());
  EXPECT_FALSE(removingPercentEncoding("%G1").has_value());
  EXPECT_FALSE(removingPercentEncoding("%C3%28").has_value());  // not UTF-8
  EXPECT_FALSE(removingPercentEncoding("%ED%A0%80").has_value());  // a surrogate
  EXPECT_EQ(removingPercentEncodingLeniently("100%"), "100%");
  EXPECT_EQ(removingPercentEncodingLeniently("a%20b%zz"), "a b%zz");
  EXPECT_EQ(addingPercentEncoding("a b&c=d+e", URLCharacterSet::QueryItem), "a%20b%26c%3Dd%2Be");
}

}  // namespace
}  // namespace velune::platform

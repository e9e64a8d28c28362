#include <gtest/gtest.h>

#include "platform/URL.h"

namespace velune::platform {
namespace {

// A file URL made from a path gives that path back, whatever it holds, also
// when the URL is rebuilt from its text.
TEST(URLPath, FilePathsComeBackAsTheyWereGiven) {
  for (const std::string path :
       {"/a/b c/100% done.txt", "/caf\u00E9/Cafe\u0301 \U0001F4DD", "/x/%41?#.txt", "/", "/bytes/\xFF\xFE"}) {
    const URL url = URL::fileURLWithPath(path, false);
    EXPECT_EQ(url.path(), path);
    const auto reparsed = URL::URLWithString(url.absoluteString());
    ASSERT_TRUE(reparsed) << url.absoluteString();
    EXPECT_EQ(reparsed->path(), path);
  }
  EXPECT_EQ(URL::fileURLWithPath("/a/folder/", true).path(), "/a/folder");
  EXPECT_EQ(URL::fileURLWithPath("/a/folder", true).lastPathComponent(), "folder");
  EXPECT_EQ(URL::fileURLWithPath("/a/b.txt", false).URLByDeletingLastPathComponent().path(), "/a");
}

}  // namespace
}  // namespace velune::platform

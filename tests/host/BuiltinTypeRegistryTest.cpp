#include <gtest/gtest.h>

#include "host/drive/BuiltinTypeRegistry.h"

namespace velune::host {
namespace {

TEST(BuiltinTypeRegistry, ExtensionsConformanceAndDescriptions) {
  BuiltinTypeRegistry types;
  EXPECT_EQ(types.preferredIdentifierForExtension("PNG"), "public.png");
  EXPECT_EQ(types.preferredIdentifierForExtension("jpeg"), "public.jpeg");
  EXPECT_EQ(types.preferredIdentifierForExtension("gz"), "public.gzip-archive");
  EXPECT_EQ(types.preferredIdentifierForExtension("board"), "com.vorlan.lumiboard.board");
  EXPECT_EQ(types.preferredIdentifierForExtension("qqqz"), "");
  EXPECT_EQ(types.preferredIdentifierForExtension(""), "");

  // Conformance is transitive and reflexive, never upwards.
  EXPECT_TRUE(types.typeConformsTo("public.png", "public.png"));
  EXPECT_TRUE(types.typeConformsTo("public.png", "public.image"));
  EXPECT_TRUE(types.typeConformsTo("public.png", "public.data"));
  EXPECT_TRUE(types.typeConformsTo("public.png", "public.item"));
  EXPECT_FALSE(types.typeConformsTo("public.image", "public.png"));
  EXPECT_TRUE(types.typeConformsTo("public.markdown", "public.text"));
  EXPECT_TRUE(types.typeConformsTo("public.html", "public.content"));
  EXPECT_TRUE(types.typeConformsTo("public.mpeg-4", "public.movie"));
  EXPECT_FALSE(types.typeConformsTo("public.mpeg-4", "public.audio"));
  EXPECT_TRUE(types.typeConformsTo("public.mp3", "public.audio"));
  EXPECT_TRUE(types.typeConformsTo("public.zip-archive", "public.archive"));
  EXPECT_TRUE(types.typeConformsTo("public.folder", "public.directory"));
  EXPECT_TRUE(types.typeConformsTo("com.vorlan.lumiboard.board", "public.package"));
  EXPECT_FALSE(types.typeConformsTo("public.folder", "public.package"));
  EXPECT_FALSE(types.typeConformsTo("org.unknown", "public.item"));
  EXPECT_TRUE(types.typeConformsTo("org.unknown", "org.unknown"));

  EXPECT_EQ(types.localizedDescription("public.pdf"), "PDF Document");
  EXPECT_EQ(types.localizedDescription("public.folder"), "Folder");
  EXPECT_FALSE(types.localizedDescription("public.data"));  // abstract
  EXPECT_FALSE(types.localizedDescription("org.unknown"));
  EXPECT_EQ(types.extensionsForType("public.jpeg").front(), "jpg");
}

}  // namespace
}  // namespace velune::host

#include "platform/Value.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

#include "platform/Error.h"

namespace velune::platform {
namespace {

TEST(Value, TypeTests) {
  EXPECT_TRUE(Value().isNull());
  EXPECT_TRUE(Value(true).isNumber());
  EXPECT_TRUE(Value(3).isNumber());
  EXPECT_TRUE(Value(3u).isNumber());
  EXPECT_TRUE(Value(2.5).isNumber());
  EXPECT_FALSE(Value("3").isNumber());
  EXPECT_TRUE(Value(Date::fromSecondsSince1970(0)).isDate());
  EXPECT_TRUE(Value(URL::fileURLWithPath("/x", false)).isURL());
  EXPECT_TRUE(Value(Value::Data{1, 2}).isData());
  EXPECT_TRUE(Value(Value::Array{Value(1)}).isArray());
  EXPECT_TRUE(Value(Error::platform(4)).isError());
  EXPECT_TRUE(Value(std::shared_ptr<ui::Image>()).isNull());
  EXPECT_EQ(Value("x").asDate(), nullptr);
}

// Preferences hold whatever another program wrote; reading them never fails
// and never overflows.
TEST(Value, ConversionsOfForeignValues) {
  EXPECT_EQ(Value("7").integerValue(), 7);
  EXPECT_EQ(Value("  -42abc").integerValue(), -42);
  EXPECT_EQ(Value("abc").integerValue(), 0);
  EXPECT_EQ(Value("").integerValue(), 0);
  EXPECT_EQ(Value("99999999999999999999999").integerValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(Value("-99999999999999999999999").integerValue(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(Value(1e30).integerValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).integerValue(), 0);
  EXPECT_EQ(Value(18446744073709551615ull).integerValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(Value(-5).unsignedValue(), 0u);
  EXPECT_EQ(Value(7.9).integerValue(), 7);
  EXPECT_EQ(Value(true).integerValue(), 1);
  EXPECT_EQ(Value(Value::Array{}).integerValue(), 0);

  EXPECT_TRUE(Value("YES").boolValue());
  EXPECT_TRUE(Value("true").boolValue());
  EXPECT_TRUE(Value(" 0012").boolValue());
  EXPECT_FALSE(Value("NO").boolValue());
  EXPECT_FALSE(Value("0").boolValue());
  EXPECT_FALSE(Value("").boolValue());
  EXPECT_TRUE(Value(2).boolValue());
  EXPECT_FALSE(Value(0.0).boolValue());
  EXPECT_FALSE(Value(Value::Dictionary{}).boolValue());

  EXPECT_DOUBLE_EQ(Value("1.5e3x").doubleValue(), 1500.0);
  EXPECT_DOUBLE_EQ(Value("junk").doubleValue(), 0.0);
}

TEST(Value, LookupAndEquality) {
  const Value dict(Value::Dictionary{{"n", Value("Red")}, {"l", Value(6)}});
  EXPECT_EQ(dict["n"], Value("Red"));
  EXPECT_TRUE(dict["missing"].isNull());
  EXPECT_TRUE(Value(3)["n"].isNull());
  EXPECT_EQ(Value(Value::Array{Value(1)}).at(0), Value(1));
  EXPECT_TRUE(Value(Value::Array{}).at(5).isNull());
  EXPECT_EQ(dict.count(), 2u);

  EXPECT_EQ(Value(2), Value(2u));
  EXPECT_EQ(Value(2), Value(2.0));
  EXPECT_EQ(Value(true), Value(1));
  EXPECT_NE(Value(-1), Value(18446744073709551615ull));
  EXPECT_NE(Value("2"), Value(2));
  EXPECT_EQ(Value(URL::fileURLWithPath("/a", false)), Value(URL::fileURLWithPath("/a", false)));
}

TEST(Value, Descriptions) {
  EXPECT_EQ(Value().description(), "(null)");
  EXPECT_EQ(Value(false).description(), "0");
  EXPECT_EQ(Value(-3).description(), "-3");
  EXPECT_EQ(Value(0.25).description(), "0.25");
  EXPECT_EQ(Value(Date::fromSecondsSince1970(0)).description(), "1970-01-01 00:00:00 +0000");
  EXPECT_EQ(Value(Value::Data{0xAB, 0x01}).description(), "{length = 2, bytes = 0xab01}");
  EXPECT_EQ(Value(Value::Array{Value("a b"), Value(1)}).description(), "(\n    \"a b\",\n    1\n)");
}

TEST(Error, DescriptionsAndFallbacks) {
  const Error invalid = Error::platform(ErrorCode::FileWriteInvalidFileName);
  EXPECT_EQ(invalid.localizedDescription(), "The file name is invalid.");
  EXPECT_FALSE(invalid.localizedFailureReason().has_value());

  const Error explained("SomeDomain", 1, {{std::string(kLocalizedFailureReasonKey), Value("The disk is full.")}});
  EXPECT_FALSE(explained.localizedDescription().has_value());
  EXPECT_EQ(explained.localizedFailureReason(), "The disk is full.");

  const Error bare("SomeDomain", 9);
  EXPECT_FALSE(bare.localizedDescription().has_value());
  EXPECT_EQ(bare.description(), "Error Domain=SomeDomain Code=9");

  const Error told("SomeDomain", 9, {{std::string(kLocalizedDescriptionKey), Value("Told.")}});
  EXPECT_EQ(told.localizedDescription(), "Told.");
}

TEST(Error, FileErrnosBecomeTheGeneralDomainsCodes) {
  const Error missing = Error::fromErrno(ENOENT, "/drive/Report.pdf", false);
  EXPECT_EQ(missing.domain(), kPlatformErrorDomain);
  EXPECT_EQ(missing.code(), ErrorCode::FileReadNoSuchFile);
  EXPECT_EQ(missing.localizedDescription(),
            "The file “Report.pdf” couldn’t be opened because there is no such file.");
  ASSERT_NE(missing.underlyingError(), nullptr);
  EXPECT_EQ(missing.underlyingError()->domain(), kPOSIXErrorDomain);
  EXPECT_EQ(missing.underlyingError()->code(), ENOENT);

  EXPECT_EQ(Error::fromErrno(ENOENT, "/x", true).code(), ErrorCode::FileNoSuchFile);
  EXPECT_EQ(Error::fromErrno(EEXIST, "/x", true).code(), ErrorCode::FileWriteFileExists);
  EXPECT_EQ(Error::fromErrno(ENOSPC, "/x", true).code(), ErrorCode::FileWriteOutOfSpace);
  EXPECT_EQ(Error::fromErrno(EACCES, "/x", true).code(), ErrorCode::FileWriteNoPermission);
  EXPECT_EQ(Error::fromErrno(EROFS, "/x", true).code(), ErrorCode::FileWriteVolumeReadOnly);
  EXPECT_EQ(Error::fromErrno(EIO, "/x", false).code(), ErrorCode::FileReadUnknown);
  EXPECT_TRUE(Error::posix(EIO).localizedDescription().has_value());
}

}  // namespace
}  // namespace velune::platform

// libFuzzer target: the file-name rule of renaming and the name prompts,
// held against a reading of the same rule made here from ICU's own tables,
// with ICU's own UTF-8 decoder. Any bytes: the two must agree.

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "model/FileUtils.h"

namespace {

bool allowedByICU(const std::string& name) {
  if (name.empty() || name.front() == '.' || name.find_first_of("/:") != std::string::npos) {
    return false;
  }
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(name.data());
  const auto length = static_cast<std::int32_t>(name.size());
  for (std::int32_t at = 0; at < length;) {
    UChar32 c = 0;
    U8_NEXT(bytes, at, length, c);
    if (c < 0) {
      return false;  // not UTF-8
    }
    const auto category = u_charType(c);
    if (category == U_UNASSIGNED || u_hasBinaryProperty(c, UCHAR_NONCHARACTER_CODE_POINT) ||
        category == U_CONTROL_CHAR || category == U_FORMAT_CHAR || c == 0x2028 || c == 0x2029 || c == 0x85 ||
        (c >= 0x0A && c <= 0x0D)) {
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string name(reinterpret_cast<const char*>(data), size);
  if (velune::FileUtils::isValidFilename(name) != allowedByICU(name)) {
    std::abort();
  }
  return 0;
}

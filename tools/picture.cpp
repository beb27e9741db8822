#include "picture.h"

#include "failure.h"

namespace tavo::tools {
namespace {

// 39.37 dots per metre are one per inch: 2835 are 72.
int32_t per_inch(int32_t per_metre) {
  if (per_metre <= 0) return 0;
  return static_cast<int32_t>((int64_t{per_metre} * 254 + 5000) / 10000);
}

}  // namespace

void check_moved(uint32_t bytes, int32_t answer, const std::string& where) {
  if (answer != static_cast<int32_t>(bytes)) check(answer < 0 ? answer : T_ERR_WRITE, where);
}

Resolution in_dots_per_inch(int32_t format, int32_t x, int32_t y) {
  if (format == T_FORMAT_BMP || format == T_FORMAT_BMP_OS2) return {per_inch(x), per_inch(y)};
  return {x, y};
}

}  // namespace tavo::tools

#include "picture.h"

#include "failure.h"
#include "system.h"

namespace tavo::tools {
namespace {

// 39.37 dots per metre are one per inch: 2835 are 72.
int32_t per_inch(int32_t per_metre) {
  if (per_metre <= 0) return 0;
  return static_cast<int32_t>((int64_t{per_metre} * 254 + 5000) / 10000);
}

}  // namespace

Resolution in_dots_per_inch(int32_t format, int32_t x, int32_t y) {
  if (format == T_FORMAT_BMP || format == T_FORMAT_BMP_OS2) return {per_inch(x), per_inch(y)};
  return {x, y};
}

FILEINFO describe(const std::string& name, int32_t page) {
  if (file_kind(name) == FileKind::kDirectory) throw Failure{name, "Is a folder", T_ERR_OPEN};
  FILEINFO info{};
  T_SetPageNumber(page);
  const int32_t status = T_FileInfo(absolute_path(name).c_str(), &info);
  T_SetPageNumber(1);
  check(status, name);
  if (page > info.PageCount)
    throw Failure{
        name,
        "There is no page " + std::to_string(page) + ", only " + std::to_string(info.PageCount),
        T_ERR_ARGUMENT};
  return info;
}

}  // namespace tavo::tools

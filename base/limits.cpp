#include "base/limits.h"

namespace tavo::limits {

Status refuse(int32_t kind, uint64_t asked) {
  settings.note.limit = kind;
  settings.note.asked = asked;
  settings.note.allowed = settings.limits[kind];
  return kLimit;
}

Status check_picture(int64_t width, int64_t height) {
  const auto columns = static_cast<uint64_t>(width > 0 ? width : 0);
  const auto rows = static_cast<uint64_t>(height > 0 ? height : 0);
  // Sides have 32 bits.
  TRY(check(T_LIMIT_PIXELS, columns * rows));
  return check(T_LIMIT_SIDE, columns > rows ? columns : rows);
}

Status add_temporary(uint64_t bytes) {
  TRY(check(T_LIMIT_TEMPORARY, settings.temporary_bytes + bytes));
  settings.temporary_bytes += bytes;
  return kOk;
}

void remove_temporary(uint64_t bytes) {
  settings.temporary_bytes -= bytes < settings.temporary_bytes ? bytes : settings.temporary_bytes;
}

}  // namespace tavo::limits

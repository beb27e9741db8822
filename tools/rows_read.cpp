#include "rows_read.h"

#include <algorithm>

#include "deadline.h"
#include "picture.h"

namespace tavo::tools {
namespace {

int32_t T_CALL drop_rows(BitmapHandle*, const void*, int32_t, void*) { return T_OK; }

}  // namespace

std::string RowsRead::all() const {
  return std::to_string(of) + " rows" + (page > 0 ? " of page " + std::to_string(page) : "");
}

RowsRead rows_of_load(int32_t status, const FILEINFO& info) {
  RowsRead rows{status, T_GetRowsRead(), info.Height};
  if (info.PageCount > 1) rows.page = info.Page;
  if (status == T_OK && rows.whole < rows.of) rows.status = T_ERR_READ;
  if (rows.is_whole()) return rows;
  const auto end = static_cast<int64_t>(info.FileSize);
  const int64_t offset = T_GetDamageOffset();
  rows.offset = offset < 0 ? end : std::min(offset, end);
  return rows;
}

RowsRead read_rows(const Source& source, const FILEINFO& info) {
  Picture picture;
  T_SetPageNumber(info.Page);
  const int32_t status =
      T_LoadFile(source.path().c_str(), &picture.record(), 0, -1, 0, drop_rows, nullptr);
  T_SetPageNumber(1);
  check_signals();
  check_deadline(source.name());
  return rows_of_load(status, info);
}

Failure failure_of(const RowsRead& rows, const std::string& file) {
  Failure failure = failure_of_call(rows.status, file);
  if (rows.is_damaged()) {
    failure.what +=
        ": " + std::to_string(rows.of - rows.whole) + " of " + rows.all() + " are missing";
    if (rows.is_partial()) failure.what += "; --partial writes what is there";
  }
  return failure;
}

}  // namespace tavo::tools

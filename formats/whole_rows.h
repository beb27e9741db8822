// Pictures that are whole before their first row is delivered.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "core/rows.h"
#include "process/row_delivery.h"
#include "tavo45.h"

namespace tavo::formats {

// `rows` have been started. When some are missing, which `status` says, none counts as read: they
// may be anywhere in the turned picture.
inline Status deliver_whole(BitmapHandle& whole, const Status& status, process::RowDelivery& rows) {
  for (uint32_t y = 0; y < static_cast<uint32_t>(whole.Height); ++y) {
    TRY(core::get_row(whole, y, rows.next_row().first(whole.BytesPerLine)));
    TRY(rows.commit(1, status.ok() ? 1 : 0));
  }
  return status.ok() ? rows.finish() : rows.finish_early(status);
}

}  // namespace tavo::formats

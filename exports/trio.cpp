#include "exports/trio.h"

#include "core/notice.h"
#include "exports/arguments.h"
#include "pipeline/load.h"

namespace tavo::exports {

int32_t load_rows(io::Reader read, const char* name, BitmapHandle* bitmap, T_RowSink sink,
                  int32_t bits_per_pixel, void* context) {
  if (missing(bitmap, sink)) return refused_load(name);
  if (!core::check_notice().ok()) return T_ERR_NOTICE;
  return read(name, bitmap, sink, bits_per_pixel, context).code();
}

int32_t load_picture(io::Reader read, const char* name, BitmapHandle* bitmap, bool memory_only) {
  if (missing(bitmap)) return refused_load(name);
  return pipeline::load_picture(name, *bitmap, read, memory_only).code();
}

}  // namespace tavo::exports

#include "exports/trio.h"

#include "base/settings.h"
#include "core/notice.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "pipeline/load.h"
#include "pipeline/registry.h"

namespace tavo::exports {

namespace {

int32_t refuse_format() {
  settings.note.is_not_allowed = true;
  return answer(kBadData);
}

}  // namespace

int32_t load_rows(io::Reader read, const char* name, BitmapHandle* bitmap, T_RowSink sink,
                  int32_t bits_per_pixel, void* context) {
  if (missing(bitmap, sink)) return answer(refused_load(name));
  if (!core::check_notice().ok()) return answer(kNoticeDamaged);
  if (!pipeline::is_enabled(read)) return refuse_format();
  return answer(read(name, bitmap, sink, bits_per_pixel, context));
}

int32_t load_picture(io::Reader read, const char* name, BitmapHandle* bitmap, bool memory_only) {
  if (missing(bitmap)) return answer(refused_load(name));
  if (!pipeline::is_enabled(read)) return refuse_format();
  return answer(pipeline::load_picture(name, *bitmap, read, memory_only));
}

}  // namespace tavo::exports

#include "pipeline/format_write.h"

#include "core/bitmap.h"
#include "core/rows.h"
#include "pipeline/save.h"
#include "pipeline/store_sink.h"

namespace tavo::pipeline {

namespace {

Status make_picture(const BitmapHandle& source, BitmapHandle& picture) {
  picture.Flags = 0;
  TRY(core::init_bitmap(picture, source.Width, source.Height, source.BitsPerPixel));
  TRY(core::copy_description(picture, source));
  picture.XResolution = source.XResolution;
  picture.YResolution = source.YResolution;
  return core::allocate_quietly(picture);
}

Status save_picture(T_FormatWriteContext& context, bool direct) {
  BitmapHandle& picture = context.Picture;
  core::set_flag(picture, T_FLAG_INTERLACED, false);  // its rows are in their places now
  const SaveOptions options{.format = context.Format,
                            .bits = direct ? 0 : context.BitsPerPixel,
                            .quality = context.Quality,
                            .flags = context.Flags,
                            .direct = direct};
  if (!direct) return save_with_resolution(context.Name, picture, options);
  const core::AccessScope accessed(picture);
  return save(context.Name, picture, options);
}

Status gather(const BitmapHandle& source, const void* rows, int32_t count,
              T_FormatWriteContext& context, bool direct) {
  if (count <= 0) return count < 0 ? kBadArgument : kOk;
  if (context.Rows == 0) TRY(make_picture(source, context.Picture));
  StoreSink store(context.Picture);
  store.resume(static_cast<uint32_t>(context.Rows));
  TRY(store.store(rows, count));
  context.Rows += count;
  return context.Rows < context.Picture.Height ? kOk : save_picture(context, direct);
}

}  // namespace

Status format_write(const BitmapHandle& source, const void* rows, int32_t count,
                    T_FormatWriteContext& context, bool direct) {
  const Status status = gather(source, rows, count, context, direct);
  if (!status.ok() || context.Rows >= context.Picture.Height) {
    core::free_bitmap(context.Picture);
    context.Rows = 0;
  }
  return status;
}

}  // namespace tavo::pipeline

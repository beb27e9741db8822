#include "clip.h"
#include "deadline.h"
#include "failure.h"
#include "format_table.h"
#include "orientation.h"
#include "output_file.h"
#include "picture.h"
#include "picture_save.h"
#include "source.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

void copy(const ClipOptions& options) {
  const Deadline deadline(options.limits.seconds, options.file);
  const Source source(options.file);
  const FILEINFO info = describe(source, 1);
  Picture picture;
  BitmapHandle& record = picture.record();
  check(T_LoadBitmap(source.path().c_str(), &record, 0, T_ORDER_BGR), source.name());
  const Resolution resolution =
      in_dots_per_inch(info.Format, record.XResolution, record.YResolution);
  record.XResolution = resolution.x;
  record.YResolution = resolution.y;
  turn_upright(record, static_cast<uint32_t>(info.Orientation), source.name());
  check(T_CopyToClipboard(&record, nullptr), source.name());
}

void paste(const ClipOptions& options) {
  const T_Format format = format_for(options.format, options.file);
  Picture picture;
  check(T_CopyFromClipboard(&picture.record(), nullptr), "clipboard");
  OutputFile output(options.file, false);
  save_picture(output.path(), options.file, format, picture.record());
  output.commit();
}

bool is_there(const std::string& file) {
  return file != "-" && file_kind(file) != FileKind::kMissing;
}

}  // namespace

int run_clip(const ClipOptions& options) {
  set_limits(options.limits);
  options.copy || (!options.paste && is_there(options.file)) ? copy(options) : paste(options);
  return kExitOk;
}

}  // namespace tavo::tools

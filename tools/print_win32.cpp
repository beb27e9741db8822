#include <windows.h>

#include "deadline.h"
#include "failure.h"
#include "orientation.h"
#include "picture.h"
#include "print.h"
#include "source.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

class PrinterDc {
 public:
  explicit PrinterDc(const std::string& printer)
      : dc_(CreateDCA("WINSPOOL", printer.c_str(), nullptr, nullptr)) {
    if (dc_ == nullptr) throw Failure{printer, "there is no such printer", T_ERR_DEVICE};
  }
  ~PrinterDc() { DeleteDC(dc_); }
  PrinterDc(const PrinterDc&) = delete;
  PrinterDc& operator=(const PrinterDc&) = delete;
  HDC get() const { return dc_; }

 private:
  HDC dc_;
};

void load_upright(const Source& source, int page, BitmapHandle& record) {
  const FILEINFO info = describe(source, page);
  T_SetPageNumber(page);
  check(T_LoadBitmap(source.path().c_str(), &record, 0, T_ORDER_BGR), source.name());
  const Resolution resolution =
      in_dots_per_inch(info.Format, record.XResolution, record.YResolution);
  record.XResolution = resolution.x;
  record.YResolution = resolution.y;
  turn_upright(record, static_cast<uint32_t>(info.Orientation), source.name());
}

uint32_t placement_of(const PrintOptions& options) {
  uint32_t placement = T_PRINT_FIT;
  if (options.size == "actual") placement = T_PRINT_ACTUAL;
  if (options.size == "stretch") placement = T_PRINT_STRETCH;
  return options.center ? placement | T_PRINT_CENTER : placement;
}

}  // namespace

int run_print(const PrintOptions& options) {
  set_limits(options.limits);
  const Deadline deadline(options.limits.seconds, options.file);
  const PrinterDc printer(options.printer);
  const Source source(options.file);
  Picture picture;
  load_upright(source, options.page, picture.record());
  const std::string output = options.output.empty() ? "" : absolute_path(options.output);
  check(T_PrintBitmapExt(&picture.record(), printer.get(), nullptr, nullptr, placement_of(options),
                         0, source.name().c_str(), output.empty() ? nullptr : output.c_str()),
        source.name());
  return kExitOk;
}

}  // namespace tavo::tools

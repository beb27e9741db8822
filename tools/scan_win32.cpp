#include <cstring>
#include <exception>
#include <string_view>

#include "failure.h"
#include "format_table.h"
#include "page_files.h"
#include "progress.h"
#include "scan.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

constexpr uint32_t kNoDialog = 1, kFeeder = 2;

// Nothing may be thrown through the library: what goes wrong with a page waits here.
struct Pages {
  PageFiles files;
  std::exception_ptr failure;
};

int32_t T_CALL take_page(BitmapHandle* picture, int32_t, void* context) {
  Pages& pages = *static_cast<Pages*>(context);
  try {
    check_signals();
    pages.files.add(*picture);
    return T_OK;
  } catch (...) {
    pages.failure = std::current_exception();
    return 0;
  }
}

int32_t pixel_type(std::string_view name) {
  constexpr std::string_view kNames[] = {"", "bw", "gray", "rgb", "palette"};
  int32_t type = 0;
  while (kNames[type] != name) ++type;
  return type;
}

T_TwainOptions library_options(const ScanOptions& options) {
  T_TwainOptions wanted = {};
  wanted.Size = sizeof(wanted);
  wanted.Flags = (options.no_dialog ? kNoDialog : 0) | (options.feeder ? kFeeder : 0);
  wanted.PixelType = pixel_type(options.type);
  wanted.XResolution = wanted.YResolution = options.resolution;
  wanted.Pages = options.pages;
  if (options.source.size() > 33) throw UsageError{"--source: the name is too long"};
  std::memcpy(wanted.SourceName, options.source.data(), options.source.size());
  return wanted;
}

}  // namespace

int run_scan(const ScanOptions& options) {
  const T_TwainOptions wanted = library_options(options);
  Pages pages{{options.file, format_for(options.format, options.file), "page"}, nullptr};
  Progress progress;
  progress.start("Scanning");
  const int32_t status = T_TwainAcquireExt(nullptr, &wanted, take_page, &pages);
  if (pages.failure) std::rethrow_exception(pages.failure);
  check_signals();
  if (pages.files.count() > 0) pages.files.commit();
  if (status == T_OK) return kExitOk;
  Failure failure = failure_of_call(status, "scanner");
  if (T_TwainCondition() != 0)
    failure.what += ", for reason " + std::to_string(T_TwainCondition()) + " of TWAIN";
  throw failure;
}

}  // namespace tavo::tools

#include "source.h"

#include <cstdio>

#include "failure.h"
#include "foreign.h"
#include "native_name.h"
#include "picture.h"
#include "streams.h"
#include "system.h"

namespace tavo::tools {
namespace {

constexpr uint64_t kMostBytes = UINT32_MAX;  // what the library reads of a file

[[noreturn]] void fail_to_open(const std::string& name) {
  throw_system_failure(name, T_GetStatusText(T_ERR_OPEN), T_ERR_OPEN);
}

bool can_be_read(const std::string& path) {
  std::FILE* const file = open_stream(path, "rb");
  if (file != nullptr) std::fclose(file);
  return file != nullptr;
}

Failure failure_to_describe(int32_t status, const Source& source, int32_t page) {
  Failure failure = failure_of_call(status, source.name());
  const NotRead reason = why_not_read(source.path());
  if (failure.cause == Cause::kNotAllowed && (reason.is_damaged || reason.text.empty()))
    return failure;
  if (!reason.text.empty()) failure.what = reason.text;
  const bool is_none = page == 1 && !reason.is_damaged && failure.system_error == 0;
  failure.cause = is_none ? Cause::kNoPicture : Cause::kOther;
  return failure;
}

}  // namespace

Source::Source(const std::string& name) : name_(name) {
  if (name == kStandardStream) {
    name_ = "standard input";
    copy(name);
    return;
  }
  switch (file_kind(name)) {
    case FileKind::kMissing:
      fail_to_open(name);
    case FileKind::kDirectory:
      throw Failure{name, "Is a folder", T_ERR_OPEN};
    case FileKind::kOther:
      copy(name);
      return;
    case FileKind::kRegular:
      path_ = absolute_path(name);
  }
}

void Source::copy(const std::string& from) {
  const std::string folder = temporary_folder();
  if (!copy_.create(folder)) throw_folder_failure(folder);
  switch (copy_stream(from, copy_.path(), kMostBytes)) {
    case Copied::kAll:
      path_ = copy_.path();
      return;
    case Copied::kNotRead:
      check_signals();
      throw_system_failure(name_, "Reading failed", T_ERR_READ);
    case Copied::kNotWritten:
      throw_folder_failure(folder);
    case Copied::kTooLong:
      throw Failure{name_, "4 GiB or more came, which is more than can be read", T_ERR_TOO_LARGE};
  }
}

FILEINFO describe(const Source& source, int32_t page) {
  FILEINFO info{};
  T_SetPageNumber(page);
  const int32_t status = T_FileInfo(source.path().c_str(), &info);
  T_SetPageNumber(1);
  if (status == T_ERR_BAD_DATA || status == T_ERR_READ) {
    check_signals();
    throw failure_to_describe(status, source, page);
  }
  if (status == T_ERR_OPEN && !can_be_read(source.path())) fail_to_open(source.name());
  check(status, source.name());
  if (page > info.PageCount)
    throw Failure{
        source.name(),
        "There is no page " + std::to_string(page) + ", only " + std::to_string(info.PageCount),
        T_ERR_ARGUMENT};
  return info;
}

int32_t count_pages(const std::string& path) {
  if (file_kind(path) != FileKind::kRegular) return 1;  // a pipe would be waited for
  const GifFrames frames(true);
  FILEINFO info{};
  return T_FileInfo(path.c_str(), &info) == T_OK ? info.PageCount : 1;
}

}  // namespace tavo::tools

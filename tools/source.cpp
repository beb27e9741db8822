#include "source.h"

#include "failure.h"
#include "foreign.h"
#include "streams.h"
#include "system.h"

namespace tavo::tools {
namespace {

constexpr uint64_t kMostBytes = INT32_MAX;  // what the library's file operations address

[[noreturn]] void fail_to_open(const std::string& name) {
  const std::string reason = last_error_text();
  throw Failure{name, T_GetStatusText(T_ERR_OPEN) + (": " + reason), T_ERR_OPEN};
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
      if (!can_be_read(name)) fail_to_open(name);
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
      throw Failure{name_, "Reading failed: " + last_error_text(), T_ERR_READ};
    case Copied::kNotWritten:
      throw_folder_failure(folder);
    case Copied::kTooLong:
      throw Failure{name_, "More than 2 GiB came, which is more than can be read", T_ERR_SEEK};
  }
}

FILEINFO describe(const Source& source, int32_t page) {
  FILEINFO info{};
  T_SetPageNumber(page);
  const int32_t status = T_FileInfo(source.path().c_str(), &info);
  T_SetPageNumber(1);
  if (status == T_ERR_BAD_DATA || status == T_ERR_READ) {
    check_signals();
    const std::string text = why_not_read(source.path());
    if (!text.empty()) throw Failure{source.name(), text, status};
  }
  check(status, source.name());
  if (page > info.PageCount)
    throw Failure{
        source.name(),
        "There is no page " + std::to_string(page) + ", only " + std::to_string(info.PageCount),
        T_ERR_ARGUMENT};
  return info;
}

}  // namespace tavo::tools

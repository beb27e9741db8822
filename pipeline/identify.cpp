#include "pipeline/identify.h"

#include <algorithm>
#include <array>

#include "base/limits.h"
#include "base/settings.h"
#include "core/notice.h"
#include "io/input_file.h"
#include "pipeline/registry.h"

namespace tavo::pipeline {

namespace {

bool may_give(const ProbeRow& row) {
  return std::ranges::any_of(row.formats, [](int32_t id) { return id != 0 && is_enabled(id); });
}

Status check_limits(const FILEINFO& info) {
  TRY(limits::check_picture(info.Width, info.Height));
  return limits::check(T_LIMIT_PAGES, static_cast<uint64_t>(std::max(info.Page, info.PageCount)));
}

Status look_into(const char* name, bool counts_pages, FILEINFO& info) {
  TRY(core::check_notice());
  io::InputFile file;
  TRY(file.open(name));

  std::array<uint8_t, 4096> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  uint32_t file_size = 0;
  TRY(file.size(file_size));

  Status refusal = kBadData;
  for (const ProbeRow& row : probes()) {
    if (!may_give(row)) {
      settings.note.is_not_allowed = true;
      continue;
    }
    TRY(file.seek(0));
    info = {};
    info.FileSize = file_size;
    info.PageCount = 1;
    info.Page = 1;
    info.ViewPerspective = 2;
    const io::ProbeInput input{name, {head.data(), got}, file, file_size, counts_pages};
    Status status = row.probe(input, info);
    // What keeps a probe from looking says nothing about the format, whatever it made of it.
    TRY(file.failure());
    if (status.ok() && !is_enabled(info.Format)) {
      settings.note.is_not_allowed = true;
      continue;
    }
    if (status.ok()) status = check_limits(info);
    if (status.ok() || status == kNoMemory) return status;
    // Another may know the file better than the one that finds it too large.
    if (status == kLimit) refusal = kLimit;
  }
  info = {};
  return refusal;
}

}  // namespace

Status identify(const char* name, FILEINFO& info) { return look_into(name, false, info); }

Status describe_file(const char* name, FILEINFO& info) { return look_into(name, true, info); }

}  // namespace tavo::pipeline

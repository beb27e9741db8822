#include "pipeline/identify.h"

#include <array>

#include "core/notice.h"
#include "io/input_file.h"
#include "pipeline/registry.h"

namespace tavo::pipeline {

namespace {

Status look_into(const char* name, bool counts_pages, FILEINFO& info) {
  TRY(core::check_notice());
  io::InputFile file;
  TRY(file.open(name));

  std::array<uint8_t, 4096> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  uint32_t file_size = 0;
  TRY(file.size(file_size));

  for (const io::Probe probe : probes()) {
    TRY(file.seek(0));
    info = {};
    info.FileSize = file_size;
    info.PageCount = 1;
    info.Page = 1;
    info.ViewPerspective = 2;
    const io::ProbeInput input{{head.data(), got}, file, file_size, counts_pages, identify};
    const Status status = probe(input, info);
    // What keeps a probe from looking says nothing about the format, whatever it made of it.
    TRY(file.failure());
    if (status.ok() || status == kNoMemory) return status;
  }
  info = {};
  return kBadData;
}

}  // namespace

Status identify(const char* name, FILEINFO& info) { return look_into(name, false, info); }

Status describe_file(const char* name, FILEINFO& info) { return look_into(name, true, info); }

}  // namespace tavo::pipeline

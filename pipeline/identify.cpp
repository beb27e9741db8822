#include "pipeline/identify.h"

#include <array>

#include "core/notice.h"
#include "io/input_file.h"
#include "pipeline/registry.h"

namespace tavo::pipeline {

Status identify(const char* name, FILEINFO& info) {
  TRY(core::check_notice());
  io::InputFile file;
  TRY(file.open(name));

  std::array<uint8_t, 4096> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  if (got == 0) return kReadError;
  uint32_t file_size = 0;
  if (!file.size(file_size).ok()) file_size = UINT32_MAX;

  for (const io::Probe probe : probes()) {
    TRY(file.seek(0));
    info = {};
    info.FileSize = file_size;
    info.PageCount = 1;
    info.Page = 1;
    info.ViewPerspective = 2;
    const io::ProbeInput input{{head.data(), got}, file, file_size, identify};
    if (probe(input, info).ok()) return kOk;
  }
  info = {};
  return kBadData;
}

}  // namespace tavo::pipeline

// What the library says about itself.
#include "tavo45.h"

namespace {

struct StatusText {
  int32_t status;
  const char* text;
};

constexpr StatusText kTexts[] = {
    {T_OK, "Success"},
    {T_ERR_NO_MEMORY, "Memory or storage could not be obtained"},
    {T_ERR_NO_STORAGE, "The bitmap has no storage"},
    {T_ERR_SEEK, "A seek in the file failed"},
    {T_ERR_WRITE, "Writing failed, or the multi-page file is full"},
    {T_ERR_READ, "Reading failed, or the file is shorter than its header says"},
    {T_ERR_NAME, "There is no file name"},
    {T_ERR_BAD_DATA, "The data are damaged or not of the expected format"},
    {T_ERR_OPEN, "The file cannot be opened"},
    {T_ERR_SIZE, "The picture or stamp has no size, or one that is out of range"},
    {T_ERR_SUBTYPE, "This variant of the format is not supported"},
    {T_ERR_ARGUMENT, "An argument is invalid"},
    {T_ERR_CREATE, "The output file cannot be created"},
    {T_ERR_FORMAT, "There is no reader or writer for this format, or too many colours were asked"},
    {T_ERR_QUALITY, "The quality factor is out of range"},
    {T_ERR_DEPTH, "The format cannot be written at this depth"},
    {T_ERR_MULTIPLIER, "The quality factor gives empty quantisation tables"},
    {T_ERR_NOT_COMPRESSIBLE, "The picture cannot be compressed"},
    {T_ERR_INCOMPLETE, "The compression ended before all rows were delivered"},
    {T_ERR_NO_STAMP, "The file carries no stamp"},
    {T_ERR_NOTICE, "The check of the embedded notice failed"},
    {T_ERR_TOO_LARGE, "The file is larger than the file operations can address"},
};

// The build file knows the version.
constexpr uint32_t kVersion = TAVO_MAJOR << 16 | TAVO_MINOR << 8 | TAVO_PATCH;

}  // namespace

const char* T_CALL T_GetStatusText(int32_t status) {
  for (const StatusText& entry : kTexts) {
    if (entry.status == status) return entry.text;
  }
  return "Unknown status";
}

uint32_t T_CALL T_GetVersion(void) { return kVersion; }

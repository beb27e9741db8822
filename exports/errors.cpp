// What the last failure was about, in numbers and in words: the one place of all texts.
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/settings.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "platform/platform.h"
#include "tavo45.h"

using namespace tavo;

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
    {T_ERR_LIMIT, "A limit that was set does not allow it"},
    {T_ERR_DEVICE, "The system refused to draw, print or make a bitmap"},
    {T_ERR_BUSY, "Another program holds the clipboard"},
    {T_ERR_NO_PICTURE, "There is no picture on the clipboard"},
    {T_ERR_UNAVAILABLE, "There is no scanner manager"},
    {T_ERR_NO_SOURCE, "There is no scanner, or it cannot be opened"},
    {T_ERR_SOURCE, "The scanner failed"},
    {T_ERR_CANCELLED, "The user cancelled"},
};

// A limit's name, and the sentence that is told: what was asked stands between its halves, what is
// allowed behind.
struct LimitText {
  const char* name;
  const char* before;
  const char* after;
};

constexpr LimitText kLimitTexts[] = {
    {"", "", ""},
    {"pixels", "The picture has ", " pixels"},
    {"side", "A side of the picture has ", " pixels"},
    {"memory", "The work needs ", " bytes of memory"},
    {"temporary", "The work needs ", " bytes of temporary files"},
    {"pages", "Pages up to number ", " were asked"},
    {"work", "The file gives ", " bytes of decoded pixels or more"},
};
static_assert(std::size(kLimitTexts) == std::size(Settings{}.limits));

constexpr const char* kCauseTexts[] = {
    "",
    "there is no such file or folder",
    "permission is denied",
    "it is a folder",
    "somebody else has it open",
    "there is no room left",
    "the medium is read-only",
    "the name is too long",
    "too many files are open",
    "the device failed",
};
static_assert(std::size(kCauseTexts) == static_cast<size_t>(platform::Cause::kDevice) + 1);

// A sentence in the making, cut where its place ends.
class Sentence {
 public:
  Sentence(char* at, uint32_t size) : at_(at), room_(size - 1) { *at_ = 0; }

  Sentence& add(std::string_view text) {
    const size_t count = text.size() < room_ ? text.size() : room_;
    std::memcpy(at_, text.data(), count);
    at_ += count;
    room_ -= static_cast<uint32_t>(count);
    *at_ = 0;
    return *this;
  }

  Sentence& add(uint64_t number) {
    std::array<char, 20> digits;
    size_t first = digits.size();
    do {
      digits[--first] = static_cast<char>('0' + number % 10);
      number /= 10;
    } while (number != 0);
    return add({&digits[first], digits.size() - first});
  }

 private:
  char* at_;
  uint32_t room_;
};

void tell_limit(const T_ERRORINFO& failure, Sentence& sentence) {
  const LimitText& text = kLimitTexts[failure.Limit];
  sentence.add(text.before).add(failure.Asked).add(text.after).add("; ");
  sentence.add(failure.Allowed).add(" are allowed");
}

void tell_reason(const T_ERRORINFO& failure, Sentence& sentence) {
  if (failure.Limit != 0) return tell_limit(failure, sentence);
  if (failure.NotAllowed != 0) {
    sentence.add("The file is in none of the formats that are allowed");
    return;
  }
  sentence.add(failure.Status > 0 ? "A callback ended the work" : T_GetStatusText(failure.Status));
  if (failure.SystemError == 0) return;
  const auto cause = static_cast<size_t>(platform::cause_of(failure.SystemError));
  if (cause == 0) {
    sentence.add(": the system's error ").add(static_cast<uint32_t>(failure.SystemError));
  } else {
    sentence.add(": ").add(kCauseTexts[cause]);
  }
}

}  // namespace

const char* T_CALL T_GetStatusText(int32_t status) {
  for (const StatusText& entry : kTexts) {
    if (entry.status == status) return entry.text;
  }
  return "Unknown status";
}

int32_t T_CALL T_GetError(T_ERRORINFO* error) {
  if (exports::missing(error)) return T_ERR_ARGUMENT;
  *error = settings.last_failure;
  const char* const name = kLimitTexts[error->Limit].name;
  std::memcpy(error->LimitName, name, std::strlen(name));
  return T_OK;
}

int32_t T_CALL T_GetErrorText(char* buffer, uint32_t size) {
  if (exports::missing(buffer) || size == 0) return T_ERR_ARGUMENT;
  const T_ERRORINFO& failure = settings.last_failure;
  Sentence sentence(buffer, size);
  if (failure.Status == 0) return T_OK;
  tell_reason(failure, sentence);
  if (failure.Offset >= 0) sentence.add(", at byte ").add(static_cast<uint64_t>(failure.Offset));
  if (failure.Row >= 0) sentence.add(", in row ").add(static_cast<uint64_t>(failure.Row));
  if (failure.Page > 1) sentence.add(" of page ").add(static_cast<uint64_t>(failure.Page));
  return T_OK;
}

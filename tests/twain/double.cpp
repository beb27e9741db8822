#include "double.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using namespace tavo::twain;
using namespace tavo::test;

TwainDouble told;

struct Rule {
  Triplet triplet;
  char letter;
  int32_t from, to;  // states in which it is allowed
};

constexpr Rule kRules[] = {
    {kOpenManager, 'M', 2, 2},    {kCloseManager, 'm', 3, 3},   {kOpenSource, 'S', 3, 3},
    {kCloseSource, 's', 4, 4},    {kSelectSource, 'U', 3, 3},   {kGetCurrentCapability, 'g', 4, 7},
    {kSetCapability, 'c', 4, 4},  {kDisableSource, 'e', 5, 5},  {kEnableSource, 'E', 4, 4},
    {kProcessEvent, 'v', 5, 7},   {kGetMemorySizes, 'z', 4, 6}, {kSetFile, 'F', 4, 6},
    {kResetTransfers, 'R', 6, 6}, {kEndTransfer, 'T', 6, 7},    {kGetImageInfo, 'I', 6, 7},
    {kSetImageLayout, 'L', 4, 4}, {kTransferMemory, 'X', 6, 7}, {kTransferNative, 'N', 6, 6},
    {kTransferFile, 'f', 6, 6},   {kGetPalette, 'P', 4, 6},
};

struct Source {
  int32_t state = 2;
  int32_t page = 0;
  int32_t row = 0;  // of the picture, counted through planes
  int32_t half = 0;
  uint16_t condition = 0;
  bool has_failed = false;
  UserInterface enabled_with = {};
} source;

constexpr UINT kPrivate = WM_APP + 7;
constexpr uint16_t kSequenceError = 11, kBadValue = 10, kUnsupported = 13;

Return fail(uint16_t condition) {
  source.condition = condition;
  source.has_failed = true;
  return Return::kFailure;
}

void* give(size_t size) {
  void* const handle = GlobalAlloc(GHND, size);
  told.handles[told.handle_count++ % 64] = handle;
  return handle;
}

// ---- Pixels ----

// The picture's pixel (from, y) as number `x` of a row.
void put_pixel(uint8_t* row, int32_t x, int32_t from, int32_t y, int32_t plane) {
  const uint8_t first = twain_sample(from, y, told.is_planar ? plane : 0);
  const uint8_t shown = told.zero_is_white ? static_cast<uint8_t>(~first) : first;
  const int32_t bits = told.is_planar ? 8 : told.bits;
  if (bits < 8) {
    const int32_t per_byte = 8 / bits;
    const int32_t at = x % per_byte;
    const int32_t shift = told.low_bit_first ? at : (per_byte - 1 - at) * bits;
    row[x / per_byte] |= static_cast<uint8_t>(shown >> (8 - bits) << shift);
  } else if (bits == 8) {
    row[x] = shown;
  } else if (bits == 16) {
    row[2 * x] = 0x5A;
    row[2 * x + 1] = shown;
  } else {
    const int32_t step = bits / 24;
    for (int32_t c = 0; c < 3; ++c) row[(3 * x + c) * step + step - 1] = twain_sample(from, y, c);
  }
}

uint32_t packed(int32_t columns) {
  return (static_cast<uint32_t>(columns) * (told.is_planar ? 8 : told.bits) + 7) / 8;
}

void* make_dib() {
  const uint32_t line = (static_cast<uint32_t>(told.width) * 3 + 3) / 4 * 4;
  std::vector<uint8_t> dib(40 + line * told.height);
  const int32_t header[] = {40, told.width, told.height, 1 | 24 << 16};
  std::memcpy(dib.data(), header, sizeof(header));
  for (int32_t y = 0; y < told.height; ++y) {
    uint8_t* const row = &dib[40 + line * (told.height - 1 - y)];
    for (int32_t i = 0; i < 3 * told.width; ++i) row[i] = twain_sample(i / 3, y, 2 - i % 3);
  }
  if (told.dib_bytes == 0) return nullptr;
  const size_t size = told.dib_bytes < 0 ? dib.size() : static_cast<size_t>(told.dib_bytes);
  void* const handle = give(size);
  std::memcpy(GlobalLock(handle), dib.data(), size);
  GlobalUnlock(handle);
  return handle;
}

// ---- Operations of the source ----

Return current_value(Capability& capability) {
  uint32_t value = 0;
  switch (static_cast<Feature>(capability.feature)) {
    case Feature::kPixelFlavor:
      value = told.zero_is_white;
      break;
    case Feature::kBitOrder:
      value = told.low_bit_first ? kLowBitFirst : kHighBitFirst;
      break;
    case Feature::kUnits:
      value = told.units;
      break;
    case Feature::kMechanism:
      value = told.takes_memory ? kMechanismMemory : kMechanismNative;
      break;
    default:
      return fail(kUnsupported);
  }
  const auto low = static_cast<uint8_t>(value);
  // 16-bit values: one of three, in a range, behind the end, cut, a text.
  const std::vector<uint8_t> forms[] = {
      {4, 0, low, 0, 0, 0},
      {},
      {4, 0, 1, 0, 0, 0, low, 0},
      {4, 0, 3, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 9, 0, 9, 0, low, 0},
      {4, 0, 0, 0, 0, 0, 9, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0, low, 0, 0, 0},
      {4, 0, 255, 255, 255, 255, 250, 255, 255, 255, 0, 0, 0, 0},
      {4},
      {12, 0, 'i', 'n'},
  };
  constexpr uint16_t kTypes[] = {kOneValue, kOneValue,    kArray,    kEnumeration,
                                 kRange,    kEnumeration, kOneValue, kOneValue};
  const auto form = static_cast<size_t>(told.container);
  capability.container = kTypes[form];
  capability.handle = nullptr;
  if (told.container == Container::kNull) return Return::kSuccess;
  capability.handle = give(forms[form].size());
  std::memcpy(GlobalLock(capability.handle), forms[form].data(), forms[form].size());
  GlobalUnlock(capability.handle);
  return Return::kSuccess;
}

Return set_value(const Capability& capability) {
  const auto* const value = static_cast<const OneValue*>(GlobalLock(capability.handle));
  told.set[capability.feature] = value->item + 1;
  const bool is_memory = value->item == kMechanismMemory;
  GlobalUnlock(capability.handle);
  const bool is_refused = capability.feature == static_cast<uint16_t>(Feature::kMechanism) &&
                          is_memory && !told.takes_memory;
  if (!is_refused) return Return::kSuccess;
  return told.refusal == 1 ? fail(kBadValue) : static_cast<Return>(told.refusal);
}

Return event(Event& event) {
  const MSG& message = *static_cast<const MSG*>(event.message);
  event.request = 0;
  const auto window = static_cast<HWND>(source.enabled_with.parent);
  const bool is_ours = message.message == kPrivate && message.hwnd == window;
  if (is_ours && message.wParam == kCloseRequest) {
    event.request = kCloseRequest;
    return Return::kSourceEvent;
  }
  if (source.state != 5 || (!is_ours && told.ready != Ready::kAtFirstMessage)) {
    return Return::kNotSourceEvent;
  }
  if (told.ready == Ready::kCloses) event.request = kCloseRequest;
  if (told.ready == Ready::kQuits) PostQuitMessage(77);
  if (told.ready == Ready::kDestroysWindow) DestroyWindow(window);
  if (told.ready <= Ready::kAtFirstMessage) {
    event.request = kTransferReady;
    source.state = 6;
  }
  return Return::kSourceEvent;
}

Return image_info(ImageInfo& info) {
  info = {};
  info.x_resolution = info.y_resolution = told.resolution;
  info.width = told.told_width;
  info.length = told.told_length;
  info.samples_per_pixel = told.type == kRgb ? 3 : 1;
  info.bits_per_pixel = told.bits;
  info.pixel_type = static_cast<int16_t>(told.type);
  info.is_planar = told.is_planar;
  info.compression = told.is_compressed;
  return Return::kSuccess;
}

// Where the next strip begins, and how large it is: from the top down, from the bottom up, or left
// and right halves.
Return strip(MemoryTransfer& record) {
  source.state = 7;
  const int32_t all = told.height * (told.is_planar ? 3 : 1);
  if (told.says_nothing) return Return::kSuccess;
  const int32_t most = static_cast<int32_t>(told.strip_rows) - (told.strips++ % 2);
  const int32_t rows = std::max(0, std::min(std::max(1, most), all - source.row));
  const bool is_tile = told.places == Places::kTiles;
  const int32_t left = is_tile && source.half == 1 ? 16 : 0;
  const int32_t columns = !is_tile ? told.width : left == 0 ? 16 : told.width - 16;
  const int32_t top = told.places == Places::kReversed ? all - source.row - rows : source.row;
  const uint32_t row_bytes = packed(columns) + told.padding;
  auto* at = static_cast<uint8_t*>(record.memory.address);
  if (rows * row_bytes > record.memory.length) return fail(kBadValue);
  for (int32_t i = 0; i < rows; ++i, at += row_bytes) {
    std::memset(at, 0, packed(columns));
    std::memset(at + packed(columns), 0xEE, told.padding);
    const int32_t y = (top + i) % told.height, plane = (top + i) / told.height;
    for (int32_t x = 0; x < columns; ++x) put_pixel(at, x, left + x, y, plane);
  }
  record.compression = 0;
  record.row_bytes = row_bytes + told.more_row_bytes;
  record.columns = columns;
  record.rows = rows + told.more_rows;
  record.written = rows * row_bytes + told.more_written;
  if (told.places != Places::kUntold) record.x_offset = record.y_offset = 0;
  if (told.places >= Places::kTold) record.y_offset = top;
  record.x_offset = left;
  if (!is_tile || source.half++ == 1) {
    source.row += rows;
    source.half = 0;
  }
  if (told.never_ends) {
    source.row %= all;
    return Return::kSuccess;
  }
  const bool is_last = source.row == all && !(told.ends_with_nothing && rows > 0);
  return is_last ? Return::kTransferDone : Return::kSuccess;
}

Return end_transfer(PendingTransfers& pending) {
  ++source.page;
  source.row = source.half = 0;
  const int32_t left = told.pages - source.page;
  pending.count = static_cast<uint16_t>(left);
  if (told.told_count != 0 && left > 0) pending.count = told.told_count;
  source.state = pending.count != 0 ? 6 : 5;
  if (source.page == told.closes_after) {
    PostMessage(static_cast<HWND>(source.enabled_with.parent), kPrivate, kCloseRequest, 0);
  }
  return Return::kSuccess;
}

Return enable(const UserInterface& wanted) {
  source.enabled_with = wanted;
  source.page = source.row = source.half = 0;
  told.window = wanted.parent;
  if (!IsWindow(static_cast<HWND>(wanted.parent))) ++told.violations;
  if (told.ready != Ready::kAtFirstMessage) {
    PostMessage(static_cast<HWND>(wanted.parent), kPrivate, 0, 0);
  }
  source.state = 5;
  return Return::kSuccess;
}

Return disable(const UserInterface& wanted) {
  if (std::memcmp(&wanted, &source.enabled_with, sizeof(wanted)) != 0) ++told.violations;
  source.state = 4;
  return Return::kSuccess;
}

Return set_file(const FileTransfer& file) {
  std::memcpy(told.files[source.page % 4], file.name, sizeof(file.name));
  return Return::kSuccess;
}

Return palette(Palette8& record) {
  record.count = told.palette_count;
  record.type = told.palette_type;
  for (uint32_t i = 0; i < 256; ++i) {
    const auto v = static_cast<uint8_t>(i);
    record.entries[i] = {0, v, static_cast<uint8_t>(255 - v), static_cast<uint8_t>(v / 2)};
  }
  return Return::kSuccess;
}

Return open_source(Identity& wanted) {
  std::memcpy(told.product, wanted.product, sizeof(wanted.product));
  wanted.id = 5;
  source.state = 4;
  return Return::kSuccess;
}

Return run(char letter, void* record) {
  switch (letter) {
    case 'M':
      source.state = 3;
      return Return::kSuccess;
    case 'm':
      source.state = 2;
      return Return::kSuccess;
    case 'S':
      return open_source(*static_cast<Identity*>(record));
    case 's':
      source.state = 3;
      return Return::kSuccess;
    case 'g':
      return current_value(*static_cast<Capability*>(record));
    case 'c':
      return set_value(*static_cast<const Capability*>(record));
    case 'E':
      return enable(*static_cast<const UserInterface*>(record));
    case 'e':
      return disable(*static_cast<const UserInterface*>(record));
    case 'v':
      return event(*static_cast<Event*>(record));
    case 'z':
      *static_cast<MemorySizes*>(record) = told.sizes;
      return Return::kSuccess;
    case 'F':
      return set_file(*static_cast<const FileTransfer*>(record));
    case 'R':
      source.state = 5;
      return Return::kSuccess;
    case 'T':
      return end_transfer(*static_cast<PendingTransfers*>(record));
    case 'I':
      return image_info(*static_cast<ImageInfo*>(record));
    case 'X':
      return strip(*static_cast<MemoryTransfer*>(record));
    case 'N':
      source.state = 7;
      *static_cast<void**>(record) = make_dib();
      return Return::kTransferDone;
    case 'f':
      source.state = 7;
      return Return::kTransferDone;
    case 'P':
      return palette(*static_cast<Palette8*>(record));
    default:
      return Return::kSuccess;
  }
}

void note(char letter) {
  const size_t length = std::strlen(told.log);
  if (length > 0 && told.log[length - 1] == letter) return;
  if (length + 1 < sizeof(told.log)) told.log[length] = letter;
}

// Where the rules leave the source after a failure of its own.
Return break_rule(const Fault& fault, const Rule& rule) {
  if (rule.letter == 'X' && fault.nth > 0) source.state = 7;
  if (rule.letter == 'T') source.state = 6;
  if (rule.letter == 'R') source.state = 5;
  if (rule.letter == 'e') source.state = 4;
  if (rule.letter == 's') source.state = 3;
  if (rule.letter == 'm') source.state = 2;
  const auto answer = static_cast<Return>(fault.answer);
  return answer == Return::kFailure ? fail(fault.condition) : answer;
}

Return answer(const Rule& rule, void* record) {
  const int32_t nth = told.calls[&rule - kRules]++;
  for (const Fault& fault : told.faults) {
    if (fault.at == rule.triplet && (fault.nth < 0 || fault.nth == nth)) {
      return break_rule(fault, rule);
    }
  }
  if (source.state < rule.from || source.state > rule.to) {
    ++told.violations;
    return fail(kSequenceError);
  }
  return run(rule.letter, record);
}

}  // namespace

extern "C" __declspec(dllexport) TwainDouble* twain_double() {
  source = {};
  told = {};
  return &told;
}

extern "C" __declspec(dllexport) uint16_t
    __stdcall DSM_ENTRY(Identity* application, Identity*, uint32_t group, uint16_t data,
                        uint16_t message, void* record) {
  const Triplet triplet = {group, data, message};
  told.application = *application;
  if (triplet == kGetStatus) {
    *static_cast<Condition*>(record) = {source.condition, 0};
    source.condition = 0;
    source.has_failed = false;
    return 0;
  }
  if (source.has_failed) ++told.violations;
  for (const Rule& rule : kRules) {
    if (!(rule.triplet == triplet)) continue;
    note(rule.letter);
    return static_cast<uint16_t>(answer(rule, record));
  }
  ++told.violations;
  return static_cast<uint16_t>(fail(kSequenceError));
}

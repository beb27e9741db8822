// A Photo CD module that takes every file, tells what is called, and fails where it is asked to. It
// has one picture of Base/16, upright when it is turned by a quarter. WITHOUT_LOAD_IMAGE lacks one
// of the ten functions.
#include <cstdint>
#include <cstring>

#ifdef _WIN32
#define PCD_API extern "C" __declspec(dllexport) int16_t __attribute__((stdcall))
#else
#define PCD_API extern "C" __attribute__((visibility("default"))) int16_t
#endif

namespace {

struct Double {
  char calls[256];     // a letter for each
  char fails_at;       // the letter of the call that fails, 0: none does
  int16_t fails_with;  // what it answers then
  int32_t format;
} told = {};

int16_t call(char letter) {
  const size_t count = std::strlen(told.calls);
  if (count + 1 < sizeof told.calls) told.calls[count] = letter;
  return letter == told.fails_at ? told.fails_with : 0;
}

}  // namespace

PCD_API DoubleState(void** state) {
  *state = &told;
  return 0;
}
PCD_API PCDopen(const char*, void** photo) {
  *photo = &told;
  return call('o');
}
PCD_API PCDclose(void*) { return call('c'); }
PCD_API PCDgetFormat(void*, int32_t* format) {
  *format = told.format;
  return call('f');
}
PCD_API PCDgetResolution(void*, int32_t* resolution) {
  *resolution = 1;
  return call('r');
}
PCD_API PCDsetResolution(void*, int32_t) { return call('R'); }
PCD_API PCDgetRotation(void*, int32_t* transform) {
  *transform = 4;
  return call('t');
}
PCD_API PCDsetTransform(void*, int32_t) { return call('T'); }
#ifndef WITHOUT_LOAD_IMAGE
PCD_API PCDloadImage(void*, const void*, void**, void**) { return call('i'); }
#endif
PCD_API PCDgetBlock(void*, const int16_t* area, uint8_t* pixels, int32_t row_bytes) {
  for (int32_t y = area[0]; y < area[2]; ++y, pixels += row_bytes) {
    std::memset(pixels, y, static_cast<size_t>(told.format == 10 ? 1 : 3) * 128);
  }
  return call('b');
}
PCD_API PCDfreeBitmap(void*) { return call('d'); }

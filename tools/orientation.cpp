#include "orientation.h"

#include "failure.h"

namespace tavo::tools {
namespace {

// What to do for each number of TIFF's Orientation tag (TIFF 6.0, section 8; Exif has the same), in
// this order.
struct Turn {
  bool mirror;
  int32_t degrees;  // clockwise
};
constexpr Turn kTurns[] = {{false, 0},  {true, 0},   {false, 180}, {true, 180},
                           {true, 270}, {false, 90}, {true, 90},   {false, 270}};

}  // namespace

void turn_upright(BitmapHandle& record, uint32_t orientation, const std::string& where) {
  if (orientation < 2 || orientation > 8) return;
  const Turn& turn = kTurns[orientation - 1];
  if (turn.mirror) check(T_ReverseBitmap(&record), where);
  check(T_RotateBitmap(&record, turn.degrees), where);
}

}  // namespace tavo::tools

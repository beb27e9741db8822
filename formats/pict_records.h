// The records of a PICT file in their order.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "formats/pict_bitmap.h"
#include "formats/pict_region.h"
#include "formats/pict_rows.h"
#include "formats/pict_stream.h"
#include "io/input_file.h"

namespace tavo::pict {

struct Header {
  Rect frame;    // in 72nds of an inch
  Rect optimal;  // the same at the header's resolution; empty: not said
  bool is_version2 = false;
  uint32_t x_resolution = 0;  // 16.16 dots per inch, 0: not said
  uint32_t y_resolution = 0;
};

// Where in a file that begins with `head` the picture does: behind 512 bytes of anything, or at
// once, as in resources and on the clipboard. kBadData when there is none.
Status find_picture(std::span<const uint8_t> head, uint32_t& offset);
inline constexpr size_t kFindBytes = 526;  // 512, size (2), frame (8), version (4)

// Goes from record to record.
class Records {
 public:
  enum class Kind {
    kEnd,      // of the picture
    kState,    // pens, fonts, colours, the origin, comments: for those that follow
    kPattern,  // with old_pattern(); and its pixels as bitmap() and rows(), or data() in one colour
    kClip,     // clip() changed
    kDrawing,  // a shape or text
    kBitmap,   // with bitmap(), mask() and rows()
    kUnknown,  // what a QuickTime compressor made that is not read
  };

  // `file` stands at the picture.
  Records(io::InputFile& file, uint32_t file_bytes)
      : stream_(file), file_bytes_(file_bytes), rows_(stream_) {}

  // Reads the head.
  Status start();
  const Header& header() const { return header_; }

  // Goes to the next record; what is left of the one before is passed over. kReadError where the
  // file ends before the picture, kBadData, kSubtype (a bitmap whose length is not known),
  // kNoMemory.
  Status next();

  Kind kind() const { return kind_; }
  uint32_t opcode() const { return opcode_; }
  // Behind the opcode: all that the opcode's rule says, of drawings and state. Empty for bitmaps
  // and for what is longer than 64 KiB, as no drawing is.
  std::span<const uint8_t> data() const { return data_; }
  const Bitmap& bitmap() const { return bitmap_; }
  RowReader& rows() { return rows_; }
  const Region& mask() const { return mask_; }
  const Region& clip() const { return clip_; }
  // 8 rows of 8 bits, for those that have no colours.
  const std::array<uint8_t, 8>& old_pattern() const { return old_pattern_; }

  Status failure() const { return stream_.failure(); }

 private:
  Status take_opcode();
  Status take_record();
  Status take_data();
  Status take_bitmap();
  Status take_quicktime();
  Status enter_uncompressed();
  Status take_pixel_pattern();

  Stream stream_;
  uint64_t file_bytes_;
  Header header_;
  Kind kind_ = Kind::kState;
  uint32_t opcode_ = 0;
  std::span<const uint8_t> data_;
  Bitmap bitmap_;
  RowReader rows_;
  bool has_rows_ = false;  // that are to be passed over
  Region mask_;
  Region clip_;
  std::array<uint8_t, 8> old_pattern_ = {};
  Rect quicktime_area_;           // where compressed pictures stand
  bool expects_message_ = false;  // texts belong to the compressed picture before them
};

}  // namespace tavo::pict

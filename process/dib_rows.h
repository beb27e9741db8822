// The rows of a device-independent bitmap.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"
#include "process/dib_fields.h"
#include "process/dib_header.h"
#include "process/dib_rle.h"

namespace tavo::dib {

// Decodes row after row in the order of the file, to what describe() says.
class RowReader {
 public:
  // `bytes` stand where the pixels begin.
  RowReader(const Header& header, ByteSource& bytes)
      : header_(header),
        bytes_(bytes),
        runs_(bytes, header.coding, header.width),
        fields_(header, header.bits == 16 ? 24 : 32) {}

  // Whether rows are stored as bitmaps hold them, so that they can be read without this class.
  static bool is_needed(const Header& header) {
    return header.coding != Coding::kNone || header.has_masks || header.bits == 2;
  }

  Status start();

  // Fills `row`, which has room for a row of the picture, and behind it RleDecoder::kSlack bytes
  // that may be written. Where the data end early: kReadError, and of a coded row `row` has what
  // there was.
  Status next(std::span<uint8_t> row);

 private:
  const Header& header_;
  ByteSource& bytes_;
  RleDecoder runs_;
  FieldConverter fields_;
  Buffer line_;  // a row as stored
};

}  // namespace tavo::dib

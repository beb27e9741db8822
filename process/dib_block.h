// A device-independent bitmap in one piece, as the clipboard and other programs hand it over:
// header, masks, colour table, bits, without gaps.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "process/dib_header.h"

namespace tavo::dib {

// What parse_block accepted: all that the header promises is in the block; of coded rows what came.
struct Block {
  Header header;
  std::span<const uint8_t> table;  // colors() entries of header.entry_bytes
  std::span<const uint8_t> bits;

  uint32_t colors() const { return static_cast<uint32_t>(table.size()) / header.entry_bytes; }
  // Of the rows as bitmaps hold them.
  int32_t depth() const { return header.has_masks ? 24 : header.bits; }
};

// Files are read whatever they are; who is handed a block is stricter, for what is wrong in it has
// not been through other programs. kBadData (no such header, no width, several planes, masks that
// make no channels), kBadSize (no height, or too large), kSubtype (other depths and codings),
// kReadError (too short), kLimit.
Status parse_block(std::span<const uint8_t> bytes, Block& block);

}  // namespace tavo::dib

// The older form of JPEG in TIFF (compression 6; TIFF 6.0, section 22), as its writers really used
// it:
//   - whole streams, where the tag JPEGInterchangeFormat or the strips say;
//   - one header there, possibly without its last segments, and strips of entropy-coded data;
//   - no header, but tables that tags point to.
// Facts: TIFF 6.0, section 22; TIFF Technical Note 2, which says how it came to this.
#pragma once

#include "base/byte_source.h"
#include "base/status.h"
#include "codec/jpeg/decoder.h"
#include "formats/tiff_block.h"
#include "formats/tiff_image.h"
#include "formats/tiff_rows.h"

namespace tavo::tiff {

enum class JpegLayout {
  kStreams,  // each strip or tile is a stream of its own
  kParts,    // each is a piece of entropy-coded data, behind one header that the decoder has read
  kWhole,    // there is one stream, whose header the decoder has read, for the whole picture
};

// Finds out, and gives `decoder` the header. `bytes` reads from `part`.
Status open_old_jpeg(const Directory& directory, const Image& image, BlockTable& blocks,
                     FilePart& part, ByteSource& bytes, jpeg::Decoder& decoder, JpegLayout& layout);

// Passes what some writers put before the entropy-coded data of a strip: a scan header, or the
// restart marker that ends the strip before.
Status skip_markers(ByteSource& bytes);

// What the components are. The file knows, whatever markers the stream has; but where the older
// form says RGB, it is the stream that does.
//
// kept: in the older form the samples that pixels share (6.0, section 21) are theirs as they are,
// as other programs show such files; those of compression 7 are smoothed, as those of any JPEG
// stream.
jpeg::ReadOptions read_options(const Image& image);

}  // namespace tavo::tiff

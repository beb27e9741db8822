// What files of one fax-coded picture and nothing else have in common, on both ways.
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "codec/ccitt_decoder.h"
#include "codec/ccitt_encoder.h"
#include "io/input_file.h"
#include "io/output_file.h"
#include "io/row_writer.h"
#include "process/row_delivery.h"

namespace tavo::formats {

// Decodes `height` rows, whose colours change places when `inverts`, and ends the delivery; where
// the data are damaged the rows before come, then the decoder's status.
Status deliver_fax_rows(io::InputFile& file, ByteSource& bytes, ccitt::Decoder& decoder,
                        int32_t height, bool inverts, process::RowDelivery& rows);

// A writer that has only its header left to write: T.6 up to the end-of-block code (EOFB), then the
// end of the file. What derives from it creates `file_` in begin(), writes its header and calls
// start_rows last.
class Group4Writer : public io::RowWriter {
 public:
  Status start_rows(const BitmapHandle& picture) {
    return encoder_.start({ccitt::Coding::kGroup4}, static_cast<uint32_t>(picture.Width));
  }
  Status put_row(std::span<const uint8_t> row) { return encoder_.encode_row(row); }
  Status finish() {
    TRY(encoder_.finish());
    return file_.finish();
  }

 protected:
  template <class Writer>
  explicit Group4Writer(Writer* writer) : RowWriter(writer), encoder_(file_) {}
  ~Group4Writer() = default;

  io::OutputFile file_;

 private:
  ccitt::Encoder encoder_;
};

}  // namespace tavo::formats

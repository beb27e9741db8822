// A picture as PostScript, level 2, with itself as the preview behind it.
#include <algorithm>
#include <array>
#include <string_view>

#include "base/buffer.h"
#include "base/endian.h"
#include "codec/packbits.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/eps.h"
#include "formats/eps_ascii85.h"
#include "formats/listed_colors.h"
#include "formats/tiff.h"
#include "formats/two_levels.h"
#include "io/output_file.h"
#include "io/row_writer.h"

namespace tavo::eps {

namespace {

constexpr int64_t kPointsPerInch = 72;

// Text on its way into the file. A failure is kept until status() is asked; nothing is written
// behind it.
class Text {
 public:
  explicit Text(io::OutputFile& file) : file_(file) {}

  Text& put(std::string_view text) {
    if (status_.ok()) {
      status_ = file_.write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    }
    written_ += text.size();
    return *this;
  }
  // 0 and above, up to 20 digits; filled up with zeros in front.
  Text& number(int64_t value, int least_digits = 1) {
    std::array<char, 20> digits;
    size_t first = digits.size();
    for (; value > 0 || least_digits > 0; value /= 10, --least_digits) {
      digits[--first] = static_cast<char>('0' + value % 10);
    }
    return put({&digits[first], digits.size() - first});
  }
  // `value` units, of which ten to the power of `places` are one.
  Text& decimal(int64_t value, int places) {
    int64_t one = 1;
    for (int i = 0; i < places; ++i) one *= 10;
    return number(value / one).put(".").number(value % one, places);
  }
  Text& hex(uint8_t byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    return put(kDigits.substr(byte >> 4, 1)).put(kDigits.substr(byte & 15, 1));
  }

  Status status() const { return status_; }
  uint64_t written() const { return written_; }

 private:
  io::OutputFile& file_;
  Status status_ = kOk;
  uint64_t written_ = 0;
};

// How the samples are to be understood: DeviceGray, DeviceRGB or Indexed (Language Reference,
// section 4.8).
enum class Space { kGray, kRgb, kIndexed };

// The size of so many pixels, in units of which `one` are a point; a pixel is one where nobody
// knows.
int64_t size_in(int64_t pixels, int32_t dots_per_inch, int64_t one) {
  const int64_t dots = dots_per_inch > 0 ? dots_per_inch : kPointsPerInch;
  return (pixels * kPointsPerInch * one + dots / 2) / dots;
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this), text_(file_), data_(file_) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    depth_ = request.depth;
    picture_ = picture;
    if (depth_ == 1 && picture.BitsPerPixel != 1) {
      std::copy_n(formats::two_levels(formats::ZeroIs::kBlack), 2, picture_.Info.Palette);
      layout.palette = picture_.Info.Palette;
    } else if (depth_ <= 8) {
      formats::list_colors(picture, depth_, picture_.Info.Palette);
      layout.palette = picture_.Info.Palette;
    }
    layout.order = T_ORDER_RGB;
    layout.row_bytes =
        static_cast<size_t>(core::packed_bytes(static_cast<uint64_t>(picture.Width), depth_));
    row_bytes_ = layout.row_bytes;
    return coded_.allocate(packbits::max_encoded_size(row_bytes_));
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle&) {
    TRY(file_.create(request.name));
    TRY(file_.write_zeros(kHeaderBytes));  // until finish() knows how long the parts are
    put_comments();
    put_image();
    return text_.status();
  }

  Status put_row(std::span<const uint8_t> row) {
    return data_.put(coded_.bytes().first(packbits::encode(row, coded_.data())));
  }

  Status finish() {
    constexpr uint8_t kEndOfRuns = 128;  // RunLengthDecode's, which is PackBits but for that
    const uint64_t data_at = kHeaderBytes + text_.written();
    TRY(data_.put({&kEndOfRuns, 1}));
    TRY(data_.finish());
    text_.put("grestore\nshowpage\n%%EOF\n");
    TRY(text_.status());
    const uint64_t text_bytes = text_.written() + data_.written();
    uint32_t tiff_bytes = 0;
    TRY(put_preview(data_at, kHeaderBytes + text_bytes, tiff_bytes));
    std::array<uint8_t, kHeaderBytes> head = {};
    store_le32(head.data(), kMagic);
    store_le32(&head[kTextAt], kHeaderBytes);
    store_le32(&head[kTextAt + 4], static_cast<uint32_t>(text_bytes));
    store_le32(&head[kTiffAt], static_cast<uint32_t>(kHeaderBytes + text_bytes));
    store_le32(&head[kTiffAt + 4], tiff_bytes);
    store_le16(&head[kChecksumAt], 0xFFFF);  // not to be checked
    TRY(file_.write_at(0, head));
    return file_.finish();
  }

 private:
  // Kept: 4 bits are indices whatever the colours, as the bitmap has them; of 8 bits, which grey
  // pictures have, a ramp is grey.
  Space space() const {
    if (depth_ > 8) return Space::kRgb;
    const auto colors = std::span(picture_.Info.Palette).first(size_t{1} << depth_);
    const bool is_gray = depth_ != 4 && color::is_gray_ramp(colors);
    return is_gray ? Space::kGray : Space::kIndexed;
  }

  int64_t width_in(int64_t one) const { return size_in(picture_.Width, picture_.XResolution, one); }
  int64_t height_in(int64_t one) const {
    return size_in(picture_.Height, picture_.YResolution, one);
  }

  // The box has whole points, at least as many as the picture. Image dictionaries and filters are
  // of language level 2. gsave and grestore leave things as they were to those who include the
  // file; of operators that end or set up pages Technical Note 5002 allows showpage alone.
  void put_comments() {
    constexpr int64_t kFine = 1'000'000, kFourPlaces = 10'000;
    const auto whole = [](int64_t fine) { return (fine + kFine - 1) / kFine; };
    text_.put("%!PS-Adobe-3.0 EPSF-3.0\n%%Creator: TAVO45\n%%BoundingBox: 0 0 ");
    text_.number(whole(width_in(kFine))).put(" ").number(whole(height_in(kFine)));
    text_.put("\n%%HiResBoundingBox: 0.0000 0.0000 ");
    text_.decimal(width_in(kFourPlaces), 4).put(" ").decimal(height_in(kFourPlaces), 4);
    text_.put("\n%%LanguageLevel: 2\n%%DocumentData: Clean7Bit\n%%EndComments\n");
    text_.put("gsave\n").decimal(width_in(kFine), 6).put(" ");
    text_.decimal(height_in(kFine), 6).put(" scale\n");
  }

  // [/Indexed base highest-index string], the string in hexadecimal (section 4.8.4).
  void put_colors() {
    constexpr uint32_t kInLine = 32;
    const uint32_t count = 1u << depth_;
    text_.put("[/Indexed /DeviceRGB ").number(count - 1).put(" <");
    for (uint32_t i = 0; i < count; ++i) {
      if (i % kInLine == 0) text_.put("\n");
      const T_PaletteEntry& entry = picture_.Info.Palette[i];
      text_.hex(entry.Red).hex(entry.Green).hex(entry.Blue);
    }
    text_.put("\n>] setcolorspace\n");
  }

  // An image dictionary of type 1 (section 4.10). The matrix maps rows from the top down; Decode
  // maps samples of colours to 0 to 1, and indices to themselves.
  void put_image() {
    const Space samples = space();
    if (samples == Space::kIndexed) {
      put_colors();
    } else {
      text_.put(samples == Space::kRgb ? "/DeviceRGB" : "/DeviceGray").put(" setcolorspace\n");
    }
    const int64_t width = picture_.Width, height = picture_.Height;
    text_.put("<<\n/ImageType 1\n/Width ").number(width).put("\n/Height ").number(height);
    text_.put("\n/BitsPerComponent ").number(std::min(depth_, 8));
    text_.put("\n/ImageMatrix [").number(width).put(" 0 0 -").number(height);
    text_.put(" 0 ").number(height).put("]\n/Decode [0 ");
    if (samples == Space::kRgb) {
      text_.put("1 0 1 0 1");
    } else {
      text_.number(samples == Space::kGray ? 1 : (1 << depth_) - 1);
    }
    text_.put("]\n/DataSource currentfile /ASCII85Decode filter /RunLengthDecode filter\n");
    text_.put(">> image\n");
  }

  // Its rows are read back from the text, so that none has to be kept.
  Status put_preview(uint64_t data_at, uint64_t at, uint32_t& bytes) {
    Ascii85Reader text(file_, data_at, data_.written());
    TRY(text.start());
    ByteSource runs(text);
    TRY(runs.start());
    packbits::Decoder rows(runs);
    Buffer row;
    TRY(row.allocate(row_bytes_));
    return tiff::write_inside(
        file_, at, picture_, depth_, row.bytes(), [&] { return rows.decode(row.bytes()); }, bytes);
  }

  io::OutputFile file_;
  Text text_;
  Ascii85Writer data_;
  int32_t depth_ = 0;
  BitmapHandle picture_ = {};  // described, with the colours that are written
  size_t row_bytes_ = 0;
  Buffer coded_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::eps

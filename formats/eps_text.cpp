#include "formats/eps_text.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/depths.h"
#include "color/palettes.h"
#include "color/widen.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "formats/plausible.h"
#include "formats/two_levels.h"

namespace tavo::eps {

namespace {

// By Technical Note 5001 the comments of the header come first and a deferred box stands in the
// last lines; a preview comes between header and prologue (5002), so that more of the text is of no
// use.
constexpr uint64_t kHeader = 4096, kLookedAt = 64 * 1024;
constexpr uint64_t kTrailer = 4096;
constexpr int64_t kMost = 1'000'000'000;  // of a number; with four more digits far below 2^63

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
constexpr bool is_line_end(char c) { return c == '\r' || c == '\n'; }

// Takes the next number of a line, in units of 1/10000. Boxes should have integers; real numbers,
// "-0" (ImageMagick 6) and blanks in front (ps_write) are taken, exponents end the number.
bool take_number(std::string_view& line, int64_t& value) {
  while (!line.empty() && (line[0] == ' ' || line[0] == '\t')) line.remove_prefix(1);
  const bool is_negative = !line.empty() && line[0] == '-';
  if (is_negative) line.remove_prefix(1);
  if (line.empty() || (!is_digit(line[0]) && line[0] != '.')) return false;
  value = 0;
  for (; !line.empty() && is_digit(line[0]); line.remove_prefix(1)) {
    value = std::min(value * 10 + (line[0] - '0'), kMost);
  }
  value *= kPoint;
  if (!line.empty() && line[0] == '.') line.remove_prefix(1);
  for (int64_t unit = kPoint / 10; !line.empty() && is_digit(line[0]); line.remove_prefix(1)) {
    value += unit * (line[0] - '0');
    unit /= 10;
  }
  if (is_negative) value = -value;
  return true;
}

// A box without area counts as none, and so does one with fewer than four numbers, "(atend)" too:
// `box` stays what it is.
void take_box(std::string_view line, Box& box) {
  Box found;
  const bool is_whole = take_number(line, found.left) && take_number(line, found.bottom) &&
                        take_number(line, found.right) && take_number(line, found.top);
  if (is_whole && found.is_sound()) box = found;
}

// Technical Note 5002: width, height, depth; how many lines follow says nothing, as rows end when
// they are full.
bool take_preview(std::string_view line, Comments& comments) {
  int64_t width = 0, height = 0, bits = 0;
  if (!take_number(line, width) || !take_number(line, height) || !take_number(line, bits)) {
    return false;
  }
  width /= kPoint;
  height /= kPoint;
  bits /= kPoint;
  if (width < 1 || height < 1 || width > INT32_MAX || height > INT32_MAX) return false;
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8) return false;
  comments.width = static_cast<int32_t>(width);
  comments.height = static_cast<int32_t>(height);
  comments.bits = static_cast<int32_t>(bits);
  return true;
}

// Which box holds where several are told (5001): in headers the first, in trailers the last.
enum class Holds : uint8_t { kFirst, kLast };

// Goes through the comments of a piece of text: of its beginning for the first box, of its end for
// the last. Those of documents that it embeds describe them, and never count.
class Scan {
 public:
  Scan(std::string_view text, Holds holds, Comments& comments)
      : text_(text),
        comments_(comments),
        holds_(holds),
        may_have_preview_(holds == Holds::kFirst) {}

  // As far as anything is to be told, or to the preview, whose lines begin at text offset at()
  // then.
  void run() {
    for (std::string_view line; next_line(line);) {
      if (is_embedded(line)) continue;
      if (take("%%BoundingBox:", line)) {
        is_promised_ = is_promised_ || (!box_.is_sound() && line.find("(atend)") != line.npos);
        offer_box(line, box_);
      } else if (take("%%HiResBoundingBox:", line)) {
        offer_box(line, exact_box_);
      } else if (take("%%BeginPreview:", line)) {
        if (may_have_preview_ && take_preview(line, comments_)) return;  // here come its digits
      } else if (line.starts_with("%%EndProlog") || line.starts_with("%%Page:")) {
        may_have_preview_ = false;
      } else if (line.starts_with("%%EndComments") || !line.starts_with('%')) {
        end_header();
      }
      if (is_settled_ && !may_have_preview_) return;
    }
  }

  size_t at() const { return at_; }
  // The same box in real numbers goes before, as Illustrator and ImageMagick write it behind the
  // other.
  const Box& box() const { return exact_box_.is_sound() ? exact_box_ : box_; }
  // Nothing that follows has a say about the box.
  bool is_settled() const { return is_settled_; }
  bool lacks_promised_box() const { return is_promised_ && !is_settled_; }

 private:
  static bool take(std::string_view keyword, std::string_view& line) {
    if (!line.starts_with(keyword)) return false;
    line.remove_prefix(keyword.size());
    return true;
  }

  // 5001, %%BeginDocument: in a document may be others. One whose beginning is not in the piece has
  // told the boxes so far.
  bool is_embedded(std::string_view line) {
    if (line.starts_with("%%BeginDocument")) {
      ++depth_;
    } else if (line.starts_with("%%EndDocument")) {
      if (depth_ > 0) {
        --depth_;
      } else if (holds_ == Holds::kLast) {
        box_ = exact_box_ = {};
      }
      return true;
    }
    return depth_ > 0;
  }

  void offer_box(std::string_view line, Box& box) const {
    if (is_settled_ || (holds_ == Holds::kFirst && box.is_sound())) return;
    take_box(line, box);
  }

  // 5001: what is no comment ends the header, too. Kept: where that has no box, as some programs
  // write it behind, the first one that comes counts, or the last if it is promised.
  void end_header() {
    if (holds_ == Holds::kLast) return;
    is_settled_ = is_settled_ || box().is_sound();
    if (lacks_promised_box()) holds_ = Holds::kLast;
  }

  // A line ends with CR, LF, or both; empty ones are passed over. 5001 allows 255 characters, but
  // binary data may stand between comments: here lines have any length.
  bool next_line(std::string_view& line) {
    if (at_ >= text_.size()) return false;
    const size_t begin = at_;
    while (at_ < text_.size() && !is_line_end(text_[at_])) ++at_;
    line = text_.substr(begin, at_ - begin);
    while (at_ < text_.size() && is_line_end(text_[at_])) ++at_;
    return true;
  }

  std::string_view text_;
  Comments& comments_;
  size_t at_ = 0;
  uint32_t depth_ = 0;  // of embedded documents
  Box box_;
  Box exact_box_;
  Holds holds_;
  bool may_have_preview_;
  bool is_promised_ = false;
  bool is_settled_ = false;
};

Status load_text(io::InputFile& file, uint64_t offset, uint64_t bytes, Buffer& buffer,
                 std::string_view& text) {
  TRY(buffer.allocate(bytes));
  TRY(file.seek(offset));
  size_t got = 0;
  TRY(file.read_up_to(buffer.bytes(), got));
  text = {reinterpret_cast<const char*>(buffer.data()), got};
  return kOk;
}

// The digits of a preview: hexadecimal, in lines that begin with one percent sign, which makes them
// comments to interpreters. Everything else between digits is passed over, blanks above all.
class Digits {
 public:
  explicit Digits(ByteSource& bytes) : bytes_(bytes) {}

  // Two digits; kReadError behind the last.
  Status byte(uint8_t& value) {
    uint32_t high = 0, low = 0;
    TRY(digit(high));
    TRY(digit(low));
    value = static_cast<uint8_t>(high << 4 | low);
    return kOk;
  }

 private:
  Status digit(uint32_t& value) {
    for (;;) {
      const int c = bytes_.get();
      if (c < 0) return bytes_.shortage();
      if (is_line_end(static_cast<char>(c))) {
        percents_ = 0;
      } else if (c == '%') {
        if (++percents_ == 2) return kReadError;  // the next comment
      } else if (c >= '0' && c <= '9') {
        value = static_cast<uint32_t>(c - '0');
        return kOk;
      } else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f') {
        value = static_cast<uint32_t>((c | 0x20) - 'a' + 10);
        return kOk;
      }
    }
  }

  ByteSource& bytes_;
  int percents_ = 0;  // of the line
};

}  // namespace

Status read_comments(io::InputFile& file, const Part& text, Look look, Comments& comments) {
  Buffer buffer;
  std::string_view piece;
  // A preview that begins within the piece may end anywhere behind it.
  const uint64_t most = look == Look::kHeader ? kHeader : kLookedAt;
  TRY(load_text(file, text.offset, std::min(text.bytes, most), buffer, piece));
  comments = {};
  Scan scan(piece, Holds::kFirst, comments);
  scan.run();
  if (look == Look::kHeader && !scan.is_settled()) {
    return read_comments(file, text, Look::kPreview, comments);
  }
  comments.box = scan.box();
  if (comments.width != 0) {
    comments.preview = {text.offset + scan.at(), text.bytes - scan.at()};
    const uint64_t row = core::packed_bytes(static_cast<uint64_t>(comments.width), comments.bits);
    // A claim that no file of this size can meet is no preview: its box may still be told.
    if (!formats::check_plausible(formats::Density::kPlain, row,
                                  static_cast<uint64_t>(comments.height), comments.preview.bytes)
             .ok()) {
      comments.width = 0;
    }
  }
  if (!scan.lacks_promised_box()) return kOk;
  const uint64_t size = std::min(text.bytes, kTrailer);
  TRY(load_text(file, text.offset + text.bytes - size, size, buffer, piece));
  Scan trailer(piece, Holds::kLast, comments);
  trailer.run();
  if (trailer.box().is_sound()) comments.box = trailer.box();
  return kOk;
}

// Kept: values are how dark a pixel is, so the palette goes from white to black. (5002 says so of 1
// bit; deark reads the other depths the same way.)
void describe_preview(const Comments& comments, process::SourcePicture& picture) {
  picture.width = comments.width;
  picture.height = comments.height;
  picture.bits = request_depth(comments.bits);
  if (comments.bits == 1) return formats::describe_two_levels(formats::ZeroIs::kWhite, picture);
  picture.colors = 1u << comments.bits;
  const auto palette = std::span(picture.palette).first(picture.colors);
  color::fill_gray_ramp(palette);
  std::ranges::reverse(palette);
}

// Rows begin at whole bytes, not at lines: ImageMagick 6 writes 72 digits a line whatever the
// width.
Status read_preview(io::InputFile& file, const Comments& comments, process::RowDelivery& rows) {
  TRY(file.seek(comments.preview.offset));
  io::InputPart part(file, comments.preview.bytes);
  ByteSource bytes(part);
  TRY(bytes.start());
  Digits digits(bytes);
  const auto row_bytes =
      static_cast<size_t>(core::packed_bytes(static_cast<uint64_t>(comments.width), comments.bits));
  for (int32_t y = 0; y < comments.height; ++y) {
    const std::span<uint8_t> row = rows.next_row();
    for (uint8_t& byte : row.first(row_bytes)) {
      const Status status = digits.byte(byte);
      if (!status.ok()) return rows.finish_early(status);
    }
    core::clear_padding(row, comments.width, comments.bits);
    if (comments.bits == 2) color::widen_2_to_4(row.data(), comments.width);
    TRY(rows.commit());
  }
  return rows.finish();
}

}  // namespace tavo::eps

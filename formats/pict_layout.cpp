#include "formats/pict_layout.h"

#include <algorithm>
#include <cstring>

#include "formats/drawn_page.h"
#include "formats/pict_state.h"

namespace tavo::pict {

namespace {

constexpr int64_t kPointsPerInch = 72;
constexpr int64_t kLargestScale = 8;  // pixels a unit on pages: 576 dots per inch

class Survey {
 public:
  explicit Survey(Records& records) : records_(records), space_(records.header().frame) {}

  // To the picture's end, or to what cannot be read.
  Status run() {
    do {
      TRY(records_.next());
      if (records_.kind() == Records::Kind::kClip) choose_space();
      if (records_.kind() == Records::Kind::kBitmap) add(records_.bitmap());
      if (records_.kind() == Records::Kind::kDrawing) add_drawing();
      has_unknown_ = has_unknown_ || records_.kind() == Records::Kind::kUnknown;
    } while (records_.kind() != Records::Kind::kEnd);
    return kOk;
  }

  // Whether anything came that a picture has, so that this is one even if it ends early.
  bool has_content() const { return count_ != 0 || is_drawn_ || has_unknown_; }

  void describe(Layout& layout) const {
    layout.show = show(layout.end.ok());
    layout.grid = {space_.left, space_.top, page_scale(layout.show)};
    describe_size(layout);
    describe_resolution(layout);
    if (count_ == 0) return;
    if (is_packed(first_.packing)) layout.compression = "Run Length";
    if (first_.packing == Packing::kJpeg) layout.compression = "JPEG";
  }

 private:
  // Pixels of the bitmap for units of the picture. QuickDraw stretches srcRect to dstRect.
  static Scale across(const Bitmap& bitmap) {
    return {bitmap.source.width(), bitmap.destination.width()};
  }
  static Scale down(const Bitmap& bitmap) {
    return {bitmap.source.height(), bitmap.destination.height()};
  }

  // Records are in coordinates of the frame or, at a resolution of their own, of the header's other
  // rectangle, as QuickDraw has it. What programs write there does not tell; the first clip, by
  // custom one of these rectangles, does.
  void choose_space() {
    if (has_space_) return;
    has_space_ = true;
    const Rect& optimal = records_.header().optimal;
    const Rect& clip = records_.clip().box();
    if (optimal.is_empty() || !optimal.contains(clip)) return;
    if (clip == optimal || !space_.contains(clip)) space_ = optimal;
  }

  void add(const Bitmap& bitmap) {
    has_space_ = true;  // what has been drawn stays where it is: later clips choose no more
    if (bitmap.destination.is_empty()) return;
    if (is_drawn_ && !covers(bitmap.mode)) is_mixed_ = true;
    if (count_ == 0) first_ = bitmap;
    ++count_;
    largest_ = std::max({largest_, across(bitmap), down(bitmap)});
    const Rect shown = intersect(bitmap.destination, space_);
    const bool is_cut = !records_.clip().is_open_to(shown) || !records_.mask().is_open_to(shown);
    is_alone_ = count_ == 1 && !is_cut && bitmap.destination.contains(space_);
    joins_ = joins_ && !is_cut && can_join(bitmap) && place(bitmap.destination);
  }

  void add_drawing() {
    has_space_ = true;
    is_drawn_ = true;
    if (count_ != 0) is_mixed_ = true;
  }

  // Pixels of another depth, palette or size could not stand in the same rows. Kept: bitmaps of 16
  // bits become a page, which holds all of their colours; this library writes none.
  bool can_join(const Bitmap& bitmap) const {
    return bitmap.bits == first_.bits && bitmap.bits != 16 &&
           bitmap.has_palette == first_.has_palette &&
           std::memcmp(bitmap.palette, first_.palette, sizeof(bitmap.palette)) == 0 &&
           across(bitmap).equals(across(first_)) && down(bitmap).equals(down(first_));
  }

  // Whether the bitmap stands where the next one must that fills the frame: to the right of the one
  // before, or at the left edge of the next row of them.
  bool place(const Rect& at) {
    if (at.left != space_.left + filled_across_ || at.top != space_.top + filled_down_)
      return false;
    if (filled_across_ != 0 && at.height() != row_height_) return false;
    row_height_ = at.height();
    filled_across_ += at.width();
    if (filled_across_ == space_.width()) {
      filled_across_ = 0;
      filled_down_ += row_height_;
    }
    return filled_across_ < space_.width() && filled_down_ <= space_.height();
  }

  // Of a file that ends early the bitmaps that are to come would go on.
  Show show(bool is_whole) const {
    if (count_ == 0) return is_drawn_ ? Show::kDrawing : Show::kNothing;
    if (is_mixed_) return Show::kDrawing;
    if (is_alone_) return Show::kAlone;
    const bool is_full = filled_down_ == space_.height();
    if (joins_ && (is_full || !is_whole)) return Show::kJoined;
    return is_drawn_ ? Show::kDrawing : Show::kPage;
  }

  // So that every bitmap has room, and drawings are as large as asked.
  Scale page_scale(Show show) const {
    Scale scale = std::clamp(largest_, Scale{1, 1}, Scale{kLargestScale, 1});
    if (show == Show::kDrawing) {
      scale = std::max(scale, Scale{formats::draw_scale(space_.width(), space_.height()), 1});
    }
    const int64_t side = std::max(space_.width(), space_.height());
    return std::min(scale, Scale{draw::kLargestSide, side});
  }

  // Bitmaps that are shown as they are give the picture their depth and their pixels; pages are
  // painted in colours, a side at least one pixel long.
  void describe_size(Layout& layout) const {
    process::SourcePicture& picture = layout.picture;
    picture.storage_kind = T_FORMAT_PCT;
    if (layout.show == Show::kAlone || layout.show == Show::kJoined) {
      describe_pixels(first_, picture);
    } else {
      picture.bits = 24;
    }
    Scale x = layout.grid.scale, y = x;
    if (layout.show == Show::kJoined) {
      x = across(first_);
      y = down(first_);
    }
    const auto pixels = [](const Scale& scale, int32_t units) {
      return static_cast<int32_t>(std::max<int64_t>(scale.length(units), 1));
    };
    picture.width = pixels(x, space_.width());
    picture.height = pixels(y, space_.height());
    if (layout.show != Show::kAlone) return;
    picture.width = first_.source.width();
    picture.height = first_.source.height();
  }

  // By the frame, which is in points, or where a bitmap has as many pixels as it says, or the
  // header.
  void describe_resolution(Layout& layout) const {
    const Header& header = records_.header();
    const Rect& frame = header.frame;
    const auto dots = [](int64_t pixels, int64_t points) {
      return (pixels * kPointsPerInch * 2 + points) / (points * 2);
    };
    int64_t x = dots(layout.picture.width, frame.width());
    int64_t y = dots(layout.picture.height, frame.height());
    const bool is_page = layout.show != Show::kAlone && layout.show != Show::kJoined;
    const bool is_said = x != kPointsPerInch || y != kPointsPerInch;
    if (!is_page && !is_said) {
      const auto said = [](uint32_t fixed) { return (int64_t{fixed} + 0x8000) >> 16; };
      const auto first_of = [](int64_t a, int64_t b) { return a != 0 ? a : b; };
      x = first_of(first_of(said(first_.x_resolution), said(header.x_resolution)), x);
      y = first_of(first_of(said(first_.y_resolution), said(header.y_resolution)), y);
    }
    process::set_resolution(x, y, layout.picture);
  }

  Records& records_;
  Rect space_;
  bool has_space_ = false;  // for good
  uint32_t count_ = 0;
  Bitmap first_;
  Scale largest_;
  bool is_alone_ = false;
  bool joins_ = true;
  bool is_drawn_ = false;
  bool is_mixed_ = false;  // bitmaps are drawn on, or show what was drawn before
  bool has_unknown_ = false;
  int32_t filled_across_ = 0;  // of the frame by bitmaps that join
  int32_t filled_down_ = 0;
  int32_t row_height_ = 0;
};

}  // namespace

Status survey(io::InputFile& file, uint32_t offset, uint32_t file_bytes, Layout& layout) {
  TRY(file.seek(offset));
  Records records(file, file_bytes);
  TRY(records.start());
  Survey survey(records);
  layout.end = survey.run();
  TRY(records.failure());
  if (layout.end == kNoMemory) return kNoMemory;
  // Where something can be seen, how the records end matters when they are read for their rows.
  if (!survey.has_content()) TRY(layout.end);
  survey.describe(layout);
  return kOk;
}

}  // namespace tavo::pict

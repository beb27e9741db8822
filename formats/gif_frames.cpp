#include "formats/gif_frames.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/limits.h"
#include "color/index_rows.h"
#include "color/palettes.h"
#include "core/progress.h"
#include "formats/gif.h"
#include "formats/gif_data.h"
#include "formats/plausible.h"
#include "process/interlace.h"

namespace tavo::gif {

namespace {

// A rectangle of the canvas.
struct Area {
  uint32_t left = 0;
  uint32_t top = 0;
  uint32_t width = 0;
  uint32_t height = 0;
};

// Later images are cut where they leave the canvas.
Area area_of(const Image& image, uint32_t width, uint32_t height) {
  const uint32_t left = std::min(image.left, width);
  const uint32_t top = std::min(image.top, height);
  return {left, top, std::min(image.width, width - left), std::min(image.height, height - top)};
}

// Without any table indices are grey levels.
constexpr ColorTable kGrays = [] {
  ColorTable table;
  for (size_t i = 0; i < 256; ++i) table.entries[i] = color::gray_entry(static_cast<uint8_t>(i));
  return table;
}();

const ColorTable& colors_of(const Image& image, const Screen& screen) {
  if (image.table.colors != 0) return image.table;
  return screen.table.colors != 0 ? screen.table : kGrays;
}

bool are_equal(const ColorTable& a, const ColorTable& b) {
  return a.colors == b.colors && std::memcmp(a.entries, b.entries, sizeof(a.entries)) == 0;
}

// What a canvas is made of, while images are drawn on it.
struct Layers {
  int32_t first = 1;        // the first image of which something may be seen
  bool shows_blank = true;  // where no image is, or none is any more
  ColorTable table;         // of the first image
  bool has_table = false;
  bool is_uniform = true;  // all others have the same one

  void draw(int32_t number, const ColorTable& colors, bool hides_all) {
    if (hides_all) restart(number, false);
    if (!has_table) table = colors;
    is_uniform = is_uniform && are_equal(table, colors);
    has_table = true;
  }

  void clear(int32_t number, bool is_all) {
    if (is_all) restart(number + 1, true);
    shows_blank = true;
  }

  void restart(int32_t number, bool is_blank) {
    first = number;
    shows_blank = is_blank;
    has_table = false;
    is_uniform = true;
  }
};

// The pixels of the canvas are as deep as the table of all images, or else have 24 bits. Where no
// image is it has the background color, as encoders expect who do not think of transparency, while
// browsers let the page show through there.
void describe(const Screen& screen, const Layers& layers, Frame& frame) {
  const bool has_global = screen.table.colors != 0;
  const ColorTable& base = has_global ? screen.table : layers.table;
  const bool is_indexed =
      layers.is_uniform && (!layers.shows_blank || are_equal(base, layers.table));
  frame.blank_index = screen.background < base.colors ? screen.background : uint8_t{0};
  frame.blank = base.entries[frame.blank_index];
  frame.first = layers.first;

  process::SourcePicture& picture = frame.picture;
  picture.storage_kind = T_FORMAT_GIF;
  picture.bits = is_indexed ? depth_of(layers.table.colors) : 24;
  if (!is_indexed) return;
  picture.colors = layers.table.colors;
  std::memcpy(picture.palette, layers.table.entries, sizeof(picture.palette));
}

// Walks over the images, keeping track of what shows.
class Walk {
 public:
  Walk(const Header& header, uint64_t file_bytes, Frame& frame)
      : screen_(header.screen), file_bytes_(file_bytes), frame_(frame) {
    // The first image makes a canvas larger that is too small for it, as in browsers.
    width_ = std::max(screen_.width, header.image.left + header.image.width);
    height_ = std::max(screen_.height, header.image.top + header.image.height);
    frame_.picture.width = static_cast<int32_t>(width_);
    frame_.picture.height = static_cast<int32_t>(height_);
  }

  Status run(ByteSource& bytes, Image& image, int32_t wanted) {
    TRY(limits::check_picture(width_, height_));
    TRY(formats::check_plausible(formats::Density::kLzw, width_, height_, file_bytes_));
    for (int32_t number = 1;; ++number) {
      TRY(limits::check(T_LIMIT_PAGES, static_cast<uint64_t>(number)));
      Layers drawn = layers_;
      const bool is_transparent = image.transparent >= 0;
      drawn.draw(number, colors_of(image, screen_), covers(image) && !is_transparent);
      frame_.number = number;
      if (number == wanted || !skip_blocks(bytes).ok()) return finish(drawn);
      TRY(dispose(number, image, drawn));
      if (!read_image(bytes, image).ok()) return finish(drawn);
    }
  }

 private:
  bool covers(const Image& image) const {
    const Area area = area_of(image, width_, height_);
    return area.width == width_ && area.height == height_;
  }

  // Restored is what was there before the image, so it leaves no trace.
  Status dispose(int32_t number, const Image& image, const Layers& drawn) {
    if (image.disposal == Disposal::kKeep) layers_ = drawn;
    if (image.disposal != Disposal::kBackground) return kOk;
    layers_.clear(number, covers(image));
    // Clearing takes no data: many small blocks could ask for endless work.
    const Area area = area_of(image, width_, height_);
    cleared_ += uint64_t{area.width} * area.height;
    return formats::check_plausible(formats::Density::kLzw, 1, cleared_, file_bytes_);
  }

  Status finish(const Layers& layers) {
    describe(screen_, layers, frame_);
    return kOk;
  }

  const Screen& screen_;
  uint64_t file_bytes_;
  Frame& frame_;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  Layers layers_;
  uint64_t cleared_ = 0;  // pixels
};

// The logical screen: index bytes, or colors with red first.
class Canvas {
 public:
  explicit Canvas(const Frame& frame)
      : frame_(frame),
        width_(static_cast<uint32_t>(frame.picture.width)),
        height_(static_cast<uint32_t>(frame.picture.height)),
        pixel_(frame.picture.bits == 24 ? 3 : 1) {}

  Status start() {
    TRY(pixels_.allocate(uint64_t{width_} * pixel_ * height_));
    clear({0, 0, width_, height_});
    return kOk;
  }

  Area area(const Image& image) const { return area_of(image, width_, height_); }
  const uint8_t* row(uint32_t y) const { return at(0, y); }

  void clear(const Area& area) {
    if (area.width == 0) return;
    for (uint32_t y = area.top; y < area.top + area.height; ++y) {
      uint8_t* const row = at(area.left, y);
      if (pixel_ == 1) {
        std::memset(row, frame_.blank_index, area.width);
      } else {
        for (uint32_t x = 0; x < area.width; ++x) color::put_rgb(frame_.blank, row + 3 * x);
      }
    }
  }

  // Draws the pixels that are not transparent.
  void draw(uint32_t x, uint32_t y, std::span<const uint8_t> indices, int32_t transparent,
            const ColorTable& table) {
    uint8_t* const row = at(x, y);
    for (size_t i = 0; i < indices.size(); ++i) {
      if (indices[i] == transparent) continue;
      if (pixel_ == 1) {
        row[i] = indices[i];
      } else {
        color::put_rgb(table.entries[indices[i]], row + 3 * i);
      }
    }
  }

 private:
  const uint8_t* at(uint32_t x, uint32_t y) const {
    return pixels_.data() + (size_t{y} * width_ + x) * pixel_;
  }
  uint8_t* at(uint32_t x, uint32_t y) { return pixels_.data() + (size_t{y} * width_ + x) * pixel_; }

  const Frame& frame_;
  uint32_t width_;
  uint32_t height_;
  uint32_t pixel_;  // bytes of one
  Buffer pixels_;
};

// Decodes images onto the canvas.
class Composition {
 public:
  Composition(ByteSource& bytes, Canvas& canvas) : bytes_(bytes), data_(bytes), canvas_(canvas) {}

  Status run(const Frame& frame) {
    TRY(data_.allocate());
    // Widths have 16 bits (20): one line serves all images.
    TRY(line_.allocate(UINT16_MAX));
    core::Progress progress;
    TRY(progress.start());
    Screen screen;
    Image image;
    TRY(read_screen(bytes_, screen));
    for (int32_t number = 1; number < frame.number; ++number) {
      TRY(read_image(bytes_, image));
      if (number < frame.first || image.disposal == Disposal::kPrevious) {
        TRY(skip_blocks(bytes_));
      } else if (image.disposal == Disposal::kBackground) {
        canvas_.clear(canvas_.area(image));
        TRY(skip_blocks(bytes_));
      } else {
        TRY(draw(image, screen));
        TRY(data_.finish());
      }
      TRY(progress.at(static_cast<uint32_t>(number), static_cast<uint32_t>(frame.number)));
    }
    TRY(read_image(bytes_, image));
    TRY(draw(image, screen));
    return progress.finish();
  }

  // What was wrong with the data of images, and the first row that shows it.
  Status damage() const { return damage_; }
  uint32_t first_damaged() const { return first_damaged_; }

 private:
  // An image with damaged data shows what can be read of it.
  Status draw(const Image& image, const Screen& screen) {
    const Status status = draw_rows(image, screen);
    if (status.ok()) return kOk;
    if (status != kBadData || !bytes_.failure().ok()) return status;
    if (damage_.ok()) damage_ = status;
    return kOk;
  }

  Status draw_rows(const Image& image, const Screen& screen) {
    TRY(data_.start(image.minimum_code_size));
    // All of the image is decoded, what is outside of the canvas as well: codes know no rows.
    const Area area = canvas_.area(image);
    const auto indices = line_.bytes().first(image.width);
    process::InterlacedRows interlaced;
    for (uint32_t i = 0; i < image.height; ++i) {
      size_t got = 0;
      const Status status = data_.decode_row(indices, got);
      const uint32_t y = image.is_interlaced() ? interlaced.row() : i;
      if (y < area.height) {
        canvas_.draw(area.left, area.top + y, indices.first(std::min<size_t>(got, area.width)),
                     image.transparent, colors_of(image, screen));
      }
      if (!status.ok()) {
        note_missing(image, area.top, i, interlaced);
        return status;
      }
      interlaced.advance(image.height);
    }
    return kOk;
  }

  // Row `row` and those that would have come behind it.
  void note_missing(const Image& image, uint32_t top, uint32_t row,
                    process::InterlacedRows interlaced) {
    uint32_t first = row;
    if (image.is_interlaced()) {
      for (first = image.height; interlaced.row() < image.height; interlaced.advance(image.height))
        first = std::min(first, interlaced.row());
    }
    first_damaged_ = std::min(first_damaged_, top + first);
  }

  ByteSource& bytes_;
  ImageData data_;
  Canvas& canvas_;
  Buffer line_;
  Status damage_ = kOk;
  uint32_t first_damaged_ = UINT32_MAX;
};

}  // namespace

Status find_frame(ByteSource& bytes, uint64_t file_bytes, int32_t wanted, Frame& frame) {
  Header header;
  TRY(parse_header(bytes, file_bytes, header));
  const bool is_transparent = header.image.transparent >= 0;
  TRY(Walk(header, file_bytes, frame).run(bytes, header.image, wanted));
  if (is_transparent) frame.picture.extras = T_EXTRA_ALPHA;
  return kOk;
}

Status deliver_frame(ByteSource& bytes, const Frame& frame, process::RowDelivery& rows) {
  Canvas canvas(frame);
  TRY(canvas.start());
  Composition composition(bytes, canvas);
  {
    const core::ProgressPart part(0, 50);
    TRY(composition.run(frame));
  }
  const core::ProgressPart part(50, 100);
  TRY(rows.start());
  const auto width = static_cast<size_t>(frame.picture.width);
  for (int32_t y = 0; y < frame.picture.height; ++y) {
    const uint8_t* const pixels = canvas.row(static_cast<uint32_t>(y));
    uint8_t* const row = rows.next_row().data();
    if (frame.picture.bits == 24) {
      std::memcpy(row, pixels, 3 * width);
    } else {
      color::pack_indices(frame.picture.bits, {pixels, width}, row);
    }
    TRY(rows.commit(1, static_cast<uint32_t>(y) < composition.first_damaged() ? 1 : 0));
  }
  return composition.damage().ok() ? rows.finish() : rows.finish_early(composition.damage());
}

}  // namespace tavo::gif

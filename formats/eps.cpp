#include "formats/eps.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/endian.h"
#include "base/settings.h"
#include "formats/eps_text.h"
#include "formats/tiff.h"
#include "formats/wmf.h"
#include "io/file_table.h"
#include "process/row_delivery.h"

namespace tavo::eps {

namespace {

// Bounding boxes are in PostScript's default user space (Language Reference, section 4.3.1).
constexpr int64_t kPointsPerInch = 72;

// A part of no bytes is not there. Without a header all of the file is text.
struct Contents {
  int32_t format = T_FORMAT_EPS;
  Part text;
  Part wmf;
  Part tiff;
  Comments comments;

  bool has_other_preview() const { return tiff.bytes != 0 || wmf.bytes != 0; }
};

// A preview in a format of its own, in the order of choice: a TIFF file has pixels, a metafile may
// have to be drawn.
struct Kind {
  Part Contents::*part;
  io::Probe probe;  // accepts what `read` can read; asks the file alone, not its head
  io::Reader read;
  const char* compression;  // null: the preview's
};

constexpr Kind kKinds[] = {
    {&Contents::tiff, tiff::probe_readable, tiff::read, "Embedded TIFF"},
    {&Contents::wmf, wmf::probe_readable, wmf::read, nullptr},
};

// As far as the file goes; nothing where it does not, nor beyond what the file operations of
// sub-files can reach. A length that is too large costs no preview that is there.
Part take_part(const uint8_t* fields, uint32_t file_bytes) {
  const uint32_t offset = load_le32(fields);
  if (offset >= file_bytes || offset > INT32_MAX) return {};
  const uint64_t bytes = std::min(load_le32(fields + 4), file_bytes - offset);
  return {offset, std::min<uint64_t>(bytes, INT32_MAX - offset)};
}

// Printers' captures begin with Ctrl-D. What stands behind the first four characters is not asked:
// versions from 2.0 to 3.1 occur, and "%!PS-Adobe-2.0" alone, without the "EPSF" of Technical Note
// 5002.
bool is_text(std::span<const uint8_t> head) {
  constexpr uint8_t kCtrlD = 4;
  if (!head.empty() && head[0] == kCtrlD) head = head.subspan(1);
  return head.size() >= 4 && std::memcmp(head.data(), "%!PS", 4) == 0;
}

Status look_at_file(io::InputFile& file, Contents& contents) {
  std::array<uint8_t, kHeaderBytes> head;
  size_t got = 0;
  uint32_t file_bytes = 0;
  TRY(file.read_up_to(head, got));
  TRY(file.size(file_bytes));
  if (is_text(std::span(head).first(got))) {
    contents.format = T_FORMAT_EPS_TEXT;
    contents.text = {0, file_bytes};
  } else {
    // Kept: the checksum may be anything. Programs write FFFF, which says that it is none.
    if (got < head.size() || load_le32(head.data()) != kMagic) return kBadData;
    contents.text = take_part(&head[kTextAt], file_bytes);
    contents.wmf = take_part(&head[kWmfAt], file_bytes);
    contents.tiff = take_part(&head[kTiffAt], file_bytes);
  }
  const Look look = contents.has_other_preview() ? Look::kHeader : Look::kPreview;
  return read_comments(file, contents.text, look, contents.comments);
}

// Once none of the other previews can be read.
Status look_for_text_preview(io::InputFile& file, Contents& contents) {
  if (!contents.has_other_preview()) return kOk;  // it has been
  return read_comments(file, contents.text, Look::kPreview, contents.comments);
}

// The preview fills the box. Rounded to whole dots; 31 bits of pixels times 72 and 10,000 fit 64.
void set_resolution(const Box& box, process::SourcePicture& picture) {
  if (!box.is_sound()) return;
  const auto dots = [](int64_t pixels, int64_t units) {
    return (pixels * kPointsPerInch * kPoint + units / 2) / units;
  };
  process::set_resolution(dots(picture.width, box.width()), dots(picture.height, box.height()),
                          picture);
}

// Without a preview: the box, a pixel a point.
process::SourcePicture describe_box(const Box& box) {
  constexpr int64_t kMostPixels = 8192;  // a side: boxes may claim a thousand million points
  const auto pixels = [&](int64_t units) {
    const int64_t points = (units + kPoint / 2) / kPoint;
    return static_cast<int32_t>(box.is_sound() ? std::clamp<int64_t>(points, 1, kMostPixels) : 1);
  };
  process::SourcePicture picture;
  picture.width = pixels(box.width());
  picture.height = pixels(box.height());
  picture.bits = 1;
  picture.colors = 2;
  return picture;
}

// Of several pages of a preview the first is shown, whichever is asked for: T_SetPageNumber means
// pages of this file, which has one.
class FirstPage {
 public:
  FirstPage() : asked_(settings.page_number) { settings.page_number = 1; }
  ~FirstPage() { settings.page_number = asked_; }
  FirstPage(const FirstPage&) = delete;
  FirstPage& operator=(const FirstPage&) = delete;

 private:
  int32_t asked_;
};

// A preview's part of the file for its scope, as if it were a file.
class PartScope {
 public:
  PartScope(const io::InputFile& file, const Part& part)
      : part_(file.handle(), static_cast<int32_t>(part.offset), static_cast<int32_t>(part.bytes)) {}
  static constexpr const char* kName = "preview";
  // What it means that it cannot be opened: nothing else is tried.
  static constexpr Status kOpenFailure = kSeekError;

 private:
  FirstPage page_;
  io::SubFileScope part_;
};

Status probe_part(const io::ProbeInput& input, const Part& part, const Kind& kind, FILEINFO& info) {
  const PartScope scope(input.file, part);
  io::InputFile preview;
  if (!preview.open(PartScope::kName).ok()) return input.file.fail(PartScope::kOpenFailure);
  const io::ProbeInput inside{PartScope::kName, {}, preview, static_cast<uint32_t>(part.bytes)};
  const Status status = kind.probe(inside, info);
  // Operations on the preview are those of this file, so what fails there ends its identification.
  const Status failure = preview.failure();
  return failure.ok() ? status : input.file.fail(failure);
}

// What a preview's reader delivers, as rows of this file.
struct Relay {
  T_RowSink sink;
  void* context;
  const Contents& contents;
  bool has_rows = false;

  static int32_t T_CALL take(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    auto& relay = *static_cast<Relay*>(context);
    relay.has_rows = true;  // from here on no other preview can take this one's place
    process::SourcePicture picture;
    picture.width = source->Width;
    picture.height = source->Height;
    set_resolution(relay.contents.comments.box, picture);
    // The preview's reader has described itself; of resolutions that of the box goes before.
    source->StorageKind = relay.contents.format;
    if (picture.has_resolution) {
      source->XResolution = picture.x_resolution;
      source->YResolution = picture.y_resolution;
    }
    const io::OuterFilesScope files;  // files that the sink opens are no parts of this one
    return relay.sink(source, rows, count, relay.context);
  }
};

}  // namespace

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Contents contents;
  TRY(look_at_file(input.file, contents));
  const FILEINFO blank = info;
  process::SourcePicture picture = describe_box(contents.comments.box);
  for (const Kind& kind : kKinds) {
    const Part& part = contents.*kind.part;
    if (part.bytes == 0) continue;
    info = blank;  // a probe that refused may have begun to fill it
    const Status status = probe_part(input, part, kind, info);
    // These say nothing against the preview: showing another one instead would depend on memory
    // and on what the caller allows.
    if (status == kNoMemory || status == kLimit) return status;
    TRY(input.file.failure());
    if (!status.ok()) continue;
    picture.width = info.Width;
    picture.height = info.Height;
    set_resolution(contents.comments.box, picture);
    if (picture.has_resolution) {
      info.XResolution = picture.x_resolution;
      info.YResolution = picture.y_resolution;
    }
    info.Format = contents.format;
    info.Page = info.PageCount = 1;
    if (kind.compression == nullptr) return kOk;
    std::strncpy(info.Compression, kind.compression, sizeof(info.Compression) - 1);
    return kOk;
  }
  info = blank;
  TRY(look_for_text_preview(input.file, contents));
  if (contents.comments.width != 0) describe_preview(contents.comments, picture);
  set_resolution(contents.comments.box, picture);
  process::describe(picture, contents.format, "None", info);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  Contents contents;
  TRY(look_at_file(file, contents));
  Status status = kSubtype;  // of files without a preview
  for (const Kind& kind : kKinds) {
    const Part& part = contents.*kind.part;
    if (part.bytes == 0) continue;
    Relay relay{sink, context, contents};
    const PartScope scope(file, part);
    status = kind.read(PartScope::kName, bitmap, Relay::take, bits_per_pixel, &relay);
    if (status == kOpenError) return PartScope::kOpenFailure;
    if (status.ok() || status == kNoMemory || status == kLimit || relay.has_rows) return status;
  }
  TRY(look_for_text_preview(file, contents));
  if (contents.comments.width == 0) return status;
  process::SourcePicture picture;
  picture.storage_kind = contents.format;
  describe_preview(contents.comments, picture);
  set_resolution(contents.comments.box, picture);
  process::RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  return read_preview(file, contents.comments, rows);
}

}  // namespace tavo::eps

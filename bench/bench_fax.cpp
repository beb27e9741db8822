// CCITT codecs beside libtiff and FFmpeg, everything in memory.
//
// Pages are rendered by Ghostscript ("gs" must be in the path): A4 text at 300 dots per inch, the
// same skewed and with noise, and a line drawing 12,000 pixels wide.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "codec/ccitt_decoder.h"
#include "codec/ccitt_encoder.h"

#include "libtiff_memory.h"
#include "run.h"

#ifdef PEER_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
}
#endif

namespace {

using namespace tavo;
#ifdef PEER_TIFF
using bench::MemoryFile;
#endif

struct Page {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> rows;
  size_t row_bytes() const { return (width + 7) / 8; }
  const uint8_t* row(uint32_t y) const { return rows.data() + y * row_bytes(); }
  double pixels() const { return 1.0 * width * height; }
};

Page render(const std::string& program, uint32_t width, uint32_t height) {
  const std::string command =
      "gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pbmraw -r300 -dTextAlphaBits=1 -g" +
      std::to_string(width) + "x" + std::to_string(height) + " -sOutputFile=- -c '" + program +
      " showpage' 2>/dev/null";
  Page page{width, height, {}};
  FILE* pipe = popen(command.c_str(), "r");
  uint32_t w = 0;
  uint32_t h = 0;
  char comment[256];
  bool good = pipe != nullptr && std::fscanf(pipe, "P4 ") == 0;
  while (good && std::fscanf(pipe, "#%255[^\n] ", comment) == 1) {
  }
  good = good && std::fscanf(pipe, "%u %u", &w, &h) == 2 && w == width && h == height;
  if (good) {
    std::fgetc(pipe);
    page.rows.resize(page.row_bytes() * height);
    good = std::fread(page.rows.data(), 1, page.rows.size(), pipe) == page.rows.size();
  }
  if (pipe != nullptr) pclose(pipe);
  if (!good) {
    std::fprintf(stderr, "bench_fax: Ghostscript gave no page\n");
    std::exit(1);
  }
  return page;
}

std::string text_program(double angle) {
  return std::to_string(angle) +
         " rotate /Times-Roman findfont 11 scalefont setfont /y 780 def /n 7 def"
         " /words [(the) (of record) (archive) (measure) (a) (quick) (drawing) (and) (sheet)"
         " (1994,) (Figure) (is kept) (between) (lines.) (Volume) (to) (which) (by)] def"
         " 52 { 60 y moveto { /n n 5 mul 3 add 18 mod def words n get show ( ) show"
         " /n n 1 add currentpoint pop cvi add 18 mod def"
         " currentpoint pop 500 gt {exit} if } loop /y y 14 sub def"
         " y 400 lt y 386 gt and {/y 330 def} if } repeat";
}

Page text_page() { return render(text_program(0), 2480, 3508); }

Page noisy_page() {
  Page page = render(text_program(0.7), 2480, 3508);
  std::mt19937 random(1);
  for (int i = 0; i < 12000; ++i) {
    const uint32_t x = random() % page.width;
    const uint32_t y = random() % page.height;
    page.rows[y * page.row_bytes() + x / 8] ^= static_cast<uint8_t>(0x80 >> x % 8);
  }
  // Ragged outlines, as scanners give: a pixel at an edge turns now and then.
  for (uint32_t y = 0; y < page.height; ++y) {
    uint8_t* row = page.rows.data() + y * page.row_bytes();
    const auto pixel = [row](uint32_t x) { return row[x / 8] >> (7 - x % 8) & 1; };
    for (uint32_t x = 1; x < page.width; ++x) {
      if (pixel(x) != pixel(x - 1) && random() % 8 == 0) {
        row[x / 8] ^= static_cast<uint8_t>(0x80 >> x % 8);
      }
    }
  }
  return page;
}

Page drawing() {
  return render(
      "0.5 setlinewidth 1 1 60 {dup 37 mul 2800 mod /x exch def 29 mul 1900 mod /y exch def"
      " newpath x y 200 0 360 arc stroke newpath x y moveto 2800 x sub 1900 lineto stroke"
      " newpath 0 y moveto 2880 y lineto stroke newpath x 0 moveto x 1920 lineto stroke} for"
      " /Courier findfont 9 scalefont setfont 1 1 200 {dup 71 mul 2700 mod exch 53 mul 1900 mod"
      " moveto (M12x40) show} for",
      12000, 8000);
}

const Page& page(int which) {
  static const Page pages[] = {text_page(), noisy_page(), drawing()};
  return pages[which];
}

struct Collector {
  std::vector<uint8_t> bytes;
  Status write(std::span<const uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return kOk;
  }
};

std::vector<uint8_t> encode(const Page& p, const ccitt::EncoderOptions& options) {
  Collector out;
  out.bytes.reserve(p.rows.size());
  ccitt::Encoder encoder(out);
  if (!encoder.start(options, p.width).ok()) std::abort();
  for (uint32_t y = 0; y < p.height; ++y) {
    if (!encoder.encode_row({p.row(y), p.row_bytes()}).ok()) std::abort();
  }
  if (!encoder.finish().ok()) std::abort();
  return out.bytes;
}

ccitt::EncoderOptions coding_of(int64_t which) {
  return {which == 0   ? ccitt::Coding::kGroup4
          : which == 1 ? ccitt::Coding::kGroup3
                       : ccitt::Coding::kGroup3TwoD};
}

void set_speed(benchmark::State& state, const Page& p) {
  state.counters["MP/s"] =
      benchmark::Counter(p.pixels() / 1e6 * 1.0 * state.iterations(), benchmark::Counter::kIsRate);
}

void Decode(benchmark::State& state) {
  const Page& p = page(state.range(0));
  const ccitt::EncoderOptions options = coding_of(state.range(1));
  const std::vector<uint8_t> data = encode(p, options);
  std::vector<uint8_t> rows(p.rows.size());
  for (auto _ : state) {
    ByteSource source{std::span<const uint8_t>(data)};
    ccitt::Decoder decoder;
    if (!decoder.start(options.coding, p.width, false).ok()) std::abort();
    decoder.begin(source);
    for (uint32_t y = 0; y < p.height; ++y) {
      if (!decoder.decode_row({rows.data() + y * p.row_bytes(), p.row_bytes()}).ok()) std::abort();
    }
    benchmark::DoNotOptimize(rows.data());
  }
  if (rows != p.rows) state.SkipWithError("wrong picture");
  set_speed(state, p);
}

void Encode(benchmark::State& state) {
  const Page& p = page(state.range(0));
  const ccitt::EncoderOptions options = coding_of(state.range(1));
  for (auto _ : state) {
    const std::vector<uint8_t> data = encode(p, options);
    benchmark::DoNotOptimize(data.data());
  }
  set_speed(state, p);
}

#ifdef PEER_TIFF
void write_tiff(MemoryFile& file, const Page& p, int compression, uint32_t options) {
  file.bytes.clear();
  file.bytes.reserve(p.rows.size() * 2);
  TIFF* tiff = file.open("w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, p.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, p.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, p.height);
  if (compression == COMPRESSION_CCITTFAX3) TIFFSetField(tiff, TIFFTAG_GROUP3OPTIONS, options);
  for (uint32_t y = 0; y < p.height; ++y) {
    TIFFWriteScanline(tiff, const_cast<uint8_t*>(p.row(y)), y, 0);
  }
  TIFFClose(tiff);
}

int tiff_compression(int64_t which) {
  return which == 0 ? COMPRESSION_CCITTFAX4 : COMPRESSION_CCITTFAX3;
}

void LibtiffDecode(benchmark::State& state) {
  const Page& p = page(state.range(0));
  MemoryFile file;
  write_tiff(file, p, tiff_compression(state.range(1)), state.range(1) == 2);
  std::vector<uint8_t> rows(p.rows.size());
  for (auto _ : state) {
    TIFF* tiff = file.open("r");
    TIFFReadEncodedStrip(tiff, 0, rows.data(), static_cast<tmsize_t>(rows.size()));
    TIFFClose(tiff);
  }
  if (rows != p.rows) state.SkipWithError("wrong picture");
  set_speed(state, p);
}

void LibtiffEncode(benchmark::State& state) {
  const Page& p = page(state.range(0));
  MemoryFile file;
  for (auto _ : state) {
    write_tiff(file, p, tiff_compression(state.range(1)), state.range(1) == 2);
  }
  set_speed(state, p);
}
#endif

#if defined(PEER_FFMPEG) && defined(PEER_TIFF)
void FFmpegDecode(benchmark::State& state) {
  const Page& p = page(state.range(0));
  MemoryFile file;
  write_tiff(file, p, tiff_compression(state.range(1)), state.range(1) == 2);
  file.bytes.resize(file.bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
  AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_TIFF));
  context->thread_count = 1;
  avcodec_open2(context, nullptr, nullptr);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  for (auto _ : state) {
    packet->data = file.bytes.data();
    packet->size = static_cast<int>(file.bytes.size() - AV_INPUT_BUFFER_PADDING_SIZE);
    if (avcodec_send_packet(context, packet) != 0 || avcodec_receive_frame(context, frame) != 0) {
      state.SkipWithError("FFmpeg refuses");
      break;
    }
  }
  set_speed(state, p);
  av_frame_free(&frame);
  av_packet_free(&packet);
  avcodec_free_context(&context);
}
BENCHMARK(FFmpegDecode)->ArgsProduct({{0, 1, 2}, {0, 1}})->ArgNames({"page", "coding"});
#endif

// Pages: 0 text, 1 noisy, 2 drawing. Codings: 0 Group 4, 1 Group 3 1-D, 2 Group 3 2-D.
BENCHMARK(Decode)->ArgsProduct({{0, 1, 2}, {0, 1, 2}})->ArgNames({"page", "coding"});
BENCHMARK(Encode)->ArgsProduct({{0, 1, 2}, {0, 1, 2}})->ArgNames({"page", "coding"});
#ifdef PEER_TIFF
BENCHMARK(LibtiffDecode)->ArgsProduct({{0, 1, 2}, {0, 1, 2}})->ArgNames({"page", "coding"});
BENCHMARK(LibtiffEncode)->ArgsProduct({{0, 1, 2}, {0, 1, 2}})->ArgNames({"page", "coding"});
#endif

}  // namespace

int main(int argc, char** argv) { return bench::run(argc, argv); }

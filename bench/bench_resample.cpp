// Filtered resizing of a 4096 x 3072 photograph beside OpenCV (whose linear and cubic filters do
// not widen when a picture shrinks) and swscale, and small pictures of JPEG files beside
// libjpeg-turbo with OpenCV. Figures count the photograph's pixels. Each turn begins with a copy,
// which is not measured; the peers' results lie in memory that was there before. libvips and
// Pillow, which is Python, take part in no process of others.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "photograph.h"
#include "run.h"
#include "tavo45.h"

#ifdef PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef PEER_FFMPEG
extern "C" {
#include <libswscale/swscale.h>
}
#endif
#ifdef PEER_JPEG
#include <jpeglib.h>
#endif

namespace {

using bench::kHeight;
using bench::kWidth;

struct Filter {
  const char* name;
  uint32_t method;
  int opencv, swscale;
};
#if defined(PEER_OPENCV) && defined(PEER_FFMPEG)
constexpr Filter kFilters[] = {
    {"box", T_SIZE_BOX, cv::INTER_AREA, SWS_AREA},
    {"triangle", T_SIZE_TRIANGLE, cv::INTER_LINEAR, SWS_BILINEAR},
    {"cubic", T_SIZE_CUBIC, cv::INTER_CUBIC, SWS_BICUBIC},
    {"lanczos", T_SIZE_LANCZOS, cv::INTER_LANCZOS4, SWS_LANCZOS},
};
#else
constexpr Filter kFilters[] = {{"box", T_SIZE_BOX, 0, 0},
                               {"triangle", T_SIZE_TRIANGLE, 0, 0},
                               {"cubic", T_SIZE_CUBIC, 0, 0},
                               {"lanczos", T_SIZE_LANCZOS, 0, 0}};
#endif

struct Job {
  Filter filter;
  int bits;
  int eighths;  // of the photograph's size
  int width() const { return kWidth * eighths / 8; }
  int height() const { return kHeight * eighths / 8; }
};

const std::vector<uint8_t>& picture(int bits) {
  return bits == 8 ? bench::gray_photograph() : bench::photograph();
}

void describe(BitmapHandle& bitmap, int bits) {
  T_InitBitmap(&bitmap, kWidth, kHeight, bits);
  for (int i = 0; i < 256; ++i) {
    const auto level = static_cast<uint8_t>(i);
    bitmap.Info.Palette[i] = {level, level, level, 0};
  }
  bitmap.ViewPerspective = 0;
  T_AllocateBitmap(&bitmap, 1);
  T_AccessBitmap(&bitmap);
  const std::vector<uint8_t>& pixels = picture(bits);
  T_PutBitmapRow(&bitmap, pixels.data(), 0, static_cast<uint32_t>(pixels.size()));
}

void ours(benchmark::State& state, const Job& job) {
  BitmapHandle photograph = {};
  describe(photograph, job.bits);
  for (auto _ : state) {
    state.PauseTiming();
    BitmapHandle bitmap = {};
    T_CopyBitmap(&bitmap, &photograph);
    state.ResumeTiming();
    if (T_SizeBitmapFine(&bitmap, job.width(), job.height(), job.filter.method) != T_OK) {
      state.SkipWithError("failed");
    }
    state.PauseTiming();
    T_FreeBitmap(&bitmap);
    state.ResumeTiming();
  }
  T_FreeBitmap(&photograph);
  bench::count_pixels(state);
}

#ifdef PEER_OPENCV
void opencv(benchmark::State& state, const Job& job) {
  cv::setNumThreads(1);
  const int type = CV_MAKETYPE(CV_8U, job.bits / 8);
  const cv::Mat from(kHeight, kWidth, type, const_cast<uint8_t*>(picture(job.bits).data()));
  cv::Mat to(job.height(), job.width(), type);
  for (auto _ : state) cv::resize(from, to, to.size(), 0, 0, job.filter.opencv);
  bench::count_pixels(state);
}
#endif

#ifdef PEER_FFMPEG
void swscale(benchmark::State& state, const Job& job) {
  const AVPixelFormat format = job.bits == 8 ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_BGR24;
  SwsContext* const context = sws_getContext(kWidth, kHeight, format, job.width(), job.height(),
                                             format, job.filter.swscale, nullptr, nullptr, nullptr);
  const int bytes = job.bits / 8;
  std::vector<uint8_t> to(static_cast<size_t>(job.width()) * job.height() * bytes);
  const uint8_t* const planes[4] = {picture(job.bits).data()};
  const int strides[4] = {kWidth * bytes};
  uint8_t* const targets[4] = {to.data()};
  const int target_strides[4] = {job.width() * bytes};
  for (auto _ : state) sws_scale(context, planes, strides, 0, kHeight, targets, target_strides);
  sws_freeContext(context);
  bench::count_pixels(state);
}
#endif

// ---- From a file to 320 x 240 ----

constexpr int kThumbWidth = 320;
constexpr int kThumbHeight = 240;

std::string jpeg_file() {
  const char* const folder = std::getenv("TMPDIR");
  const std::string name = std::string(folder != nullptr ? folder : "/tmp") + "/bench_resample.jpg";
  BitmapHandle bitmap = {};
  describe(bitmap, 24);
  T_SaveBitmap(name.c_str(), &bitmap, T_FORMAT_JPEG_2X2_24, 24, 75);
  T_FreeBitmap(&bitmap);
  return name;
}

void thumb_ours(benchmark::State& state, uint32_t method) {
  const std::string name = jpeg_file();
  for (auto _ : state) {
    BitmapHandle thumb = {};
    if (T_LoadBitmapFine(name.c_str(), &thumb, 24, T_ORDER_BGR, kThumbWidth, kThumbHeight,
                         method) != T_OK) {
      state.SkipWithError("failed");
    }
    T_FreeBitmap(&thumb);
  }
  std::remove(name.c_str());
  bench::count_pixels(state);
}

#if defined(PEER_JPEG) && defined(PEER_OPENCV)
// At 1 / `denominator` of its size, then filtered.
void thumb_peer(benchmark::State& state, unsigned denominator) {
  const std::string name = jpeg_file();
  cv::setNumThreads(1);
  cv::Mat thumb(kThumbHeight, kThumbWidth, CV_8UC3);
  for (auto _ : state) {
    std::FILE* const file = std::fopen(name.c_str(), "rb");
    jpeg_decompress_struct d;
    jpeg_error_mgr errors;
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_stdio_src(&d, file);
    jpeg_read_header(&d, TRUE);
    d.scale_num = 1;
    d.scale_denom = denominator;
    d.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&d);
    cv::Mat rows(static_cast<int>(d.output_height), static_cast<int>(d.output_width), CV_8UC3);
    while (d.output_scanline < d.output_height) {
      JSAMPROW row = rows.ptr(static_cast<int>(d.output_scanline));
      jpeg_read_scanlines(&d, &row, 1);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
    std::fclose(file);
    cv::resize(rows, thumb, thumb.size(), 0, 0, cv::INTER_AREA);
  }
  std::remove(name.c_str());
  bench::count_pixels(state);
}
#endif

template <class Run>
void add(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
}

void add_all() {
  for (const Filter& filter : kFilters) {
    for (const int bits : {8, 24}) {
      for (const int eighths : {1, 2, 4, 5, 12}) {
        const Job job = {filter, bits, eighths};
        const std::string name = std::string(filter.name) + "/" + std::to_string(bits) + "/" +
                                 std::to_string(job.width()) + "/";
        add(name + "Bitmap", [=](benchmark::State& state) { ours(state, job); });
#ifdef PEER_OPENCV
        add(name + "OpenCV", [=](benchmark::State& state) { opencv(state, job); });
#endif
#ifdef PEER_FFMPEG
        add(name + "swscale", [=](benchmark::State& state) { swscale(state, job); });
#endif
      }
    }
  }
  add("thumb/Bitmap", [](benchmark::State& state) { thumb_ours(state, T_SIZE_BOX); });
  add("thumb_draft/Bitmap",
      [](benchmark::State& state) { thumb_ours(state, T_SIZE_BOX | T_SIZE_DRAFT); });
#if defined(PEER_JPEG) && defined(PEER_OPENCV)
  add("thumb/libjpeg+OpenCV", [](benchmark::State& state) { thumb_peer(state, 1); });
  add("thumb_draft/libjpeg+OpenCV", [](benchmark::State& state) { thumb_peer(state, 4); });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  add_all();
  return bench::run(argc, argv);
}

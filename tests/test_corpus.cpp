// Files that other programs wrote, against what other programs decode from them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "corpus.h"

namespace tavo::test {
namespace {

// How far a component may be from the reference, and in how many of a thousand it may be further.
struct CorpusCase {
  const char* format;
  int tolerance = 0;
  int outliers_per_mille = 0;
};

class Corpus : public ::testing::TestWithParam<CorpusCase> {};

const CorpusCase kCases[] = {
    // Narrow channels are widened by rounding or by repeating their bits.
    {.format = "bmp", .tolerance = 1},
    {.format = "cals"},
    {.format = "dcx"},
    {.format = "eps"},
    {.format = "gif"},
    {.format = "gem"},
    {.format = "mac"},
    {.format = "msp"},
    {.format = "jpeg", .tolerance = 2, .outliers_per_mille = 1},
    {.format = "pcd", .tolerance = 1},
    {.format = "pcx"},
    {.format = "pict"},
    {.format = "sun"},
    {.format = "tga", .tolerance = 1},
    // More than 8 bits are cut in one program and rounded in the other.
    {.format = "tiff", .tolerance = 2},
    {.format = "wmf"},
    {.format = "wpg"},
};

// Files whose reference is one program's reading, and why ours is another.
bool is_read_differently(const std::string& name) {
  constexpr const char* kFiles[] = {
      // libtiff gives up on Group 3 rows without end-of-line codes; FFmpeg reads them as we do.
      "ltnet-G3_Premature_EOL.tif",
      // The first row has no end-of-line code: libtiff drops it.
      "tm-g3aoe.tif",
      // Damaged Group 4 codes. libtiff goes on with what follows, which is stripes: of flipped bits
      // in a page seven eighths come out with 63 to 80 % of the pixels behind them wrong. Here the
      // rows before them are delivered.
      "metaex-m2-14847ce6f5fab0774dae9ad4fba31316.tif",
      "metaex-m2-63c8b14ea08a18c884d05a3431716047.tif",
      // The same, as the tag that says that bits are reversed was overwritten.
      "pillow-crash-0da013a13571cc8eb457a39fee8db18f8a3c7127.tif",
      // Damaged LZW strips: libtiff stops at the first code that cannot be, before the predictor is
      // undone; here the strip goes on as far as it has codes.
      "metaex-m1-f55287249b20fd368b4683f8336153d3.tif",
      "metaex-m10-42c19f8e79e582bef107f372f18a074b.tif",
      "metaex-m17-42c19f8e79e582bef107f372f18a074b.tif",
      // Both strips are cut to a few bytes: the rows of the last one are not delivered.
      "gofuzz-dc84e90ef3c21f0accfd60f9d7d939e726e505b9-1.tif",
      // The file ends in its second page, the third is not there.
      "metaex-d664a73588796b59191ad8628065f04a.tif",
      // One bit: other programs take any two colours for black and white; the header's hold here.
      "commons-1plane1bppCompressed.pcx", "tm-CGA_BW.PCX",
      // Says that its data are not coded; they are decoded all the same.
      "commons-3plane8bppUncompressed.pcx",
      // Minimum code size 0 is no GIF.
      "metaex-ce774930ac70449f38a18789c70095b8.gif",
      // The right-to-left bit of TGA is told, not followed.
      "imgrs-bottom_right.tga", "serenity-square-bottom-right.tga",
      // Damaged scans of a progressive stream, of which others keep more.
      "metaex-b55977028a3a574336966b6536640fc9.jpg",
      // Progressive pictures that are cut, which others smooth.
      "wuffs-peacock.progressive.scan006.jpeg", "wuffs-peacock.progressive.scan007.jpeg",
      // Pillow repeats chroma, which is interpolated here: a mean of two levels.
      "pillow-hopper.pcd",
      // PCX files are known by the versions 0, 2, 3 and 5; the reader itself takes this one.
      "kimg-ICONDOC.pcx"};
  const std::string file = name.substr(name.rfind('/') + 1);
  return std::ranges::find(kFiles, file) != std::end(kFiles);
}

std::string name_of(const ::testing::TestParamInfo<CorpusCase>& info) { return info.param.format; }

INSTANTIATE_TEST_SUITE_P(All, Corpus, ::testing::ValuesIn(kCases), name_of);

std::string difference(const Bytes& got, const Bytes& want, const CorpusCase& allowed) {
  if (got.size() != want.size()) return "other size";
  size_t beyond = 0;
  int largest = 0;
  for (size_t i = 0; i < got.size(); ++i) {
    const int distance = std::abs(got[i] - want[i]);
    largest = std::max(largest, distance);
    if (distance > allowed.tolerance) ++beyond;
  }
  if (beyond * 1000 <= got.size() * allowed.outliers_per_mille) return "";
  return std::to_string(beyond) + " of " + std::to_string(got.size()) + " differ, by up to " +
         std::to_string(largest);
}

TEST_P(Corpus, GoodFilesShowTheReferencePicture) {
  const std::vector<CorpusFile> files = corpus_files(GetParam().format);
  if (files.empty()) GTEST_SKIP() << "TAVO_CORPUS does not name the samples";
  T_SetGIFDepth(1);    // as deep as the image, not the screen
  T_SetRASVariant(1);  // as other programs count runs
  for (const CorpusFile& file : files) {
    if (file.expected != "decodes" || is_read_differently(file.name)) continue;
    for (size_t page = 0; page < file.references.size(); ++page) {
      SCOPED_TRACE(file.name + " page " + std::to_string(page + 1));
      Picture want;
      ASSERT_TRUE(read_png(file.references[page], want));
      T_SetPageNumber(static_cast<int32_t>(page) + 1);
      Bitmap bitmap;
      const int32_t status = T_LoadBitmap(file.path.c_str(), bitmap.get(), 24, T_ORDER_RGB);
      EXPECT_EQ(status, T_OK);
      if (status != T_OK) continue;
      EXPECT_EQ(bitmap->Width, want.width);
      EXPECT_EQ(bitmap->Height, want.height);
      EXPECT_EQ(difference(rgb(bitmap.get()), want.rgb, GetParam()), "");
    }
  }
  T_SetPageNumber(1);
  T_SetGIFDepth(0);
  T_SetRASVariant(0);
}

TEST_P(Corpus, BadAndDisputedFilesEndWithADocumentedStatus) {
  const std::vector<CorpusFile> files = corpus_files(GetParam().format);
  if (files.empty()) GTEST_SKIP() << "TAVO_CORPUS does not name the samples";
  const Leftovers before = leftovers();
  for (const CorpusFile& file : files) {
    if (file.expected == "decodes") continue;
    SCOPED_TRACE(file.name);
    Disk disk;
    const Bytes& bytes = disk.files["in"] = read_file(file.path);
    Bitmap bitmap;
    const int32_t status = T_LoadBitmap("in", bitmap.get(), 24, T_ORDER_RGB);
    EXPECT_TRUE(is_documented(status)) << status;
    EXPECT_LE(disk.bytes_read, 16 * bytes.size());
  }
  EXPECT_EQ(leftovers(), before);
}

}  // namespace
}  // namespace tavo::test

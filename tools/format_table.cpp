#include "format_table.h"

#include <algorithm>
#include <charconv>

#include "failure.h"
#include "streams.h"
#include "suggest.h"

namespace tavo::tools {
namespace {

constexpr int kDepths[] = {1, 2, 4, 8, 16, 24, 32};

std::string_view usual_extension(const T_Format& format) {
  const std::string_view all = format.Extensions;
  return all.substr(0, all.find(' '));
}

bool has_extension(const T_Format& format, std::string_view wanted) {
  for (std::string_view rest = format.Extensions; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    if (word == wanted) return true;
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
  }
  return false;
}

// Null when there is none. A format whose usual extension it is goes before the others.
const T_Format* find_by_extension(const std::vector<T_Format>& formats, std::string_view wanted) {
  const T_Format* found = nullptr;
  for (const T_Format& format : formats) {
    if (format.CanWrite == 0 || !has_extension(format, wanted)) continue;
    if (usual_extension(format) == wanted) return &format;
    if (found == nullptr) found = &format;
  }
  return found;
}

// Codings of TIFF files: what people call them, and what T_FileInfo does.
struct TiffCoding {
  const char* word;
  const char* text;
  int32_t format;
};
constexpr TiffCoding kTiffCodings[] = {
    {"packbits", "Run Length", T_FORMAT_TIFF_PACKBITS},
    {"lzw", "LZW", T_FORMAT_TIFF_LZW},
    {"deflate", "Deflate", T_FORMAT_TIFF_DEFLATE},
    {"group3", "CCITT Group 3 Fax", T_FORMAT_TIFF_GROUP3},
    {"group3-2d", "", T_FORMAT_TIFF_GROUP3_2D},
    {"group4", "CCITT Group 4 Fax", T_FORMAT_TIFF_GROUP4},
    {"zip", "", T_FORMAT_TIFF_DEFLATE},
    {"g3", "", T_FORMAT_TIFF_GROUP3},
    {"g32d", "", T_FORMAT_TIFF_GROUP3_2D},
    {"g4", "", T_FORMAT_TIFF_GROUP4},
};

}  // namespace

std::string in_lower_case(std::string_view text) {
  std::string result(text);
  for (char& c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return result;
}

const std::vector<T_Format>& all_formats() {
  static const std::vector<T_Format> formats = [] {
    std::vector<T_Format> rows;
    T_Format format;
    for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK; ++i) rows.push_back(format);
    return rows;
  }();
  return formats;
}

std::string format_name(int32_t id) {
  for (const T_Format& format : all_formats())
    if (format.Id == id) return format.Name;
  return "format " + std::to_string(id);
}

bool is_same_kind(int32_t id, const T_Format& format) {
  return std::ranges::any_of(all_formats(), [&](const T_Format& row) {
    return row.Id == id && has_extension(format, usual_extension(row));
  });
}

bool holds_pages(const T_Format& format) {
  const std::string_view usual = usual_extension(format);
  return usual == "tif" || usual == "dcx";
}

bool holds_orientation(const T_Format& format) {
  const std::string_view usual = usual_extension(format);
  return usual == "tif" || usual == "jpg";
}

std::vector<std::string> extensions_of(const T_Format& format) {
  std::vector<std::string> extensions;
  for (std::string_view rest = format.Extensions; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    extensions.emplace_back(word);
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
  }
  return extensions;
}

bool accepts_depth(const T_Format& format, int bits) {
  return (format.WriteDepths >> (bits % 32) & 1) != 0;
}

std::vector<int> write_depths(const T_Format& format) {
  std::vector<int> depths;
  for (const int bits : kDepths)
    if (accepts_depth(format, bits)) depths.push_back(bits);
  return depths;
}

std::string write_depths_text(const T_Format& format) {
  std::string text;
  for (const int bits : write_depths(format)) {
    if (!text.empty()) text += ", ";
    text += std::to_string(bits);
  }
  return text;
}

T_Format format_by_name(std::string_view text) {
  int id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  const bool is_number = error == std::errc() && end == text.data() + text.size();
  const std::string wanted = in_lower_case(text);
  const auto& formats = all_formats();
  for (const T_Format& format : formats)
    if (format.CanWrite != 0 &&
        (is_number ? format.Id == id : in_lower_case(format.Name) == wanted))
      return format;
  if (const T_Format* format = find_by_extension(formats, wanted)) return *format;
  std::vector<std::string> known;
  for (const TiffCoding& coding : kTiffCodings) {
    if (wanted == coding.word) return format_by_name(std::to_string(coding.format));
    known.push_back(coding.word);
  }
  for (const T_Format& format : formats) {
    if (format.CanWrite != 0) known.push_back(in_lower_case(format.Name));
  }
  throw UsageError{"--format: \"" + std::string(text) + "\" is no format that can be written" +
                   suggestion(wanted, known) + "; \"tavo formats\" lists them"};
}

T_Format format_by_extension(const std::string& path) {
  const size_t name = path.find_last_of("\\/") + 1;
  const size_t dot = path.rfind('.');
  const bool has_dot = dot != std::string::npos && dot >= name;
  const std::string extension = has_dot ? in_lower_case(path.substr(dot + 1)) : std::string();
  const auto& formats = all_formats();
  if (const T_Format* format = find_by_extension(formats, extension)) return *format;
  throw Failure{path,
                extension.empty()
                    ? "The name has no extension that says which format to write; give --format"
                    : "No format is written under the extension ." + extension +
                          "; \"tavo formats\" lists those there are, --format chooses one",
                T_ERR_FORMAT};
}

T_Format format_for(const std::string& asked, const std::string& output) {
  if (!asked.empty()) return format_by_name(asked);
  if (output == kStandardStream)
    throw UsageError{"standard output has no extension that says which format to write; give --to"};
  return format_by_extension(output);
}

T_Format coded_like(const FILEINFO& source, const T_Format& format, int bits) {
  if (source.Format != T_FORMAT_TIFF || format.Id != T_FORMAT_TIFF) return format;
  const auto* coding =
      std::ranges::find(kTiffCodings, std::string_view(source.Compression), &TiffCoding::text);
  if (coding == std::end(kTiffCodings)) return format;
  const T_Format variant = format_by_name(std::to_string(coding->format));
  return accepts_depth(variant, bits) ? variant : format;
}

int choose_depth(const T_Format& format, int source_bits) {
  // Best first for each depth of a source; 5-5-5 pixels lose against 8-bit palettes, the spare
  // byte of 32-bit pixels carries nothing.
  static constexpr int kBest[][8] = {
      {1, 1, 4, 8, 24, 32, 16},  {2, 4, 8, 24, 32, 16, 1},  {4, 4, 8, 24, 32, 16, 1},
      {8, 8, 24, 32, 16, 4, 1},  {16, 16, 24, 32, 8, 4, 1}, {24, 24, 32, 16, 8, 4, 1},
      {32, 32, 24, 16, 8, 4, 1},
  };
  for (const auto& row : kBest) {
    if (row[0] != source_bits) continue;
    for (const int bits : std::span(row).subspan(1))
      if (bits != 0 && accepts_depth(format, bits)) return bits;
  }
  return source_bits;
}

}  // namespace tavo::tools

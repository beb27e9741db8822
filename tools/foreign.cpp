#include "foreign.h"

#include <array>
#include <cstdio>
#include <span>
#include <string_view>

#include "native_name.h"

namespace tavo::tools {
namespace {

using namespace std::string_view_literals;

// Bytes at a place in the file, and what has them there. Where two fit the first one counts.
struct Mark {
  size_t at;
  std::string_view bytes;
  const char* kind;
};
constexpr Mark kMarks[] = {
    {0, "\x89PNG\r\n\x1A\n"sv, "a PNG file"},
    {0, "\x8AMNG\r\n\x1A\n"sv, "an MNG file"},
    {8, "WEBP"sv, "a WebP file"},
    {8, "AVI "sv, "an AVI video"},
    {4, "ftypavif"sv, "an AVIF file"},
    {4, "ftypavis"sv, "an AVIF file"},
    {4, "ftyphei"sv, "a HEIC file"},
    {4, "ftyphev"sv, "a HEIC file"},
    {4, "ftypmif1"sv, "a HEIF file"},
    {4, "ftypcrx"sv, "a camera raw file"},
    {4, "ftyp"sv, "an MP4 or QuickTime file"},
    {4, "jP  \r\n\x87\n"sv, "a JPEG 2000 file"},
    {0, "\xFF\x4F\xFF\x51"sv, "a JPEG 2000 codestream"},
    {4, "JXL \r\n\x87\n"sv, "a JPEG XL file"},
    {0, "\xFF\x0A"sv, "a JPEG XL codestream"},
    {0, "II\xBC\x01"sv, "a JPEG XR file"},
    {0, "\x97JB2\r\n\x1A\n"sv, "a JBIG2 file"},
    {0, "8BPS"sv, "a Photoshop file"},
    {0, "gimp xcf"sv, "a GIMP file"},
    {0, "%PDF-"sv, "a PDF file"},
    {0, "%!PS"sv, "a PostScript file"},
    {0, "\xC5\xD0\xD3\xC6"sv, "an EPS file"},
    {0, "AT&TFORM"sv, "a DjVu file"},
    {8, "ILBM"sv, "an IFF file"},
    {8, "PBM "sv, "an IFF file"},
    {40, " EMF"sv, "an enhanced metafile"},
    {0, "\x00\x00\x01\x00"sv, "an icon file"},
    {0, "\x00\x00\x02\x00"sv, "a cursor file"},
    {0, "DDS "sv, "a DDS file"},
    {0, "v/1\x01"sv, "an OpenEXR file"},
    {0, "#?RADIANCE"sv, "a Radiance file"},
    {0, "qoif"sv, "a QOI file"},
    {0, "\x01\xDA"sv, "an SGI file"},
    {0, "SIMPLE  ="sv, "a FITS file"},
    {128, "DICM"sv, "a DICOM file"},
    {0, "/* XPM */"sv, "an XPM file"},
    {0, "#define "sv, "an XBM file"},
    {0, "P1\n"sv, "a PBM file"},
    {0, "P4\n"sv, "a PBM file"},
    {0, "P2\n"sv, "a PGM file"},
    {0, "P5\n"sv, "a PGM file"},
    {0, "P3\n"sv, "a PPM file"},
    {0, "P6\n"sv, "a PPM file"},
    {0, "P7\n"sv, "a PAM file"},
    {0, "<svg"sv, "an SVG file"},
    {0, "<!DOCTYPE svg"sv, "an SVG file"},
    {0, "<?xml"sv, "an XML file"},
    {0, "<!DOCTYPE html"sv, "an HTML page"},
    {0, "<html"sv, "an HTML page"},
    {0, "PK\x03\x04"sv, "a ZIP archive"},
    {0, "\x1F\x8B"sv, "a file compressed with gzip"},
    {0, "BZh"sv, "a file compressed with bzip2"},
    {0, "\xFD\x37zXZ\x00"sv, "a file compressed with xz"},
    {0, "\x28\xB5\x2F\xFD"sv, "a file compressed with zstd"},
    {0, "7z\xBC\xAF\x27\x1C"sv, "a 7z archive"},
    {0, "Rar!\x1A\x07"sv, "a RAR archive"},
    {0, "Salted__"sv, "an encrypted file (OpenSSL)"},
    {0, "age-encryption.org/"sv, "an encrypted file (age)"},
    {0, "-----BEGIN PGP MESSAGE"sv, "an encrypted file (OpenPGP)"},
    {0, "\x85\x01"sv, "an encrypted file (OpenPGP)"},
    {0, "\x85\x02"sv, "an encrypted file (OpenPGP)"},
    {0, "\x8C\x0D\x04"sv, "an encrypted file (OpenPGP)"},
    {0, "LUKS\xBA\xBE"sv, "an encrypted disk (LUKS)"},
};

// Formats that are read, but for what has a damaged header.
constexpr Mark kKnownMarks[] = {
    {0, "\xFF\xD8\xFF"sv, "a JPEG file"},
    {0, "GIF8"sv, "a GIF file"},
    {0, "BM"sv, "a BMP file"},
    {0, "II*\0"sv, "a TIFF file"},
    {0, "MM\0*"sv, "a TIFF file"},
    {0, "II+\0"sv, "a TIFF file"},
    {0, "MM\0+"sv, "a TIFF file"},
    {0, "TAVO"sv, "a CMP file"},
    {0, "\x59\xA6\x6A\x95"sv, "a Sun raster file"},
    {0, "\xB1\x68\xDE\x3A"sv, "a DCX file"},
    {0, "srcdocid"sv, "a CALS file"},
};

// General purpose bit 0 of the local header (PKWARE's APPNOTE, 4.4.4).
bool is_encrypted_archive(std::string_view head) {
  return head.starts_with("PK\x03\x04"sv) && head.size() > 6 && (head[6] & 1) != 0;
}

// Null when none of the marks is there.
const char* find_kind(std::string_view head, std::span<const Mark> marks) {
  for (const Mark& mark : marks) {
    if (head.size() > mark.at && head.substr(mark.at).starts_with(mark.bytes)) return mark.kind;
  }
  return nullptr;
}

}  // namespace

NotRead why_not_read(const std::string& path) {
  std::array<char, 256> bytes;
  std::FILE* const file = open_stream(path, "rb");
  if (file == nullptr) return {};
  const std::string_view head(bytes.data(), std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  if (head.empty()) return {"The file is empty"};
  if (const char* kind = find_kind(head, kKnownMarks))
    return {kind + std::string(" whose header is cut or damaged"), true};
  const char* const kind =
      is_encrypted_archive(head) ? "an encrypted ZIP archive" : find_kind(head, kMarks);
  if (kind == nullptr) return {};
  return {kind + std::string(": not read by this version")};
}

}  // namespace tavo::tools

// The library's table of formats, and what the command line derives from it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tavo45.h"

namespace tavo::tools {

// Letters of ASCII, as names of formats have them.
std::string in_lower_case(std::string_view text);

// Every row of the library's table, in its order.
const std::vector<T_Format>& all_formats();

// The name of a format identifier, "format 77" for one that the table does not have.
std::string format_name(int32_t id);

// Whether files found to be `id` are of the kind that `format` writes: a coding of the same.
bool is_same_kind(int32_t id, const T_Format& format);

std::vector<std::string> extensions_of(const T_Format& format);
std::vector<int> write_depths(const T_Format& format);
bool accepts_depth(const T_Format& format, int bits);

// The depths that a save accepts, for people: "1, 4, 8, 24".
std::string write_depths_text(const T_Format& format);

// The format that `text` names for writing: a number is an identifier, anything else a name, an
// extension or a TIFF coding, upper or lower case. UsageError when there is none.
T_Format format_by_name(std::string_view text);

// The format for writing that the extension of `path` stands for. Failure when there is none.
T_Format format_by_extension(const std::string& path);

// The one that is asked for, else that of the extension; standard output has none.
T_Format format_for(const std::string& asked, const std::string& output);

// Whether files of the format take more than one page.
bool holds_pages(const T_Format& format);

// Whether they tell how to turn their pictures for viewing.
bool holds_orientation(const T_Format& format);

// `format`, or the variant of it that codes pictures of so many bits as the source is coded: TIFF
// files stay what they are.
T_Format coded_like(const FILEINFO& source, const T_Format& format, int bits);

// The depth at which to write a picture of `source_bits`: its own, else the nearest one that
// loses nothing, else the richest one there is.
int choose_depth(const T_Format& format, int source_bits);

}  // namespace tavo::tools

// How much of a picture came from its file.
#pragma once

#include <cstdint>
#include <string>

#include "failure.h"
#include "source.h"
#include "tavo45.h"

namespace tavo::tools {

struct RowsRead {
  int32_t status = T_OK;  // T_ERR_READ when rows are missing and the library's is T_OK
  int32_t whole = 0;
  int32_t of = 0;
  int64_t offset = -1;  // of what is wrong first; -1 when nothing is
  int32_t page = 0;     // 0 where there is only one

  bool is_whole() const { return status == T_OK; }
  // Something is wrong with the data, rather than with the system or the program.
  bool is_damaged() const { return status == T_ERR_READ || status == T_ERR_BAD_DATA; }
  // "50 rows of page 2"
  std::string all() const;
  bool is_partial() const { return is_damaged() && whole > 0; }
};

// What the load that gave `status` brought of the picture.
RowsRead rows_of_load(int32_t status, const FILEINFO& info);

// Reads the page, and keeps nothing of it.
RowsRead read_rows(const Source& source, const FILEINFO& info);

// What is wrong with a picture that is not whole.
Failure failure_of(const RowsRead& rows, const std::string& file);

}  // namespace tavo::tools

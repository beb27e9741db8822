#include "output_file.h"

#include <utility>

#include "failure.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {

OutputFile::OutputFile(std::string target, bool keep_content) : target_(std::move(target)) {
  const FileKind kind = file_kind(target_);
  if (kind == FileKind::kDirectory) throw Failure{target_, "Is a folder", T_ERR_CREATE};
  if (kind != FileKind::kMissing && !is_writable(target_))
    throw Failure{target_, "The file is write-protected", T_ERR_CREATE};
  is_special_ = kind == FileKind::kOther;
  final_path_ = is_special_ ? target_ : resolve_links(target_);
  work_path_ = is_special_ ? create_temporary() : create_beside(final_path_);
  if (work_path_.empty())
    throw Failure{target_, "No file can be made in this folder", T_ERR_CREATE};
  if (keep_content && kind == FileKind::kRegular && !copy_content(final_path_, work_path_)) {
    remove_file(work_path_);
    throw Failure{target_, "The file cannot be copied", T_ERR_READ};
  }
}

OutputFile::~OutputFile() {
  if (!work_path_.empty()) remove_file(work_path_);
}

void OutputFile::commit() {
  if (is_special_) {
    if (!copy_content(work_path_, final_path_))
      throw Failure{target_, T_GetStatusText(T_ERR_WRITE), T_ERR_WRITE};
    return;  // the destructor removes the temporary file
  }
  if (!replace_file(work_path_, final_path_))
    throw Failure{target_, "The finished file cannot be put in its place", T_ERR_CREATE};
  work_path_.clear();
}

}  // namespace tavo::tools

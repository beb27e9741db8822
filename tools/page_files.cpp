#include "page_files.h"

#include <utility>

#include "failure.h"
#include "format_table.h"
#include "output_names.h"
#include "picture_save.h"
#include "streams.h"

namespace tavo::tools {

PageFiles::PageFiles(std::string name, const T_Format& format, std::string pages)
    : first_(std::move(name)), pages_(std::move(pages)), name_(first_), format_(format) {}

void PageFiles::add(BitmapHandle& page) {
  const bool is_added = count_ > 0 && holds_pages(format_);
  if (count_ > 0 && !is_added) begin_next();
  if (!file_) file_.emplace(name_, false);
  save_picture(file_->path(), name_, format_, page, is_added);
  ++count_;
}

void PageFiles::commit() {
  check_signals();
  if (file_) file_->commit();
  file_.reset();
}

void PageFiles::begin_next() {
  if (first_ == kStandardStream)
    throw Failure{
        "standard output",
        "There is more than one " + pages_ + ", and " + format_.Name + " files hold one page",
        T_ERR_FORMAT};
  commit();
  name_ = page_name(first_, count_ + 1);
}

}  // namespace tavo::tools

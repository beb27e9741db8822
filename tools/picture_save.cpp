#include "picture_save.h"

#include "compression.h"
#include "failure.h"
#include "format_table.h"
#include "picture.h"

namespace tavo::tools {

void save_picture(const std::string& path, const std::string& name, const T_Format& format,
                  BitmapHandle& record, bool is_added) {
  const bool is_jpeg = is_compressed(format);
  const int bits = is_jpeg ? compressed_depth(record) : choose_depth(format, record.BitsPerPixel);
  const SaveSettings settings(record.Width, record.Height,
                              {record.XResolution, record.YResolution});
  check(T_SaveFile(path.c_str(), &record, format.Id, bits, is_jpeg ? quality_factor(format, {}) : 0,
                   is_added ? T_SAVE_APPEND : 0, 0, 0),
        name);
}

}  // namespace tavo::tools

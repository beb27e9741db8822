#include "streams.h"

#include <algorithm>
#include <cerrno>

#include "native_name.h"
#include "signals.h"
#include "system.h"

namespace tavo::tools {
namespace {

// An open file, or a standard stream, which stays open.
class Stream {
 public:
  Stream(const std::string& name, std::FILE* standard, const char* mode)
      : is_standard_(name == kStandardStream) {
    file_ = is_standard_ ? standard : open_stream(name, mode);
    if (is_standard_) make_binary(file_);
  }
  ~Stream() {
    if (file_ != nullptr) close();
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  std::FILE* file() const { return file_; }

  bool close() {
    const int result = is_standard_ ? std::fflush(file_) : std::fclose(file_);
    file_ = nullptr;
    return result == 0;
  }

 private:
  bool is_standard_;
  std::FILE* file_ = nullptr;
};

}  // namespace

Copied copy_stream(std::FILE* in, std::FILE* out, uint64_t most) {
  char block[1 << 16];
  for (;;) {
    const size_t got = std::fread(block, 1, sizeof block, in);
    if (noted_signal() != 0 || (got == 0 && std::ferror(in) != 0)) return Copied::kNotRead;
    if (got == 0) return Copied::kAll;
    const size_t part = static_cast<size_t>(std::min<uint64_t>(got, most));
    if (std::fwrite(block, 1, part, out) != part) return Copied::kNotWritten;
    if (part < got) return Copied::kTooLong;
    most -= part;
  }
}

Copied copy_stream(const std::string& from, const std::string& to, uint64_t most) {
  const Stream in(from, stdin, "rb");
  if (in.file() == nullptr) return Copied::kNotRead;
  Stream out(to, stdout, "wb");
  if (out.file() == nullptr) return Copied::kNotWritten;
  const Copied copied = copy_stream(in.file(), out.file(), most);
  const int reason = errno;
  const bool is_closed = out.close();
  if (copied == Copied::kAll) return is_closed ? copied : Copied::kNotWritten;
  errno = reason;
  return copied;
}

}  // namespace tavo::tools

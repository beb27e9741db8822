// Variable-length-code LZW: the coder that GIF89a (appendix F) and TIFF 6.0 (section 13) share. It
// knows codes and bytes, nothing of what the bytes mean or how the stream is packed into a file.
//
// A stream of minimum code size m has literals below 2^m, the clear code 2^m, the end code 2^m + 1
// and new strings from 2^m + 2 on; codes begin with m + 1 bits and never have more than 12.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/bit_reader.h"
#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::lzw {

inline constexpr unsigned kMaxCodeBits = 12;
inline constexpr uint32_t kMaxCodes = 1u << kMaxCodeBits;

// Decodes any number of bytes per call; a call may end inside a string. With kEarlyChange codes
// grow one code before they must.
//
// Lenient where streams in the wild are: a code beyond the table stands for the string that is
// being made, a full table stays as it is until a clear code, the first clear code may be missing
// and clear codes may be repeated.
template <BitOrder kOrder, bool kEarlyChange>
class Decoder {
 public:
  // Begins a stream; on the same object as often as there are streams. kBadData for a minimum
  // code size outside 1 to 8.
  Status start(unsigned minimum_code_size);

  // Decodes into `out`. `got` falls short of out.size() only where the stream ends: at the end
  // code (see saw_end_code), where `bytes` end, or at a code that cannot be (kBadData, after what
  // came before has been handed out). Statuses of `bytes` are passed on.
  Status decode(ByteSource& bytes, std::span<uint8_t> out, size_t& got);

  bool saw_end_code() const { return end_ == End::kEndCode; }

 private:
  enum class End : uint8_t { kNone, kEndCode, kNoData, kBadCode };

  // A string that has been decoded before: where it stands in history_.
  struct Entry {
    uint32_t position;
    uint32_t length;
  };

  struct Run;

  Status fill(ByteSource& bytes);
  Status reserve(size_t size);
  bool run(size_t stop);
  void reset_table();
  void grow_codes();
  void first_code();
  uint32_t codes_to_growth() const;

  // The literals, then everything decoded since the last clear code. Strings are pieces of it, so
  // a code costs one copy and no walk through prefixes. Once the table is full nothing behind
  // frozen_ is referred to again.
  Buffer history_;
  Array<Entry> table_;
  size_t given_ = 0;    // history_ up to here has been handed out
  size_t written_ = 0;  // and up to here decoded
  size_t frozen_ = 0;
  Entry previous_ = {};
  BitReader<kOrder> reader_;
  unsigned minimum_bits_ = 0;
  unsigned width_ = 0;
  uint32_t clear_ = 0;
  uint32_t next_ = 0;  // the next free code
  bool at_start_ = true;
  End end_ = End::kNone;
};

// Encodes bytes below 2^minimum_code_size and gives the stream to a sink, piece by piece. Codes
// follow the usual greedy rule, so the stream is fully determined: a clear code first; when the
// table is full a clear code (with kEarlyChange right after entry 4094, else instead of the entry
// that would be 4096); then the end code.
template <BitOrder kOrder, bool kEarlyChange>
class Encoder {
 public:
  using Write = Status (*)(void* context, std::span<const uint8_t> bytes);

  // `out` is anything with Status write(std::span<const uint8_t>).
  template <class Out>
  explicit Encoder(Out& out)
      : write_([](void* context, std::span<const uint8_t> bytes) {
          return static_cast<Out*>(context)->write(bytes);
        }),
        context_(&out) {}

  // Begins a stream; on the same object as often as there are streams. Minimum code sizes are 2
  // to 8.
  Status start(unsigned minimum_code_size);
  Status encode(std::span<const uint8_t> bytes);
  // Ends the stream and gives what is left to the sink.
  Status finish();

 private:
  static constexpr uint32_t kNoPrefix = UINT32_MAX;

  void put(uint32_t code);
  void add_entry(uint32_t slot, uint32_t key);
  void free_slots();
  void reset_table();
  Status flush();
  const uint8_t* encode_part(const uint8_t* next, const uint8_t* end);

  Write write_;
  void* context_;
  // Open addressing: string (12 bits of prefix, 8 of byte) above 12 bits of code; 0 is free.
  Array<uint32_t> table_;
  Array<uint32_t> slots_;  // where in table_ each code stands
  Buffer out_;
  size_t used_ = 0;
  uint64_t held_ = 0;
  unsigned held_bits_ = 0;
  unsigned minimum_bits_ = 0;
  unsigned width_ = 0;
  uint32_t clear_ = 0;
  uint32_t next_ = 0;
  uint32_t prefix_ = kNoPrefix;
};

// GIF and the TIFF files of old writers; TIFF.
using LowFirstDecoder = Decoder<BitOrder::kLowFirst, false>;
using HighFirstDecoder = Decoder<BitOrder::kHighFirst, true>;
using LowFirstEncoder = Encoder<BitOrder::kLowFirst, false>;
using HighFirstEncoder = Encoder<BitOrder::kHighFirst, true>;

extern template class Decoder<BitOrder::kLowFirst, false>;
extern template class Decoder<BitOrder::kHighFirst, true>;
extern template class Encoder<BitOrder::kLowFirst, false>;
extern template class Encoder<BitOrder::kHighFirst, true>;

}  // namespace tavo::lzw

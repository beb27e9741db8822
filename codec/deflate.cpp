#include "codec/deflate.h"

#include <cstring>
#include <numeric>

#include "codec/adler32.h"

namespace tavo::deflate {
namespace {

// Data parsed before blocks are written, by level (default, fast, small): the more, the fewer
// blocks that need not be.
constexpr size_t kPieces[] = {4 * 131072, 131072, 8 * 131072};
// Of hashes: two places for each of them take 64 KiB.
constexpr uint32_t kFastBits = 13;
constexpr size_t kSample = 16384;  // that tells what is to be expected at first
constexpr size_t kRun = 32768;     // parsed by one expectation
// Where streams begin: no place of an empty table is near.
constexpr uint32_t kFirstPlace = 2 * kHistory;

// How the default level looks for matches: one of kNice bytes is not to be improved upon, and of
// one of more than half of that only the last kEnds places are entered.
constexpr uint32_t kNice = 144, kEnds = 16;

}  // namespace

Status Encoder::allocate(Level level) {
  level_ = level;
  room_ = kHistory + kPieces[static_cast<size_t>(level)];
  // The window: what matches reach back to, a piece, and what comparisons read behind it.
  TRY(window_.allocate(room_ + kReadAhead));
  TRY(bits_.allocate());
  // Blocks are made of parts of 2048 symbols; the fast level has one for a piece.
  TRY(tokens_.allocate(room_, level == Level::kFast ? 0 : 2048));
  if (level == Level::kSmall) TRY(optimal_.allocate());
  return level == Level::kFast ? last_.allocate(2u << kFastBits) : chains_.allocate();
}

// CMF and FLG (RFC 1950, 2.2): method 8, a window of 32 KiB; FLEVEL tells the level (0 fastest, 2
// default, 3 slowest), there is no preset dictionary, the rest makes it a multiple of 31.
void Encoder::start() {
  used_ = at_ = 0;
  base_ = kFirstPlace;
  checksum_ = 1;
  last_distance_ = 0;
  bits_.reset();
  if (level_ == Level::kFast) {
    std::ranges::fill(last_.items(), 0u);
  } else {
    chains_.reset();
  }
  constexpr uint32_t kMethod = 0x78;
  const uint32_t effort = level_ == Level::kFast ? 0 : level_ == Level::kDefault ? 2 : 3;
  const uint32_t head = kMethod << 8 | effort << 6;
  bits_.put(kMethod, 8);
  bits_.put((effort << 6) + 31 - head % 31, 8);
  bits_.drain();
}

Status Encoder::encode(std::span<const uint8_t> bytes) {
  checksum_ = adler32(checksum_, bytes);
  while (!bytes.empty()) {
    // A full window is parsed only when more comes, so that what is last is known.
    if (used_ == room_) TRY(compress(false));
    const size_t part = std::min(bytes.size(), room_ - used_);
    std::memcpy(window_.data() + used_, bytes.data(), part);
    used_ += part;
    bytes = bytes.subspan(part);
  }
  return kOk;
}

Status Encoder::store(std::span<const uint8_t> bytes) {
  checksum_ = adler32(checksum_, bytes);
  TRY(write_stored(bytes, false, bits_));
  return bits_.flush();
}

void Encoder::change_checksum(uint32_t difference, uint64_t bytes) {
  checksum_ = adler32_changed(checksum_, difference, bytes);
}

void Encoder::change(size_t at, uint8_t difference) {
  uint8_t& byte = window_.data()[at];
  byte = static_cast<uint8_t>(byte + difference);
  change_checksum(difference, used_ - at);
}

// Adler-32 of the data stands behind them, its highest byte first (RFC 1950, 2.2).
Status Encoder::finish() {
  TRY(compress(true));
  bits_.align();
  TRY(bits_.make_room());
  bits_.put(__builtin_bswap32(checksum_), 32);
  bits_.drain();
  return bits_.flush();
}

// What is in the window, up to where the longest match might need bytes that are still to come.
Status Encoder::compress(bool is_last) {
  const size_t end = is_last ? used_ : used_ - kMaxMatch;
  tokens_.begin(window_.data() + at_);
  if (at_ == 0) expect_first();
  const size_t run = level_ == Level::kSmall ? OptimalParser::kStretch : kRun;
  while (at_ < end) {
    parse(std::min(end, at_ + run));
    expect_symbols(tokens_.recent());
  }
  TRY(tokens_.write(is_last, bits_));
  slide();
  return kOk;
}

void Encoder::parse(size_t end) {
  switch (level_) {
    case Level::kDefault:
      return parse_lazily(end);
    case Level::kFast:
      return parse_fast(end);
    case Level::kSmall:
      return parse_optimally(end);
  }
}

// Before anything is known: literals as the bytes that begin runs, some of them matches.
void Encoder::expect_first() {
  const std::span<const uint8_t> sample = window_.bytes().first(std::min(used_, kSample));
  Counts counts;
  for (size_t i = 0; i < sample.size(); ++i) {
    if (i == 0 || sample[i] != sample[i - 1]) ++counts.literals[sample[i]];
  }
  counts.distances[0] = static_cast<uint32_t>(sample.size() / 4);
  expect_symbols(counts);
  optimal_.start(sample);
}

// Symbols to come will take as many bits as these. Where matches are rare so is each of their
// lengths.
void Encoder::expect_symbols(const Counts& counts) {
  constexpr uint32_t kUsual = 11;
  const auto sum = [](std::span<const uint32_t> all) {
    return std::accumulate(all.begin(), all.end(), uint32_t{0});
  };
  const uint32_t matches = sum(counts.distances) + 1;
  const auto rarity = static_cast<uint32_t>(std::bit_width(sum(counts.literals) / matches));
  depth_ = rarity <= 2 ? 64 : rarity <= 4 ? 24 : 8;
  lengths_.set(std::clamp(bits_of_literal(counts), 4u, 8u), kUsual + 2 * rarity);
}

// What matches can reach stays, and what is not parsed yet. `base_` may pass 2^32, see Chains.
void Encoder::slide() {
  const size_t gone = at_ - std::min(at_, kHistory);
  std::memmove(window_.data(), window_.data() + gone, used_ - gone);
  used_ -= gone;
  at_ -= gone;
  base_ += static_cast<uint32_t>(gone);
}

// Distances to the two places, to which this one is added.
inline std::array<uint32_t, 2> Encoder::enter_fast(size_t i) {
  const uint32_t hash = hash_four(load_four(window_.data() + i), kFastBits);
  uint32_t* const places = &last_[2 * hash];
  const uint32_t place = place_of(i);
  const std::array<uint32_t, 2> distances = {place - places[0], place - places[1]};
  places[1] = places[0];
  places[0] = place;
  return distances;
}

inline Match Encoder::find_fast(size_t i) {
  constexpr uint32_t kEnough = 6;
  const uint8_t* const at = window_.data() + i;
  const std::array<uint32_t, 2> distances = enter_fast(i);
  const auto most = static_cast<uint32_t>(std::min<size_t>(used_ - i, kMaxMatch));
  Match best;
  if (most < 4) return best;
  for (const uint32_t distance : distances) {
    // A distance of 0 becomes the largest number here. Equal hashes are no equal bytes.
    if (distance - 1 >= std::min(i, kHistory) || load_four(at - distance) != load_four(at))
      continue;
    const Match match{equal_bytes(at, at - distance, 4, most), distance};
    if (match.length > best.length && lengths_.is_worth(match)) best = match;
    if (best.length >= kEnough) break;
  }
  return best;
}

// The last two places with the same hash, and no better match than begins here. The longer there
// was none, the fewer places are looked at.
void Encoder::parse_fast(size_t end) {
  constexpr uint32_t kPatience = 5;  // steps grow with every 2^5 misses
  size_t i = at_, literals = at_;
  uint32_t misses = 0;
  while (i < end) {
    const Match match = find_fast(i);
    if (match.length == 0) {
      i += 1 + (misses++ >> kPatience);
      continue;
    }
    misses = 0;
    tokens_.add(static_cast<uint32_t>(i - literals), match.length, match.distance);
    i += match.length;
    literals = i;
    enter_fast(i - 2);
  }
  i = std::max(literals, std::min(i, end));
  tokens_.add(static_cast<uint32_t>(i - literals), 0, 0);
  at_ = i;
}

void Encoder::parse_optimally(size_t end) {
  while (at_ < end) {
    at_ += optimal_.parse(window_.data() + at_, place_of(at_), at_, end - at_, used_ - at_, chains_,
                          tokens_);
  }
}

// The match at the distance of the last one, which may be nearer than what was found: not all
// places within long matches are entered.
Match Encoder::match_again(size_t i) const {
  const uint32_t distance = last_distance_;
  if (distance == 0 || distance > i) return {};
  const auto most = static_cast<uint32_t>(std::min<size_t>(used_ - i, kMaxMatch));
  const uint8_t* const at = window_.data() + i;
  return {equal_bytes(at, at - distance, 0, most), distance};
}

// A match is taken unless a better one begins a byte later. A byte more is worth four bits of
// distance.
void Encoder::parse_lazily(size_t end) {
  const uint8_t* const data = window_.data();
  size_t i = at_, literals = at_;
  const auto find = [&](uint32_t least, uint32_t depth) {
    const auto ahead = static_cast<uint32_t>(std::min<size_t>(used_ - i, kMaxMatch));
    return chains_.find(data + i, place_of(i), i, ahead, least, depth, kNice, lengths_);
  };
  const auto worth = [](const Match& m) {
    return 4 * static_cast<int32_t>(m.length) - static_cast<int32_t>(std::bit_width(m.distance));
  };
  while (i < end) {
    Match match = find(lengths_.shortest() - 1, depth_);
    if (match.length == 0) {
      ++i;
      continue;
    }
    const Match again = match_again(i);
    if (again.distance < match.distance && again.length >= match.length) match = again;
    size_t entered = ++i;
    while (match.length < kNice && i < end) {
      // Half the places will do: what is there is good already.
      const Match next = find(match.length - 1, depth_ / 2);
      entered = i + 1;
      if (next.length == 0 || worth(next) <= worth(match) + 2) break;
      match = next;
      ++i;
    }
    --i;
    tokens_.add(static_cast<uint32_t>(i - literals), match.length, match.distance);
    last_distance_ = match.distance;
    i += match.length;
    if (match.length > kNice / 2) entered = std::max(entered, i - kEnds);
    for (; entered < i; ++entered) chains_.enter(data + entered, place_of(entered));
    literals = i;
  }
  tokens_.add(static_cast<uint32_t>(i - literals), 0, 0);
  at_ = i;
}

}  // namespace tavo::deflate

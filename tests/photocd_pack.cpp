// Everything here is plain: sample by sample, bit by bit.
#include "photocd_pack.h"

#include <algorithm>

namespace tavo::test {
namespace {

struct Plane {
  int width = 0;
  int height = 0;
  Bytes samples = Bytes(static_cast<size_t>(width) * height);

  uint8_t& at(int x, int y) { return samples[static_cast<size_t>(y) * width + x]; }
  int at(int x, int y) const {
    return samples[static_cast<size_t>(std::min(y, height - 1)) * width + std::min(x, width - 1)];
  }
};
using Planes = std::array<Plane, 3>;

uint8_t clamp(int64_t value) { return static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255)); }

Plane doubled(const Plane& from) {
  Plane to{2 * from.width, 2 * from.height};
  for (int y = 0; y < to.height; ++y) {
    for (int x = 0; x < to.width; ++x) {
      const int i = x / 2, k = y / 2, right = i + x % 2, below = k + y % 2;
      const int sum = from.at(i, k) + from.at(right, k) + from.at(i, below) + from.at(right, below);
      to.at(x, y) = static_cast<uint8_t>((sum + 2) / 4);
    }
  }
  return to;
}

Bytes shown(const Plane& luma, const Plane& c1, const Plane& c2) {
  Bytes rgb;
  rgb.reserve(3 * luma.samples.size());
  for (size_t i = 0; i < luma.samples.size(); ++i) {
    const int64_t y = 89024 * luma.samples[i] + 32768;
    const int64_t blue = c1.samples[i] - 156, red = c2.samples[i] - 137;
    rgb.push_back(clamp((y + 119374 * red) >> 16));
    rgb.push_back(clamp((y - 28198 * blue - 60761 * red) >> 16));
    rgb.push_back(clamp((y + 145352 * blue) >> 16));
  }
  return rgb;
}

struct Bits {
  Bytes& bytes;
  uint32_t held = 0, count = 0;

  void put(uint32_t value, uint32_t bits) {
    for (; bits > 0; --bits) {
      held = held << 1 | (value >> (bits - 1) & 1);
      if (++count % 8 == 0) bytes.push_back(static_cast<uint8_t>(held));
    }
  }
  void end() { put(0, (8 - count % 8) % 8); }
};

// 1 bit for none, 3 for one level; of the others some 12, some 16.
struct Code {
  uint32_t value, bits;
};
Code code_of(int difference) {
  const uint32_t byte = static_cast<uint8_t>(difference);
  if (difference == 0) return {0, 1};
  if (difference == 1 || difference == -1) return {difference == 1 ? 4u : 5u, 3};
  return difference % 2 == 0 ? Code{0xE00 | byte, 12} : Code{0xC000 | byte << 4, 16};
}

Bytes table() {
  Bytes bytes = {255};
  for (int difference = -128; difference < 128; ++difference) {
    const Code code = code_of(difference);
    const uint32_t left = code.value << (16 - code.bits);
    bytes.insert(bytes.end(), {static_cast<uint8_t>(code.bits - 1), static_cast<uint8_t>(left >> 8),
                               static_cast<uint8_t>(left), static_cast<uint8_t>(difference)});
  }
  return bytes;
}

void put_mark(Bits& bits, uint32_t plane, uint32_t row) {
  bits.put(0xFFFFFE, 24);
  bits.put(plane << 14 | row << 1, 16);
}

// Changes a row and codes by what.
void put_row(Bits& bits, Random& random, Plane& plane, int y, uint32_t number) {
  put_mark(bits, number, static_cast<uint32_t>(number == 0 ? y : 2 * y));
  for (int x = 0; x < plane.width; ++x) {
    const uint32_t kind = random.below(16);
    const int change = kind < 12   ? 0
                       : kind < 15 ? 1 - static_cast<int>(kind) % 2 * 2
                                   : static_cast<int8_t>(random.byte());
    plane.at(x, y) = clamp(plane.at(x, y) + change);
    const Code code = code_of(change);
    bits.put(code.value, code.bits);
  }
}

void put_stored(Bytes& file, size_t at, const Planes& planes) {
  for (int pair = 0; pair < planes[1].height; ++pair) {
    for (const Plane& plane : planes) {
      const size_t bytes = plane.width * (plane.width > planes[1].width ? 2 : 1);
      std::copy_n(&plane.samples[pair * bytes], bytes, &file[at]);
      at += bytes;
    }
  }
}

Bytes shown_in_full(const Planes& planes) {
  return shown(planes[0], doubled(planes[1]), doubled(planes[2]));
}

PhotoCdPack make_pack() {
  PhotoCdPack pack;
  Bytes& file = pack.file;
  file.resize(388 * 2048);
  std::copy_n("PCD_IPI", 7, &file[2048]);
  file[0xE02] = 2 << 2;
  Random random(57);
  constexpr size_t kStoredAt[] = {0, 4 * 2048, 23 * 2048, 96 * 2048};
  Planes planes;
  for (uint32_t level = 1; level <= 3; ++level) {
    for (int i = 0; i < 3; ++i) {
      const int part = i == 0 ? 1 : 2;
      Plane& plane = planes[i];
      plane = {static_cast<int>(photocd_width(level)) / part,
               static_cast<int>(photocd_height(level)) / part};
      for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
          plane.at(x, y) = static_cast<uint8_t>((i == 0 ? 30 : 120) + 90 * x / plane.width +
                                                60 * y / plane.height + random.below(40));
        }
      }
    }
    put_stored(file, kStoredAt[level], planes);
    pack.rgb[level] = shown_in_full(planes);
  }
  const Bytes codes = table();
  const auto append = [&](size_t multiple) {
    file.resize((file.size() + multiple - 1) / multiple * multiple);
  };

  file.insert(file.end(), codes.begin(), codes.end());
  append(2048);
  for (Plane& plane : planes) plane = doubled(plane);
  pack.enlarged_base = shown_in_full(planes);
  Bits bits{file};
  for (int y = 0; y < planes[0].height; ++y) {
    pack.marks.push_back(file.size());
    put_row(bits, random, planes[0], y, 0);
  }
  put_mark(bits, 0, static_cast<uint32_t>(planes[0].height));
  bits.end();
  pack.rgb[4] = shown_in_full(planes);

  file.resize((file.size() - 1) / 2048 * 2048 + 13 * 2048);
  for (int i = 0; i < 3; ++i) file.insert(file.end(), codes.begin(), codes.end());
  append(1024);
  for (Plane& plane : planes) plane = doubled(plane);
  for (int y = 0; y < planes[1].height; ++y) {
    put_row(bits, random, planes[0], 2 * y, 0);
    put_row(bits, random, planes[0], 2 * y + 1, 0);
    put_row(bits, random, planes[1], y, 2);
    put_row(bits, random, planes[2], y, 3);
  }
  put_mark(bits, 0, static_cast<uint32_t>(planes[0].height));
  bits.end();
  pack.rgb[5] = shown_in_full(planes);
  return pack;
}

}  // namespace

const PhotoCdPack& photocd_pack() {
  static const PhotoCdPack pack = make_pack();
  return pack;
}

}  // namespace tavo::test

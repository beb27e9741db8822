// What an application and a TWAIN source hand each other.
// Facts: TWAIN 1.8 (TWAIN Working Group, 1999), chapters 7 to 9. Records are packed to 2 bytes;
// 64-bit sources use the same ones with handles and addresses of 8 bytes.
#pragma once

#include <cstdint>

namespace tavo::twain {

// ---- Operations ----

struct Triplet {
  uint32_t group;  // 1 control, 2 image
  uint16_t data;
  uint16_t message;
  bool operator==(const Triplet&) const = default;
};

inline constexpr Triplet kOpenManager{1, 0x004, 0x301};
inline constexpr Triplet kCloseManager{1, 0x004, 0x302};
inline constexpr Triplet kOpenSource{1, 0x003, 0x401};
inline constexpr Triplet kCloseSource{1, 0x003, 0x402};
inline constexpr Triplet kSelectSource{1, 0x003, 0x403};
inline constexpr Triplet kGetStatus{1, 0x008, 0x001};
inline constexpr Triplet kGetCurrentCapability{1, 0x001, 0x002};
inline constexpr Triplet kSetCapability{1, 0x001, 0x006};
inline constexpr Triplet kDisableSource{1, 0x009, 0x501};
inline constexpr Triplet kEnableSource{1, 0x009, 0x502};
inline constexpr Triplet kProcessEvent{1, 0x002, 0x601};
inline constexpr Triplet kGetMemorySizes{1, 0x006, 0x001};
inline constexpr Triplet kSetFile{1, 0x007, 0x006};
inline constexpr Triplet kResetTransfers{1, 0x005, 0x007};
inline constexpr Triplet kEndTransfer{1, 0x005, 0x701};
inline constexpr Triplet kGetImageInfo{2, 0x101, 0x001};
inline constexpr Triplet kSetImageLayout{2, 0x102, 0x006};
inline constexpr Triplet kTransferMemory{2, 0x103, 0x001};
inline constexpr Triplet kTransferNative{2, 0x104, 0x001};
inline constexpr Triplet kTransferFile{2, 0x105, 0x001};
inline constexpr Triplet kGetPalette{2, 0x10A, 0x001};

enum class Return : uint16_t {
  kSuccess,
  kFailure,
  kCheckStatus,  // done, though not quite as asked
  kCancel,
  kSourceEvent,
  kNotSourceEvent,
  kTransferDone,
};

// Condition codes; of a failure about which a source will not say more, the first one.
inline constexpr uint16_t kGeneralFailure = 1;

// What a source asks for in answer to a message.
inline constexpr uint16_t kTransferReady = 0x101;
inline constexpr uint16_t kCloseRequest = 0x102;
inline constexpr uint16_t kCloseAfterSettings = 0x103;

// ---- Values ----

enum class ItemType : uint16_t {
  kInt8,
  kInt16,
  kInt32,
  kUint8,
  kUint16,
  kUint32,
  kBool,
  kFixed,
};

inline constexpr uint16_t kArray = 3, kEnumeration = 4, kOneValue = 5, kRange = 6;

enum class Feature : uint16_t {
  kTransferCount = 0x0001,
  kPixelType = 0x0101,
  kUnits = 0x0102,
  kMechanism = 0x0103,
  kFeederEnabled = 0x1002,
  kAutoFeed = 0x1007,
  kBrightness = 0x1101,
  kContrast = 0x1103,
  kXResolution = 0x1118,
  kYResolution = 0x1119,
  kBitOrder = 0x111C,
  kPixelFlavor = 0x111F,
  kBitDepth = 0x112B,
};

inline constexpr uint32_t kMechanismNative = 0, kMechanismFile = 1, kMechanismMemory = 2;
inline constexpr uint32_t kInches = 0, kCentimeters = 1;
inline constexpr uint32_t kZeroIsBlack = 0, kZeroIsWhite = 1;  // "chocolate", "vanilla"
inline constexpr uint32_t kLowBitFirst = 0, kHighBitFirst = 1;
inline constexpr uint16_t kBlackAndWhite = 0, kGray = 1, kRgb = 2, kPalette = 3;
inline constexpr uint16_t kPaletteRgb = 0, kPaletteGray = 1, kPaletteCmy = 2;

// What an application puts where the source is to answer: it can tell what was left alone.
inline constexpr uint16_t kUntold16 = 0xFFFF;
inline constexpr uint32_t kUntold = 0xFFFFFFFF;

inline constexpr uint32_t kApplicationOwns = 1, kIsPointer = 8;  // Memory::flags

// ---- Records ----

#pragma pack(push, 2)

struct Version {
  uint16_t major, minor;
  uint16_t language, country;
  char info[34];
};

struct Identity {
  uint32_t id;
  Version version;
  uint16_t protocol_major, protocol_minor;
  uint32_t groups;
  char manufacturer[34];
  char family[34];
  char product[34];
};

struct UserInterface {
  uint16_t is_shown;
  uint16_t is_modal;
  void* parent;
};

struct Event {
  void* message;
  uint16_t request;
};

// whole + fraction / 65536; negative numbers, too, have a fraction that is added.
struct Fixed {
  int16_t whole;
  uint16_t fraction;
};

struct ImageInfo {
  Fixed x_resolution, y_resolution;
  int32_t width, length;  // length -1: not known
  int16_t samples_per_pixel;
  int16_t bits_per_sample[8];
  int16_t bits_per_pixel;
  uint16_t is_planar;
  int16_t pixel_type;
  uint16_t compression;
};

struct PendingTransfers {
  uint16_t count;  // 0xFFFF: more, nobody knows how many
  uint32_t end_of_job;
};

struct Capability {
  uint16_t feature;
  uint16_t container;
  void* handle;  // global memory
};

struct OneValue {
  uint16_t type;
  uint32_t item;  // shorter ones in its low bytes
};

struct MemorySizes {
  uint32_t least, most, preferred;
};

struct Memory {
  uint32_t flags;
  uint32_t length;
  void* address;
};

struct MemoryTransfer {
  uint16_t compression;
  uint32_t row_bytes;
  uint32_t columns, rows;
  uint32_t x_offset, y_offset;
  uint32_t written;
  Memory memory;
};

struct ImageLayout {
  Fixed left, top, right, bottom;
  uint32_t document, page, frame;
};

struct Palette8 {
  uint16_t count;
  uint16_t type;
  struct {
    uint8_t index, first, second, third;
  } entries[256];
};

struct Condition {
  uint16_t code;
  uint16_t reserved;
};

struct FileTransfer {
  char name[256];
  uint16_t format;
  int16_t volume;
};

#pragma pack(pop)

static_assert(sizeof(Identity) == 156);
static_assert(sizeof(UserInterface) == 4 + sizeof(void*));
static_assert(sizeof(Event) == 2 + sizeof(void*));
static_assert(sizeof(ImageInfo) == 42);
static_assert(sizeof(PendingTransfers) == 6);
static_assert(sizeof(Capability) == 4 + sizeof(void*));
static_assert(sizeof(OneValue) == 6);
static_assert(sizeof(MemoryTransfer) == 34 + sizeof(void*));
static_assert(sizeof(ImageLayout) == 28);
static_assert(sizeof(Palette8) == 1028);
static_assert(sizeof(FileTransfer) == 260);

}  // namespace tavo::twain

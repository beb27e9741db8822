/* TAVO45: reads, converts and writes raster images. The one header of the library.
 *
 * Every function returns a signed 32-bit status unless its description says otherwise: T_OK (1) or
 * one of the negative T_ERR_ codes. A number that a caller's callback answers with ends the
 * operation and is returned unchanged. A null pointer where something must be pointed at gives
 * T_ERR_ARGUMENT; for a file name, or the address of a block that stands for a file, T_ERR_NAME.
 * T_ERR_LIMIT can come from every function that needs memory or looks at a file, once a limit is
 * set (T_SetLimit), whether its description names it or not. Settings are library-wide; nothing is
 * locked: use the library from one thread at a time. File names are bytes, which the default file
 * operations hand to the system: on Windows text in its ANSI code page, or UTF-8
 * (T_SetNameEncoding).
 *
 * Contents, in this order; a setting stands with what it is for:
 *   Status codes                   what calls return; T_GetStatusText, T_GetVersion
 *   Errors and limits              what went wrong, exactly; what untrusted files may cost
 *   Records and numbers            BitmapHandle, its flags, orders, dithering methods, formats
 *   Callbacks                      row sinks, progress
 *   Bitmaps                        storage, rows, copies
 *   File operations                reading and writing through functions of the caller
 *   Identification                 T_FileInfo, T_GetFormat
 *   Loading                        any format into a bitmap or a row sink; pages
 *   Saving                         any format from a bitmap, a file or rows
 *   Row conversion                 one layout of pixels to another
 *   Color reduction                dithering, optimized palettes, depths, grey
 *   Resampling                     rows and bitmaps of another size
 *   Processing                     rotation, filters, adjustments of whole bitmaps; scanned pages
 *   Device-independent bitmaps     blocks of memory that programs exchange, from and to bitmaps
 *   Formats                        BMP, PCX, GIF, CALS, TGA, Sun raster, TIFF, MacPaint, MSP,
 *                                  GEM IMG, WPG, PICT, EPS, WMF, PNG, Photo CD
 *   Compressed pictures: coding    JPEG and CMP, stamps
 *   Compressed pictures: 1 bit     bilevel CMP files
 *   Compressed pictures: decoding  JPEG and CMP, whole or in pieces; stamps, how they are coded
 * On Windows besides:
 *   Display: handles               the system's, as the functions below take them
 *   Painting                       pictures on windows and other device contexts; effects
 *   Device-dependent bitmaps       from and to bitmaps
 *   Clipboard                      to and from it
 *   Printing                       on a page, or as a document
 *   Scanners                       TWAIN
 *
 * Compiles as C99 and as C++17 with no other header than <stdint.h> and <stddef.h>.
 */
#ifndef TAVO45_H
#define TAVO45_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32) && !defined(_WIN64)
#define T_CALL __stdcall
#else
#define T_CALL
#endif

#if defined(__GNUC__) && !defined(_WIN32)
#define T_API __attribute__((visibility("default")))
#else
#define T_API
#endif

/* ---- Status codes ---------------------------------------------------------------------------- */

#define T_OK 1                 /* success */
#define T_ERR_NO_MEMORY (-1)   /* memory or storage could not be obtained */
#define T_ERR_NO_STORAGE (-2)  /* the bitmap has no storage */
#define T_ERR_SEEK (-4)        /* a seek failed */
#define T_ERR_WRITE (-5)       /* a write failed, or a multi-page container is full */
#define T_ERR_READ (-7)        /* a read failed, or the file is shorter than its header says */
#define T_ERR_NAME (-8)        /* no file name */
#define T_ERR_BAD_DATA (-9)    /* not a file of the expected format, or bad data */
#define T_ERR_OPEN (-10)       /* the file cannot be opened */
#define T_ERR_SIZE (-11)       /* the geometry gives no size, or a stamp's size is out of range */
#define T_ERR_SUBTYPE (-12)    /* an unsupported sub-type of a known format */
#define T_ERR_ARGUMENT (-13)   /* an invalid argument: depth, color order, method, rectangle */
#define T_ERR_CREATE (-14)     /* the output file cannot be created */
#define T_ERR_FORMAT (-16)     /* no reader or writer for this format, or too many colors */
#define T_ERR_QUALITY (-21)    /* the quality factor is out of range */
#define T_ERR_DEPTH (-27)      /* the writer does not accept this depth */
#define T_ERR_MULTIPLIER (-36) /* the internal quality multiplier is 0 */
#define T_ERR_NOT_COMPRESSIBLE (-42) /* the picture cannot be compressed */
#define T_ERR_INCOMPLETE (-57)       /* the compression ended before all rows were delivered */
#define T_ERR_NO_STAMP (-65)         /* the file carries no stamp */
#define T_ERR_NOTICE (-100)          /* the check of the embedded notice failed */
#define T_ERR_DEVICE (-110)      /* the system refused: drawing, document, window, device bitmap */
#define T_ERR_BUSY (-111)        /* another program holds the clipboard */
#define T_ERR_NO_PICTURE (-112)  /* the clipboard is empty or holds no picture */
#define T_ERR_UNAVAILABLE (-113) /* there is no scanner manager: module or entry missing */
#define T_ERR_NO_SOURCE (-114)   /* no scanner source, or it cannot be opened or enabled */
#define T_ERR_SOURCE (-115)      /* the scanner source failed or broke the rules during the work */
#define T_ERR_CANCELLED (-116)   /* the user cancelled */
#define T_ERR_LIMIT (-120)       /* a limit that was set does not allow it: see T_SetLimit */
#define T_ERR_TOO_LARGE (-121)   /* a file beyond 2 GiB: see T_RedirectIO */

/* What a status means.
 * status  any number
 * One English sentence without a full stop, "Unknown status" for a number that is none of the
 * above; never null. The text is the library's and lives as long as it does. */
T_API const char* T_CALL T_GetStatusText(int32_t status);

/* The version as major << 16 | minor << 8 | patch. */
T_API uint32_t T_CALL T_GetVersion(void);

/* Example: what went wrong.
 *   BitmapHandle bitmap = T_EMPTY;
 *   const int32_t status = T_LoadBitmap("in.jpg", &bitmap, 24, T_ORDER_BGR);
 *   const char* text = status == T_OK ? "" : T_GetStatusText(status);
 *   T_FreeBitmap(&bitmap);
 *   (void)text;
 */

/* ---- Errors and limits ----------------------------------------------------------------------- */

/* What the last call that failed was about. */
typedef struct T_ERRORINFO {
  int32_t Status;      /* what the call returned; 0: none has failed yet */
  int32_t SystemError; /* the system's own number (errno, GetLastError); 0: not its fault */
  int64_t Offset;      /* of damaged data in the file, as T_GetDamageOffset; -1: not known */
  int32_t Row;         /* rows that were there before the data ended or broke; -1: not about rows */
  int32_t Page;        /* the page of that row, 0: not known */
  int32_t Limit;       /* T_LIMIT_ value that was passed, 0: none */
  int32_t NotAllowed;  /* not 0: formats are switched off, and the file is in none of the others */
  uint64_t Asked;      /* what was asked, in the unit of Limit */
  uint64_t Allowed;
  char LimitName[16]; /* "pixels", "side", "memory", "temporary", "pages" or "work" */
} T_ERRORINFO;

/* Tells what the last call that failed was about; calls that succeed leave that as it is.
 * error  filled with what is known
 * T_OK, T_ERR_ARGUMENT (null). */
T_API int32_t T_CALL T_GetError(T_ERRORINFO* error);

/* What T_GetError tells as one English sentence without a full stop, alike on all systems: what
 * T_GetStatusText says of the status or, of a limit, what was asked and allowed; the cause that the
 * system gave; the place in the file.
 * buffer  gets it, in ASCII, cut to fit, with a zero behind; empty when no call has failed
 * size    of the buffer in bytes, 1 or more
 * T_OK, T_ERR_ARGUMENT (null, or a size of 0). */
T_API int32_t T_CALL T_GetErrorText(char* buffer, uint32_t size);

/* Limits */
#define T_LIMIT_PIXELS 1    /* width x height of a picture, in files and in memory */
#define T_LIMIT_SIDE 2      /* width or height, in pixels */
#define T_LIMIT_MEMORY 3    /* bytes that the library holds at once, bitmaps and work memory */
#define T_LIMIT_TEMPORARY 4 /* bytes of temporary files behind bitmaps */
#define T_LIMIT_PAGES 5     /* the highest number of a page that is looked at */
#define T_LIMIT_WORK 6      /* bytes of pixels that one load decodes */

/* Sets what the library may be asked for, in all calls from now on: what would pass it ends with
 * T_ERR_LIMIT, and T_GetError tells what was asked.
 * kind   T_LIMIT_ value
 * value  the most that is allowed; 0, at first: no limit
 * A picture's size is looked at before anything else is said about it; T_FileInfo refuses it, too.
 * What the memory limit refuses is not kept in a temporary file instead; a bitmap that the caller
 * asks on disk counts for T_LIMIT_TEMPORARY alone. What is out already stays.
 * T_OK, T_ERR_ARGUMENT (no such kind). */
T_API int32_t T_CALL T_SetLimit(int32_t kind, uint64_t value);
/* What T_SetLimit has set.
 * kind  T_LIMIT_ value
 * The limit; 0: none, or no such kind. */
T_API uint64_t T_CALL T_GetLimit(int32_t kind);

/* Which formats are read at all. All are at first; of those that are not no byte is looked at, and
 * their files are in none of the formats (T_ERR_BAD_DATA, T_ERRORINFO.NotAllowed).
 * format  T_FORMAT_ value as T_FileInfo tells it, 0: all
 * flag    0: not read from now on, else read
 * T_OK, T_ERR_FORMAT (no such format). */
T_API int32_t T_CALL T_EnableFormat(int32_t format, int32_t flag);

/* Example: a file from a stranger.
 *   char text[160];
 *   BitmapHandle bitmap = T_EMPTY;
 *   T_SetLimit(T_LIMIT_MEMORY, 64 * 1024 * 1024);
 *   if (T_LoadBitmap("in.gif", &bitmap, 24, T_ORDER_BGR) != T_OK) {
 *     T_GetErrorText(text, sizeof text);
 *   }
 *   T_FreeBitmap(&bitmap);
 */

/* ---- Records and numbers --------------------------------------------------------------------- */

/* Clears a record where it is defined, without a warning in C and in C++:
 *   BitmapHandle bitmap = T_EMPTY; */
#ifdef __cplusplus
#define T_EMPTY \
  {}
#else
#define T_EMPTY \
  { 0 }
#endif

/* A palette entry, laid out as the platform's RGBQUAD. */
typedef struct T_PaletteEntry {
  uint8_t Blue;
  uint8_t Green;
  uint8_t Red;
  uint8_t Reserved;
} T_PaletteEntry;

/* Laid out as the platform's BITMAPINFOHEADER. */
typedef struct T_BitmapInfoHeader {
  uint32_t biSize;
  int32_t biWidth;
  int32_t biHeight;
  uint16_t biPlanes;
  uint16_t biBitCount;
  uint32_t biCompression;
  uint32_t biSizeImage;
  int32_t biXPelsPerMeter;
  int32_t biYPelsPerMeter;
  uint32_t biClrUsed;
  uint32_t biClrImportant;
} T_BitmapInfoHeader;

/* Laid out as the platform's BITMAPINFO with a full palette. */
typedef struct T_BitmapInfo {
  T_BitmapInfoHeader Header;
  T_PaletteEntry Palette[256];
} T_BitmapInfo;

/* Called by T_FreeBitmap for storage that the caller manages.
 * handle  BitmapHandle.Handle
 * data    BitmapHandle.ReleaseData */
typedef void(T_CALL* T_ReleaseCallback)(uintptr_t handle, uintptr_t data);

/* A picture: geometry, palette, settings, and where its pixels are. The caller owns the record
 * (1,280 bytes); the library owns only the storage that T_AllocateBitmap obtained, until
 * T_FreeBitmap.
 *
 * A record has meaning once it is cleared (T_EMPTY) or initialised (T_InitBitmap); until then
 * T_FreeBitmap, which believes its Flags, may crash. So clear what T_LoadFile, T_LoadBitmap,
 * T_CopyBitmap and their twins are to fill: they leave it as it was when they fail before they
 * initialise it, for example for a file that cannot be identified, and then it can be freed as
 * after any other end. T_Load...Bitmap of a format and T_GetCompressFileStamp initialise it first.
 * T_DecompressBitmap and its twin look at what it is, so it must be cleared or initialised.
 *
 * Whether a memory bitmap is accessed (T_AccessBitmap) afterwards:
 *   as before     T_CompressBitmap..., T_ColorResolution, T_GrayScaleBitmap, T_SizeBitmap, all that
 *                 rotates, filters or adjusts in place, T_ResizeBitmap, the source of
 *                 T_OptimizeBitmap, T_SaveFile with `direct`
 *   accessed      both of T_CopyBitmapRect when they are memory of 8 bits and more
 *   released      all that loads fill, T_ClearBitmap, T_CompressBitmap1Bit, T_SaveFile, the other
 *                 bitmaps of copies, the destination of T_OptimizeBitmap */
typedef struct BitmapHandle {
  uintptr_t Handle;      /* memory: block handle; disk: file handle; user: the caller's value */
  void* Data;            /* memory, while accessed: first pixel byte; disk: path of the file */
  uintptr_t CacheHandle; /* row work buffer of disk and user-managed storage */
  void* CachePointer;
#if UINTPTR_MAX > 0xFFFFFFFFu
  uint32_t WorkWords[2];
#else
  uint32_t WorkWords[4];
#endif
  int32_t StorageKind;   /* 0 after init; readers number their source records here */
  int32_t Width;         /* pixels per row */
  int32_t Height;        /* rows */
  int32_t BitsPerPixel;  /* 1, 2, 4, 8, 16, 24 or 32 */
  uint32_t BytesPerLine; /* bytes of a stored row, a multiple of 4; 0 for an invalid depth */
  uint32_t RowOffset;    /* row cursor: byte offset of CurrentRow */
  uint32_t CurrentRow;   /* row cursor: the row last addressed */
  uint32_t ReservedA[2];
  uint32_t Flags;       /* T_FLAG_ bits */
  uint32_t Colors;      /* palette entries; meaningful up to 8 bits */
  T_BitmapInfo Info;    /* device-independent-bitmap description; holds the palette */
  uintptr_t GdiObjectA; /* painting palette, a palette object, or 0 */
  uintptr_t GdiObjectB; /* screen palette, a palette object, or 0 */
  uint32_t ReservedB[4];
  uint32_t ViewPerspective; /* 2 or more: stored row 0 is the bottom row; below 2: the top row */
  uint32_t Order;           /* T_ORDER_RGB or T_ORDER_BGR, for depths above 8 */
  uint32_t Size;            /* BytesPerLine x Height, 0 when that exceeds 32 bits */
  uint32_t ReservedC;
  void* DitherState;                 /* the dithering pass in progress, or null */
  uint32_t DitherMethod;             /* T_DITHER_ value that the next dithering pass uses */
  T_ReleaseCallback ReleaseCallback; /* user-managed storage: called by T_FreeBitmap */
  uintptr_t ReleaseData;
  int32_t XOrigin; /* position of the picture on its page, where the format says */
  int32_t YOrigin;
  int32_t LastRow; /* extent recorded by T_DecompressBitmap and its twin */
  int32_t LastColumn;
#if UINTPTR_MAX > 0xFFFFFFFFu
  uint32_t ReservedD[2];
#else
  uint32_t ReservedD[11];
#endif
  int32_t XResolution; /* dots per inch (BMP's reader: per metre); 0: none is known */
  int32_t YResolution;
  uint32_t WriterDefaults[2]; /* words 3 and 4 of the TIFF options at init */
  uint32_t ReservedE[2];
} BitmapHandle;

/* BitmapHandle.Flags */
#define T_FLAG_ALLOCATED 0x0001u  /* storage has been obtained and not yet freed */
#define T_FLAG_MEMORY 0x0002u     /* storage is a memory block */
#define T_FLAG_DISK 0x0010u       /* storage is a temporary file */
#define T_FLAG_USER 0x0020u       /* storage is managed by the caller */
#define T_FLAG_LOCKED 0x0040u     /* a memory bitmap is accessed: Data is valid */
#define T_FLAG_INTERLACED 0x0080u /* rows arrive in interlace order */
#define T_FLAG_GRAY 0x0100u       /* the picture is grey-scale */
#define T_FLAG_REDUCED 0x0400u    /* a save that always reduces leaves this picture as it is */
#define T_FLAG_PALETTE 0x0800u    /* the file carries a palette */
#define T_FLAG_NO_STORAGE 0x2000u /* set together with T_FLAG_USER by request 8 */

/* Color orders */
#define T_ORDER_RGB 0 /* red byte first; 16 bits: red in bits 0-4 */
#define T_ORDER_BGR 1 /* blue byte first; 16 bits: red in bits 10-14 */

/* Dithering methods */
#define T_DITHER_NONE 0
#define T_DITHER_FLOYD_STEINBERG 1
#define T_DITHER_STUCKI 2
#define T_DITHER_BURKES 3
#define T_DITHER_SIERRA 4
#define T_DITHER_STEVENSON_ARCE 5
#define T_DITHER_JARVIS 6
#define T_DITHER_ORDERED 7

/* Format identifiers */
#define T_FORMAT_PCX 1
#define T_FORMAT_GIF 2
#define T_FORMAT_TIFF 3
#define T_FORMAT_TGA 4
#define T_FORMAT_CMP 5
#define T_FORMAT_BMP 6
#define T_FORMAT_JPEG 10
#define T_FORMAT_JPEG_24 11 /* save variants: see Compressed pictures: coding */
#define T_FORMAT_BMP_OS2 14
#define T_FORMAT_WMF 15
#define T_FORMAT_EPS 16
#define T_FORMAT_CMP_SAVE 20
#define T_FORMAT_JPEG_2X1 21
#define T_FORMAT_JPEG_2X1_24 22
#define T_FORMAT_JPEG_2X2 23
#define T_FORMAT_JPEG_2X2_24 24
#define T_FORMAT_TIFF_PACKBITS 17 /* save variants of T_FORMAT_TIFF */
#define T_FORMAT_TIFF_GROUP3 25
#define T_FORMAT_CMP_1BIT 26
#define T_FORMAT_TIFF_GROUP3_2D 27
#define T_FORMAT_TIFF_GROUP4 28
#define T_FORMAT_TIFF_LZW 29
#define T_FORMAT_CALS 50
#define T_FORMAT_MAC 51
#define T_FORMAT_IMG 52
#define T_FORMAT_MSP 53
#define T_FORMAT_WPG 54
#define T_FORMAT_RAS 55
#define T_FORMAT_PCT 56
#define T_FORMAT_PCD 57
#define T_FORMAT_EPS_TEXT 63 /* T_FORMAT_EPS without a header of its own; read only */
#define T_FORMAT_PNG 200
#define T_FORMAT_TIFF_DEFLATE 201 /* save variant of T_FORMAT_TIFF */
#define T_FORMAT_DCX 202          /* save variant of T_FORMAT_PCX: pages, be it one */

/* Example: colors of a palette by hand.
 *   BitmapHandle bitmap = T_EMPTY;
 *   T_InitBitmap(&bitmap, 8, 8, 1);
 *   bitmap.Colors = 2;
 *   bitmap.Info.Palette[1].Red = 255;
 */

/* ---- Callbacks ------------------------------------------------------------------------------- */

/* Gets rows while they are read.
 * source    describes them; the library's, or the caller's target (T_LoadFile)
 * rows      1 or more contiguous rows of source->BytesPerLine bytes; gone after the call
 * rowCount  how many
 * context   what the caller gave with the sink
 * T_OK lets the load go on, and so does 2 for an interlaced picture (T_FLAG_INTERLACED); any other
 * number ends it and becomes its result. A negative answer may be equal to one of the library's own
 * statuses: to tell them apart answer with a number above 2, or note the answer in what `context`
 * points at. */
typedef int32_t(T_CALL* T_RowSink)(BitmapHandle* source, const void* rows, int32_t rowCount,
                                   void* context);

/* Told of the progress of long operations.
 * percent  0 first, rising, 100 last
 * T_OK lets the work go on; any other number ends it and becomes its result, as a sink's does. */
typedef int32_t(T_CALL* T_StatusCallback)(int32_t percent);

/* Sets who is told of the progress of long operations.
 * callback  told from now on; null, as at first: nobody is
 * T_OK. */
T_API int32_t T_CALL T_SetStatusCallBack(T_StatusCallback callback);

/* Example: the rows of a picture, none of which is kept. `sink` is a T_RowSink.
 *   extern int32_t T_CALL sink(BitmapHandle*, const void*, int32_t, void*);
 *   BitmapHandle rows = T_EMPTY;
 *   int32_t sum = 0;
 *   T_LoadFile("in.tif", &rows, 8, -1, 0, sink, &sum);
 */

/* ---- Bitmaps --------------------------------------------------------------------------------- */

/* Describes a picture. Allocates nothing, and frees nothing.
 * bitmap         need not be cleared first; of an allocated record the storage is lost
 * width, height  pixels and rows, from 1; otherwise, and for sizes that do not fit 32 bits, Size
 *                is 0, and nothing can be allocated
 * bitsPerPixel   1, 2, 4, 8, 16, 24 or 32; any other depth gives 32 with BytesPerLine and Size 0
 * Sets geometry and defaults: ViewPerspective 2, Order T_ORDER_BGR above 8 bits, DitherMethod
 * (T_DefaultDithering) and the resolutions (T_SetTIFFXYResolution) from the library's settings (150
 * dots per inch where those are not above 0). The palette and the upper 16 bits of Flags stay as
 * they are.
 * T_OK, T_ERR_ARGUMENT (null), T_ERR_NOTICE (the record is untouched). */
T_API int32_t T_CALL T_InitBitmap(BitmapHandle* bitmap, int32_t width, int32_t height,
                                  int32_t bitsPerPixel);

/* What T_InitBitmap gives a bitmap where the library's settings have no resolution, and with it
 * loads from files that do not tell theirs, and saves, whose copies carry the default.
 * flag  0, the default: 150 dots per inch; any other: 0, which says that nobody knows
 * T_OK. */
T_API int32_t T_CALL T_SetUnknownResolution(int32_t flag);

/* Obtains storage.
 * bitmap   initialised, any depth; storage that it has is lost; memory is not accessed afterwards
 * request  1: a memory block (not zeroed), or a temporary file where none can be had; 8, or any
 *          number with this bit, for storage kinds 3, 4 and 6, whose rows come from elsewhere: no
 *          storage; anything else: the temporary file at once (zeroed, sparse), which may be read
 *          by its path, Data, while the bitmap is in use
 * With 8 Handle stays as it is, to be set before or after, and what it names is never touched: such
 * a bitmap has no rows and cannot be cleared. Other storage kinds give T_ERR_NO_MEMORY with
 * T_FLAG_USER and T_FLAG_NO_STORAGE set.
 * T_OK, T_ERR_ARGUMENT (null), T_ERR_SIZE (Size is 0), T_ERR_NO_MEMORY (neither memory nor a file
 * can be had, or the status callback stops the clearing of the file; nothing stays behind then). */
T_API int32_t T_CALL T_AllocateBitmap(BitmapHandle* bitmap, uint32_t request);

/* Locks a memory bitmap. Does not nest.
 * bitmap  memory, not locked: Data becomes the address of its first pixel byte; any other, and one
 *         that is locked: nothing happens
 * The address; Flags where nothing happens; 0 for null. */
T_API uintptr_t T_CALL T_AccessBitmap(BitmapHandle* bitmap);

/* Unlocks a memory bitmap.
 * bitmap  memory, locked: Data becomes null; any other: nothing happens
 * The platform's result, which has no meaning; Flags where nothing happens; T_ERR_ARGUMENT for
 * null. */
T_API int32_t T_CALL T_ReleaseBitmap(BitmapHandle* bitmap);

/* Gives storage and palette objects back.
 * bitmap  cleared, initialised or allocated (see BitmapHandle); may be initialised again; a second
 *         call does nothing
 * For user-managed storage calls ReleaseCallback(Handle, ReleaseData) when Handle and the callback
 * are not null; T_FLAG_ALLOCATED stays as it was.
 * The result has no meaning, but T_ERR_ARGUMENT for null. */
T_API int32_t T_CALL T_FreeBitmap(BitmapHandle* bitmap);

/* Copies bytes between a buffer and stored rows.
 * bitmap  any depth, memory or disk; memory must be accessed
 * buffer  gets the bytes (T_Get...), or has them (T_Put...)
 * row     number of the stored row
 * column  (...RowCol) the pixel whose byte is the first; 2-bit bitmaps: the byte's number; else the
 *         row's start
 * bytes   how many, below 2 GiB; may span several rows. Nothing is checked against the bitmap's
 *         bounds
 * The bytes moved, or T_ERR_ARGUMENT (null), T_ERR_NO_MEMORY (no storage, the caller's own, or
 * memory not accessed), of disk bitmaps T_ERR_SEEK, T_ERR_READ (T_Get...), T_ERR_WRITE (T_Put...).
 * A short disk read or write shows in the count only. */
T_API int32_t T_CALL T_GetBitmapRow(BitmapHandle* bitmap, void* buffer, uint32_t row,
                                    uint32_t bytes);
T_API int32_t T_CALL T_PutBitmapRow(BitmapHandle* bitmap, const void* buffer, uint32_t row,
                                    uint32_t bytes);
T_API int32_t T_CALL T_GetBitmapRowCol(BitmapHandle* bitmap, void* buffer, uint32_t row,
                                       uint32_t column, uint32_t bytes);
T_API int32_t T_CALL T_PutBitmapRowCol(BitmapHandle* bitmap, const void* buffer, uint32_t row,
                                       uint32_t column, uint32_t bytes);

/* Zeroes every pixel byte.
 * bitmap  any depth; memory, accessed or not, is left released
 * T_OK, T_ERR_ARGUMENT (null), T_ERR_NO_STORAGE (none, or the caller's own), T_ERR_NO_MEMORY (disk:
 * seek or write failed), the status callback's answer. */
T_API int32_t T_CALL T_ClearBitmap(BitmapHandle* bitmap);

/* Makes a new, independent bitmap equal to another, except that it carries the library's default
 * resolution. Palette objects are duplicated.
 * dst  another record, cleared by the caller (see BitmapHandle), whose storage is lost; initialised
 *      here and allocated, in memory where it can be had, else on disk; the caller frees it
 * src  allocated, any depth, accessed or not
 * Both are left released. After a failure `dst` is not allocated.
 * T_OK, T_ERR_ARGUMENT (null), T_ERR_SIZE (Size is 0), T_ERR_NO_MEMORY (or `src` has no storage),
 * T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps), T_ERR_NOTICE. */
T_API int32_t T_CALL T_CopyBitmap(BitmapHandle* dst, BitmapHandle* src);

/* Makes a new, independent bitmap of a rectangle of another, as T_CopyBitmap does of the whole.
 * dst            as T_CopyBitmap's; the words of its Info are those of `src`, but biWidth, biHeight
 *                and biSizeImage the rectangle's
 * src            as T_CopyBitmap's
 * x, y           the rectangle's top left pixel, counted from the picture's top left corner
 * width, height  its pixels and rows, from 1
 * Copies between memory bitmaps of 8 bits and more leave both accessed, all others leave both
 * released. After a failure `dst` is not allocated.
 * T_OK, T_ERR_ARGUMENT (null, or it reaches outside), T_ERR_SIZE (it is empty), T_ERR_NO_MEMORY (or
 * `src` has no storage), T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps), T_ERR_NOTICE. */
T_API int32_t T_CALL T_CopyBitmapRect(BitmapHandle* dst, BitmapHandle* src, uint32_t x, uint32_t y,
                                      uint32_t width, uint32_t height);

/* Copies the pixel rows of a bitmap into another.
 * dst  allocated with the geometry of `src`, which is not checked; gets the pixels alone
 * src  allocated, any depth
 * Memory bitmaps, accessed or not, are left released.
 * T_OK, T_ERR_ARGUMENT (null), T_ERR_NO_MEMORY (no row buffer, or one has no storage), T_ERR_SEEK,
 * T_ERR_READ, T_ERR_WRITE (disk bitmaps). */
T_API int32_t T_CALL T_CopyBitmapData(BitmapHandle* dst, BitmapHandle* src);

/* Copies the record itself.
 * dst  any record; storage that it has is lost
 * src  stays as it is; both refer to the same storage, of which only one may be freed
 * A dithering pass is not shared.
 * T_OK, T_ERR_ARGUMENT (null). */
T_API int32_t T_CALL T_CopyBitmapHandle(BitmapHandle* dst, const BitmapHandle* src);

/* Example: a grey picture of 100 x 50 pixels, row by row.
 *   BitmapHandle bitmap = T_EMPTY;
 *   uint8_t row[100] = {0};
 *   uint32_t y;
 *   T_InitBitmap(&bitmap, 100, 50, 8);
 *   if (T_AllocateBitmap(&bitmap, 1) == T_OK) {
 *     T_AccessBitmap(&bitmap);
 *     for (y = 0; y < 50; ++y) T_PutBitmapRow(&bitmap, row, y, sizeof row);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- File operations ------------------------------------------------------------------------- */

/* The five operations through which every reader and writer reaches files.
 * Open   access: bit 0 write, bit 1 read-write, bits 8 and 9 create; bit 10, with these: only
 *        where there is no file or an empty one; bit 15 is set (binary). mode: bit 7 exclusive,
 *        bit 8 deny writes to others. These come (access, mode):
 *          0x8000, 0x100  to read
 *          0x8302, 0x80   to save: created or emptied; 0x8702 where a save that appends saw no file
 *          0x8301, 0x80   to compress: the same, for writing only
 *          0x8002, 0x80   to append: the file stays
 *          0x8000, 0x8002 and 0x8001 with mode 0: whether there is a file, before it is appended to
 *        A handle of 0 or more, -1 on failure. The default keeps a file that is open
 *        exclusively from everybody, other programs among them (where the system has no share
 *        modes: from those that use this library), and one that is open in any other way from who
 *        wants it exclusively. An Open that does not know bit 10 creates as ever; then, of two
 *        programs that save to a new file at the same time, one loses its picture.
 * Read   bytes moved, 0 at the end, 0xFFFFFFFF on error. Short counts are legal.
 * Write  bytes moved, 0xFFFFFFFF on error. Fewer bytes than asked are a failed write (T_ERR_WRITE);
 *        it is not tried again.
 * Seek   origin 0 start, 1 current, 2 end; the new position, -1 on error. Files of 2 GiB and more
 *        (their first 4 GiB) are read through the default only; of any other a negative number
 *        but -1 says that the position is beyond what it can tell: T_ERR_TOO_LARGE.
 * Close  negative on failure, which behind a write is a failed write; else any result. */
typedef int32_t(T_CALL* T_FileOpen)(const char* name, int32_t access, int32_t mode);
typedef uint32_t(T_CALL* T_FileRead)(int32_t handle, void* buffer, uint32_t count);
typedef uint32_t(T_CALL* T_FileWrite)(int32_t handle, const void* buffer, uint32_t count);
typedef int32_t(T_CALL* T_FileSeek)(int32_t handle, int32_t offset, int32_t origin);
typedef int32_t(T_CALL* T_FileClose)(int32_t handle);

typedef struct FileIOTable {
  T_FileOpen Open;
  T_FileRead Read;
  T_FileWrite Write;
  T_FileSeek Seek;
  T_FileClose Close;
} FileIOTable;

/* How the default operations, and the temporary files of disk bitmaps, write file names.
 * encoding  0, at first: bytes as the system takes them; on Windows text in the code page of the
 *             process, which is UTF-8 in programs whose manifest says so (activeCodePage)
 *           1: UTF-8 throughout, so that every name can be given, on versions of Windows, too, that
 *             know no such manifest. On other systems names are bytes anyway, and nothing changes
 * With either, a path on Windows may be as long as the file system lets it be: one of more than
 * 248 characters is made absolute and passed on with the prefix that says so. With UTF-8 the
 * folders of the search path are not looked through for a file that is not where its name says.
 * A name that is no UTF-8 cannot be opened then. Choose once, before the first file: a disk bitmap
 * finds its file by the encoding it was made in.
 * T_OK, T_ERR_ARGUMENT (another encoding). */
T_API int32_t T_CALL T_SetNameEncoding(int32_t encoding);

/* Puts the caller's operations in place of those in force.
 * open, read, write  for the slots of these names; null: the default
 * seek, close        the same
 * T_OK. */
T_API int32_t T_CALL T_RedirectIO(T_FileOpen open, T_FileRead read, T_FileWrite write,
                                  T_FileSeek seek, T_FileClose close);

/* Example: files by names of the caller's. `open_by_key` is a T_FileOpen.
 *   extern int32_t T_CALL open_by_key(const char*, int32_t, int32_t);
 *   FILEINFO info;
 *   T_RedirectIO(open_by_key, NULL, NULL, NULL, NULL);
 *   T_FileInfo("key", &info);
 *   T_RedirectIO(NULL, NULL, NULL, NULL, NULL);
 */

/* ---- Identification -------------------------------------------------------------------------- */

/* What one picture format can do; T_GetFormat fills it. */
typedef struct T_Format {
  int32_t Id;           /* identifier for T_SaveFile and in FILEINFO */
  int32_t CanRead;      /* 1 or 0 */
  int32_t CanWrite;     /* 1 or 0 */
  uint32_t WriteDepths; /* bit d set: a save at d bits per pixel is accepted, d = 1 ... 32;
                           bit 0 stands for 32 */
  char Name[32];        /* "BMP" */
  char Description[64]; /* "Windows bitmap" */
  char Extensions[32];  /* lower case, separated by blanks, the usual one first: "bmp dib" */
} T_Format;

/* Tells what one of the library's formats can do.
 * index   row of the format table, from 0
 * format  filled
 * T_OK, T_ERR_FORMAT (past the end), T_ERR_ARGUMENT (null). */
T_API int32_t T_CALL T_GetFormat(uint32_t index, T_Format* format);

/* What T_FileInfo reports; 128 bytes. */
typedef struct FILEINFO {
  int32_t Format;           /* T_FORMAT_ value */
  uint32_t FileSize;        /* bytes; 0xFFFFFFFF when larger */
  int32_t PageCount;        /* pages of a multi-page file, images of a GIF file, otherwise 1 */
  int32_t Page;             /* the page described, from 1 */
  int32_t Width;            /* pixels */
  int32_t Height;           /* rows */
  int32_t BitsPerPixel;     /* as the reader delivers the picture */
  int32_t Order;            /* T_ORDER_ value of the delivered rows; up to 8 bits the format's */
  uint32_t ViewPerspective; /* of the delivered rows */
  uint32_t Colors;          /* palette entries, 0 without a palette */
  int32_t XResolution;      /* dots per inch (BMP: per metre); 0 when the file does not say, where
                               a load leaves the record the default of T_InitBitmap */
  int32_t YResolution;
  uint32_t Flags;       /* T_FLAG_GRAY, T_FLAG_PALETTE, T_FLAG_INTERLACED */
  char Compression[32]; /* "None", "Run Length", "LZW", "Deflate", "JPEG", "CCITT", "CCITT Group 3
                           Fax", "CCITT Group 4 Fax", "CALS Raster", "Embedded TIFF" or "Embedded
                           IFF"; "Unknown" for a coding that no reader knows */
  uint32_t Orientation; /* how to turn for viewing what ViewPerspective shows, in the numbers of
                           TIFF's Orientation tag: 1 not at all, 2 mirror left to right, 3 by half,
                           4 mirror top to bottom, 6 a quarter clockwise, 8 anticlockwise; 7 and 5
                           the same after mirroring left to right. Rows come as stored. TGA, TIFF,
                           CALS and JPEG files (by Exif data) tell it; for all others it is 1 */
  uint32_t Extras;      /* T_EXTRA_ bits: what the file has beside the pixels that are read */
  uint32_t Reserved[9];
} FILEINFO;

/* FILEINFO.Extras: what loads pass over. Bitmaps have no place for it, but for opacity, which the
 * spare byte of 32-bit pixels keeps; saves do not write it, but for the opacity of PNG files and
 * the orientation (T_SetSaveOrientation). */
#define T_EXTRA_ALPHA 0x0001u /* opacity, or a color that stands for transparent */
#define T_EXTRA_ICC 0x0002u   /* a color profile */
#define T_EXTRA_EXIF 0x0004u  /* camera data */
#define T_EXTRA_XMP 0x0008u   /* further descriptive data */

/* Decides by content which format a file is in and describes its picture; of a multi-page file the
 * page that T_SetPageNumber selects.
 * name     path for the Open operation
 * address  (T_FileInfoMemory) the block that stands for the file
 * size     its bytes
 * info     filled; after a failure what is in it has no meaning
 * T_OK, T_ERR_ARGUMENT (info is null), T_ERR_NAME, T_ERR_OPEN, T_ERR_READ and T_ERR_SEEK (a file
 * operation failed), T_ERR_TOO_LARGE (2 GiB and more, in memory or by a Seek of the caller's),
 * T_ERR_NO_MEMORY, T_ERR_BAD_DATA (no format accepts the file, or it is empty), T_ERR_NOTICE. */
T_API int32_t T_CALL T_FileInfo(const char* name, FILEINFO* info);
T_API int32_t T_CALL T_FileInfoMemory(const void* address, FILEINFO* info, uint32_t size);

/* Example: what a file is.
 *   FILEINFO info;
 *   if (T_FileInfo("in.tif", &info) == T_OK && info.PageCount > 1) T_SetPageNumber(2);
 */

/* ---- Loading --------------------------------------------------------------------------------- */

/* How many rows readers gather before each call of the sink.
 * lines  1 or more; at first they go by the picture's height, and T_LoadFile sets them anew by it
 * `lines`, or T_ERR_ARGUMENT (below 1). */
T_API int32_t T_CALL T_SetCallbackLine(int32_t lines);

/* Pages that a file can have as far as the library goes: those behind are not read, and no more are
 * appended. */
#define T_MAX_PAGES 1023

/* The page that loads take from multi-page files (of GIF files see T_SetGIFFrames) and saves append
 * to.
 * page  clamped to 1 ... T_MAX_PAGES; 1 at first
 * T_OK. */
T_API int32_t T_CALL T_SetPageNumber(int32_t page);

/* T_LoadFile flags */
#define T_LOAD_ALLOCATE 1u    /* allocate the target before reading */
#define T_LOAD_ACCESS 2u      /* keep the target accessed for the whole load */
#define T_LOAD_FIXED 4u       /* 8 bits or less: reduce to the fixed palettes (see below) */
#define T_LOAD_GIF_WHOLE 8u   /* GIF: decode the whole picture first */
#define T_LOAD_WHOLE_ROWS 16u /* T_LOAD_ALLOCATE: rows that did not come whole are zero */

/* Loads a file of any format that the library reads.
 * name          path for the Open operation
 * address       (T_LoadMemory) the block that stands for the file
 * size          its bytes
 * target        cleared or initialised by the caller, whose storage is lost; initialised here at
 *               the file's size once that is known; holds the picture afterwards, or describes the
 *               rows that the callback gets
 * bitsPerPixel  1, 4, 8, 16, 24 or 32; anything else: the file's own depth
 * order         T_ORDER_RGB or T_ORDER_BGR; anything else: the file's order
 * flags         T_LOAD_ bits
 * callback      gets the rows (as `target` describes them); null: they are stored in the target,
 *               which needs T_LOAD_ALLOCATE: without both the first rows have no place,
 *               T_ERR_NO_MEMORY
 * userData      the callback's context, not looked at
 * Fewer colors than the file has: dithered with the target's DitherMethod to the built-in
 * palette of the depth (grey sources: to an even ramp); with T_LOAD_FIXED and more bits than the
 * file, mapped to that palette without dithering. Otherwise the palette is the file's. The built-in
 * palette of 2-bit files at their own depth is four even greys.
 * The target's ViewPerspective tells which row is the top one. It has T_FLAG_GRAY when the file is
 * grey, but not when both have fewer than 8 bits.
 * A failed load with T_LOAD_ALLOCATE keeps the partial bitmap (free it), whose rows that did not
 * come are zero (with a callback its pixels are the caller's business); one without frees the
 * target.
 * T_OK; T_ERR_ARGUMENT (target is null, and the file can be opened); T_FileInfo's statuses;
 * T_ERR_NO_MEMORY; T_ERR_SIZE (empty, or too large for a bitmap); the reader's status (see Formats,
 * and Compressed pictures: decoding); T_ERR_WRITE (bitmaps on disk); the answer of the callback or
 * of the status callback. */
T_API int32_t T_CALL T_LoadFile(const char* name, BitmapHandle* target, int32_t bitsPerPixel,
                                int32_t order, uint32_t flags, T_RowSink callback, void* userData);
T_API int32_t T_CALL T_LoadMemory(const void* address, BitmapHandle* target, int32_t bitsPerPixel,
                                  int32_t order, uint32_t flags, T_RowSink callback, void* userData,
                                  uint32_t size);

/* T_LoadFile and T_LoadMemory into an allocated bitmap: flags T_LOAD_ALLOCATE and T_LOAD_ACCESS, no
 * callback.
 * name           path for the Open operation
 * address, size  (T_LoadBitmapMemory) the block that stands for the file, and its bytes
 * target         cleared before (see BitmapHandle), so that the caller can free it after a failure,
 *                too; released afterwards
 * bitsPerPixel   1, 4, 8, 16, 24 or 32; anything else: the file's own depth
 * order          T_ORDER_RGB or T_ORDER_BGR; anything else: the file's order
 * T_OK, the other statuses of T_LoadFile. */
T_API int32_t T_CALL T_LoadBitmap(const char* name, BitmapHandle* target, int32_t bitsPerPixel,
                                  int32_t order);
T_API int32_t T_CALL T_LoadBitmapMemory(const void* address, BitmapHandle* target,
                                        int32_t bitsPerPixel, int32_t order, uint32_t size);

/* The row sink of T_LoadFile (T_RowSink): converts rows to the target's format. For callers that
 * wrap a reader of their own around T_LoadFile's callback it has no use.
 * source    describes the rows
 * rows      1 or more contiguous rows of source->BytesPerLine bytes
 * rowCount  how many
 * context   the load in progress
 * T_OK, T_ERR_ARGUMENT (null, or a negative rowCount), T_ERR_BAD_DATA (not the picture that was
 * identified, or more rows than it has), T_ERR_NO_MEMORY, T_ERR_SEEK and T_ERR_WRITE (a target on
 * disk), the callback's answer. */
T_API int32_t T_CALL T_LoadFileCB(BitmapHandle* source, const void* rows, int32_t rowCount,
                                  void* context);

/* How many rows of the last load came whole from the file, counted in the order of the file up to
 * the first one that did not: the picture's height for one that is whole. Of a picture that was cut
 * or damaged the others are zero, grey (JPEG) or a beginning, whatever the load's status says: PCX
 * files that end early load with T_OK. An interlaced picture's rows are those of its passes. Of
 * JPEG streams of several scans a row is whole when all bits of its coefficients have come, and in
 * the last of the scans. Loads are all functions that read pixels of a file or a stream, those that
 * convert files among them. 0 before the first load, and after one that came to no row. */
T_API int32_t T_CALL T_GetRowsRead(void);

/* Where in the file the last load came to data that no encoder writes (T_ERR_BAD_DATA), as far as
 * its reader can tell: damage in coded data shows late, and some read up to 60 KiB ahead. -1 when
 * all is well, when what is wrong is that the file ends, and when the reader does not know. */
T_API int64_t T_CALL T_GetDamageOffset(void);

/* Example: any file as 24 bits, blue first, in memory.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.gif", &bitmap, 24, T_ORDER_BGR) == T_OK) T_FreeBitmap(&bitmap);
 */

/* ---- Saving ---------------------------------------------------------------------------------- */

/* T_SaveFile flags */
#define T_SAVE_REDUCE 1u          /* reduce even when the depth already matches */
#define T_SAVE_FIXED_PALETTE 2u   /* reduce to the built-in palette instead of an optimised one */
#define T_SAVE_APPEND 4u          /* multi-page formats: append a page */
#define T_SAVE_KEEP_RESOLUTION 8u /* state the bitmap's own resolution, 0 for none */

/* Saves a picture. T_SaveBitmap does so with flags, direct and extra 0.
 * name          file to create
 * bitmap        allocated, any depth, accessed or not; left as it is, but released; copied where
 *               the work changes it
 * format        T_FORMAT_ value or a save variant of one
 * bitsPerPixel  depth to write; 0: the bitmap's own, which the format must hold (T_GetFormat; a
 *               24-bit bitmap as GIF is T_ERR_DEPTH). For JPEG and CMP 8 means grey, whatever the
 *               bitmap is, but for the always-24-bit variants; up to 4 and above 8 bits are coded
 *               as 24, 1 bit as grey
 * quality       JPEG and CMP: the quality factor (see Compressed pictures: coding); of all other
 *               formats not looked at
 * flags         T_SAVE_ bits
 * direct        not 0: write the bitmap as it stands, without a copy; memory must be accessed, and
 *               stays so. Rows are brought to the depth by row conversion, without dithering
 * extra         not looked at
 * Resolution: that of T_InitBitmap, as every copy has it; with T_SAVE_KEEP_RESOLUTION or `direct`,
 * and in T_ConvertFile, T_StreamFile, FileFormatWrite and T_CompressBitmap1Bit, the bitmap's own.
 * One of 0 stays unknown: 0 in BMP, PCX, CMP and GEM files, densities of 0 without a unit in JFIF
 * streams, no tags in TIFF files. CALS files always state 200.
 * A failed save leaves what it has written.
 * A save that appends (T_SAVE_APPEND, or a page number of 2 or more; PCX and TIFF) creates the file
 * when there is none or an empty one, and writes it anew when it is of another format. When
 * T_FileInfo cannot tell what it is, the file stays as it was, and that status is the result:
 * T_ERR_OPEN (it is there, but cannot be opened, or another program is writing it), T_ERR_READ,
 * T_ERR_SEEK, T_ERR_TOO_LARGE, T_ERR_BAD_DATA (of no known format). No page can be added to a file
 * that is damaged (T_ERR_BAD_DATA, T_ERR_READ), full or near 2 GiB (T_ERR_WRITE, T_ERR_SEEK), or
 * TIFF with 64-bit offsets (T_ERR_SUBTYPE).
 * T_OK, T_ERR_ARGUMENT (null, or a depth to convert to that is none of 1, 4, 8, 16, 24 and 32),
 * T_ERR_SIZE (Size is 0, or the picture is too large for the format), T_ERR_FORMAT (no writer),
 * T_ERR_DEPTH (the format does not hold it), T_ERR_NAME, T_ERR_CREATE (also while another program
 * has the file open), T_ERR_WRITE, T_ERR_SEEK, T_ERR_READ (a bitmap on disk), T_ERR_NO_MEMORY (or
 * `direct` and not accessed, or nothing stored that could be copied), T_ERR_NO_STORAGE,
 * T_ERR_NOTICE, for JPEG and CMP T_ERR_QUALITY, T_ERR_MULTIPLIER and T_ERR_NOT_COMPRESSIBLE, for a
 * save that appends those above, the status callback's answer. */
T_API int32_t T_CALL T_SaveFile(const char* name, BitmapHandle* bitmap, int32_t format,
                                int32_t bitsPerPixel, int32_t quality, uint32_t flags,
                                uint32_t direct, uint32_t extra);
T_API int32_t T_CALL T_SaveBitmap(const char* name, BitmapHandle* bitmap, int32_t format,
                                  int32_t bitsPerPixel, int32_t quality);

/* Loads a file and saves it in another format, with the resolution that it states, if any.
 * T_StreamFile writes the same bytes without holding the picture where that can be: rows are
 * written as they are read.
 * source, destination  names
 * format, quality      as T_SaveFile takes them
 * bitsPerPixel         as T_SaveFile takes it; 0: the source's depth (one that the format cannot
 *                      hold is T_ERR_DEPTH)
 * With T_StreamFile a source that turns out to be cut or damaged leaves a part of the destination,
 * and what the format cannot hold is told before the rest of the source is read. BMP files may be
 * written by seeking behind their end. It converts the picture whole when its colors are reduced to
 * 8 bits or less, when it is interlaced, when its bottom row comes first (but into BMP and TGA
 * files, and from such files without run-length coding), and when both names are equal; two names
 * of one file are T_ERR_CREATE, where the file operations know.
 * T_OK, the other statuses of T_LoadBitmap and T_SaveBitmap. */
T_API int32_t T_CALL T_ConvertFile(const char* source, const char* destination, int32_t format,
                                   int32_t bitsPerPixel, int32_t quality);
T_API int32_t T_CALL T_StreamFile(const char* source, const char* destination, int32_t format,
                                  int32_t bitsPerPixel, int32_t quality);

/* What FileFormatWrite and FileNoConvertWrite work with. Clear it before the first row. */
typedef struct T_FormatWriteContext {
  const char* Name;     /* file to create when the last row has come */
  int32_t Format;       /* as T_SaveFile takes it */
  int32_t BitsPerPixel; /* FileFormatWrite: depth to write, 0 for the picture's */
  int32_t Quality;
  uint32_t Flags;       /* T_SAVE_ bits */
  int32_t Rows;         /* rows that have come; 0 again after the save */
  BitmapHandle Picture; /* gathers them; after a load that failed give it to T_FreeBitmap */
} T_FormatWriteContext;

/* Row sinks (T_RowSink) that save a picture as it streams by, in a format of the caller's choice.
 * FileFormatWrite saves with conversion, as T_SaveFile does. FileNoConvertWrite saves the rows as
 * they came, at the source's depth, as T_SaveFile does with `direct`.
 * source    describes the rows and the picture
 * rows      1 or more contiguous rows of source->BytesPerLine bytes
 * rowCount  how many
 * context   a T_FormatWriteContext
 * The rows are gathered in a bitmap like the source (interlaced ones in their places), which is
 * saved and freed when source->Height rows have come, and freed when one of these calls fails.
 * T_OK, T_ERR_ARGUMENT (null, or a negative rowCount), T_ERR_BAD_DATA (more rows than the picture
 * has), the other statuses of T_AllocateBitmap, T_PutBitmapRow and T_SaveFile. */
T_API int32_t T_CALL FileFormatWrite(BitmapHandle* source, const void* rows, int32_t rowCount,
                                     void* context);
T_API int32_t T_CALL FileNoConvertWrite(BitmapHandle* source, const void* rows, int32_t rowCount,
                                        void* context);

/* What files that are saved from now on tell about how to turn the picture for viewing, where the
 * format can: TIFF files, and JPEG files by Exif data. The pixels stay as they are.
 * orientation  as FILEINFO.Orientation: 2 to 8; 1, at first: nothing is told
 * T_OK, T_ERR_ARGUMENT (another number). */
T_API int32_t T_CALL T_SetSaveOrientation(int32_t orientation);

/* Example: one format to another; a bitmap as a further page.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_ConvertFile("in.pcx", "out.tif", T_FORMAT_TIFF_LZW, 0, 0) == T_OK &&
 *       T_LoadBitmap("in.bmp", &bitmap, 0, -1) == T_OK) {
 *     T_SaveFile("out.tif", &bitmap, T_FORMAT_TIFF_LZW, 0, 0, T_SAVE_APPEND, 0, 0);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Row conversion -------------------------------------------------------------------------- */

/* Converts one row in place from one pixel layout to another.
 * buffer                 holds `width` pixels in whichever of the two layouts is larger
 * width                  pixels, 1 to 32767 (the low 16 bits, signed)
 * bitsIn, bitsOut        0 (8-bit grey, no palette), 1, 4, 8 (palette indices, leftmost pixel in
 *                        the high bits), 16 (5-5-5), 24 or 32
 * orderIn, orderOut      T_ORDER_ values, looked at where the layout carries color (16, 24, 32)
 * paletteIn, paletteOut  for 1, 4 and 8 bits, as many entries as they can name; null: the built-in
 *                        palette of the depth (black and white; 16 standard colors; the uniform
 *                        3-3-2 palette)
 * Colors become indices by the nearest palette entry, grey levels by (2 red + 5 green + blue + 4)
 * >> 3. The unused bits of a last byte keep their values, and so does the spare byte of 32-bit
 * pixels that stay 32 bits; otherwise it becomes 0.
 * T_OK or T_ERR_ARGUMENT (null buffer, width, bits, order; nothing is written). */
T_API int32_t T_CALL T_ConvertBuffer(void* buffer, int32_t width, int32_t bitsIn, int32_t bitsOut,
                                     int32_t orderIn, int32_t orderOut,
                                     const T_PaletteEntry* paletteIn,
                                     const T_PaletteEntry* paletteOut);

/* Example: ten black pixels of 24 bits become indices.
 *   uint8_t row[30] = {0};
 *   T_ConvertBuffer(row, 10, 24, 4, T_ORDER_BGR, T_ORDER_BGR, NULL, NULL);
 */

/* ---- Color reduction ------------------------------------------------------------------------- */

/* The dithering method that T_InitBitmap gives to bitmaps.
 * method  T_DITHER_ value; T_DITHER_ORDERED at first
 * T_OK, or T_ERR_ARGUMENT above 7. */
T_API int32_t T_CALL T_DefaultDithering(uint32_t method);

/* Which fixed palettes pictures get, in T_ColorResolution, in loads and for the screen palette.
 * flag  0 (the default): grey ones even ramps of grey, others colors; not 0: all even ramps
 * T_OK. */
T_API int32_t T_CALL T_SetGrayFixedPalette(int32_t flag);

/* The painting palette of an indexed bitmap is the palette object GdiObjectA when there is one,
 * otherwise the record's palette with Colors entries; an index beyond it is white. Everything
 * below reads indexed pixels through it. */

/* Opens a dithering pass: rows of `bitmap` become rows of palette indices.
 * bitmap   needs no storage; its Width, BitsPerPixel (1, 4, 8, 16, 24 or 32), Order, painting
 *          palette and DitherMethod are read now. The pass hangs from it until T_StopDithering; one
 *          pass per bitmap, and a pass still open is lost, not freed
 * palette  `colors` entries, copied; null: the built-in palette (black and white; 16 standard
 *          colors; uniform 3-3-2). The same colors given as a palette have the same effect
 * colors   1 to 256: up to 2 gives 1-bit rows, up to 16 4-bit rows, more 8-bit rows
 * A color takes the nearest palette entry of its class (the top five bits of each component). The
 * built-in palettes take theirs by bits: white from grey level 128 on, grey being (2 red + 5 green
 * + blue + 4) >> 3; of the 16 colors only black and the seven bright ones, by the top bit of each
 * component; 3-3-2 by the top bits.
 * Error diffusion runs from left to right in every row, in integers: shares of the error are added
 * up per pixel and divided once. Rows that are grey in a palette of greys stay grey.
 * T_OK, T_ERR_ARGUMENT (depth, colors, DitherMethod above 7, null bitmap), T_ERR_NO_MEMORY,
 * T_ERR_LIMIT; after a failure no pass has begun. */
T_API int32_t T_CALL T_StartDithering(BitmapHandle* bitmap, const T_PaletteEntry* palette,
                                      uint32_t colors);

/* Dithers the next row. Rows follow each other as the error is to flow, in one direction from the
 * first to the last: loads take them in the file's order, saves and T_ColorResolution from the top.
 * bitmap  the one that the pass hangs from
 * input   Width pixels in the depth and order that the bitmap had at the start of the pass
 * output  gets Width indices, the leftmost in the high bits; unused bits of the last byte keep
 *         their values. May not overlap the input
 * T_OK, or T_ERR_ARGUMENT without a pass or with a null pointer. */
T_API int32_t T_CALL T_DitherLine(BitmapHandle* bitmap, const void* input, void* output);

/* Closes the pass and frees what it holds.
 * bitmap  the one that the pass hangs from; null, and one without a pass: nothing happens
 * T_OK. */
T_API int32_t T_CALL T_StopDithering(BitmapHandle* bitmap);

/* Reduces `source` to at most `colors` colors chosen for it, in a bitmap of its own.
 * source       allocated, any depth, accessed or not; left as it is
 * destination  another record; initialised here at the source's size with 1 bit for 1 or 2 colors,
 *              4 bits up to 16, 8 bits up to 256; Order T_ORDER_BGR; perspective and resolution are
 *              the source's. Dithered by the method that T_DefaultDithering set. Released when done
 * flags        reserved, 0
 * colors       1 to 256
 * The palette: colors are counted by class (the top five bits of each component); the classes are
 * split into boxes, always the one of the largest variance, at the mean of its most varying
 * channel; the entries are the boxes' means, ascending by blue, green, red, the rest black. An
 * indexed source with no more than `colors` entries keeps its own, sorted in that way. The status
 * callback is told of the progress.
 * T_OK; T_ERR_FORMAT (more than 256 colors); T_ERR_ARGUMENT (0 colors, source not allocated, null
 * or equal records); T_ERR_SIZE (the destination's does not fit 32 bits); T_ERR_NO_MEMORY,
 * T_ERR_LIMIT; T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps); T_ERR_NOTICE; the callback's
 * answer. After a failure the destination is not allocated. */
T_API int32_t T_CALL T_OptimizeBitmap(BitmapHandle* source, BitmapHandle* destination,
                                      uint32_t flags, uint32_t colors);

/* T_ColorResolution palette types */
#define T_PALETTE_OPTIMIZED 1 /* made for the picture, as T_OptimizeBitmap does */
#define T_PALETTE_FIXED 2     /* the built-in palette of the depth; grey pictures: an even ramp */
#define T_PALETTE_GIVEN 3     /* the caller's */
#define T_PALETTE_NONE 4      /* depths above 8 bits have none */
#define T_PALETTE_FINE 5      /* made for the picture with more care: photographs gain most */

/* Brings a bitmap to another depth, in its own record.
 * bitmap           allocated, any depth, accessed or not, and so it stays. Its palette objects are
 *                  deleted, the new palette is in the record. Perspective, resolution, DitherMethod
 *                  and attributes are kept, Order too where both depths are above 8 (else
 *                  T_ORDER_BGR)
 * depth            1, 4, 8, 16, 24 or 32
 * paletteType      T_PALETTE_ value; above 8 bits it does not matter which
 * palette, colors  T_PALETTE_GIVEN: the entries, 1 to 2^depth. Otherwise palette is not looked at;
 *                  with T_PALETTE_OPTIMIZED and T_PALETTE_FINE colors is the number of colors
 *                  wanted, up to 2^depth, 0 for that
 * To 8 bits or less the picture is dithered by its DitherMethod; an indexed picture whose colors
 * are all in the new palette keeps them exactly. Grey pictures (the palette is grey, or above 8
 * bits T_FLAG_GRAY is set) get grey palettes; those above 8 bits keep all 256 levels at 8 bits. 1
 * bit with T_PALETTE_OPTIMIZED gives black and white, in this order, unless the picture has two
 * colors or fewer, which are kept.
 * T_PALETTE_FINE counts colors by 6 bits of each component, or by all 8 where there are not too
 * many for that, and moves the entries until their squared distances to the pixels hardly become
 * less. A picture with no more colors than wanted keeps exactly these, whatever its DitherMethod.
 * Entries ascend by grey level. With T_DITHER_NONE each pixel of more than 8 bits becomes the entry
 * nearest to it; the other methods choose by classes of colors, as T_StartDithering, but for the
 * middle of the class. 1 bit gives two such colors. It takes up to 28 MiB for the work. T_FLAG_GRAY
 * is set afterwards when an 8-bit picture has the 256-step ramp, or a deeper one came from greys.
 * The status callback is told of the progress.
 * T_OK, T_ERR_ARGUMENT (null bitmap, depth, type, palette, colors; the record's depth, Order above
 * 1, DitherMethod above 7), T_ERR_NO_STORAGE, T_ERR_SIZE (that of the new depth does not fit 32
 * bits), T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps),
 * T_ERR_NOTICE, the callback's answer. After a failure the bitmap is as it was. */
T_API int32_t T_CALL T_ColorResolution(BitmapHandle* bitmap, int32_t depth, int32_t paletteType,
                                       const T_PaletteEntry* palette, uint32_t colors);

/* Makes a bitmap an 8-bit grey one: grey = (2 red + 5 green + blue + 4) >> 3.
 * bitmap  allocated, any depth; gets a ramp of 256 greys as palette and T_FLAG_GRAY. All else as
 *         T_ColorResolution
 * T_OK, T_ERR_ARGUMENT (null bitmap; the record's depth, Order above 1), and the other statuses of
 * T_ColorResolution for the same reasons: T_ERR_NO_STORAGE, T_ERR_SIZE, T_ERR_NO_MEMORY,
 * T_ERR_LIMIT, T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE, T_ERR_NOTICE, the status callback's answer. */
T_API int32_t T_CALL T_GrayScaleBitmap(BitmapHandle* bitmap);

/* Makes GdiObjectA, the painting palette, from the record's palette.
 * bitmap  up to 8 bits, with 1 or more Colors; needs no storage. An object that was there is
 *         deleted
 * T_OK, T_ERR_ARGUMENT (null bitmap, more than 8 bits, no Colors), T_ERR_NO_MEMORY, T_ERR_LIMIT
 * (the bitmap is as it was). */
T_API int32_t T_CALL T_CreatePaintPalette(BitmapHandle* bitmap);
/* Makes GdiObjectB, with which a display of 256 colors shows the picture.
 * bitmap  any depth; needs no storage. It gets the uniform 3-3-2 colors, or 256 greys for a grey
 *         picture and after T_SetGrayFixedPalette(1); an object that was there is deleted
 * T_OK, T_ERR_ARGUMENT (null bitmap), T_ERR_NO_MEMORY, T_ERR_LIMIT (the bitmap is as it was). */
T_API int32_t T_CALL T_CreateScreenPalette(BitmapHandle* bitmap);

/* Copies a palette object.
 * palette  GdiObjectA or GdiObjectB of a record, on Windows any palette of the system; or 0
 * A new palette object with the entries of `palette`, 0 for 0 and on failure. The caller owns it:
 * the platform's DeleteObject frees it, or T_FreeBitmap when it is put into a record. */
T_API uintptr_t T_CALL T_DupPalette(uintptr_t palette);

/* Example: at most 64 colors, dithered.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.tga", &bitmap, 24, T_ORDER_BGR) == T_OK) {
 *     bitmap.DitherMethod = T_DITHER_STUCKI;
 *     T_ColorResolution(&bitmap, 8, T_PALETTE_OPTIMIZED, NULL, 64);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Resampling ------------------------------------------------------------------------------ */

/* Nearest neighbour: whole pixels and rows are repeated and dropped, no colors are mixed. */

/* A resampling in progress. */
typedef struct T_ResizeBlock T_ResizeBlock;

/* Sets up the resampling of rows, one after the other.
 * oldWidth, oldHeight  pixels and rows of the source, from 1
 * newWidth, newHeight  those of the result, from 1
 * resize               receives the block, which T_StopResize frees; null after a failure
 * T_OK, T_ERR_ARGUMENT (a size below 1, resize null), T_ERR_NO_MEMORY, T_ERR_LIMIT. */
T_API int32_t T_CALL T_StartResize(int32_t oldWidth, int32_t oldHeight, int32_t newWidth,
                                   int32_t newHeight, T_ResizeBlock** resize);
/* Resamples one source row in place.
 * row           holds the larger of the old and new widths
 * rowNumber     number of the source row; only its low 8 bits count
 * bitsPerPixel  1, 4, 8, 16, 24 or 32 (rows of 2 bits: T_SizeBitmap, T_ResizeBitmap)
 * outWidth      gets the new width
 * outRows       gets how often the result is to be emitted; 0: the row is dropped, and the buffer
 *               is as it was
 * resize        the block of T_StartResize
 * Positions that no source pixel reaches keep what the buffer held: at the left end of an enlarged
 * row, the first source pixels.
 * T_OK or T_ERR_ARGUMENT (depth, null). */
T_API int32_t T_CALL T_Resize(void* row, uint32_t rowNumber, int32_t bitsPerPixel,
                              int32_t* outWidth, int32_t* outRows, T_ResizeBlock* resize);
/* Ends the resampling.
 * resize  the block, which is freed; null is allowed
 * T_OK. */
T_API int32_t T_CALL T_StopResize(T_ResizeBlock* resize);

/* Gives a bitmap another size.
 * bitmap         allocated, any depth, accessed or not, and so it stays. All that is the caller's
 *                stays: palette, order, perspective, resolution, Colors, DitherMethod, attributes
 *                and upper flag bits, release callback. biWidth, biHeight and biSizeImage become
 *                the new size's; the same size leaves the bitmap alone
 * width, height  pixels and rows, from 1
 * T_OK, T_ERR_ARGUMENT (null, a size below 1), T_ERR_SIZE (the result's does not fit 32 bits),
 * T_ERR_NO_MEMORY (or the bitmap has no storage), T_ERR_LIMIT, T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE
 * (disk bitmaps), T_ERR_NOTICE, the status callback's answer. On failure all is as it was. */
T_API int32_t T_CALL T_SizeBitmap(BitmapHandle* bitmap, int32_t width, int32_t height);
/* Resamples all rows of a bitmap into another.
 * source       allocated, any depth; left as it is
 * destination  allocated with the wanted size and the same depth; gets the pixels and nothing else.
 *              Rows that no source row reaches become zero
 * Both may be accessed or not, and so they stay.
 * T_OK, T_ERR_ARGUMENT (null, depths differ, empty bitmap), T_ERR_NO_MEMORY (or one has no
 * storage), T_ERR_LIMIT, T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps), the status callback's
 * answer. */
T_API int32_t T_CALL T_ResizeBitmap(BitmapHandle* source, BitmapHandle* destination);

/* The filters of T_SizeBitmapFine, from the quickest to the sharpest. Shrinking widens all but the
 * box, so that every pixel counts. */
#define T_SIZE_NEAREST 0u  /* T_SizeBitmap in every respect */
#define T_SIZE_BOX 1u      /* the mean of the area that a result pixel covers */
#define T_SIZE_TRIANGLE 2u /* (bi)linear */
#define T_SIZE_CUBIC 3u    /* Catmull-Rom */
#define T_SIZE_MITCHELL 4u /* softer, without overshoot that shows */
#define T_SIZE_LANCZOS 5u  /* three lobes */
#define T_SIZE_DRAFT \
  0x100u /* T_LoadBitmapFine: JPEG may be decoded smaller; added to one of them */
/* Gives a bitmap another size and mixes pixels for it.
 * bitmap         allocated, accessed or not, and so it stays. Up to 8 bits it becomes 8-bit grey
 *                (as by T_GrayScaleBitmap) when its palette is grey, else 24 bits T_ORDER_BGR (as
 *                by T_ColorResolution); other depths and the grey ramp stay. What else stays is
 *                what T_SizeBitmap keeps; the same size leaves the bitmap alone
 * width, height  pixels and rows, from 1
 * method         one of T_SIZE_..., without T_SIZE_DRAFT
 * Fourth bytes and bit 15 are not mixed: they are those of the nearest pixel. Pixels outside the
 * picture count as the nearest of its edge. Computed in integers: the result is the same on every
 * machine, at most 0.54 levels from the real numbers. Takes the result's memory, and a few rows.
 * T_OK, T_ERR_ARGUMENT (null, a size below 1, method; the record's depth, Order above 1 above 8
 * bits), T_ERR_NO_STORAGE, T_ERR_SIZE (the result's does not fit 32 bits), T_ERR_NO_MEMORY,
 * T_ERR_LIMIT, T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps), T_ERR_NOTICE, the status
 * callback's answer. On failure the bitmap is as it was. */
T_API int32_t T_CALL T_SizeBitmapFine(BitmapHandle* bitmap, int32_t width, int32_t height,
                                      uint32_t method);
/* Loads a file in another size: what T_LoadBitmap at the file's depth and T_SizeBitmapFine give,
 * without keeping the whole picture.
 * name           path for the Open operation
 * bitmap         need not be cleared: it is initialised once the arguments are checked, then
 *                allocated and released; after a failure it has no storage
 * bitsPerPixel   0: as it comes; 8: then T_GrayScaleBitmap; 16, 24, 32: then T_ColorResolution
 * order          T_ORDER_ value of 16 to 32 bits; below 0: any
 * width, height  pixels and rows; one of them may be 0: in proportion to the other, at least 1
 * method         T_SIZE_ value, and T_SIZE_DRAFT: JPEG and CMP files are decoded at an eighth, a
 *                quarter or half as long as that is twice the wanted size or more: it costs less
 *                than 4 levels and saves most of the time; Photo CD files give a smaller level
 * T_OK, T_ERR_ARGUMENT (null bitmap, another depth, an order above 1, a size below 0 or both 0,
 * method: the record is as it was), and the other statuses of T_LoadBitmap, T_SizeBitmapFine and
 * T_ColorResolution. */
T_API int32_t T_CALL T_LoadBitmapFine(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel,
                                      int32_t order, int32_t width, int32_t height,
                                      uint32_t method);

/* Example: twice as wide and high.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.bmp", &bitmap, 0, -1) == T_OK) {
 *     T_SizeBitmap(&bitmap, 2 * bitmap.Width, 2 * bitmap.Height);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Processing ------------------------------------------------------------------------------ */

/* Rotation, filters and adjustments of whole bitmaps, in memory or on disk. All of them:
 *
 * - work on the bitmap that they are given. Its pixels may move to other storage, obtained as by
 *   request 1: Handle and Data are to be read anew. It is accessed afterwards if it was before.
 * - count x from the left and y from the top of the picture, whatever ViewPerspective says. That,
 *   Order, resolution, DitherMethod and attribute flags stay unless something else is said.
 * - treat each color channel on its own, unless something else is said, in integers: 16-bit pixels
 *   are widened to 8 bits a channel and narrowed again. Bit 15 of 16-bit pixels and the fourth byte
 *   of 32-bit ones move with their pixel in rotations and stay where they are otherwise. The grey
 *   level of a color is (2 red + 5 green + blue + 4) >> 3. R(a, b) below is a / b rounded to
 *   nearest, halves up.
 * - read pictures of up to 8 bits through their painting palette, indices beyond it being white.
 *   Filters and smooth rotation widen such a picture, since they make new colors: to 8-bit grey as
 *   T_GrayScaleBitmap when all Colors entries are grey, else to 24 bits, T_ORDER_BGR, without
 *   T_FLAG_GRAY, as T_ColorResolution. Adjustments change the first Colors entries of its palette
 *   and no pixel; but when the palette has the 256 greys in order, they change the pixels and not
 *   the palette. Palette objects are deleted when palette or depth change.
 * - do nothing when nothing is asked: rotations by whole turns, a level, strength or hue of 0.
 * - leave the bitmap as it was, but for the row cursor, when they fail or are stopped.
 *
 * T_OK; T_ERR_ARGUMENT (null, a value out of the range given, an invalid depth, an Order above 1
 * above 8 bits); T_ERR_NO_STORAGE (not allocated, or rows managed by the caller); T_ERR_NO_MEMORY,
 * T_ERR_LIMIT; T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE (disk bitmaps); T_ERR_NOTICE; the status
 * callback's answer: these are the statuses of all processing. What can make a picture's size
 * larger than fits 32 bits gives T_ERR_SIZE, too: rotations, and what widens pictures of up to 8
 * bits. */

/* Rotates clockwise.
 * bitmap   any depth, which stays. A quarter turn exchanges width and height, and the two
 *          resolutions; biWidth, biHeight and biSizeImage become the new size's
 * degrees  any multiple of 90
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_RotateBitmap(BitmapHandle* bitmap, int32_t degrees);

/* Turns upside down.
 * bitmap  any depth, which stays
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_FlipBitmap(BitmapHandle* bitmap);

/* Mirrors left to right.
 * bitmap  any depth, which stays
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_ReverseBitmap(BitmapHandle* bitmap);

/* Flags of T_RotateBitmapFine */
#define T_ROTATE_KEEP_SIZE 1u /* the result has the bitmap's size; else all of the picture's */
#define T_ROTATE_SMOOTH 2u    /* each pixel mixes four, by their distance; else it is the nearest */

/* Rotates clockwise by any angle, about the middle.
 * bitmap  any depth; with T_ROTATE_SMOOTH up to 8 bits it becomes 8-bit grey or 24 bits.
 *         Resolutions stay
 * angle   in hundredths of a degree, any number; multiples of 9000 without T_ROTATE_KEEP_SIZE are
 *         T_RotateBitmap's
 * flags   T_ROTATE_ flags
 * color   0x00RRGGBB, for what lies outside the picture; of indexed pictures the nearest entry. A
 *         color that is not grey clears T_FLAG_GRAY above 8 bits
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_RotateBitmapFine(BitmapHandle* bitmap, int32_t angle, uint32_t flags,
                                        uint32_t color);

/* Neighbourhood filters. Beyond the edges the nearest pixel of the edge counts. 1-bit pictures stay
 * 1 bit in the median, binary and despeckle filters. */

/* The mean of the square around each pixel.
 * bitmap  up to 8 bits it becomes 8-bit grey or 24 bits; other depths stay
 * size    of its sides, odd, 3 to 255
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_AverageFilterBitmap(BitmapHandle* bitmap, int32_t size);

/* The middle one of the values in the square around each pixel; 1 bit: the more frequent index.
 * bitmap  2, 4 and 8 bits become 8-bit grey or 24 bits; other depths stay
 * size    of its sides, odd, 3 to 255
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_MedianFilterBitmap(BitmapHandle* bitmap, int32_t size);

#define T_FILTER_ABSOLUTE 1u /* the sum's sign does not count */

/* Sums of the pixels around each, weighted with a kernel: R(sum, divisor) + bias, cut to 0..255.
 * bitmap   up to 8 bits it becomes 8-bit grey or 24 bits; other depths stay
 * kernel   size x size coefficients, -32768 to 32767, row by row from the top left; not turned
 * size     3, 5 or 7
 * divisor  1 to 8388607, or 0: the sum of the coefficients, but 1 when that is below 1
 * bias     -255 to 255
 * flags    0 or T_FILTER_ABSOLUTE
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_SpatialFilterBitmap(BitmapHandle* bitmap, const int32_t* kernel,
                                           int32_t size, int32_t divisor, int32_t bias,
                                           uint32_t flags);

/* Sharpens, or softens: v + R(strength (8 v - the eight neighbours), d), d being 1000 above 0, else
 * 9000.
 * bitmap    up to 8 bits it becomes 8-bit grey or 24 bits; other depths stay
 * strength  -1000 (the mean of 3 x 3) to 1000
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_SharpenBitmap(BitmapHandle* bitmap, int32_t strength);

/* Operations and shapes of T_BinaryFilterBitmap */
#define T_BINARY_ERODE 0  /* the least value under the shape: dark parts grow */
#define T_BINARY_DILATE 1 /* the greatest: light parts grow */
#define T_BINARY_OPEN 2   /* erode, then dilate */
#define T_BINARY_CLOSE 3  /* dilate, then erode */
#define T_SHAPE_BOX 0     /* size x size */
#define T_SHAPE_CROSS 1   /* the middle row and column of that */
#define T_SHAPE_ROW 2     /* size x 1 */
#define T_SHAPE_COLUMN 3  /* 1 x size */

/* Morphology, of 1-bit pictures and of all others. What lies outside the picture takes no part. In
 * 1-bit pictures the index whose color has the lower grey level is dark, index 0 of equal ones.
 * bitmap     2, 4 and 8 bits become 8-bit grey or 24 bits; other depths stay
 * operation  T_BINARY_ value
 * shape      T_SHAPE_ value
 * size       odd, 3 to 255
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_BinaryFilterBitmap(BitmapHandle* bitmap, uint32_t operation, uint32_t shape,
                                          int32_t size);

/* Takes specks away.
 * bitmap  2, 4 and 8 bits become 8-bit grey or 24 bits; other depths stay
 * amount  1 bit: 1 to 1000; groups of at most so many dark pixels, which touch at sides or corners,
 *         become light. Deeper: 1 to 16 rounds of complementary hulling (T. R. Crimmins, Applied
 *         Optics 24, 1985)
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_DespeckleBitmap(BitmapHandle* bitmap, int32_t amount);

/* Squares of one color, the mean of what was there, from the top left corner.
 * bitmap  up to 8 bits it becomes 8-bit grey or 24 bits; other depths stay
 * size    of their sides, 2 to 32767
 * T_OK, the statuses of all processing, T_ERR_SIZE. */
T_API int32_t T_CALL T_MosaicBitmap(BitmapHandle* bitmap, int32_t size);

/* Adjustments. Results are cut to 0..255. */

/* Lighter or darker: v + R(255 level, 1000).
 * bitmap  any depth, which stays
 * level   -1000 to 1000
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_ChangeBitmapIntensity(BitmapHandle* bitmap, int32_t level);

/* Contrast about mid grey: R(255 n + m (2 v - 255), 2 n), where m is 1000 + level and n 1000 up to
 * level 0, m 1000 and n 1000 - level above; level 1000: 255 from v = 128 on, else 0.
 * bitmap  any depth, which stays
 * level   -1000 to 1000
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_ChangeBitmapContrast(BitmapHandle* bitmap, int32_t level);

/* Turns the hue, red towards yellow and green; the greatest and the least channel keep their values
 * whichever channels they become.
 * bitmap   any depth, which stays
 * degrees  -360 to 360
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_ChangeBitmapHue(BitmapHandle* bitmap, int32_t degrees);

/* More or less color: y + R((v - y) (1000 + level), 1000), y being the pixel's grey level.
 * bitmap  any depth, which stays
 * level   -1000 (grey) to 1000
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_ChangeBitmapSaturation(BitmapHandle* bitmap, int32_t level);

/* The negative: 255 - v.
 * bitmap  any depth, which stays
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_InvertBitmap(BitmapHandle* bitmap);

/* Even steps: R(255 (v levels >> 8), levels - 1).
 * bitmap  any depth, which stays
 * levels  2 to 64
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_PosterizeBitmap(BitmapHandle* bitmap, int32_t levels);

/* Spreads the grey levels so that each part of the range holds as many pixels: with n(k) pixels of
 * levels up to k, N in all and h of the least level present, level k becomes T = R(255 (n(k) - h),
 * N - h), and T minus the pixel's own level is added to all its channels.
 * bitmap  any depth, which stays
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_HistoEqualizeBitmap(BitmapHandle* bitmap);

/* Makes a bitmap a 1-bit one, black and white, by a screen of dots whose size tells the grey level,
 * as in print.
 * bitmap  any depth; becomes 1 bit, Colors 2, T_FLAG_GRAY cleared
 * cell    the period of the screen in pixels, 2 to 64
 * angle   of the screen in degrees, clockwise, -360 to 360; 45 is usual
 * T_OK, the statuses of all processing. */
T_API int32_t T_CALL T_HalfToneBitmap(BitmapHandle* bitmap, int32_t cell, int32_t angle);

/* Scanned pages. These look at a bitmap and leave it as it is, but for the row cursor. Ink is, in
 * pictures of 1 bit, the index whose color has the lower grey level, and nothing when both have the
 * same; in others it is what is darker than a threshold that parts the page's grey levels in two,
 * and by 40 levels or more darker than the mean of the lighter part. */

/* The angle of a page's lines of text: how far clockwise the page has been turned, so that
 * T_RotateBitmapFine by -angle puts it straight.
 * bitmap  any depth; looked at only
 * angle   receives -1500 to 1500 hundredths of a degree; 0 also where there are no lines: on blank
 *         pages, noise, photographs. Unchanged on failure
 * Pages whose lines run from top to bottom, or are turned by more, are to be turned by
 * T_RotateBitmap first. Pages of text are found to a tenth of a degree and better; solid areas do
 * not count.
 * T_OK, the statuses of all processing but T_ERR_WRITE. */
T_API int32_t T_CALL T_FindSkew(BitmapHandle* bitmap, int32_t* angle);

/* The rectangle of all that is on a page, as T_CopyBitmapRect takes it: of ink without
 * - the scanner's border: what is half ink or more, in cells of 8 pixels, and hangs together with
 *   an edge of the page, with the cells around it; lines of up to two cells along an edge
 * - specks: groups of up to 24 pixels no larger than two cells.
 * Pages with sides of 4096 pixels and more have cells of 16 pixels, and so on, and larger specks.
 * bitmap         any depth; looked at only
 * x, y           receive its top left pixel, as seen
 * width, height  receive pixels and rows; 0 and 0 when nothing is on the page. All of them stay
 *                unchanged on failure
 * T_OK, the statuses of all processing but T_ERR_WRITE. */
T_API int32_t T_CALL T_FindContent(BitmapHandle* bitmap, uint32_t* x, uint32_t* y, uint32_t* width,
                                   uint32_t* height);

/* Whether a page is blank. What T_FindContent leaves out does not count, nor do punch holes: filled
 * discs in the outer eighth of the page, from a 120th to a 24th of its longer side.
 * bitmap  any depth; looked at only
 * share   millionths of the page's pixels, 0 to 1000000, that may be ink on a blank page. A line of
 *         text is about 1500, its page number 50
 * blank   receives 1 or 0; unchanged on failure
 * T_OK, the statuses of all processing but T_ERR_WRITE. */
T_API int32_t T_CALL T_IsBlank(BitmapHandle* bitmap, int32_t share, int32_t* blank);

/* Example: a page, put straight, without specks and margins.
 *   BitmapHandle bitmap = T_EMPTY, page = T_EMPTY;
 *   int32_t angle = 0;
 *   uint32_t x, y, width, height;
 *   if (T_LoadBitmap("page.tif", &bitmap, 0, -1) == T_OK) {
 *     T_FindSkew(&bitmap, &angle);
 *     T_RotateBitmapFine(&bitmap, -angle, T_ROTATE_SMOOTH, 0xFFFFFF);
 *     T_ChangeBitmapContrast(&bitmap, 200);
 *     T_DespeckleBitmap(&bitmap, 2);
 *     if (T_FindContent(&bitmap, &x, &y, &width, &height) == T_OK && width != 0) {
 *       T_CopyBitmapRect(&page, &bitmap, x, y, width, height);
 *     }
 *     T_FreeBitmap(&page);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Device-independent bitmaps -------------------------------------------------------------- */

/* What BMP files hold behind their file header, in one piece: a header, perhaps masks, a color
 * table, the rows. Programs exchange it as a block of global memory (CF_DIB, scanners): on Windows
 * a handle as GlobalAlloc gives it, elsewhere simply the address. */

/* A bitmap as such a block: 40-byte header, rows uncoded and from the bottom up, nothing behind.
 * bitmap  memory or disk, any depth, order and perspective, accessed or not; stays as it is
 * dib     gets the block, which is the caller's from then on: T_FreeDIB or, on Windows, GlobalFree
 *         frees it, and the clipboard may take it (GMEM_MOVEABLE). Null after a failure
 * size    gets its bytes; may be null
 * 1, 4, 8, 16, 24 and 32 bits stay, 2 become 4. Colors have blue first, pixels of 16 bits 5-5-5;
 * the fourth byte of 32 bits is kept; padding is zero. The table is the record's own palette with
 * Colors entries when that is 1 or more and less than the depth has (biClrUsed tells it), else with
 * all of the depth's. Dots per meter come from the resolutions.
 * T_OK, T_ERR_ARGUMENT (null; the record's depth or order), T_ERR_NO_STORAGE, T_ERR_SIZE (the block
 * would pass 4 GiB), T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE; of disk bitmaps T_ERR_SEEK,
 * T_ERR_READ. */
T_API int32_t T_CALL T_ConvertToDIB(BitmapHandle* bitmap, void** dib, uint32_t* size);

/* A bitmap from such a block, which may come from anybody: nothing in it is believed.
 * dib     the address of `size` bytes, at any alignment; with size 0 (Windows) a handle of global
 *         memory, whose size is asked for. Stays the caller's; no pointer is kept
 * size    of the block in bytes; bytes behind the rows do no harm
 * bitmap  initialised here, unless an argument is refused, then allocated (memory, else disk) and
 *         released; without storage after a failure. What it had must have been freed
 * Headers of 12, 16, 40, 52, 56, 64, 108 and 124 bytes; 1, 2, 4, 8, 16, 24 and 32 bits; run lengths
 * of 4 and 8 bits; masks of 16 and 32 bits, behind a header of 40 bytes or inside a longer one;
 * rows from the bottom or, with a negative height, from the top. The table has biClrUsed entries,
 * also above 8 bits.
 * The bitmap has 1, 2, 4 or 8 bits as the block; 16 when the colors are 5-5-5; 32 when blue, green
 * and red are the bytes 0 to 2, and the fourth is kept; else 24, each channel scaled to 8 bits and
 * rounded. Order is T_ORDER_BGR, ViewPerspective 2 or, of rows from the top, 0. Colors is how many
 * entries the table has, no more than the depth can use; the rest of the palette is black. A
 * palette of 256 even steps of grey sets T_FLAG_GRAY. The resolution is dots per meter as dots per
 * inch, or what T_InitBitmap sets where the block has none.
 * Runs end with their row; pixels that they skip, and all behind damage or a missing end, are 0.
 * T_OK, T_ERR_ARGUMENT (null; size 0 where the system tells none), T_ERR_BAD_DATA (no such header,
 * no width, more than one plane, masks that are 0, overlap or have gaps), T_ERR_SIZE (no height, or
 * more than 4 GiB), T_ERR_SUBTYPE (another depth or coding), T_ERR_READ (shorter than header, table
 * or uncoded rows), T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE; of storage on disk T_ERR_SEEK,
 * T_ERR_WRITE. */
T_API int32_t T_CALL T_ConvertFromDIB(const void* dib, uint32_t size, BitmapHandle* bitmap);

/* Makes the record itself a device-independent bitmap: afterwards Order is T_ORDER_BGR,
 * ViewPerspective 2, and &Info with Data of the accessed bitmap is one as the system's drawing
 * calls take it (BITMAPINFO and bits), its header that of T_ConvertToDIB. A second call changes
 * nothing.
 * bitmap  memory or disk, any depth; rows are turned and exchanged where they lie. Only 2 bits,
 *         which become 4, get new storage. A bitmap that was accessed stays so
 * T_OK, T_ERR_ARGUMENT (as above), T_ERR_NO_STORAGE, T_ERR_SIZE (2 bits of which 4 would pass 4
 * GiB), T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE: all as it was. Of disk bitmaps T_ERR_SEEK,
 * T_ERR_READ, T_ERR_WRITE: rows may have traded places. */
T_API int32_t T_CALL T_ChangeToDIB(BitmapHandle* bitmap);

/* Frees such a block.
 * dib  a block of T_ConvertToDIB, on Windows any of global memory; null: nothing happens
 * T_OK. */
T_API int32_t T_CALL T_FreeDIB(void* dib);

/* Example: a file as a block for another program, and as what GDI's StretchDIBits takes.
 *   void* dib;
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.bmp", &bitmap, 0, T_ORDER_BGR) == T_OK) {
 *     if (T_ConvertToDIB(&bitmap, &dib, NULL) == T_OK) T_FreeDIB(dib);
 *     if (T_ChangeToDIB(&bitmap) == T_OK) {
 *       const void* bits = (const void*)T_AccessBitmap(&bitmap);
 *       const T_BitmapInfo* info = &bitmap.Info;
 *       (void)bits, (void)info;
 *     }
 *   }
 *   T_FreeBitmap(&bitmap);
 */

/* ---- Formats --------------------------------------------------------------------------------- */

/* Each format has a trio: a reader that streams, a load and a save of whole pictures.
 *
 * T_Load...File  Reads the file and hands its rows to `sink` in file order. Keeps no pointer after
 *                it returns.
 * name           file to read
 * bitmap         unallocated, cleared or initialised before: initialised to the file's geometry;
 *                its Order is the format's at every depth, as in FILEINFO. Allocated: rows are
 *                converted to its depth and order, which stay, and resampled to its size (those of
 *                interlaced files in picture order, without T_FLAG_INTERLACED)
 * sink           gets the rows as `bitmap` describes them, some at a time (T_SetCallbackLine)
 * bitsPerPixel   1, 4, 8, 16, 24 or 32; below the file's it reduces the rows of an unallocated
 *                bitmap. Rows of 8 bits or less and of fewer than the file has are dithered to the
 *                built-in palette of their depth (2 bits: four even greys; grey files: an even
 *                ramp)
 * context        passed to the sink, not looked at
 * T_OK, the sink's answer, the status callback's, T_ERR_NOTICE, T_ERR_NAME, T_ERR_OPEN,
 * T_ERR_ARGUMENT (bitsPerPixel, null bitmap or sink), T_ERR_BAD_DATA (another format, one that
 * T_EnableFormat switched off, damage, or a header that claims many times more than its file can
 * hold: identification and T_Decompress... give this status, too), T_ERR_READ, T_ERR_SEEK,
 * T_ERR_TOO_LARGE, T_ERR_SUBTYPE, T_ERR_SIZE (empty, or too large for a bitmap), T_ERR_NO_MEMORY,
 * T_ERR_LIMIT.
 *
 * T_Load...Bitmap  Loads the whole picture, in T_ORDER_BGR above 8 bits and without T_FLAG_GRAY
 *                  below.
 * name             file to read
 * bitmap           initialised and allocated here; the caller frees it. On failure it is freed
 * The statuses of T_Load...File; T_ERR_WRITE, too, where the bitmap is on disk.
 *
 * T_Save...Bitmap  T_SaveBitmap with this format and quality 0.
 * name, bitmap     as T_SaveBitmap takes them
 * bitsPerPixel     depth to write, 0: the bitmap's own
 * The statuses of T_SaveBitmap. */

/* BMP of Windows and OS/2.
 * Read        1, 2, 4, 8, 16, 24 and 32 bits; plain, run-length coded (pictures of 4 and 8 bits
 *             that have any compression value but 0; OS/2's of 24 bits), or in bit fields (16 and
 *             32 bits); both row orders.
 * Delivered   At the file's depth, T_ORDER_BGR; bit fields of other places or widths than plain
 *             pixels have give 24 bits for 16, and 32 with alpha last for 32; a field of n bits
 *             becomes value * 255 / (2^n - 1), rounded. XResolution and YResolution get the file's
 *             pixels per metre as they stand.
 * Written     Plain files of 1, 4, 8 or 24 bits (other depths: T_ERR_DEPTH), T_FORMAT_BMP_OS2 with
 *             OS/2's header (more than 65535 pixels either way: T_ERR_SIZE), bottom row first.
 * Statuses    T_ERR_SUBTYPE: Huffman coding, JPEG or PNG data inside, 64 bits. T_ERR_BAD_DATA: no
 *             BMP header, other depths, a coding that the depth does not have. T_ERR_READ: the file
 *             ends early; the rows that are there are delivered.
 * Facts: Microsoft, BITMAPINFOHEADER to BITMAPV5HEADER; IBM, "Bitmap File Format" (OS/2 2.0). */
T_API int32_t T_CALL T_LoadBMPFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadBMPBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveBMPBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* PCX and DCX.
 * Read        1, 2, 4 and 8 bits in one plane, 1 bit in two to four planes, 8 bits in three or
 *             four, the fourth of which is ignored; always run-length coded; versions 0, 2, 3 and 5
 *             (T_LoadPCXFile: any). Runs may go on in the next line.
 * Delivered   1, 2, 4, 8 or 24 bits (T_ORDER_RGB), top row first: two and three planes of one bit
 *             give 4 bits, with Colors 4 and 8. XResolution and YResolution get the file's. Two
 *             colors that are equal stand for black and white.
 * Pages       DCX files hold up to T_MAX_PAGES pictures: T_SetPageNumber chooses the one that is
 *             read, the last one when there are fewer; FILEINFO.PageCount says how many there are.
 * Written     1, 4, 8 or 24 bits (other depths: T_ERR_DEPTH); 8-bit pictures written with 4 bits
 *             get 16 grey levels. More than 65536 pixels either way, or lines longer than 65535
 *             bytes: T_ERR_SIZE. T_FORMAT_DCX makes a DCX file of the first page, too.
 * Appending   With T_SAVE_APPEND, or a page number of 2 or more, a file that is PCX or DCX already
 *             gets the picture as a further page: a PCX file is made a DCX file in place, its
 *             picture moved behind the directory. Whatever operation fails, the earlier pages stay;
 *             what cannot be finished may be there as a damaged last page. Two things need
 *             operations that work after the one that failed: taking back a write to a PCX file
 *             that was cut short on the way, and bringing pages back that were moved because the
 *             directory of another program's DCX file had no room. T_ERR_WRITE: T_MAX_PAGES are
 *             there already; T_ERR_SEEK: the file has nearly 2 GiB, or more.
 * Statuses    T_ERR_BAD_DATA: no PCX header, planes of other bits, lines shorter than the picture
 *             is wide, or a DCX directory without pages or with an offset outside the file.
 *             T_ERR_READ: no palette ends a picture of 256 colors (T_ERR_SEEK: the file is too
 *             short for one). Data that end early are no error: what is missing is 0.
 *             T_LoadPCXBitmap refuses a picture that memory cannot hold with T_ERR_NO_MEMORY.
 * Facts: ZSoft Corporation, "Technical Reference Manual: PCX", revision 5. */
T_API int32_t T_CALL T_LoadPCXFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPCXBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SavePCXBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* GIF 87a and 89a.
 * Read        The first image of the file, or the frame that T_SetPageNumber chooses (see
 *             T_SetGIFFrames). FILEINFO.PageCount is the number of images, T_MAX_PAGES at most.
 * Delivered   The image by itself with 1, 4 or 8 bits as the size field of the screen's table says
 *             (see T_SetGIFDepth) and the palette of the image, or else of the screen; its place on
 *             the screen and what extensions say of timing and transparency are skipped. A file
 *             without any table gets grey levels and Colors 0. Interlaced images are delivered in
 *             file order with T_FLAG_INTERLACED set, the rows of pass 1 (0, 8, 16 ...), then pass 2
 *             (4, 12 ...), 3 (2, 6 ...) and 4 (1, 3 ...); a sink's answer of 2 then counts as T_OK.
 * Written     One image of 8 bits per pixel (other depths: T_ERR_DEPTH; more than 65535 pixels
 *             either way: T_ERR_SIZE) with the bitmap's 256 colors as global table, on a screen of
 *             the size that T_SetScreenSize says.
 * Statuses    Where the data end early the rows that are there are delivered, the last filled up
 *             with index 0; then T_ERR_BAD_DATA, unless the end code stands in the last row.
 *             T_ERR_READ: no image follows the screen, or the file ends before the image's data.
 * Facts: "Graphics Interchange Format", version 89a. */
T_API int32_t T_CALL T_LoadGIFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadGIFBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveGIFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* The version that GIF files declare.
 * flag  not 0 (the default): "GIF89a"; 0: "GIF87a"
 * T_OK. */
T_API int32_t T_CALL T_SetGIFVersion(int32_t flag);

/* The logical screen that GIF files declare.
 * width, height  1 to 65535 each; 0, 0 (the default): the display's, or 1280 x 1024
 * Other programs, and loads of frames, show the picture on a canvas of this size, so a caller who
 * writes for them gives the picture's.
 * T_OK or T_ERR_ARGUMENT (a number out of range, one of them 0). */
T_API int32_t T_CALL T_SetScreenSize(int32_t width, int32_t height);

/* Where the depth of a GIF picture comes from.
 * flag  0 (the default): always the size field of the screen's table, even when the image brings a
 *       larger table of its own and its indices do not fit; not 0: the image's table when it has
 *       one, and 8 bits when the file has none at all
 * T_OK. */
T_API int32_t T_CALL T_SetGIFDepth(int32_t flag);

/* What the page number means for GIF files, in loads and in T_FileInfo.
 * flag  0 (the default): nothing, the first image is read; not 0: page n is the frame that shows
 *       when image n has been drawn, the last one when there are fewer
 * A frame has the size of the logical screen, which the first image makes larger where it does not
 * fit; later images are cut at its border. Images are drawn over each other at their places, but
 * for pixels of their transparent index. Before the next one is drawn an image stays, or its
 * rectangle gets the background color (disposal 2), or what was there before (disposal 3, and 4,
 * which some encoders write for it). Where no image is the frame has the background color, of the
 * screen's table or else of the first image's that shows, entry 0 when there is no such entry.
 * Frames whose images, and background where it shows, share one table have its depth (8 bits when
 * the file has none) and palette; all others have 24 bits, T_ORDER_RGB. Rows come top row first,
 * never interlaced. An image with damaged data shows what there is of it; the status comes when all
 * rows are delivered. A load takes memory for a whole frame, and time for all images that show in
 * it; of a screen that no file of this size fills it gives T_ERR_BAD_DATA.
 * T_OK. */
T_API int32_t T_CALL T_SetGIFFrames(int32_t flag);

/* CALS Type I raster, bilevel.
 * Read        Group 4 (raster type 1; other types are read as Group 3).
 * Delivered   1 bit, white (0) and black (1), top row first; 24 bits where T_LoadCALSFile asks for
 *             24. The viewing direction shows in FILEINFO.Orientation only. The density is not
 *             taken over.
 * Written     Group 4 with a density of 200, 1 bit (other depths: T_ERR_DEPTH); a bitmap whose
 *             palette entry 0 has red 0 is inverted, so that black is 1 in the file. Sizes above
 *             99,999 do not fit the header's five digits and cannot be read back.
 * Statuses    T_ERR_READ: a header record is short or empty, or the data end early (the rows before
 *             that are delivered); T_ERR_BAD_DATA: an unknown key among the first nine records, an
 *             empty picture, or a code that does not exist; T_ERR_SUBTYPE: uncompressed mode.
 * Facts: MIL-PRF-28002C, ITU-T T.4 and T.6. */
T_API int32_t T_CALL T_LoadCALSFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                    int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadCALSBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveCALSBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* TGA.
 * Read        Color-mapped (8 bits), true-color (8, 15, 16, 24, 32 bits) and grey (8 bits; 16 are
 *             taken for 5-5-5) files, plain or run-length coded; color maps of 15, 16, 24 or 32
 *             bits (8: grey levels) with any first index. The format has no signature: a file is
 *             taken for TGA when all fields of its header go together.
 * Delivered   8 bits, 15 and 16 as 16, 24 and 32, in T_ORDER_BGR. Colors is the map's length, 256
 *             at most, and its first entry is the palette's at that index; without a map 8 bits are
 *             grey levels. ViewPerspective is 0 for an origin at the top left, otherwise 2, and
 *             FILEINFO.Orientation tells what that leaves to do. XOrigin and YOrigin get the
 *             file's.
 * Written     Plain files of 8 (with the bitmap's 256 colors), 16, 24 or 32 bits (other depths:
 *             T_ERR_DEPTH), rows as they are stored; more than 65535 pixels either way: T_ERR_SIZE.
 * Statuses    T_ERR_SUBTYPE: another image type. T_ERR_BAD_DATA: fields that do not go together, or
 *             an empty picture. T_ERR_READ: the file ends early; the rows that are there are
 *             delivered.
 * Facts: Truevision's document of TGA 2.0. */
T_API int32_t T_CALL T_LoadTGAFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadTGABitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveTGABitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* How Sun raster files are read and written.
 * variant  0 (the default): a count of n in byte-encoded data makes n copies, 1-bit pictures
 *          without a map have 0 as black, the spare byte of 32-bit pixels is the last, and of the
 *          length field of written files only the low byte is the length's (the others are 0 or 1;
 *          all are 0 below 8 bits);
 *          1: as other programs have it: n + 1 copies, 1 as black, the spare byte first, the true
 *          length, no map for saved black and white pictures
 * T_OK or T_ERR_ARGUMENT (another number). */
T_API int32_t T_CALL T_SetRASVariant(int32_t variant);

/* Sun raster. See T_SetRASVariant.
 * Read        1, 4, 8, 24 and 32 bits: byte-encoded (type 2), red first (type 3), and of any other
 *             type, which are rows as stored, blue first.
 * Delivered   At the file's depth, T_ORDER_BGR or, of type 3, T_ORDER_RGB, top row first. Pictures
 *             of 8 bits or less have the file's color map (256 entries at most), or without one
 *             grey levels, black for 0.
 * Written     Standard files of 1, 4, 8, 24 or 32 bits (other depths: T_ERR_DEPTH), up to 8 with a
 *             color map of the bitmap's Colors; more than 65535 pixels either way: T_ERR_SIZE.
 * Statuses    T_ERR_BAD_DATA: no Sun raster header, other depths, or an empty picture. T_ERR_READ:
 *             the file ends early; the rows that are there are delivered.
 * Facts: Sun Microsystems, rasterfile(5). */
T_API int32_t T_CALL T_LoadRASFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadRASBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveRASBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* Options of the TIFF writer, of which the first two words serve the whole library. */
typedef struct T_TIFFOption {
  int32_t XResolution; /* default resolution of new bitmaps, dots per inch; one not above 0 stands
                          for 150, or for none (T_SetUnknownResolution) */
  int32_t YResolution;
  uint32_t WriterDefaults[2]; /* copied into new bitmaps, whose own values count in a save:
                                 [0] rows per strip, 0 for strips of about 64 KiB;
                                 [1] 2: LZW and Deflate saves of 8 and 24 bits store differences */
  uint32_t Words[32];         /* not looked at */
} T_TIFFOption;

/* Sets the options.
 * option  copied over the library's as a whole
 * T_OK, T_ERR_ARGUMENT (null). */
T_API int32_t T_CALL T_SetTIFFOption(const T_TIFFOption* option);
/* Sets the two default resolutions alone.
 * x, y  XResolution and YResolution of T_TIFFOption
 * Returns nothing. */
T_API void T_CALL T_SetTIFFXYResolution(int32_t x, int32_t y);

/* TIFF.
 * Read        Strips and tiles, chunky and planar, both byte orders, also with 64-bit offsets; 1 to
 *             16 and 32 bits per sample (more than 8 are reduced to 8), grey, palette, RGB, CMYK
 *             and YCbCr (both become RGB), extra samples dropped; uncompressed, PackBits, LZW (old
 *             bit order, too), Deflate, the predictor of these two, CCITT runs, Group 3, Group 4,
 *             JPEG; its older form (compression 6) whether it is whole streams, pieces behind one
 *             header, or tables in tags. Fax programs may leave ImageLength out, or 0: the rows are
 *             then counted, in strips of all codings but JPEG.
 * Delivered   1 bit as stored, with white or black first in the palette; 2 and 4 bits as 4, other
 *             single samples as 8 bits, 24 bits (T_ORDER_RGB) for colors. Grey pictures have an
 *             even ramp from black to white. Rows come as stored: ViewPerspective is 2 for
 *             orientation 4, else 0; FILEINFO.Orientation tells the others. Resolutions per
 *             centimetre are converted; without a unit the bitmap keeps its own.
 * Written     T_FORMAT_TIFF uncompressed, ..._PACKBITS, ..._LZW and ..._DEFLATE with 1, 4, 8 and 24
 *             bits (..._DEFLATE as T_SetDeflateLevel says, grey and colors of 8 and 24 bits always
 *             as differences);
 *             ..._GROUP3 (one-dimensional), ..._GROUP3_2D and ..._GROUP4 with 1 bit, which are
 *             white and black: the brighter of the two colors becomes white. Other depths are
 *             T_ERR_DEPTH. Little-endian, top row first, strips of about 64 KiB; a palette that is
 *             an even ramp makes a grey picture. Rows of 2 GiB: T_ERR_SIZE. T_SaveTIFBitmap writes
 *             T_FORMAT_TIFF.
 * Pages       T_SetPageNumber chooses the page that is read, beyond the last one the last. With
 *             T_SAVE_APPEND, or a page number of 2 or more, a save adds a page to an existing TIFF
 *             file, in its byte order; whatever happens on the way, the pages before stay.
 *             T_ERR_WRITE: it has T_MAX_PAGES already, or would pass 2 GiB; T_ERR_SUBTYPE: its
 *             offsets have 64 bits; T_ERR_BAD_DATA: its pages form a ring; T_ERR_READ: it is cut
 *             behind its last page.
 * Statuses    T_ERR_SUBTYPE: anything else, above all floating point, Lab, lossless and 12-bit
 *             JPEG, the uncompressed mode of fax codings, which no known writer uses. T_ERR_READ:
 *             the data end early, or tags that a picture needs have values that were cut off.
 *             T_ERR_BAD_DATA: rows that cannot be counted, data that no encoder writes, or that
 *             strips share beyond all measure. The rows that are there are delivered, the status
 *             comes last. A strip or tile with such data costs its own rows, which are zero, as
 *             long as the file has others behind it; what is lost of JPEG data is grey. Damaged
 *             Group 3 rows keep what could be read of them. Group 4 pictures that end before the
 *             last row are white from there on.
 * Facts: TIFF Revision 6.0, its Technical Notes, ITU-T T.4 and T.6, RFC 1950 and 1951. */
T_API int32_t T_CALL T_LoadTIFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadTIFBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveTIFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* Levels of T_SetDeflateLevel */
#define T_LEVEL_DEFAULT 0
#define T_LEVEL_FAST 1  /* in a fraction of the time, about a tenth larger */
#define T_LEVEL_SMALL 2 /* as small as can be, which takes many times as long */
/* How PNG files and TIFF files with Deflate are compressed from now on. The pixels are the same.
 * level  T_LEVEL_ value; T_LEVEL_DEFAULT at first
 * T_OK, T_ERR_ARGUMENT (another level). */
T_API int32_t T_CALL T_SetDeflateLevel(int32_t level);

/* Portable Network Graphics (PNG). An addition: identifiers of other libraries do not reach it.
 * Read        All color types and depths, interlaced or not. Of an animation (APNG) the picture
 *             that programs show which know nothing of animations.
 * Delivered   1 bit as 1; 2 and 4 bits as 4; grey, with opacity or without, and indices of 8 bits
 *             as 8, of 16 bits rounded to 8 (value * 255 / 65535); colors as 24 bits (T_ORDER_RGB).
 *             Top row first, interlaced files, too, which are held in memory. Transparent pixels
 *             show the file's background color, or white, and what is between is mixed. When 32
 *             bits are asked of a file that knows opacity (T_EXTRA_ALPHA), its colors come unmixed
 *             and the fourth byte is the opacity, 0 to 255. Gamma and color profiles are not
 *             applied. Pixels per metre become dots per inch.
 * Written     1, 4 and 8 bits, grey when the palette is an even ramp from black to white, else
 *             with the bitmap's Colors; 24 bits; 32 bits with the fourth byte as opacity, opaque
 *             when all are 0; a bitmap of fewer bits is opaque, too, and written with 24. For sizes
 *             of files see T_SetDeflateLevel. Other depths: T_ERR_DEPTH. Never interlaced.
 * Statuses    T_ERR_BAD_DATA: no PNG file, a wrong checksum or damage in a chunk that the picture
 *             needs; T_ERR_READ: it ends early; T_ERR_SUBTYPE: a critical chunk, a compression, a
 *             filter or an interlace method that the format does not define. The rows before that
 *             are delivered (those of a damaged chunk, too, as its checksum stands behind it); of
 *             an interlaced picture all, as coarse as they have come, none of which counts as
 *             whole. Chunks that are not needed are passed over when their checksums are wrong.
 * Facts: W3C, "Portable Network Graphics (PNG)", third edition. */
T_API int32_t T_CALL T_LoadPNGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPNGBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SavePNGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* MacPaint documents: one page of 576 x 720 pixels in black and white.
 * Read        With a MacBinary header in front or without; resource forks and patterns are skipped.
 *             Without a MacBinary header T_FileInfo knows the format by packed rows that make
 *             exactly one page.
 * Delivered   1 bit, white (0) and black (1), top row first, 72 dots per inch. Rows whose data are
 *             missing are white.
 * Written     1 bit (other depths: T_ERR_DEPTH) behind a MacBinary II header, which names the
 *             document as the file is named; the brighter of the two colors becomes white. A
 *             smaller picture stands at the page's top left; a larger one: T_ERR_SIZE.
 * Statuses    T_ERR_BAD_DATA: neither a MacBinary header of type "PNTG" nor a version of 0, 2 or 3.
 *             T_ERR_READ: not one row is there.
 * Facts: Apple, Macintosh Technical Note 86; "MacBinary II Standard". */
T_API int32_t T_CALL T_LoadMACFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadMACBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveMACBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* What the header of MacPaint files that are saved from now on calls the document, for programs
 * that write a file under another name than it will have.
 * name  up to 63 characters, which are copied, further ones are left out; null or empty, as at
 *       first: the file's name without folders and extension
 * T_OK. */
T_API int32_t T_CALL T_SetDocumentName(const char* name);

/* MSP, pictures of Microsoft Paint in Windows 1 and 2.
 * Read        Version 1 (plain) and 2 (run-length coded); a wrong checksum is no error. A row that
 *             has no bytes in version 2 is white.
 * Delivered   1 bit, black (0) and white (1), top row first, no resolution.
 * Written     Version 2, 1 bit (other depths: T_ERR_DEPTH); the brighter of the two colors becomes
 *             white; more than 65535 pixels either way: T_ERR_SIZE.
 * Statuses    T_ERR_BAD_DATA: no MSP header, or an empty picture. T_ERR_READ: the file ends early,
 *             or claims more than a mebipixel for each of its bytes; the rows that are there are
 *             delivered.
 * Facts: Microsoft, Windows 2.03 Software Development Kit. */
T_API int32_t T_CALL T_LoadMSPFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadMSPBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveMSPBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* GEM raster images (IMG).
 * Read        1 to 8 planes, and pixels of 15, 16, 24 and 32 bits, always run-length coded; the
 *             palettes of XIMG (RGB and CMY), STTT and Hyperpaint files. The format has no
 *             signature: T_FileInfo takes headers of 8 and 9 words with up to 4 planes, and those
 *             with a palette's tag.
 * Delivered   1 plane as 1 bit, 2 to 4 as 4 bits, 5 to 8 as 8 bits, with as many Colors as the
 *             planes can tell apart; 15 and 16 bits as 16 (T_ORDER_BGR, of 5-6-5 the lowest green
 *             bit dropped), others as 24 (T_ORDER_RGB). Top row first. Without a palette 1 plane is
 *             white and black, 2 to 4 have GEM's colors, or greys from white where the header says
 *             so, and 5 to 8 greys from white. Microns become dots per inch.
 * Written     1 bit as GEM has it, white and black, the brighter of the two colors being white; 4
 *             and 8 bits as XIMG with the bitmap's Colors (other depths: T_ERR_DEPTH). More than
 *             65535 pixels either way: T_ERR_SIZE.
 * Statuses    T_ERR_BAD_DATA: no GEM header. T_ERR_SUBTYPE: a palette of XIMG that is HLS.
 *             T_ERR_READ: the file ends early, or claims more than a mebipixel for each of its
 *             bytes; the rows that are there are delivered.
 * Facts: Digital Research, "GEM Programmer's Guide"; T. Quester's description of XIMG. */
T_API int32_t T_CALL T_LoadIMGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadIMGBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveIMGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* WordPerfect Graphics (WPG): the bitmaps of files of version 1 and 2; of files without one the
 * drawing. PostScript is skipped.
 * Read        Version 1: 1, 2, 4 and 8 bits, bitmaps of type 1 and 2; version 2: 1, 2, 4, 8 and 24
 *             bits, plain or run-length coded. Without any: lines, polygons, rectangles, ellipses
 *             and their parts, curves, hatched fills; of version 2 compound shapes and what turns,
 *             scales, skews and moves. Lines of text are set as those of T_LoadWMFFile. Gradients
 *             are filled with the middle of their colors, clear colors are mixed with white. Not
 *             drawn: dashes, blocks of text and text along paths.
 * Delivered   1 bit as black (0) and white (1), 2 and 4 bits as 4, 8 and 24 bits (T_ORDER_RGB), top
 *             row first; with the colors of the maps before the bitmap, on top of the VGA's. The
 *             mirrorings and quarter turns of type 2 are done; such a picture is held in memory.
 *             Drawings: a page of 24 bits, T_ORDER_RGB, at 96 pixels per inch (T_SetDrawScale),
 *             white before it is drawn on, whose sides do not exceed 16384.
 * Written     Version 1 with one bitmap of 1, 4 or 8 bits (other depths: T_ERR_DEPTH); of 1 bit the
 *             brighter color becomes white, others get a map of the bitmap's Colors. More than
 *             65535 pixels either way: T_ERR_SIZE; coded rows of 2 GiB: T_ERR_WRITE.
 * Pages       T_SetPageNumber chooses one of several bitmaps, beyond the last one the last.
 * Statuses    T_ERR_BAD_DATA: no WPG header of these versions, an empty bitmap, units of version 2
 *             that have 0 or more than 8 bytes, or more to draw than real files have.
 *             T_ERR_SUBTYPE: neither bitmaps nor a drawing (FILEINFO has the drawing's size in
 *             pixels at 96 per inch then), other depths and codings, an encrypted file (1 x 1 pixel
 *             in FILEINFO). T_ERR_READ: the file ends early, or its bitmap claims more than a
 *             mebipixel for each of its bytes; the rows that are there are delivered (of a turned
 *             picture all, the others white; of a drawing all, with what was drawn).
 * Facts: WordPerfect Corporation, "WordPerfect File Format", WPG 1 and 2. */
T_API int32_t T_CALL T_LoadWPGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadWPGBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveWPGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* Kodak Photo CD: image packs (.PCD) of up to five levels, overview packs (OVERVIEW.PCD).
 * Read        The level that T_SetPCDResolution chooses. The largest one is what the file names, as
 *             far as the file is long enough for it; beyond 16Base nothing is read.
 * Delivered   24 bits (T_ORDER_RGB), top row first, turned as the file says, no resolution. Chroma
 *             is interpolated at every level as between levels. PhotoYCC becomes RGB so that white
 *             (100 % reflectance) is 255; what is brighter is cut. It takes the memory of some
 *             rows, of a picture that is turned by a quarter up to 6 MiB.
 * Written     Not at all: T_ERR_FORMAT.
 * Pages       Of an overview pack T_SetPageNumber chooses one of the pictures (Base/16, as they are
 *             stored), beyond the last one the last.
 * Statuses    T_ERR_BAD_DATA: no Photo CD file, or an overview pack without pictures or with more
 *             than T_MAX_PAGES. T_ERR_READ: 4Base or 16Base end early; all rows are delivered, the
 *             last ones as the level below has them, enlarged. Or the file is shorter than Base/16;
 *             rows that are there are delivered, of a turned picture none. Single rows with damaged
 *             data are made of the level below, which is no error; T_GetRowsRead tells of the rows
 *             before them.
 * Facts: Eastman Kodak, "Fully Utilizing Photo CD Images"; the layout as other decoders know it. */
T_API int32_t T_CALL T_LoadPCDFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPCDBitmap(const char* name, BitmapHandle* bitmap);

/* The level of Photo CD pictures that is loaded and that T_FileInfo tells of. Only what it needs is
 * read of the file: small levels cost little.
 * level  0 (at first): the largest; 1: Base/16, 192 x 128 pixels; 2: Base/4, 384 x 256; 3: Base,
 *        768 x 512; 4: 4Base, 1536 x 1024; 5: 16Base, 3072 x 2048. Where a file has not got it, the
 *        largest below it. Pictures turned by a quarter have these sides the other way round
 * T_OK, T_ERR_ARGUMENT (another number). */
T_API int32_t T_CALL T_SetPCDResolution(int32_t level);

/* Whether a module of the system decodes Photo CD files when it is there: "pcdlib.dll" on Windows,
 * "libpcdlib.so" elsewhere, looked for by name at each load and identification. It must export
 * PCDopen, PCDclose, PCDgetFormat, PCDgetResolution, PCDsetResolution, PCDgetRotation,
 * PCDsetTransform, PCDloadImage, PCDgetBlock and PCDfreeBitmap, otherwise it counts as not there.
 * It is asked for files of the system alone, never in memory loads or while files are redirected
 * (T_RedirectIO); a file that it refuses goes to the library's own decoder.
 * flag  0: never; anything else (at first): use it
 * A load that such a module fails gives T_ERR_BAD_DATA (its number 3000), T_ERR_SUBTYPE (3001 and
 * 3002), T_ERR_NO_MEMORY (5000), or T_ERR_READ (all others).
 * T_OK. */
T_API int32_t T_CALL T_SetPCDModule(int32_t flag);

/* Windows metafiles (WMF), placeable ones and plain ones.
 * Read        Records that put bitmaps on the page (of 1 to 32 bits, bit fields, RLE4 and RLE8) or
 *             draw on it: lines, polygons, rectangles, ellipses and their parts, regions, texts;
 *             pens, brushes, hatches and patterns, clips, raster operations, windows and map modes.
 *             Texts are set in the one font of the library, which has the printable characters of
 *             ISO 8859-1, and for fonts named Symbol Greek letters and signs, at the places that
 *             the record gives. Pens of a pixel have dashes. Not drawn: flood fills, palettes,
 *             escapes and what they embed, enhanced metafiles. Viewports are not looked at: the
 *             window is stretched to the page.
 * Delivered   One bitmap that is the whole picture: its own pixels at its own depth. Bitmaps alone
 *             that have one resolution: a page in that. Everything else: a page at 96 pixels per
 *             inch (see T_SetDrawScale and T_SetDrawSmooth), of plain files as large as their
 *             first window, or without one as what is drawn, a unit being a pixel. Pages are white
 *             before they are drawn on, have 24 bits, and of their sides none exceeds 16384.
 *             T_ORDER_BGR, top row first. Pages are drawn in bands of rows, which takes 4 MiB
 *             beside what the rows go to.
 * Written     A placeable metafile with one bitmap of 1, 4, 8 or 24 bits (other depths:
 *             T_ERR_DEPTH). More than 32767 pixels either way, or 4 GiB: T_ERR_SIZE.
 * Statuses    T_ERR_BAD_DATA: no WMF header, or more to draw than real files have (some thousand
 *             times the page). T_ERR_SUBTYPE: nothing that can be shown. T_ERR_READ: the file ends
 *             early; the page is delivered with what was drawn, missing rows of a bitmap white.
 * Facts: Microsoft, [MS-WMF] "Windows Metafile Format". */
T_API int32_t T_CALL T_LoadWMFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadWMFBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveWMFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

#define T_MAX_DRAW_SCALE 16

/* How large drawings become, in loads and in T_FileInfo.
 * scale  1, the default: 96 pixels per inch (PICT: 72); to T_MAX_DRAW_SCALE times that, as far as
 *        sides stay within 16384. FILEINFO tells the size that comes
 * Bitmaps that are delivered as they are stay so.
 * T_OK, T_ERR_ARGUMENT (another scale). */
T_API int32_t T_CALL T_SetDrawScale(int32_t scale);

/* Which color pixels of drawings have.
 * flag  0, the default: that of what is in their middle; any other: the average of sixteen, which
 *       takes about twenty times as long
 * T_OK. */
T_API int32_t T_CALL T_SetDrawSmooth(int32_t flag);

/* Macintosh PICT: what QuickDraw recorded, versions 1 and 2, with and without 512 bytes in front.
 * Read        Bitmaps of 1 to 32 bits in all packings (opcodes 90, 91, 98 to 9B) and QuickTime
 *             pictures (8200) coded as JPEG or not at all, over whose place no other bitmap comes.
 *             Lines, rectangles, ovals, arcs, polygons, regions and texts (as T_LoadWMFFile's) with
 *             pens, patterns, colors, clips, masks, Boolean modes, transparent bitmaps. Arithmetic
 *             modes copy, as all do where nothing but bitmaps is; highlighting inverts.
 * Delivered   Top row first. The only bitmap of a picture that covers the frame, or bitmaps of one
 *             kind that fill it side by side: at their own size and depth, 2 bits as 4, 16 bits in
 *             T_ORDER_BGR, 24 and 32 bits as 24 in T_ORDER_RGB. Everything else is a white page of
 *             24 bits, held in memory: the frame at the largest scale of its bitmaps, 1 to 8 pixels
 *             a unit, or what T_SetDrawScale asks of drawings; 16384 pixels a side at most.
 *             FILEINFO.Compression is the first bitmap's. Resolution: pixels in the frame, which
 *             is in 72nds of an inch; where that gives 72, what the bitmap says, or the header.
 * Written     Version 2 with one bitmap of 1, 4, 8 or 24 bits (other depths: T_ERR_DEPTH), or more
 *             side by side: columns that one may not have, rows of 201 to 250 bytes, about whose
 *             coding programs disagree. More than 32767 pixels either way: T_ERR_SIZE.
 * Statuses    T_ERR_BAD_DATA: no PICT file, a contradictory bitmap, more to draw than real files
 *             have. T_ERR_SUBTYPE: nothing to show (FILEINFO has the frame), bitmaps of another
 *             depth or packing. T_ERR_READ: the file ends early, or claims more than a mebipixel
 *             for each of its bytes; rows that are there are delivered, of drawings all.
 * Facts: Apple, "Inside Macintosh: Imaging With QuickDraw", appendix A. */
T_API int32_t T_CALL T_LoadPCTFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPCTBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SavePCTBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* Encapsulated PostScript: the preview is the picture. PostScript is never interpreted.
 * Read        In this order: a preview in TIFF (its first page, any coding that T_LoadTIFFile
 *             reads), one in WMF (as T_LoadWMFFile reads it), and one in the comments of the text,
 *             of 1, 2, 4 or 8 bits, that begins within its first 64 KiB. One that cannot be read
 *             gives way to the next. Files with a header of their own are T_FORMAT_EPS, text alone,
 *             also behind a Ctrl-D, T_FORMAT_EPS_TEXT.
 * Delivered   What the preview is; from comments top row first, 2 bits as 4, with a palette from
 *             white (0) to black. FILEINFO.Compression: "Embedded TIFF", of WMF that of its
 *             bitmaps, or "None". Resolution: as the preview fills the bounding box, if there is
 *             one; else the preview's. Without a preview FILEINFO has the size of the box in 72nds
 *             of an inch (1 to 8192) and 1 bit.
 * Written     T_FORMAT_EPS of 1, 4, 8 or 24 bits (other depths: T_ERR_DEPTH): level 2 text of 7
 *             bits, and the picture once more as TIFF, so that it loads back whole. A save makes
 *             the picture grey first, of 1 bit when that is asked (levels from 128 on are white),
 *             else of 8; with `direct` it is written as it is: even ramps of grey as grey, other
 *             palettes as indices. The size is the pixels at the resolution of the bitmap, 72 when
 *             it has none. The file is read back while it is written. More than 2 GiB:
 *             T_ERR_WRITE.
 * Statuses    T_ERR_BAD_DATA: no EPS file. T_ERR_SUBTYPE: no preview that is read. Otherwise those
 *             of the last preview's reader; T_ERR_READ: one in comments ends early, the rows that
 *             are there are delivered.
 * Facts: Adobe Technical Notes 5001 and 5002; "PostScript Language Reference", third edition. */
T_API int32_t T_CALL T_LoadEPSFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadEPSBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveEPSBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);

/* Builds the look-up tables of 1-bit rows. They are part of the library, so there is nothing to
 * do; programs that call this before they load bilevel files may go on doing so.
 * T_OK. */
T_API int32_t T_CALL T_Create1BitTable(void);

/* Example: a file of GIF as a bitmap, and written with its own size as screen.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadGIFBitmap("in.gif", &bitmap) == T_OK) {
 *     T_SetScreenSize(bitmap.Width, bitmap.Height);
 *     T_SaveGIFBitmap("out.gif", &bitmap, 8);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Compressed pictures: coding ------------------------------------------------------------- */

/* Pictures are compressed as baseline JPEG (ISO/IEC 10918-1, Huffman tables of its annex K), either
 * as a JFIF stream or in the library's own format CMP, which puts a header and a trailer around the
 * stream. Colors are coded as YCbCr, grey pictures with one component.
 *
 * Output type     file      chroma samples    save formats (T_SaveFile)
 * 0               CMP       by the quality    T_FORMAT_CMP_SAVE (20)
 * 1, 2            JFIF      1x1: all          T_FORMAT_JPEG (10), T_FORMAT_JPEG_24 (11)
 * 3, 4            JFIF      2x2: a quarter    T_FORMAT_JPEG_2X2 (23), T_FORMAT_JPEG_2X2_24 (24)
 * 5, 6            JFIF      2x1: a half       T_FORMAT_JPEG_2X1 (21), T_FORMAT_JPEG_2X1_24 (22)
 * Type 2 writes what 1 writes, 4 what 3, 6 what 5. Saves in formats 10, 20, 21 and 23 at 8 bits
 * make the picture grey; 11, 22 and 24 always write 24 bits. Identification reports all CMP files
 * as T_FORMAT_CMP and all JPEG streams as T_FORMAT_JPEG.
 *
 * The quality factor is a multiplier of the quantisation tables: smaller is better.
 * JFIF  0 to 255  the factor is the internal value; 0 gives T_ERR_MULTIPLIER, but with a custom
 *                 table (T_LoadCustomQTable)
 * CMP   0 to 100  internal value factor + 6; chroma 1x1 below 14, 2x2 from 55 to 100, else 2x1
 *       101 to 255  half-height coding: rows 0, 2, 4 ... only; internal value factor / 2,
 *                 chroma 2x1
 *       -1 to -9  presets: internal value 5 with 1x1; 5, 15, 30 with 2x1; 45, 90 with 2x2; 55,
 *                 93, 93 half height with 2x1
 * A quantiser is base * internal value / 50, cut to 2 ... 255, base being table K.1 or K.2 of the
 * standard. libjpeg's quality q scales the same tables by (5000 / q) percent below 50 and
 * (200 - 2 q) percent from 50 on, so half that percentage is the internal value.
 * Grey pictures have no chroma, and instead of half height twice the internal value. The half that
 * half-height files lack is made by repeating rows when they are read.
 *
 * CMP file, numbers little-endian: 24 bytes of header, a stamp if there is one, the JPEG stream, 12
 * bytes of trailer.
 * header   0 "TAVO"; 4: 0; 5: 0x10 with a stamp, else 0; 6: flags 0x80 half height, 0x40 grey, 0x20
 *          chroma 1x1 or grey, 0x10 chroma 2x2; 7-15: 0; 16: width (2 bytes); 18: coded rows (2);
 *          20: 8 or 24; 21: 0x20 top row first, else 0; 22: internal value (2)
 * stamp    width, height, bits per pixel (8 or 24); for 8 bits 256 times red, green, blue; rows,
 *          top first, unpadded, 24-bit pixels blue first
 * trailer  0 "TAVO"; 4: XResolution (2 bytes); 6: YResolution (2); 8: 0 (4)
 *
 * The JPEG stream: SOI; APP0 "JFIF" 1.00 (unit 0, see T_SetJFIFUnit; the densities are the
 * resolutions, 0 in CMP files); with a stamp APP0 "JFXX" (extension code 0x11 for 8 bits, 0x13 for
 * 24, width, height, palette, rows as above); COM "TAVO Technologies Inc. V1.01" and a zero byte
 * (V1.00 when the bottom row comes first); DQT; DHT; SOF0; SOS; data; EOI. Equal quantisation
 * tables are written once.
 *
 * Statuses of everything that compresses: T_ERR_NOT_COMPRESSIBLE (no width or height, more than
 * 65535 coded rows or none, rows above 65535 bytes as they are coded), T_ERR_BAD_DATA (output
 * type), T_ERR_QUALITY (a factor out of its range), T_ERR_MULTIPLIER (an internal value of 0),
 * T_ERR_NO_MEMORY, T_ERR_LIMIT (of memory), T_ERR_WRITE (the write routine did not take what it was
 * given, or a file operation failed). */

/* The unit of the densities in JFIF streams. CMP files are not concerned.
 * unit  0 (the default): none; 1: dots per inch, which other programs need to take them for a
 *       resolution, unless one is 0
 * T_OK, T_ERR_ARGUMENT (another unit). */
T_API int32_t T_CALL T_SetJFIFUnit(int32_t unit);

/* Replaces the scaled quantisation tables of all later compressions.
 * table  64 entries in zigzag order, of which the low bytes count, for all components; copied. The
 *        internal value is not looked at then. Null: the scaled tables again, as at first
 * T_OK, T_ERR_ARGUMENT (an entry is 0; nothing changes). */
T_API int32_t T_CALL T_LoadCustomQTable(const uint32_t* table);

/* Takes coded bytes.
 * bytes, size  the next of the file; gone after the call
 * userData     what the caller gave with the routine
 * How many it took: any other number than `size` is a failure, T_ERR_WRITE. */
typedef uint32_t(T_CALL* T_CompressWrite)(const void* bytes, uint32_t size, void* userData);

/* Opens a compression by strips; one that is open is dropped. What precedes the coded data is
 * written, a CMP header at once.
 * bitmap             read now: Width, Height, BitsPerPixel (8 to 32), Flags (grey counts at 8 bits
 *                    only), ViewPerspective (0: the rows come top first), resolutions; needs no
 *                    storage
 * write              gets the coded bytes, outputBufferBytes at a time
 * inputStripBytes    size of a strip: as many whole rows as fit, 16 usually; with 2x2 chroma a
 *                    multiple of 16 rows
 * outputBufferBytes  0: the library's choice
 * strip              where the strips will be; not looked at
 * outputType         0 to 6, by the table of this section
 * quality            the quality factor, by the table of this section
 * userData           for `write`
 * T_OK, T_ERR_ARGUMENT (null bitmap or write), the statuses of all compression,
 * T_ERR_NOT_COMPRESSIBLE also for another depth and for rows above 65535 bytes at the bitmap's own,
 * T_ERR_SIZE (no row in a strip, or no multiple of 16). */
T_API int32_t T_CALL T_StartCompressBuffer(const BitmapHandle* bitmap, T_CompressWrite write,
                                           uint32_t inputStripBytes, uint32_t outputBufferBytes,
                                           void* strip, int32_t outputType, int32_t quality,
                                           void* userData);
/* Codes the next strip. A call after the last row does nothing.
 * strip  consecutive rows, without padding, of Width bytes for grey pictures and 3 x Width bytes
 *        (blue, green, red) for all others. The last strip has the rows that are left
 * T_OK, T_ERR_NO_MEMORY (null strip, no compression open), T_ERR_WRITE. */
T_API int32_t T_CALL T_CompressBuffer(const void* strip);
/* Ends the stream, writes the trailer of a CMP file byte by byte, and gives all memory back.
 * T_OK, T_ERR_WRITE, T_ERR_INCOMPLETE (fewer rows than the bitmap's height came: the file is ended
 * properly all the same; or no compression is open). */
T_API int32_t T_CALL T_EndCompressBuffer(void);

/* What CompressCallBack works with. The caller's, and unchanged. */
typedef struct T_CompressContext {
  int32_t OutputType;
  int32_t Quality;
  void* StripBuffer; /* 16 rows of Width bytes for grey pictures, 48 x Width bytes for others */
  void* UserData;    /* for FileWriteBuffer */
} T_CompressContext;

/* A row sink (T_RowSink) that compresses. Its first call starts the compression with
 * FileWriteBuffer, strips of 16 rows and an output buffer of 12 x Width bytes.
 * bitmap          describes the rows. Those of 8 bits with the grey mark are coded by the red parts
 *                 of their palette, 24-bit rows as they are, whatever their order; all others
 *                 become 24 bits, blue first
 * rows, rowCount  1 or more rows of BytesPerLine bytes
 * context         a T_CompressContext, the same in all calls: another one starts a compression of
 *                 its own
 * After the last row call T_CompressBuffer(StripBuffer) once for the rows in an unfinished strip,
 * then T_EndCompressBuffer, which also ends a compression given up.
 * T_OK, T_ERR_ARGUMENT (null, a negative rowCount, a depth or order that there is not),
 * T_ERR_NO_MEMORY (also: null StripBuffer), the other statuses of all compression. */
T_API int32_t T_CALL CompressCallBack(BitmapHandle* bitmap, const void* rows, int32_t rowCount,
                                      void* context);
/* A write routine (T_CompressWrite) that writes to an open file.
 * bytes, size  what is written
 * userData     the file's number as the Open operation (T_RedirectIO) returned it, cast to a
 *              pointer
 * The bytes written, 0 when the Write operation failed. */
T_API uint32_t T_CALL FileWriteBuffer(const void* bytes, uint32_t size, void* userData);

/* Compresses a whole bitmap into a new file, top row first whatever its ViewPerspective.
 * bitmap      memory or disk, any depth, order and perspective, accessed or not; left as it is.
 *             1-bit bitmaps and 8-bit ones with the grey mark (by the red parts of their palette)
 *             are written grey, all others as colors
 * name        file to create, opened for writing only
 * outputType  0 to 6, by the table of this section
 * quality     the quality factor, by the table of this section
 * flag        without a meaning yet: pass 0
 * What is wrong with the bitmap or a number is told before there is a file; what fails later leaves
 * a part of one.
 * T_OK, T_ERR_ARGUMENT (null bitmap; a depth or order that there is not), the statuses of all
 * compression, T_ERR_FORMAT (2 or 4 bits with the grey mark), T_ERR_SIZE (BytesPerLine is 0),
 * T_ERR_NO_STORAGE, T_ERR_NAME, T_ERR_CREATE, T_ERR_SEEK and T_ERR_READ (bitmaps on disk), the
 * status callback's answer. */
T_API int32_t T_CALL T_CompressBitmap(BitmapHandle* bitmap, const char* name, int32_t outputType,
                                      int32_t quality, uint32_t flag);

/* T_CompressBitmap with a stamp, a small picture of the picture, in the same file.
 * bitmap, name         as T_CompressBitmap takes them
 * outputType, quality  as T_CompressBitmap takes them
 * stampWidth           4 to 255 pixels
 * stampHeight          1 to 255 pixels. The stamp has the pixels that T_SizeBitmap would leave or,
 *                      across or down, where these are too few to fill it, those in the middle of
 *                      the parts of the picture that they stand for
 * stampBits            8: a palette of 256 colors, that of an 8-bit bitmap, otherwise an optimised
 *                      one; 24: colors
 * dither               1: a stamp of 8 bits of a bitmap above 8 bits has the built-in palette, to
 *                      which it is dithered by the bitmap's DitherMethod; any other: optimised, too
 * A stamp must fit one segment of a JPEG stream: 65,525 bytes, palette included.
 * T_OK, T_ERR_SIZE (stamp size), T_ERR_ARGUMENT (stampBits), T_ERR_NOTICE, the statuses of
 * T_CompressBitmap and, of a stamp that is reduced to 256 colors, of T_ColorResolution. */
T_API int32_t T_CALL T_CompressBitmapWithStamp(BitmapHandle* bitmap, const char* name,
                                               int32_t outputType, int32_t quality,
                                               int32_t stampWidth, int32_t stampHeight,
                                               int32_t stampBits, int32_t dither);

/* Loads a file of any format and compresses the picture as T_CompressBitmap does.
 * source       file to load, at its own depth
 * destination  file to create
 * outputType   0 to 6, by the table of this section. A 1-bit picture with type 0 becomes a file of
 *              the 1-bit compressed format instead
 * quality      the quality factor; does not count for the 1-bit compressed format
 * flag         without a meaning yet: pass 0
 * T_OK, the statuses of T_LoadBitmap and T_CompressBitmap; of the 1-bit compressed format those of
 * T_CompressBitmap1Bit. */
T_API int32_t T_CALL T_CompressALL(const char* source, const char* destination, int32_t outputType,
                                   int32_t quality, uint32_t flag);

/* Compress a file of one format while it is read, without holding the picture: rows keep the
 * file's order, and a file that begins with its bottom row gives a bottom-first one (row order 0,
 * "V1.00"). 1-bit pictures and 8-bit grey ones are written grey, all others as colors. 8-bit BMP
 * files and interlaced GIF files are loaded whole and written top first.
 * source       file of that format
 * destination  file to create, when the first rows are there
 * outputType   0 to 6, by the table of this section
 * quality      the quality factor, by the table of this section
 * flag         without a meaning yet: pass 0
 * option       (T_CompressTGA) without a meaning yet: pass 0
 * T_OK, the statuses of T_FileInfo, of the format's reader (T_ERR_BAD_DATA for a file of another
 * format) and of all compression, T_ERR_NAME and T_ERR_CREATE (destination), the status callback's
 * answer. */
T_API int32_t T_CALL T_CompressBMP(const char* source, const char* destination, int32_t outputType,
                                   int32_t quality, uint32_t flag);
T_API int32_t T_CALL T_CompressGIF(const char* source, const char* destination, int32_t outputType,
                                   int32_t quality, uint32_t flag);
T_API int32_t T_CALL T_CompressPCX(const char* source, const char* destination, int32_t outputType,
                                   int32_t quality, uint32_t flag);
T_API int32_t T_CALL T_CompressTGA(const char* source, const char* destination, int32_t outputType,
                                   int32_t quality, uint32_t flag, uint32_t option);
T_API int32_t T_CALL T_CompressTIF(const char* source, const char* destination, int32_t outputType,
                                   int32_t quality, uint32_t flag);

/* Opens a compression of rows that need no bitmap, top row first; one that was opened in this way
 * is dropped. The file carries the library's default resolution.
 * width, height  pixels and rows
 * bitsPerPixel   8 (grey), 16 (5-5-5, red in the high bits), 24 or 32 (blue first)
 * write          gets the coded bytes
 * outputType     0 to 6, by the table of this section
 * quality        the quality factor, by the table of this section
 * userData       for `write`
 * T_OK, T_ERR_ARGUMENT (null write), the statuses of all compression, T_ERR_NOT_COMPRESSIBLE also
 * for another depth and for rows above 65535 bytes as they come, T_ERR_NOTICE. */
T_API int32_t T_CALL T_StartCompressData(int32_t width, int32_t height, int32_t bitsPerPixel,
                                         T_CompressWrite write, int32_t outputType, int32_t quality,
                                         void* userData);
/* Codes the next rows, any number of them.
 * rows, rowCount  consecutive rows without padding; those beyond the height are ignored
 * T_OK, T_ERR_NO_MEMORY (null rows, no compression open), T_ERR_ARGUMENT (a negative rowCount),
 * T_ERR_WRITE. */
T_API int32_t T_CALL T_CompressData(const void* rows, int32_t rowCount);
/* Ends the stream as T_EndCompressBuffer does.
 * T_OK, T_ERR_WRITE, T_ERR_INCOMPLETE. */
T_API int32_t T_CALL T_EndCompressData(void);

/* Example: a JPEG file with chroma halved across, and a CMP file with a stamp.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.bmp", &bitmap, 24, T_ORDER_BGR) == T_OK) {
 *     T_CompressBitmap(&bitmap, "out.jpg", 5, 25, 0);
 *     T_CompressBitmapWithStamp(&bitmap, "out.cmp", 0, 25, 64, 48, 24, 0);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Compressed pictures: 1 bit -------------------------------------------------------------- */

/* The 1-bit compressed format (T_FORMAT_CMP_1BIT), for bilevel pictures, numbers little-endian:
 *  0 "TAVO"; 4: 1; 5: 0; 6: 1 when the coded bits are the complements of the pixels, else 0; 7: 0
 *  8 width (4 bytes); 12: height (4); 16: XResolution (4); 20: YResolution (4)
 * 24 red, green, blue of index 0; 27: of index 1
 * 30 checksum (2): the sum of (i + 1) times the byte at offset i, for i from 0 to 29
 * 32 the rows, top first, as one ITU-T T.6 (Group 4) stream, first pixel in the highest bit, ended
 *    by an end-of-block code; coded 0 is the standard's white. Writers take the lighter color for
 *    it. */

/* Saves a bitmap at 1 bit, with its own resolution.
 * bitmap  left as it is, but released. One of 1 bit is written as it is, any other dithered to the
 *         built-in black and white; for EPS files both become grey first (see there)
 * name    file to create
 * format  1: the 1-bit compressed format; any other number: as T_SaveFile takes it, at quality 0,
 *         in a file of pages as a further page when T_SetPageNumber is above 1
 * T_OK, the statuses of T_SaveFile. */
T_API int32_t T_CALL T_CompressBitmap1Bit(BitmapHandle* bitmap, const char* name, int32_t format);
/* Loads a file of the 1-bit compressed format.
 * name    file to read
 * bitmap  initialised and allocated here, the caller's to free; on failure it is freed
 * T_OK, the statuses of T_Load...Bitmap (see Formats). */
T_API int32_t T_CALL T_DecompressBitmap1Bit(const char* name, BitmapHandle* bitmap);

/* Example: a page as black and white.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("page.tif", &bitmap, 0, -1) == T_OK) {
 *     T_CompressBitmap1Bit(&bitmap, "page.cmp", 1);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Compressed pictures: decoding ----------------------------------------------------------- */

/* JPEG streams (ISO/IEC 10918-1: baseline, extended and progressive, Huffman or arithmetic coding,
 * 8-bit samples, 1 to 4 components, any sampling factors, restarts, a height that comes in a DNL
 * segment; JFIF, and Adobe's marker for RGB, CMYK and YCCK) and CMP files, this library's own
 * wrapping of such a stream. Lossless and hierarchical coding and 12-bit samples are T_ERR_SUBTYPE.
 *
 * The transform is the accurate integer one, the chroma of the ratios 2:1, 1:2 and 2:2 is brought
 * to size smoothly, so that pictures equal other decoders' bit for bit. Pictures of one component
 * are 8 bits with a ramp of 256 greys and T_FLAG_GRAY, all others 24 bits.
 *
 * ViewPerspective is 0, or 2 for CMP files stored bottom row first and for plain streams with this
 * library's comment that says so. Half-height CMP files give each coded row twice. Resolution in
 * dots per inch comes from the JFIF density, or from the trailer of a CMP file. Orientation tags
 * are not applied.
 *
 * A stream that is cut or damaged delivers the rows that can be decoded: behind a bad code it goes
 * on with the next block, and in step again from the next restart marker on. What is lost is mid
 * grey. Then it gives T_ERR_READ (cut) or T_ERR_BAD_DATA (damaged, or more scans than any picture
 * needs, of which the first are used); where more than 2^28 pixels would be grey, the rows end at
 * the loss.
 *
 * Memory does not depend on the height for sequential streams of one scan; progressive streams, and
 * those with a scan for each component, take 2 bytes a sample. */

/* Reads a JPEG or CMP file and hands its rows to `sink` in stored order.
 * name           file to read
 * address, size  (T_DecompressMemory) the block that stands for the file
 * bitmap         unallocated: becomes a record of the rows; allocated: tells depth and order wanted
 * sink           gets the rows
 * bitsPerPixel   8: luminance, without decoding the colors; 16, 24, 32: color (of grey pictures,
 *                too); 1, 4: dithered to the built-in palette
 * context        passed to the sink
 * option         order of color rows for an unallocated bitmap: T_ORDER_RGB or T_ORDER_BGR; 4: the
 *                file's, which counts as T_ORDER_BGR
 * T_OK, the answers of the sink and the status callback, T_ERR_NOTICE, T_ERR_ARGUMENT (null bitmap
 * or sink, bitsPerPixel), T_ERR_NAME, T_ERR_OPEN, T_ERR_READ, T_ERR_SEEK, T_ERR_BAD_DATA,
 * T_ERR_SUBTYPE, T_ERR_SIZE, T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_TOO_LARGE. */
T_API int32_t T_CALL T_DecompressFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                      int32_t bitsPerPixel, void* context, int32_t option);
T_API int32_t T_CALL T_DecompressMemory(const void* address, BitmapHandle* bitmap, T_RowSink sink,
                                        int32_t bitsPerPixel, void* context, int32_t option,
                                        uint32_t size);

/* Decodes a JPEG or CMP file into a bitmap.
 * name           file to read
 * address, size  (T_DecompressBitmapMemory) the block that stands for the file
 * bitmap         allocated and of the picture's size: filled as it is; any other is freed,
 *                initialised (it keeps its Order if that is a T_ORDER_ value) and allocated.
 *                LastRow and LastColumn get height - 1 and width - 1
 * bitsPerPixel   depth of a bitmap allocated here; not a depth: the file's
 * A file that is not identified, or another format's, leaves the bitmap as it was; after any other
 * failure, of damaged data too, it is freed.
 * T_OK, T_ERR_ARGUMENT (null bitmap), the statuses of T_FileInfo, T_ERR_FORMAT (another format),
 * those of T_DecompressFile, T_ERR_WRITE (a bitmap on disk). */
T_API int32_t T_CALL T_DecompressBitmap(const char* name, BitmapHandle* bitmap,
                                        int32_t bitsPerPixel);
T_API int32_t T_CALL T_DecompressBitmapMemory(const void* address, BitmapHandle* bitmap,
                                              int32_t bitsPerPixel, uint32_t size);

/* Decodes a JPEG or CMP stream that arrives in pieces of any size; one at a time in a process.
 * T_StartDecompressData forgets what was going on. T_DecompressData takes the next piece and calls
 * the sink when rows are ready. T_EndDecompressData says that no more come, delivers the rest and
 * gives the result.
 * sink          gets the rows; its source is a record of the library's
 * bitsPerPixel  as T_DecompressFile takes it
 * order         of color rows: T_ORDER_RGB or T_ORDER_BGR
 * context       passed to the sink
 * bytes, size   the piece, which need not stay; null when size is 0
 * Streams of one scan are not kept; others are decoded at the end. The resolution in a CMP trailer
 * comes too late to be known. In a damaged stream with restart markers more may be lost than in a
 * file. A failure is repeated by every later call up to T_EndDecompressData.
 * T_OK, the answers of the sink and the status callback, T_ERR_ARGUMENT (not started, depth, order,
 * null sink or bytes), T_ERR_NOTICE, T_ERR_READ (cut short), T_ERR_BAD_DATA, T_ERR_SUBTYPE,
 * T_ERR_SIZE, T_ERR_NO_MEMORY, T_ERR_LIMIT. */
T_API int32_t T_CALL T_StartDecompressData(T_RowSink sink, int32_t bitsPerPixel, int32_t order,
                                           void* context);
T_API int32_t T_CALL T_DecompressData(const void* bytes, uint32_t size);
T_API int32_t T_CALL T_EndDecompressData(void);

/* Reads the stamp, a small picture, of a CMP file or of a JPEG file: of its first JFXX segment
 * (JFIF 1.02: palette, colors, or a JPEG stream of up to 1024 x 1024 pixels), otherwise what its
 * JFIF segment holds.
 * name   file to read
 * stamp  initialised and allocated here, the caller's to free: 8 bits with a palette or 24 bits,
 *        blue first (streams with this library's comment have blue first, too, others red), top row
 *        first; without storage after a failure
 * T_OK, T_ERR_NO_STAMP (also for other formats), T_ERR_READ (cut short), T_ERR_BAD_DATA (an empty
 * stamp, another depth, damage, or a file of no known format), T_ERR_SUBTYPE (a coded stamp's
 * coding), T_ERR_ARGUMENT (null stamp), T_ERR_NAME, T_ERR_OPEN, T_ERR_SEEK, T_ERR_NO_MEMORY,
 * T_ERR_LIMIT, T_ERR_TOO_LARGE, T_ERR_NOTICE, T_ERR_WRITE (storage on disk). */
T_API int32_t T_CALL T_GetCompressFileStamp(const char* name, BitmapHandle* stamp);

/* T_JPEGINFO.Factor: no factor codes in this way. */
#define T_FACTOR_NONE (-2147483647 - 1)

/* How a JPEG or CMP file is coded; T_GetJPEGInfo fills it. */
typedef struct T_JPEGINFO {
  int32_t Format;               /* T_FORMAT_JPEG or T_FORMAT_CMP */
  int32_t Components;           /* 1 to 4 */
  int32_t HorizontalFactors[4]; /* sampling factors of each, 1 to 4; of those there are not: 0 */
  int32_t VerticalFactors[4];
  int32_t Progressive;     /* 1: progressive; 0: baseline or extended sequential */
  int32_t RestartInterval; /* in MCUs, at the first scan; 0: none */
  int32_t HalfHeight;      /* 1: a CMP file with every second row only */
  int32_t Quality;         /* 1 to 100 as libjpeg counts: that whose luminance table comes nearest
                              to the first component's. 0: its table comes after the first scan */
  int32_t Factor;          /* the library's quality factor. JPEG: 1 to 255, found as Quality is (0
                              where it is 0). CMP: that with which output type 0 codes in the way
                              that the header says, T_FACTOR_NONE when there is none */
  int32_t StampWidth;      /* what T_GetCompressFileStamp reads; all 0 without a stamp */
  int32_t StampHeight;
  int32_t StampBits; /* 8 or 24 */
  int32_t Reserved[12];
} T_JPEGINFO;

/* Reads the headers of a JPEG or CMP file.
 * name  file to read
 * info  filled with how it is coded, all 0 after a failure. A stamp that cannot be read counts as
 *       none
 * T_OK, T_ERR_ARGUMENT (null info), T_ERR_BAD_DATA (another format, damage), T_ERR_SUBTYPE (a
 * coding that is not decoded), T_ERR_READ (cut short), T_ERR_NAME, T_ERR_OPEN, T_ERR_SEEK,
 * T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_TOO_LARGE, T_ERR_NOTICE. */
T_API int32_t T_CALL T_GetJPEGInfo(const char* name, T_JPEGINFO* info);

/* Example: the quality of a JPEG file, and its picture.
 *   T_JPEGINFO info;
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_GetJPEGInfo("in.jpg", &info) == T_OK && info.Quality > 50 &&
 *       T_DecompressBitmap("in.jpg", &bitmap, 24) == T_OK) {
 *     T_FreeBitmap(&bitmap);
 *   }
 */

#ifdef _WIN32

/* ---- Display: handles ------------------------------------------------------------------------ */

/* The system's own handles by their strict tags: programs pass HDC, HWND, HBITMAP, HPALETTE and
 * const RECT* as they are, whichever header comes first. */
struct HDC__;
struct HWND__;
struct HBITMAP__;
struct HPALETTE__;
struct tagRECT;
typedef struct HDC__* T_DC;
typedef struct HWND__* T_Window;
typedef struct HBITMAP__* T_DeviceBitmap;
typedef struct HPALETTE__* T_PaletteObject;
typedef const struct tagRECT* T_Rect; /* right and bottom are exclusive */

/* ---- Painting -------------------------------------------------------------------------------- */

/* How pictures are painted and printed from now on.
 * T_EnableFastPaint      what shrinks shows single pixels, never means. At first off
 * T_EnableIndexedPaint   index i of a picture of up to 8 bits is shown as entry i of the palette
 *                        that is selected into the device context; with the stock palette nothing
 *                        changes. At first off
 * T_EnableDitheredPaint  on devices with a table of colors pictures are dithered to it; off: each
 *                        pixel gets the nearest color. At first on
 * T_EnableOrderedDither  that dithering is ordered, whatever the record's DitherMethod. At first
 *                        off
 * T_EnableScaleToGray    pictures of 1 bit that shrink get mean colors instead of single pixels. At
 *                        first off
 * on                     not 0: on; 0: off
 * T_OK. */
T_API int32_t T_CALL T_EnableFastPaint(int32_t on);
T_API int32_t T_CALL T_EnableIndexedPaint(int32_t on);
T_API int32_t T_CALL T_EnableDitheredPaint(int32_t on);
T_API int32_t T_CALL T_EnableOrderedDither(int32_t on);
T_API int32_t T_CALL T_EnableScaleToGray(int32_t on);

/* Paints a picture, or a part of it, at any size.
 * bitmap       any depth, storage, order and perspective; accessed or not, and so it stays. Indices
 *              have the colors of GdiObjectA, or else of the record's own palette with Colors
 *              entries; those beyond are white
 * dc           of a window, of memory, of a metafile; afterwards as it was: clip region, palette,
 *              modes, selected objects
 * source       the part that is shown, in pixels from the top left corner, whatever the
 *              perspective; null: all of it
 * destination  where, in logical coordinates: its corners are mapped to the device, and the picture
 *              is scaled to the pixels between them. A left edge to the right of the right one
 *              mirrors it, a top below the bottom turns it upside down: the same pixels, reversed.
 *              Without width or height nothing is painted. Null: the source's size at (0, 0)
 * clip         logical coordinates; what lies outside is not painted, what lies inside is the same
 *              as without. Null: only the context's own clip region counts
 * rop          ternary raster operation (SRCCOPY, SRCINVERT ...), 0: SRCCOPY. Each pixel is drawn
 *              once
 * Where s pixels become n, a device's pixel i shows the one at floor((2 i + 1) s / (2 n)): always
 * when s <= n, with fast painting, of 1 bit without T_EnableScaleToGray, and of 2, 4 and 8 bits on
 * a device with a table. Else it shows the mean of what it covers, each component less than 1 from
 * the true value. The two directions are apart.
 * A device with a table of colors is a memory context with a DIB section of up to 8 bits or with a
 * monochrome bitmap, and a display that takes a palette: there the picture's painting palette is
 * selected for the call, of more than 8 bits GdiObjectB or what T_CreateScreenPalette would make.
 * Indexed pictures whose colors are all in the table, as it shows, get these; all others are
 * dithered, as T_DitherLine does it from the destination's top left pixel on, or get the nearest.
 * Takes 4 MiB beside the picture up to 16,384 pixels across.
 * T_OK, T_ERR_ARGUMENT (null bitmap or dc; a source that is empty or leaves the picture; a
 * destination of 2^31 pixels and more; a depth, order or dithering method that there is not; on a
 * display that takes a palette also no Colors), T_ERR_NO_STORAGE, T_ERR_SEEK and T_ERR_READ
 * (bitmaps on disk), T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE, T_ERR_DEVICE (the system refused a
 * drawing call). */
T_API int32_t T_CALL T_PaintDevice(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop);

/* Paints rows of a picture while they come, as a row sink gets them.
 * picture            describes them and the whole picture; no storage needed. ViewPerspective and,
 *                    with T_FLAG_INTERLACED, the four passes of GIF say where a row belongs
 * rows               rowCount rows of BytesPerLine bytes, the caller's
 * firstRow           how many came before them
 * rowCount           0: nothing is painted
 * dc, source, rop    as T_PaintDevice takes them
 * destination, clip  as T_PaintDevice takes them
 * All else as T_PaintDevice, of the whole picture: drawn are the device's rows whose source row, by
 * the rule for single pixels, is among `rows`. All bands together give what T_PaintDevice gives,
 * but where means of rows cross the edge of a band: there they are those of its own rows. Dithering
 * is ordered, whatever the method.
 * T_OK, T_ERR_ARGUMENT (as T_PaintDevice, but for the method; null rows; rows outside the picture),
 * T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE, T_ERR_DEVICE. */
T_API int32_t T_CALL T_PaintBuffer(BitmapHandle* picture, const void* rows, int32_t firstRow,
                                   int32_t rowCount, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop);

/* Effects, in which a picture appears */
#define T_EFFECT_NONE 0       /* as T_PaintDevice */
#define T_EFFECT_WIPE_RIGHT 1 /* the way the edge moves */
#define T_EFFECT_WIPE_LEFT 2
#define T_EFFECT_WIPE_DOWN 3
#define T_EFFECT_WIPE_UP 4
#define T_EFFECT_BOX_OUT 5           /* from the middle */
#define T_EFFECT_BOX_IN 6            /* from the edges */
#define T_EFFECT_BLINDS_VERTICAL 7   /* slats are columns, which open from left to right */
#define T_EFFECT_BLINDS_HORIZONTAL 8 /* slats are rows, which open downwards */
#define T_EFFECT_CHECKERBOARD 9      /* first the even squares, then the odd ones */
#define T_EFFECT_DISSOLVE 10         /* squares in a shuffled order, always the same */
#define T_EFFECT_SPLIT_VERTICAL 11   /* from the middle column outwards */
#define T_EFFECT_SPLIT_HORIZONTAL 12 /* from the middle row outwards */
#define T_EFFECT_DIAGONAL 13         /* from the top left */
#define T_EFFECT_SPIRAL 14           /* squares, from the outside, clockwise */

/* Paints a picture step by step. Each pixel is drawn once; at the end they are those of
 * T_PaintDevice.
 * bitmap, dc, source      as T_PaintDevice takes them
 * destination, clip, rop  as T_PaintDevice takes them
 * effect                  T_EFFECT_ value
 * blockSize               width of a step, slat or square in device pixels, 1 or more
 * delay                   milliseconds between two steps, 0 or more
 * The status callback is asked before the first step and after each, but for T_EFFECT_NONE; its
 * answer ends the effect, and what has been drawn stays. Holds one picture of the size that is
 * painted; beyond 32,768 pixels in a direction the effect is one of the part that shows.
 * T_OK, T_PaintDevice's statuses, T_ERR_ARGUMENT also for what effect, blockSize and delay may not
 * be; the callback's answer. */
T_API int32_t T_CALL T_PaintEffect(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop, int32_t effect, int32_t blockSize,
                                   int32_t delay);

/* Example: a picture at the top left of a window, at its own size. `dc` is the window's.
 *   extern T_DC dc;
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.jpg", &bitmap, 24, T_ORDER_BGR) == T_OK) {
 *     T_PaintDevice(&bitmap, dc, NULL, NULL, NULL, 0);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Device-dependent bitmaps ---------------------------------------------------------------- */

/* Makes a bitmap of the device's own that shows a picture, as T_PaintDevice paints it at the same
 * size.
 * bitmap  as T_PaintDevice takes it
 * dc      what the bitmap is compatible with; null: the screen. A memory context that has no bitmap
 *         yet makes black and white ones
 * result  gets it; the caller's, for DeleteObject. Null after a failure
 * T_OK, T_PaintDevice's statuses, T_ERR_ARGUMENT also for a null result, T_ERR_DEVICE also when the
 * device has no room for the bitmap. */
T_API int32_t T_CALL T_ConvertToDDB(BitmapHandle* bitmap, T_DC dc, T_DeviceBitmap* result);

/* A bitmap from a device bitmap or a DIB section.
 * ddb      selected into a DC or not; stays as it is and where it is
 * palette  the colors of 8-bit device bitmaps; null: the display's. Not looked at for others.
 * bitmap   initialized here, then allocated (memory, else disk) and released; without storage after
 *          a failure. What it had must have been freed.
 * 1, 4 and 8 bits stay: a DIB section's with its own table, a device bitmap's of 1 bit black and
 * white. All that is deeper becomes 24 bits, blue first. Rows are stored from the bottom up.
 * T_OK, T_ERR_ARGUMENT (null, or not a bitmap: the record is not touched), T_ERR_SIZE,
 * T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE, T_ERR_DEVICE (the system does not give the pixels);
 * of storage on disk T_ERR_SEEK, T_ERR_WRITE. */
T_API int32_t T_CALL T_ConvertFromDDB(T_DeviceBitmap ddb, T_PaletteObject palette,
                                      BitmapHandle* bitmap);

/* Example: a file as a bitmap that the screen takes. `shown` goes to DeleteObject afterwards.
 *   T_DeviceBitmap shown = NULL;
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("in.bmp", &bitmap, 0, -1) == T_OK) T_ConvertToDDB(&bitmap, NULL, &shown);
 *   T_FreeBitmap(&bitmap);
 */

/* ---- Clipboard ------------------------------------------------------------------------------- */

/* Puts a picture on the clipboard: as CF_DIB, which T_ConvertToDIB describes, up to 8 bits with
 * CF_PALETTE; the system makes the other formats of it.
 * bitmap  as T_ConvertToDIB takes it; stays as it is
 * owner   the window that owns the clipboard's content from then on, of the calling thread; null: a
 *         window of the library's for the length of the call
 * What was there is emptied only when all that replaces it has been made. While another program has
 * the clipboard open, it is tried for 250 ms.
 * T_OK, those of T_ConvertToDIB, T_ERR_ARGUMENT (also: the owner is no window), T_ERR_BUSY (another
 * program has it still), T_ERR_DEVICE (the system does not take it, or makes no window). */
T_API int32_t T_CALL T_CopyToClipboard(BitmapHandle* bitmap, T_Window owner);

/* Gets the picture that is on the clipboard: CF_DIB, else CF_DIBV5, else CF_BITMAP with CF_PALETTE.
 * bitmap  as T_ConvertFromDIB takes it: initialized here, without storage after a failure
 * owner   a window of the calling thread that opens the clipboard, or null
 * The pixels are copied; what is on the clipboard stays there, and is not believed.
 * T_OK, T_ERR_NO_PICTURE (nothing, or no picture), T_ERR_BUSY (as T_CopyToClipboard),
 * T_ERR_ARGUMENT (null, or the owner is no window: the record is not touched), those of
 * T_ConvertFromDIB and T_ConvertFromDDB. */
T_API int32_t T_CALL T_CopyFromClipboard(BitmapHandle* bitmap, T_Window owner);

/* Example: what is on the clipboard, in a file.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_CopyFromClipboard(&bitmap, NULL) == T_OK) {
 *     T_SaveBitmap("out.png", &bitmap, T_FORMAT_PNG, 0, 0);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Printing -------------------------------------------------------------------------------- */

/* Placement on the page */
#define T_PRINT_STRETCH 0 /* the whole destination */
#define T_PRINT_FIT 1     /* as large as goes in, proportions on paper kept */
#define T_PRINT_ACTUAL 2  /* the size that the resolution says; as FIT when that is larger */
#define T_PRINT_CENTER 16 /* added: in the middle of the destination, else top left */

/* Prints a picture on the page that has been begun, as T_PrintBitmapExt does.
 * bitmap, dc   as T_PrintBitmapExt takes them
 * destination  logical: placed as T_PRINT_STRETCH; null: all of the page, as T_PRINT_ACTUAL
 * T_OK, T_PrintBitmapExt's statuses. */
T_API int32_t T_CALL T_PrintBitmap(BitmapHandle* bitmap, T_DC dc, T_Rect destination);

/* Prints a picture, or a part of it.
 * bitmap        as T_PaintDevice takes it. Its resolutions count for FIT and ACTUAL, so that a fax
 *               of 204 x 98 dots per inch is upright; an unknown one is the other one, or 150
 * dc            of a printer, a metafile or memory; the caller's
 * source, rop   as T_PaintDevice takes them
 * destination   logical, right > left, bottom > top, under 2^31 pixels; null: all of the page
 * placement     T_PRINT_ value
 * documentName  a document of one page is printed; null: on the page that has been begun
 * outputName    with a document: the file that gets what the printer would; null: the printer
 * What shrinks is scaled as by T_PaintDevice, what grows by the printer. It gets a mebibyte a call
 * at most, or a row: up to 8 bits that are not averaged as they are, all else as 24; dithering is
 * the printer's. The status callback is asked before the first band and after each. After a failure
 * or stop the document is aborted, or ended where the system refuses that.
 * T_OK, the callback's answer, T_ERR_ARGUMENT (null bitmap or dc; a source that is empty or leaves
 * the picture; a wrong destination or placement; a depth or order that there is not),
 * T_ERR_NO_STORAGE, T_ERR_SEEK and T_ERR_READ (bitmaps on disk), T_ERR_NO_MEMORY, T_ERR_LIMIT,
 * T_ERR_NOTICE, T_ERR_DEVICE (the system failed). */
T_API int32_t T_CALL T_PrintBitmapExt(BitmapHandle* bitmap, T_DC dc, T_Rect source,
                                      T_Rect destination, uint32_t placement, uint32_t rop,
                                      const char* documentName, const char* outputName);

/* Example: a fax on a page of its own, as large as goes in. `dc` is a printer's.
 *   extern T_DC dc;
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_LoadBitmap("fax.tif", &bitmap, 0, -1) == T_OK) {
 *     T_PrintBitmapExt(&bitmap, dc, NULL, NULL, T_PRINT_FIT, 0, "Fax", NULL);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

/* ---- Scanners -------------------------------------------------------------------------------- */

/* Pictures from scanners and cameras, through TWAIN (1.5 and later). The source manager is a module
 * of the system, "TWAIN.DLL" (then "TWAIN_32.DLL") with the function "DSM_ENTRY" (then
 * "DSM_Entry", then ordinal 1): loaded by each call, and freed at its end. These calls show
 * dialogues and run a message loop, in which the program's windows get their messages as ever:
 * a program that must not be used meanwhile disables its window itself. They belong to one thread,
 * and none may be made while another one lasts.
 * Whatever happens, the source is led back through all its states, and closed. */

/* Lets the user choose the default source in the manager's own dialogue.
 * window  the dialogue's parent; null: a hidden one of the library's
 * T_OK, T_ERR_CANCELLED, T_ERR_NO_SOURCE (there is none, or no dialogue), T_ERR_UNAVAILABLE,
 * T_ERR_ARGUMENT (not a window), T_ERR_DEVICE (no window can be made). */
T_API int32_t T_CALL T_TwainSelect(T_Window window);

/* One picture from the default source, which shows its dialogue. Further ones that it offers are
 * refused.
 * window  the dialogues' parent; null: a hidden one of the library's
 * bitmap  initialized here; after T_OK it has the picture, is released, and its storage the
 *         caller's. After a failure it has no storage. What it had before must have been freed.
 * T_OK, T_TwainAcquireExt's statuses, T_ERR_ARGUMENT also for a null bitmap. The picture is one of
 * its memory transfers or, where the source refuses those, native. */
T_API int32_t T_CALL T_TwainAcquire(T_Window window, BitmapHandle* bitmap);

/* What is asked of a source. It may refuse any of it and then does as it does without. */
typedef struct T_TwainOptions { /* 100 bytes, 112 in 64-bit programs; 0: the source's own setting */
  uint32_t Size;                /* of this record */
  uint32_t Flags;               /* 1 no dialogue, 2 use the feeder */
  int32_t Transfer;             /* 0 memory, native where refused; 1 native; 2 file; 3 memory */
  int32_t PixelType;            /* 1 black and white, 2 grey, 3 RGB, 4 palette */
  int32_t BitDepth;             /* of a pixel */
  int32_t XResolution;          /* dots per inch, up to 32767 */
  int32_t YResolution;
  int32_t Pages;        /* at most so many; 0: all that come */
  int32_t Left;         /* what is scanned, 1/1000 inch from the top left corner; all four 0: */
  int32_t Top;          /* everything */
  int32_t Right;        /* beyond Left, up to 32767000 */
  int32_t Bottom;       /* beyond Top */
  int32_t Brightness;   /* -1000 ... 1000 */
  int32_t Contrast;     /* -1000 ... 1000 */
  int32_t FileFormat;   /* the source's file format number: 0 TIFF, 2 BMP, 4 JFIF ... */
  const char* FileName; /* file transfer: up to 245 bytes; from page 2 on with the page's number
                           before the extension, "scan.tif", "scan2.tif" ... */
  char SourceName[36];  /* up to 33 letters, a zero behind them; empty: the default source */
} T_TwainOptions;

/* Gets a picture.
 * picture  in memory, else on disk, released, and the library's: freed when the call is over. Who
 *          keeps it takes the record (T_CopyBitmapHandle) and then initializes the library's
 *          (T_InitBitmap). Of a file transfer it has width, height (0: not known), depth and
 *          resolution, and no storage
 * page     its number, from 1
 * context  what the caller gave with the callback
 * T_OK lets the work go on; anything else ends it and is returned. */
typedef int32_t(T_CALL* T_TwainPage)(BitmapHandle* picture, int32_t page, void* context);

/* All pictures of a source, one after the other.
 * window    the dialogues' parent; null: a hidden one of the library's
 * options   null: all 0
 * page      is called for each, when the source has ended its transfer
 * context   passed to `page`
 * Pictures  Of memory transfers: 1 bit (index 0 is black, either way the source may have it), 8
 *           bits (grey: a ramp of 256, T_FLAG_GRAY; or a palette) or 24 bits (T_ORDER_BGR), stored
 *           from the top down; 2 and 4 bits become 8, samples of 16 bits keep their high byte. The
 *           length is that which came, whether or not the source knew it before; rows beyond one
 *           that it told are left out. Of native transfers: as T_ConvertFromDIB makes them. The
 *           resolution is the source's; the default where it tells none.
 * The call waits for the source as long as that takes. Meanwhile the status callback is told 0 four
 * times a second, and its answer can end the work.
 * T_OK               a picture came and nothing failed, also when the user closed the source
 *                    between two pictures
 * another answer     that of `page`, or of the status callback
 * T_ERR_CANCELLED    the user closed the source before any picture or stopped a transfer, the
 *                    window was destroyed, or the program is to end: WM_QUIT is posted again
 * T_ERR_UNAVAILABLE  no manager: module or function missing
 * T_ERR_NO_SOURCE    the manager or the source cannot be opened, or the source not enabled
 * T_ERR_SOURCE       the source failed after that, or broke the rules: T_TwainCondition may say
 *                    more. Pictures that were delivered are whole; the one at work is lost. When
 *                    all have come that were asked for, it is no failure that the source cannot
 *                    end its transfer, be reset, or be closed
 * T_ERR_ARGUMENT     null `page`, not a window, a Size that is not the record's, Flags that there
 *                    are not, a number out of its range, a SourceName too long, a file transfer
 *                    without a name or with one too long
 * T_ERR_DEVICE       no window or message can be had
 * T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_NOTICE; of storage on disk T_ERR_SEEK, T_ERR_WRITE. */
T_API int32_t T_CALL T_TwainAcquireExt(T_Window window, const T_TwainOptions* options,
                                       T_TwainPage page, void* context);

/* TWAIN's condition code of the failure that ended the last of these calls: 3 no source, 5 the
 * source has told the user, 6 capability refused, 9 protocol, 10 bad value, 11 wrong order ...; 1
 * where the source does not say. 0: T_OK, or a fault that was no failure of an operation. */
T_API int32_t T_CALL T_TwainCondition(void);

/* Example: a page from the scanner that the user has chosen, in a file.
 *   BitmapHandle bitmap = T_EMPTY;
 *   if (T_TwainAcquire(NULL, &bitmap) == T_OK) {
 *     T_SaveBitmap("scan.tif", &bitmap, T_FORMAT_TIFF_LZW, 0, 0);
 *     T_FreeBitmap(&bitmap);
 *   }
 */

#endif /* _WIN32 */

#ifdef __cplusplus
}
#endif

#endif /* TAVO45_H */

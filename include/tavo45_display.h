/* Display and devices; becomes a section of tavo45.h. */
#ifndef TAVO45_DISPLAY_H
#define TAVO45_DISPLAY_H

#include "tavo45.h"

#ifdef __cplusplus
extern "C" {
#endif

#define T_ERR_DEVICE (-110)      /* the system refused: drawing, document, window, device bitmap */
#define T_ERR_BUSY (-111)        /* another program holds the clipboard */
#define T_ERR_NO_PICTURE (-112)  /* the clipboard is empty or holds no picture */
#define T_ERR_UNAVAILABLE (-113) /* there is no scanner manager: module or entry missing */
#define T_ERR_NO_SOURCE (-114)   /* no scanner source, or it cannot be opened or enabled */
#define T_ERR_SOURCE (-115)      /* the scanner source failed or broke the rules during the work */
#define T_ERR_CANCELLED (-116)   /* the user cancelled */

/* ---- Device-independent bitmaps ----------------------------------------------------------------
 *
 * What BMP files hold behind their file header, in one piece: a header, perhaps masks, a color
 * table, the rows. Programs exchange it as a block of global memory (CF_DIB, scanners): on Windows
 * a handle as GlobalAlloc gives it, elsewhere simply the address. */

/* A bitmap as such a block: 40-byte header, rows uncoded and from the bottom up, nothing behind.
 * bitmap  memory or disk, any depth, order and perspective, accessed or not; stays as it is
 * dib     gets the block, which is the caller's from then on: T_FreeDIB or, on Windows, GlobalFree
 *         frees it, and the clipboard may take it (GMEM_MOVEABLE). Null after a failure.
 * size    gets its bytes; may be null
 * 1, 4, 8, 16, 24 and 32 bits stay, 2 become 4. Colors have blue first, pixels of 16 bits 5-5-5;
 * the fourth byte of 32 bits is kept; padding is zero. The table is the record's own palette with
 * Colors entries when that is 1 or more and less than the depth has (biClrUsed tells it), else with
 * all of the depth's. Dots per meter come from the resolutions.
 * T_OK, T_ERR_ARGUMENT (null; the record's depth or order), T_ERR_NO_STORAGE, T_ERR_SIZE (the block
 * would pass 4 GiB), T_ERR_NO_MEMORY, T_ERR_LIMIT; of disk bitmaps T_ERR_SEEK, T_ERR_READ. */
T_API int32_t T_CALL T_ConvertToDIB(BitmapHandle* bitmap, void** dib, uint32_t* size);

/* A bitmap from such a block, which may come from anybody: nothing in it is believed.
 * dib     the address of `size` bytes, at any alignment; with size 0 (Windows) a handle of global
 *         memory, whose size is asked for. Stays the caller's; no pointer is kept.
 * size    of the block in bytes; bytes behind the rows do no harm
 * bitmap  initialized here, then allocated (memory, else disk) and released; without storage after
 *         a failure. What it had must have been freed.
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
 * or uncoded rows), T_ERR_NO_MEMORY, T_ERR_LIMIT; of storage on disk T_ERR_SEEK, T_ERR_WRITE. */
T_API int32_t T_CALL T_ConvertFromDIB(const void* dib, uint32_t size, BitmapHandle* bitmap);

/* Makes the record itself a device-independent bitmap: afterwards Order is T_ORDER_BGR,
 * ViewPerspective 2, and &Info with Data of the accessed bitmap is one as the system's drawing
 * calls take it (BITMAPINFO and bits), its header that of T_ConvertToDIB. A second call changes
 * nothing.
 * bitmap  memory or disk, any depth; rows are turned and exchanged where they lie. Only 2 bits,
 *         which become 4, get new storage. A bitmap that was accessed stays so.
 * T_OK, T_ERR_ARGUMENT (as above), T_ERR_NO_STORAGE, T_ERR_NO_MEMORY, T_ERR_LIMIT: all as it was.
 * Of disk bitmaps T_ERR_SEEK, T_ERR_READ, T_ERR_WRITE: rows may have traded places. */
T_API int32_t T_CALL T_ChangeToDIB(BitmapHandle* bitmap);

/* Frees a block of T_ConvertToDIB, on Windows any of global memory. T_OK, also for null. */
T_API int32_t T_CALL T_FreeDIB(void* dib);

/* ---- Display: Windows only --------------------------------------------------------------------
 */

#ifdef _WIN32

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

/* ---- Painting ----------------------------------------------------------------------------------
 */

T_API int32_t T_CALL T_EnableFastPaint(int32_t on);
T_API int32_t T_CALL T_EnableIndexedPaint(int32_t on);
T_API int32_t T_CALL T_EnableDitheredPaint(int32_t on);
T_API int32_t T_CALL T_EnableOrderedDither(int32_t on);
T_API int32_t T_CALL T_EnableScaleToGray(int32_t on);

T_API int32_t T_CALL T_PaintDevice(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop);
T_API int32_t T_CALL T_PaintBuffer(BitmapHandle* picture, const void* rows, int32_t firstRow,
                                   int32_t rowCount, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop);

#define T_EFFECT_NONE 0
#define T_EFFECT_WIPE_RIGHT 1
#define T_EFFECT_WIPE_LEFT 2
#define T_EFFECT_WIPE_DOWN 3
#define T_EFFECT_WIPE_UP 4
#define T_EFFECT_BOX_OUT 5
#define T_EFFECT_BOX_IN 6
#define T_EFFECT_BLINDS_VERTICAL 7
#define T_EFFECT_BLINDS_HORIZONTAL 8
#define T_EFFECT_CHECKERBOARD 9
#define T_EFFECT_DISSOLVE 10
#define T_EFFECT_SPLIT_VERTICAL 11
#define T_EFFECT_SPLIT_HORIZONTAL 12
#define T_EFFECT_DIAGONAL 13
#define T_EFFECT_SPIRAL 14

T_API int32_t T_CALL T_PaintEffect(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop, int32_t effect, int32_t blockSize,
                                   int32_t delay);

/* ---- Device-dependent bitmaps ------------------------------------------------------------------
 */

T_API int32_t T_CALL T_ConvertToDDB(BitmapHandle* bitmap, T_DC dc, T_DeviceBitmap* result);

/* A bitmap from a device bitmap or a DIB section.
 * ddb      selected into a DC or not; stays as it is and where it is
 * palette  the colors of 8-bit device bitmaps; null: the display's. Not looked at for others.
 * bitmap   initialized here, then allocated (memory, else disk) and released; without storage after
 *          a failure. What it had must have been freed.
 * 1, 4 and 8 bits stay: a DIB section's with its own table, a device bitmap's of 1 bit black and
 * white. All that is deeper becomes 24 bits, blue first. Rows are stored from the bottom up.
 * T_OK, T_ERR_ARGUMENT (null, or not a bitmap: the record is not touched), T_ERR_SIZE,
 * T_ERR_NO_MEMORY, T_ERR_LIMIT, T_ERR_DEVICE (the system does not give the pixels); of storage on
 * disk T_ERR_SEEK, T_ERR_WRITE. */
T_API int32_t T_CALL T_ConvertFromDDB(T_DeviceBitmap ddb, T_PaletteObject palette,
                                      BitmapHandle* bitmap);

/* ---- Clipboard --------------------------------------------------------------------------------
 */

/* Puts a picture on the clipboard: as CF_DIB, which T_ConvertToDIB describes, up to 8 bits with
 * CF_PALETTE; the system makes the other formats of it.
 * bitmap  as for T_ConvertToDIB; stays as it is
 * owner   the window that owns the clipboard's content from then on, of the calling thread; null: a
 *         window of the library's for the length of the call
 * What was there is emptied only when all that replaces it has been made. While another program has
 * the clipboard open, it is tried for 250 ms.
 * T_OK, those of T_ConvertToDIB, T_ERR_ARGUMENT (also: the owner is no window), T_ERR_BUSY,
 * T_ERR_DEVICE (the system does not take it). */
T_API int32_t T_CALL T_CopyToClipboard(BitmapHandle* bitmap, T_Window owner);

/* Gets the picture that is on the clipboard: CF_DIB, else CF_DIBV5, else CF_BITMAP with CF_PALETTE.
 * bitmap  as for T_ConvertFromDIB: initialized here, without storage after a failure
 * owner   a window of the calling thread that opens the clipboard, or null
 * The pixels are copied; what is on the clipboard stays there, and is not believed.
 * T_OK, T_ERR_NO_PICTURE (nothing, or no picture), T_ERR_BUSY (as above), T_ERR_ARGUMENT (null, or
 * the owner is no window: the record is not touched), those of T_ConvertFromDIB and
 * T_ConvertFromDDB. */
T_API int32_t T_CALL T_CopyFromClipboard(BitmapHandle* bitmap, T_Window owner);

/* ---- Printing
 * ------------------------------------------------------------------------------------ */

#define T_PRINT_STRETCH 0
#define T_PRINT_FIT 1
#define T_PRINT_ACTUAL 2
#define T_PRINT_CENTER 0x10

T_API int32_t T_CALL T_PrintBitmap(BitmapHandle* bitmap, T_DC dc, T_Rect destination);
T_API int32_t T_CALL T_PrintBitmapExt(BitmapHandle* bitmap, T_DC dc, T_Rect source,
                                      T_Rect destination, uint32_t placement, uint32_t rop,
                                      const char* documentName, const char* outputName);

/* ---- Scanners
 * ------------------------------------------------------------------------------------ */

typedef int32_t(T_CALL* T_TwainPage)(BitmapHandle* picture, int32_t page, void* context);

typedef struct T_TwainOptions { /* 100 bytes, 112 in 64-bit programs; 0: the source's own setting */
  uint32_t Size;                /* of this record */
  uint32_t Flags;               /* 1 no dialogue, 2 use the feeder */
  int32_t Transfer;             /* 0 memory, native where refused; 1 native; 2 file; 3 memory */
  int32_t PixelType;            /* 1 black and white, 2 grey, 3 RGB, 4 palette */
  int32_t BitDepth, XResolution, YResolution;
  int32_t Pages;                    /* at most so many; 0: all that come */
  int32_t Left, Top, Right, Bottom; /* 1/1000 inch; all 0: everything */
  int32_t Brightness, Contrast;     /* -1000 ... 1000 */
  int32_t FileFormat;               /* the source's file format number: 0 TIFF, 2 BMP, 4 JFIF ... */
  const char* FileName; /* file transfer; page number before the extension from page 2 on */
  char SourceName[36];  /* empty: the default source */
} T_TwainOptions;

T_API int32_t T_CALL T_TwainSelect(T_Window window);
T_API int32_t T_CALL T_TwainAcquire(T_Window window, BitmapHandle* bitmap);
T_API int32_t T_CALL T_TwainAcquireExt(T_Window window, const T_TwainOptions* options,
                                       T_TwainPage page, void* context);
T_API int32_t T_CALL T_TwainCondition(void);

#endif /* _WIN32 */

#ifdef __cplusplus
}
#endif

#endif

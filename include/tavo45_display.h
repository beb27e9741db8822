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

/* ---- Painting -------------------------------------------------------------------------------- */

/* How pictures are painted and printed from now on. Each: not 0 is on. T_OK.
 *   T_EnableFastPaint      what shrinks shows single pixels, never means. At first off
 *   T_EnableIndexedPaint   index i of a picture of up to 8 bits is shown as entry i of the palette
 *                          that is selected into the device context; with the stock palette
 *                          nothing changes. At first off
 *   T_EnableDitheredPaint  on devices with a table of colors pictures are dithered to it; off: each
 *                          pixel gets the nearest color. At first on
 *   T_EnableOrderedDither  that dithering is ordered, whatever the record's DitherMethod. At first
 *                          off
 *   T_EnableScaleToGray    pictures of 1 bit that shrink get mean colors instead of single pixels.
 *                          At first off */
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
 * Indexed pictures whose colors are all in the table get exactly these, all others are dithered, as
 * T_DitherLine does it from the destination's top left pixel on, or get the nearest colors.
 * Takes 4 MiB beside the picture up to 16,384 pixels across.
 * T_OK, T_ERR_ARGUMENT (null; a source that is empty or leaves the picture; a depth, order or
 * dithering method that there is not), T_ERR_NO_STORAGE, T_ERR_SEEK and T_ERR_READ (bitmaps on
 * disk), T_ERR_NO_MEMORY, T_ERR_DEVICE (the system refused a drawing call). */
T_API int32_t T_CALL T_PaintDevice(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop);

/* Paints rows of a picture while they come, as a row sink gets them.
 * picture   describes them and the whole picture; no storage needed. ViewPerspective and, with
 *           T_FLAG_INTERLACED, the four passes of GIF say where a row belongs
 * rows      rowCount rows of BytesPerLine bytes, the caller's
 * firstRow  how many came before them
 * rowCount  0: nothing is painted
 * All else as T_PaintDevice, of the whole picture: drawn are the device's rows whose source row, by
 * the rule for single pixels, is among `rows`. All bands together give what T_PaintDevice gives,
 * but where means of rows cross the edge of a band: there they are those of its own rows. Dithering
 * is ordered, whatever the method.
 * T_OK, T_ERR_ARGUMENT (also null rows, and rows outside the picture), T_ERR_NO_MEMORY,
 * T_ERR_DEVICE. */
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
 * effect     T_EFFECT_ value
 * blockSize  width of a step, slat or square in device pixels, 1 or more
 * delay      milliseconds between two steps, 0 or more
 * All else as T_PaintDevice. The status callback is asked before the first step and after each;
 * its answer ends the effect, and what has been drawn stays. Holds one picture of the size that
 * is painted.
 * As T_PaintDevice, T_ERR_ARGUMENT also for what the three may not be; the callback's answer. */
T_API int32_t T_CALL T_PaintEffect(BitmapHandle* bitmap, T_DC dc, T_Rect source, T_Rect destination,
                                   T_Rect clip, uint32_t rop, int32_t effect, int32_t blockSize,
                                   int32_t delay);

/* ---- Device-dependent bitmaps ---------------------------------------------------------------- */

/* Makes a bitmap of the device's own that shows a picture, as T_PaintDevice paints it at the same
 * size.
 * bitmap  as T_PaintDevice takes it
 * dc      what the bitmap is compatible with; null: the screen. A memory context that has no bitmap
 *         yet makes black and white ones
 * result  gets it; the caller's, for DeleteObject. Null after a failure
 * As T_PaintDevice; T_ERR_DEVICE when the device has no room for it. */
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

/* ---- Printing -------------------------------------------------------------------------------- */

/* Placement on the page */
#define T_PRINT_STRETCH 0 /* the whole destination */
#define T_PRINT_FIT 1     /* as large as goes in, proportions on paper kept */
#define T_PRINT_ACTUAL 2  /* the size that the resolution says; as FIT when that is larger */
#define T_PRINT_CENTER 16 /* added: in the middle of the destination, else top left */

/* Prints a picture on the page that has been begun: with a destination as T_PRINT_STRETCH, without
 * as T_PRINT_ACTUAL. As T_PrintBitmapExt. */
T_API int32_t T_CALL T_PrintBitmap(BitmapHandle* bitmap, T_DC dc, T_Rect destination);

/* Prints a picture, or a part of it.
 * bitmap        as T_PaintDevice takes it. Its resolutions count for FIT and ACTUAL, so that a fax
 *               of 204 x 98 dots per inch is upright; one that is not known is the other one, or
 * 150 dc            of a printer, a metafile or memory; the caller's source        as T_PaintDevice
 * destination   logical coordinates, right > left and bottom > top; null: all that can be printed
 * on placement     T_PRINT_ value rop           as T_PaintDevice documentName  a document of one
 * page is printed; null: on the page that has been begun outputName    with a document: the file
 * that gets what the printer would; null: the printer Pictures that shrink are scaled as by
 * T_PaintDevice, those that grow by the printer. It gets at most a mebibyte a call, or a row:
 * pictures of up to 8 bits that are not averaged with their own depth and palette, all others as 24
 * bits; whatever dithering there is, it is the printer's. The status callback is asked before the
 * first such band and after each; its answer ends the print. After any failure or stop the document
 * is aborted, or ended where the system refuses that. T_OK, T_ERR_ARGUMENT (also a destination or
 * placement that there is not), T_ERR_NO_STORAGE, T_ERR_SEEK, T_ERR_READ, T_ERR_NO_MEMORY,
 * T_ERR_DEVICE (a call of the system failed), the callback's answer. */
T_API int32_t T_CALL T_PrintBitmapExt(BitmapHandle* bitmap, T_DC dc, T_Rect source,
                                      T_Rect destination, uint32_t placement, uint32_t rop,
                                      const char* documentName, const char* outputName);

/* ---- Scanners ----------------------------------------------------------------------------------
 * Pictures from scanners and cameras, through TWAIN (1.5 and later). The source manager is a module
 * of the system, "TWAIN.DLL" (then "TWAIN_32.DLL") with the function "DSM_ENTRY" (then
 * "DSM_Entry", then ordinal 1): loaded by each call, and freed at its end. These calls show
 * dialogues and run a message loop, in which the program's windows get their messages as ever:
 * a program that must not be used meanwhile disables its window itself. They belong to one thread,
 * and none may be made while another one lasts.
 * window  the dialogues' parent; null: a hidden one of the library's. Not a window: T_ERR_ARGUMENT
 * Whatever happens, the source is led back through all its states, and closed. */

/* Lets the user choose the default source in the manager's own dialogue. T_OK, T_ERR_CANCELLED,
 * T_ERR_NO_SOURCE (there is none, or no dialogue), T_ERR_UNAVAILABLE, T_ERR_ARGUMENT, T_ERR_DEVICE
 * (no window can be made). */
T_API int32_t T_CALL T_TwainSelect(T_Window window);

/* One picture from the default source, which shows its dialogue. Further ones that it offers are
 * refused.
 * bitmap  initialized here; after T_OK it has the picture, is released, and its storage the
 *         caller's. After a failure it has no storage. What it had before must have been freed.
 * Pictures and statuses are those of T_TwainAcquireExt. */
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

/* Gets a picture. It is in memory, else on disk, released, and the library's: freed when the call
 * is over. Who keeps it takes the record (T_CopyBitmapHandle) and then initializes the library's
 * (T_InitBitmap). Of a file transfer it has width, height (0: not known), depth and resolution, and
 * no storage. `page` counts from 1. Answers T_OK; anything else ends the work and is returned. */
typedef int32_t(T_CALL* T_TwainPage)(BitmapHandle* picture, int32_t page, void* context);

/* All pictures of a source, one after the other.
 * options  null: all 0
 * page     is called for each, when the source has ended its transfer; context is passed to it
 * Pictures  Of memory transfers: 1 bit (index 0 is black, either way the source may have it), 8
 *           bits (grey: a ramp of 256, T_FLAG_GRAY; or a palette) or 24 bits (T_ORDER_BGR), stored
 *           from the top down; 2 and 4 bits become 8, samples of 16 bits keep their high byte. The
 *           length is that which came, whether or not the source knew it before; rows beyond one
 *           that it told are left out. Of native transfers: as T_ConvertFromDIB makes them. The
 *           resolution is the source's; the default where it tells none.
 * T_OK                 a picture came and nothing failed, also when the user closed the source
 *                      between two pictures
 * another answer       that of `page`
 * T_ERR_CANCELLED      the user closed the source before any picture or stopped a transfer, the
 *                      window was destroyed, or the program is to end: WM_QUIT is posted again
 * T_ERR_UNAVAILABLE    no manager: module or function missing
 * T_ERR_NO_SOURCE      the manager or the source cannot be opened, or the source not enabled
 * T_ERR_SOURCE         the source failed after that, or broke the rules: T_TwainCondition may say
 *                      more. Pictures that were delivered are whole; the one at work is lost. When
 *                      all have come that were asked for, it is no failure that the source cannot
 *                      end its transfer, be reset, or be closed
 * T_ERR_ARGUMENT       null `page`, a number out of its range, a file transfer without a name
 * T_ERR_DEVICE         no window or message can be had
 * T_ERR_NO_MEMORY, T_ERR_LIMIT; of storage on disk T_ERR_SEEK, T_ERR_WRITE.
 * The call waits for the source as long as that takes. Meanwhile the status callback is told 0 four
 * times a second, and its answer can end the work. */
T_API int32_t T_CALL T_TwainAcquireExt(T_Window window, const T_TwainOptions* options,
                                       T_TwainPage page, void* context);

/* TWAIN's condition code of the failure that ended the last of these calls: 3 no source, 5 the
 * source has told the user, 6 capability refused, 9 protocol, 10 bad value, 11 wrong order ...; 1
 * where the source does not say. 0: none, or a fault that was no failure of an operation. */
T_API int32_t T_CALL T_TwainCondition(void);

#endif /* _WIN32 */

#ifdef __cplusplus
}
#endif

#endif

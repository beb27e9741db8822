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

/* ---- Device-independent bitmaps ---------------------------------------------------------------
 */

T_API int32_t T_CALL T_ConvertToDIB(BitmapHandle* bitmap, void** dib, uint32_t* size);
T_API int32_t T_CALL T_ConvertFromDIB(const void* dib, uint32_t size, BitmapHandle* bitmap);
T_API int32_t T_CALL T_ChangeToDIB(BitmapHandle* bitmap);
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
T_API int32_t T_CALL T_ConvertFromDDB(T_DeviceBitmap ddb, T_PaletteObject palette,
                                      BitmapHandle* bitmap);

/* ---- Clipboard
 * ----------------------------------------------------------------------------------- */

T_API int32_t T_CALL T_CopyToClipboard(BitmapHandle* bitmap, T_Window owner);
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

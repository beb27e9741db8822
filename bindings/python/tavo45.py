"""TAVO45 for Python: raster files of forty years as pictures, arrays and rows.

    import tavo45
    picture = tavo45.load("scan.cal")
    picture.save("scan.tif", tavo45.T_FORMAT_TIFF_GROUP4)
    array = numpy.asarray(tavo45.load("photo.jpg", bits=24))
    for rows in tavo45.rows("drawing.tif", bits=8):
        ...

`lib` holds every function of the library under its own name, for ctypes; tavo45.h is the manual of
them. What returns a status there raises `Error` here. The library is used from one thread at a
time; while a loop over `rows` is under way nothing else may be asked of it.

The shared library is found beside this file, where TAVO45_LIBRARY points, or by its name.
"""
import ctypes as c
import os
import queue
import struct
import sys
import threading

_WIDE = struct.calcsize("P") == 8
_CALLBACK = c.WINFUNCTYPE if sys.platform == "win32" else c.CFUNCTYPE

T_OK = 1
T_ERR_NO_MEMORY = -1
T_ERR_NO_STORAGE = -2
T_ERR_SEEK = -4
T_ERR_WRITE = -5
T_ERR_READ = -7
T_ERR_NAME = -8
T_ERR_BAD_DATA = -9
T_ERR_OPEN = -10
T_ERR_SIZE = -11
T_ERR_SUBTYPE = -12
T_ERR_ARGUMENT = -13
T_ERR_CREATE = -14
T_ERR_FORMAT = -16
T_ERR_QUALITY = -21
T_ERR_DEPTH = -27
T_ERR_MULTIPLIER = -36
T_ERR_NOT_COMPRESSIBLE = -42
T_ERR_INCOMPLETE = -57
T_ERR_NO_STAMP = -65
T_ERR_NOTICE = -100
T_ERR_DEVICE = -110
T_ERR_BUSY = -111
T_ERR_NO_PICTURE = -112
T_ERR_UNAVAILABLE = -113
T_ERR_NO_SOURCE = -114
T_ERR_SOURCE = -115
T_ERR_CANCELLED = -116
T_ERR_LIMIT = -120
T_ERR_TOO_LARGE = -121
T_LIMIT_PIXELS = 1
T_LIMIT_SIDE = 2
T_LIMIT_MEMORY = 3
T_LIMIT_TEMPORARY = 4
T_LIMIT_PAGES = 5
T_LIMIT_WORK = 6
T_FLAG_ALLOCATED = 1
T_FLAG_MEMORY = 2
T_FLAG_DISK = 16
T_FLAG_USER = 32
T_FLAG_LOCKED = 64
T_FLAG_INTERLACED = 128
T_FLAG_GRAY = 256
T_FLAG_REDUCED = 1024
T_FLAG_PALETTE = 2048
T_FLAG_NO_STORAGE = 8192
T_ORDER_RGB = 0
T_ORDER_BGR = 1
T_DITHER_NONE = 0
T_DITHER_FLOYD_STEINBERG = 1
T_DITHER_STUCKI = 2
T_DITHER_BURKES = 3
T_DITHER_SIERRA = 4
T_DITHER_STEVENSON_ARCE = 5
T_DITHER_JARVIS = 6
T_DITHER_ORDERED = 7
T_FORMAT_PCX = 1
T_FORMAT_GIF = 2
T_FORMAT_TIFF = 3
T_FORMAT_TGA = 4
T_FORMAT_CMP = 5
T_FORMAT_BMP = 6
T_FORMAT_JPEG = 10
T_FORMAT_JPEG_24 = 11
T_FORMAT_BMP_OS2 = 14
T_FORMAT_WMF = 15
T_FORMAT_EPS = 16
T_FORMAT_CMP_SAVE = 20
T_FORMAT_JPEG_2X1 = 21
T_FORMAT_JPEG_2X1_24 = 22
T_FORMAT_JPEG_2X2 = 23
T_FORMAT_JPEG_2X2_24 = 24
T_FORMAT_TIFF_PACKBITS = 17
T_FORMAT_TIFF_GROUP3 = 25
T_FORMAT_CMP_1BIT = 26
T_FORMAT_TIFF_GROUP3_2D = 27
T_FORMAT_TIFF_GROUP4 = 28
T_FORMAT_TIFF_LZW = 29
T_FORMAT_CALS = 50
T_FORMAT_MAC = 51
T_FORMAT_IMG = 52
T_FORMAT_MSP = 53
T_FORMAT_WPG = 54
T_FORMAT_RAS = 55
T_FORMAT_PCT = 56
T_FORMAT_PCD = 57
T_FORMAT_EPS_TEXT = 63
T_FORMAT_PNG = 200
T_FORMAT_TIFF_DEFLATE = 201
T_FORMAT_DCX = 202
T_EXTRA_ALPHA = 1
T_EXTRA_ICC = 2
T_EXTRA_EXIF = 4
T_EXTRA_XMP = 8
T_MAX_PAGES = 1023
T_LOAD_ALLOCATE = 1
T_LOAD_ACCESS = 2
T_LOAD_FIXED = 4
T_LOAD_GIF_WHOLE = 8
T_LOAD_WHOLE_ROWS = 16
T_SAVE_REDUCE = 1
T_SAVE_FIXED_PALETTE = 2
T_SAVE_APPEND = 4
T_SAVE_KEEP_RESOLUTION = 8
T_PALETTE_OPTIMIZED = 1
T_PALETTE_FIXED = 2
T_PALETTE_GIVEN = 3
T_PALETTE_NONE = 4
T_PALETTE_FINE = 5
T_SIZE_NEAREST = 0
T_SIZE_BOX = 1
T_SIZE_TRIANGLE = 2
T_SIZE_CUBIC = 3
T_SIZE_MITCHELL = 4
T_SIZE_LANCZOS = 5
T_SIZE_DRAFT = 256
T_ROTATE_KEEP_SIZE = 1
T_ROTATE_SMOOTH = 2
T_FILTER_ABSOLUTE = 1
T_BINARY_ERODE = 0
T_BINARY_DILATE = 1
T_BINARY_OPEN = 2
T_BINARY_CLOSE = 3
T_SHAPE_BOX = 0
T_SHAPE_CROSS = 1
T_SHAPE_ROW = 2
T_SHAPE_COLUMN = 3
T_LEVEL_DEFAULT = 0
T_LEVEL_FAST = 1
T_LEVEL_SMALL = 2
T_MAX_DRAW_SCALE = 16
T_FACTOR_NONE = -2147483648
T_EFFECT_NONE = 0
T_EFFECT_WIPE_RIGHT = 1
T_EFFECT_WIPE_LEFT = 2
T_EFFECT_WIPE_DOWN = 3
T_EFFECT_WIPE_UP = 4
T_EFFECT_BOX_OUT = 5
T_EFFECT_BOX_IN = 6
T_EFFECT_BLINDS_VERTICAL = 7
T_EFFECT_BLINDS_HORIZONTAL = 8
T_EFFECT_CHECKERBOARD = 9
T_EFFECT_DISSOLVE = 10
T_EFFECT_SPLIT_VERTICAL = 11
T_EFFECT_SPLIT_HORIZONTAL = 12
T_EFFECT_DIAGONAL = 13
T_EFFECT_SPIRAL = 14
T_PRINT_STRETCH = 0
T_PRINT_FIT = 1
T_PRINT_ACTUAL = 2
T_PRINT_CENTER = 16

T_ReleaseCallback = _CALLBACK(None, c.c_size_t, c.c_size_t)

T_RowSink = _CALLBACK(c.c_int32, c.c_void_p, c.c_void_p, c.c_int32, c.c_void_p)

T_StatusCallback = _CALLBACK(c.c_int32, c.c_int32)

T_FileOpen = _CALLBACK(c.c_int32, c.c_char_p, c.c_int32, c.c_int32)

T_FileRead = _CALLBACK(c.c_uint32, c.c_int32, c.c_void_p, c.c_uint32)

T_FileWrite = _CALLBACK(c.c_uint32, c.c_int32, c.c_void_p, c.c_uint32)

T_FileSeek = _CALLBACK(c.c_int32, c.c_int32, c.c_int32, c.c_int32)

T_FileClose = _CALLBACK(c.c_int32, c.c_int32)

T_CompressWrite = _CALLBACK(c.c_uint32, c.c_void_p, c.c_uint32, c.c_void_p)

T_TwainPage = _CALLBACK(c.c_int32, c.c_void_p, c.c_int32, c.c_void_p)


class T_ERRORINFO(c.Structure):
    _fields_ = [
        ("Status", c.c_int32),
        ("SystemError", c.c_int32),
        ("Offset", c.c_int64),
        ("Row", c.c_int32),
        ("Page", c.c_int32),
        ("Limit", c.c_int32),
        ("NotAllowed", c.c_int32),
        ("Asked", c.c_uint64),
        ("Allowed", c.c_uint64),
        ("LimitName", c.c_char * 16),
    ]


class T_PaletteEntry(c.Structure):
    _fields_ = [
        ("Blue", c.c_uint8),
        ("Green", c.c_uint8),
        ("Red", c.c_uint8),
        ("Reserved", c.c_uint8),
    ]


class T_BitmapInfoHeader(c.Structure):
    _fields_ = [
        ("biSize", c.c_uint32),
        ("biWidth", c.c_int32),
        ("biHeight", c.c_int32),
        ("biPlanes", c.c_uint16),
        ("biBitCount", c.c_uint16),
        ("biCompression", c.c_uint32),
        ("biSizeImage", c.c_uint32),
        ("biXPelsPerMeter", c.c_int32),
        ("biYPelsPerMeter", c.c_int32),
        ("biClrUsed", c.c_uint32),
        ("biClrImportant", c.c_uint32),
    ]


class T_BitmapInfo(c.Structure):
    _fields_ = [
        ("Header", T_BitmapInfoHeader),
        ("Palette", T_PaletteEntry * 256),
    ]


class BitmapHandle(c.Structure):
    _fields_ = [
        ("Handle", c.c_size_t),
        ("Data", c.c_void_p),
        ("CacheHandle", c.c_size_t),
        ("CachePointer", c.c_void_p),
        ("WorkWords", c.c_uint32 * (2 if _WIDE else 4)),
        ("StorageKind", c.c_int32),
        ("Width", c.c_int32),
        ("Height", c.c_int32),
        ("BitsPerPixel", c.c_int32),
        ("BytesPerLine", c.c_uint32),
        ("RowOffset", c.c_uint32),
        ("CurrentRow", c.c_uint32),
        ("ReservedA", c.c_uint32 * 2),
        ("Flags", c.c_uint32),
        ("Colors", c.c_uint32),
        ("Info", T_BitmapInfo),
        ("GdiObjectA", c.c_size_t),
        ("GdiObjectB", c.c_size_t),
        ("ReservedB", c.c_uint32 * 4),
        ("ViewPerspective", c.c_uint32),
        ("Order", c.c_uint32),
        ("Size", c.c_uint32),
        ("ReservedC", c.c_uint32),
        ("DitherState", c.c_void_p),
        ("DitherMethod", c.c_uint32),
        ("ReleaseCallback", T_ReleaseCallback),
        ("ReleaseData", c.c_size_t),
        ("XOrigin", c.c_int32),
        ("YOrigin", c.c_int32),
        ("LastRow", c.c_int32),
        ("LastColumn", c.c_int32),
        ("ReservedD", c.c_uint32 * (2 if _WIDE else 11)),
        ("XResolution", c.c_int32),
        ("YResolution", c.c_int32),
        ("WriterDefaults", c.c_uint32 * 2),
        ("ReservedE", c.c_uint32 * 2),
    ]


class FileIOTable(c.Structure):
    _fields_ = [
        ("Open", T_FileOpen),
        ("Read", T_FileRead),
        ("Write", T_FileWrite),
        ("Seek", T_FileSeek),
        ("Close", T_FileClose),
    ]


class T_Format(c.Structure):
    _fields_ = [
        ("Id", c.c_int32),
        ("CanRead", c.c_int32),
        ("CanWrite", c.c_int32),
        ("WriteDepths", c.c_uint32),
        ("Name", c.c_char * 32),
        ("Description", c.c_char * 64),
        ("Extensions", c.c_char * 32),
    ]


class FILEINFO(c.Structure):
    _fields_ = [
        ("Format", c.c_int32),
        ("FileSize", c.c_uint32),
        ("PageCount", c.c_int32),
        ("Page", c.c_int32),
        ("Width", c.c_int32),
        ("Height", c.c_int32),
        ("BitsPerPixel", c.c_int32),
        ("Order", c.c_int32),
        ("ViewPerspective", c.c_uint32),
        ("Colors", c.c_uint32),
        ("XResolution", c.c_int32),
        ("YResolution", c.c_int32),
        ("Flags", c.c_uint32),
        ("Compression", c.c_char * 32),
        ("Orientation", c.c_uint32),
        ("Extras", c.c_uint32),
        ("Reserved", c.c_uint32 * 9),
    ]


class T_FormatWriteContext(c.Structure):
    _fields_ = [
        ("Name", c.c_char_p),
        ("Format", c.c_int32),
        ("BitsPerPixel", c.c_int32),
        ("Quality", c.c_int32),
        ("Flags", c.c_uint32),
        ("Rows", c.c_int32),
        ("Picture", BitmapHandle),
    ]


class T_TIFFOption(c.Structure):
    _fields_ = [
        ("XResolution", c.c_int32),
        ("YResolution", c.c_int32),
        ("WriterDefaults", c.c_uint32 * 2),
        ("Words", c.c_uint32 * 32),
    ]


class T_CompressContext(c.Structure):
    _fields_ = [
        ("OutputType", c.c_int32),
        ("Quality", c.c_int32),
        ("StripBuffer", c.c_void_p),
        ("UserData", c.c_void_p),
    ]


class T_JPEGINFO(c.Structure):
    _fields_ = [
        ("Format", c.c_int32),
        ("Components", c.c_int32),
        ("HorizontalFactors", c.c_int32 * 4),
        ("VerticalFactors", c.c_int32 * 4),
        ("Progressive", c.c_int32),
        ("RestartInterval", c.c_int32),
        ("HalfHeight", c.c_int32),
        ("Quality", c.c_int32),
        ("Factor", c.c_int32),
        ("StampWidth", c.c_int32),
        ("StampHeight", c.c_int32),
        ("StampBits", c.c_int32),
        ("Reserved", c.c_int32 * 12),
    ]


class T_TwainOptions(c.Structure):
    _fields_ = [
        ("Size", c.c_uint32),
        ("Flags", c.c_uint32),
        ("Transfer", c.c_int32),
        ("PixelType", c.c_int32),
        ("BitDepth", c.c_int32),
        ("XResolution", c.c_int32),
        ("YResolution", c.c_int32),
        ("Pages", c.c_int32),
        ("Left", c.c_int32),
        ("Top", c.c_int32),
        ("Right", c.c_int32),
        ("Bottom", c.c_int32),
        ("Brightness", c.c_int32),
        ("Contrast", c.c_int32),
        ("FileFormat", c.c_int32),
        ("FileName", c.c_char_p),
        ("SourceName", c.c_char * 36),
    ]


def _declare(library):
    library.T_GetStatusText.restype = c.c_char_p
    library.T_GetStatusText.argtypes = [c.c_int32]
    library.T_GetVersion.restype = c.c_uint32
    library.T_GetVersion.argtypes = []
    library.T_GetError.restype = c.c_int32
    library.T_GetError.argtypes = [c.c_void_p]
    library.T_GetErrorText.restype = c.c_int32
    library.T_GetErrorText.argtypes = [c.c_char_p, c.c_uint32]
    library.T_SetLimit.restype = c.c_int32
    library.T_SetLimit.argtypes = [c.c_int32, c.c_uint64]
    library.T_GetLimit.restype = c.c_uint64
    library.T_GetLimit.argtypes = [c.c_int32]
    library.T_EnableFormat.restype = c.c_int32
    library.T_EnableFormat.argtypes = [c.c_int32, c.c_int32]
    library.T_SetStatusCallBack.restype = c.c_int32
    library.T_SetStatusCallBack.argtypes = [T_StatusCallback]
    library.T_InitBitmap.restype = c.c_int32
    library.T_InitBitmap.argtypes = [c.c_void_p, c.c_int32, c.c_int32, c.c_int32]
    library.T_SetUnknownResolution.restype = c.c_int32
    library.T_SetUnknownResolution.argtypes = [c.c_int32]
    library.T_AllocateBitmap.restype = c.c_int32
    library.T_AllocateBitmap.argtypes = [c.c_void_p, c.c_uint32]
    library.T_AccessBitmap.restype = c.c_size_t
    library.T_AccessBitmap.argtypes = [c.c_void_p]
    library.T_ReleaseBitmap.restype = c.c_int32
    library.T_ReleaseBitmap.argtypes = [c.c_void_p]
    library.T_FreeBitmap.restype = c.c_int32
    library.T_FreeBitmap.argtypes = [c.c_void_p]
    library.T_GetBitmapRow.restype = c.c_int32
    library.T_GetBitmapRow.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32]
    library.T_PutBitmapRow.restype = c.c_int32
    library.T_PutBitmapRow.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32]
    library.T_GetBitmapRowCol.restype = c.c_int32
    library.T_GetBitmapRowCol.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32, c.c_uint32]
    library.T_PutBitmapRowCol.restype = c.c_int32
    library.T_PutBitmapRowCol.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32, c.c_uint32]
    library.T_ClearBitmap.restype = c.c_int32
    library.T_ClearBitmap.argtypes = [c.c_void_p]
    library.T_CopyBitmap.restype = c.c_int32
    library.T_CopyBitmap.argtypes = [c.c_void_p, c.c_void_p]
    library.T_CopyBitmapRect.restype = c.c_int32
    library.T_CopyBitmapRect.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32, c.c_uint32, c.c_uint32]
    library.T_CopyBitmapData.restype = c.c_int32
    library.T_CopyBitmapData.argtypes = [c.c_void_p, c.c_void_p]
    library.T_CopyBitmapHandle.restype = c.c_int32
    library.T_CopyBitmapHandle.argtypes = [c.c_void_p, c.c_void_p]
    library.T_SetNameEncoding.restype = c.c_int32
    library.T_SetNameEncoding.argtypes = [c.c_int32]
    library.T_RedirectIO.restype = c.c_int32
    library.T_RedirectIO.argtypes = [T_FileOpen, T_FileRead, T_FileWrite, T_FileSeek, T_FileClose]
    library.T_GetFormat.restype = c.c_int32
    library.T_GetFormat.argtypes = [c.c_uint32, c.c_void_p]
    library.T_FileInfo.restype = c.c_int32
    library.T_FileInfo.argtypes = [c.c_char_p, c.c_void_p]
    library.T_FileInfoMemory.restype = c.c_int32
    library.T_FileInfoMemory.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32]
    library.T_SetCallbackLine.restype = c.c_int32
    library.T_SetCallbackLine.argtypes = [c.c_int32]
    library.T_SetPageNumber.restype = c.c_int32
    library.T_SetPageNumber.argtypes = [c.c_int32]
    library.T_LoadFile.restype = c.c_int32
    library.T_LoadFile.argtypes = [c.c_char_p, c.c_void_p, c.c_int32, c.c_int32, c.c_uint32, T_RowSink, c.c_void_p]
    library.T_LoadMemory.restype = c.c_int32
    library.T_LoadMemory.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_int32, c.c_uint32, T_RowSink, c.c_void_p, c.c_uint32]
    library.T_LoadBitmap.restype = c.c_int32
    library.T_LoadBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32, c.c_int32]
    library.T_LoadBitmapMemory.restype = c.c_int32
    library.T_LoadBitmapMemory.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_LoadFileCB.restype = c.c_int32
    library.T_LoadFileCB.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_void_p]
    library.T_GetRowsRead.restype = c.c_int32
    library.T_GetRowsRead.argtypes = []
    library.T_GetDamageOffset.restype = c.c_int64
    library.T_GetDamageOffset.argtypes = []
    library.T_SaveFile.restype = c.c_int32
    library.T_SaveFile.argtypes = [c.c_char_p, c.c_void_p, c.c_int32, c.c_int32, c.c_int32, c.c_uint32, c.c_uint32, c.c_uint32]
    library.T_SaveBitmap.restype = c.c_int32
    library.T_SaveBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32, c.c_int32, c.c_int32]
    library.T_ConvertFile.restype = c.c_int32
    library.T_ConvertFile.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_int32]
    library.T_StreamFile.restype = c.c_int32
    library.T_StreamFile.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_int32]
    library.FileFormatWrite.restype = c.c_int32
    library.FileFormatWrite.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_void_p]
    library.FileNoConvertWrite.restype = c.c_int32
    library.FileNoConvertWrite.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_void_p]
    library.T_SetSaveOrientation.restype = c.c_int32
    library.T_SetSaveOrientation.argtypes = [c.c_int32]
    library.T_ConvertBuffer.restype = c.c_int32
    library.T_ConvertBuffer.argtypes = [c.c_void_p, c.c_int32, c.c_int32, c.c_int32, c.c_int32, c.c_int32, c.c_void_p, c.c_void_p]
    library.T_DefaultDithering.restype = c.c_int32
    library.T_DefaultDithering.argtypes = [c.c_uint32]
    library.T_SetGrayFixedPalette.restype = c.c_int32
    library.T_SetGrayFixedPalette.argtypes = [c.c_int32]
    library.T_StartDithering.restype = c.c_int32
    library.T_StartDithering.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32]
    library.T_DitherLine.restype = c.c_int32
    library.T_DitherLine.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p]
    library.T_StopDithering.restype = c.c_int32
    library.T_StopDithering.argtypes = [c.c_void_p]
    library.T_OptimizeBitmap.restype = c.c_int32
    library.T_OptimizeBitmap.argtypes = [c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32]
    library.T_ColorResolution.restype = c.c_int32
    library.T_ColorResolution.argtypes = [c.c_void_p, c.c_int32, c.c_int32, c.c_void_p, c.c_uint32]
    library.T_GrayScaleBitmap.restype = c.c_int32
    library.T_GrayScaleBitmap.argtypes = [c.c_void_p]
    library.T_CreatePaintPalette.restype = c.c_int32
    library.T_CreatePaintPalette.argtypes = [c.c_void_p]
    library.T_CreateScreenPalette.restype = c.c_int32
    library.T_CreateScreenPalette.argtypes = [c.c_void_p]
    library.T_DupPalette.restype = c.c_size_t
    library.T_DupPalette.argtypes = [c.c_size_t]
    library.T_StartResize.restype = c.c_int32
    library.T_StartResize.argtypes = [c.c_int32, c.c_int32, c.c_int32, c.c_int32, c.c_void_p]
    library.T_Resize.restype = c.c_int32
    library.T_Resize.argtypes = [c.c_void_p, c.c_uint32, c.c_int32, c.c_void_p, c.c_void_p, c.c_void_p]
    library.T_StopResize.restype = c.c_int32
    library.T_StopResize.argtypes = [c.c_void_p]
    library.T_SizeBitmap.restype = c.c_int32
    library.T_SizeBitmap.argtypes = [c.c_void_p, c.c_int32, c.c_int32]
    library.T_ResizeBitmap.restype = c.c_int32
    library.T_ResizeBitmap.argtypes = [c.c_void_p, c.c_void_p]
    library.T_SizeBitmapFine.restype = c.c_int32
    library.T_SizeBitmapFine.argtypes = [c.c_void_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_LoadBitmapFine.restype = c.c_int32
    library.T_LoadBitmapFine.argtypes = [c.c_char_p, c.c_void_p, c.c_int32, c.c_int32, c.c_int32, c.c_int32, c.c_uint32]
    library.T_RotateBitmap.restype = c.c_int32
    library.T_RotateBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_FlipBitmap.restype = c.c_int32
    library.T_FlipBitmap.argtypes = [c.c_void_p]
    library.T_ReverseBitmap.restype = c.c_int32
    library.T_ReverseBitmap.argtypes = [c.c_void_p]
    library.T_RotateBitmapFine.restype = c.c_int32
    library.T_RotateBitmapFine.argtypes = [c.c_void_p, c.c_int32, c.c_uint32, c.c_uint32]
    library.T_AverageFilterBitmap.restype = c.c_int32
    library.T_AverageFilterBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_MedianFilterBitmap.restype = c.c_int32
    library.T_MedianFilterBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_SpatialFilterBitmap.restype = c.c_int32
    library.T_SpatialFilterBitmap.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_int32, c.c_int32, c.c_uint32]
    library.T_SharpenBitmap.restype = c.c_int32
    library.T_SharpenBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_BinaryFilterBitmap.restype = c.c_int32
    library.T_BinaryFilterBitmap.argtypes = [c.c_void_p, c.c_uint32, c.c_uint32, c.c_int32]
    library.T_DespeckleBitmap.restype = c.c_int32
    library.T_DespeckleBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_MosaicBitmap.restype = c.c_int32
    library.T_MosaicBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_ChangeBitmapIntensity.restype = c.c_int32
    library.T_ChangeBitmapIntensity.argtypes = [c.c_void_p, c.c_int32]
    library.T_ChangeBitmapContrast.restype = c.c_int32
    library.T_ChangeBitmapContrast.argtypes = [c.c_void_p, c.c_int32]
    library.T_ChangeBitmapHue.restype = c.c_int32
    library.T_ChangeBitmapHue.argtypes = [c.c_void_p, c.c_int32]
    library.T_ChangeBitmapSaturation.restype = c.c_int32
    library.T_ChangeBitmapSaturation.argtypes = [c.c_void_p, c.c_int32]
    library.T_InvertBitmap.restype = c.c_int32
    library.T_InvertBitmap.argtypes = [c.c_void_p]
    library.T_PosterizeBitmap.restype = c.c_int32
    library.T_PosterizeBitmap.argtypes = [c.c_void_p, c.c_int32]
    library.T_HistoEqualizeBitmap.restype = c.c_int32
    library.T_HistoEqualizeBitmap.argtypes = [c.c_void_p]
    library.T_HalfToneBitmap.restype = c.c_int32
    library.T_HalfToneBitmap.argtypes = [c.c_void_p, c.c_int32, c.c_int32]
    library.T_FindSkew.restype = c.c_int32
    library.T_FindSkew.argtypes = [c.c_void_p, c.c_void_p]
    library.T_FindContent.restype = c.c_int32
    library.T_FindContent.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p]
    library.T_IsBlank.restype = c.c_int32
    library.T_IsBlank.argtypes = [c.c_void_p, c.c_int32, c.c_void_p]
    library.T_ConvertToDIB.restype = c.c_int32
    library.T_ConvertToDIB.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p]
    library.T_ConvertFromDIB.restype = c.c_int32
    library.T_ConvertFromDIB.argtypes = [c.c_void_p, c.c_uint32, c.c_void_p]
    library.T_ChangeToDIB.restype = c.c_int32
    library.T_ChangeToDIB.argtypes = [c.c_void_p]
    library.T_FreeDIB.restype = c.c_int32
    library.T_FreeDIB.argtypes = [c.c_void_p]
    library.T_LoadBMPFile.restype = c.c_int32
    library.T_LoadBMPFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadBMPBitmap.restype = c.c_int32
    library.T_LoadBMPBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveBMPBitmap.restype = c.c_int32
    library.T_SaveBMPBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadPCXFile.restype = c.c_int32
    library.T_LoadPCXFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadPCXBitmap.restype = c.c_int32
    library.T_LoadPCXBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SavePCXBitmap.restype = c.c_int32
    library.T_SavePCXBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadGIFFile.restype = c.c_int32
    library.T_LoadGIFFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadGIFBitmap.restype = c.c_int32
    library.T_LoadGIFBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveGIFBitmap.restype = c.c_int32
    library.T_SaveGIFBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_SetGIFVersion.restype = c.c_int32
    library.T_SetGIFVersion.argtypes = [c.c_int32]
    library.T_SetScreenSize.restype = c.c_int32
    library.T_SetScreenSize.argtypes = [c.c_int32, c.c_int32]
    library.T_SetGIFDepth.restype = c.c_int32
    library.T_SetGIFDepth.argtypes = [c.c_int32]
    library.T_SetGIFFrames.restype = c.c_int32
    library.T_SetGIFFrames.argtypes = [c.c_int32]
    library.T_LoadCALSFile.restype = c.c_int32
    library.T_LoadCALSFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadCALSBitmap.restype = c.c_int32
    library.T_LoadCALSBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveCALSBitmap.restype = c.c_int32
    library.T_SaveCALSBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadTGAFile.restype = c.c_int32
    library.T_LoadTGAFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadTGABitmap.restype = c.c_int32
    library.T_LoadTGABitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveTGABitmap.restype = c.c_int32
    library.T_SaveTGABitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_SetRASVariant.restype = c.c_int32
    library.T_SetRASVariant.argtypes = [c.c_int32]
    library.T_LoadRASFile.restype = c.c_int32
    library.T_LoadRASFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadRASBitmap.restype = c.c_int32
    library.T_LoadRASBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveRASBitmap.restype = c.c_int32
    library.T_SaveRASBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_SetTIFFOption.restype = c.c_int32
    library.T_SetTIFFOption.argtypes = [c.c_void_p]
    library.T_SetTIFFXYResolution.restype = None
    library.T_SetTIFFXYResolution.argtypes = [c.c_int32, c.c_int32]
    library.T_LoadTIFFile.restype = c.c_int32
    library.T_LoadTIFFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadTIFBitmap.restype = c.c_int32
    library.T_LoadTIFBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveTIFBitmap.restype = c.c_int32
    library.T_SaveTIFBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_SetDeflateLevel.restype = c.c_int32
    library.T_SetDeflateLevel.argtypes = [c.c_int32]
    library.T_LoadPNGFile.restype = c.c_int32
    library.T_LoadPNGFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadPNGBitmap.restype = c.c_int32
    library.T_LoadPNGBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SavePNGBitmap.restype = c.c_int32
    library.T_SavePNGBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadMACFile.restype = c.c_int32
    library.T_LoadMACFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadMACBitmap.restype = c.c_int32
    library.T_LoadMACBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveMACBitmap.restype = c.c_int32
    library.T_SaveMACBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_SetDocumentName.restype = c.c_int32
    library.T_SetDocumentName.argtypes = [c.c_char_p]
    library.T_LoadMSPFile.restype = c.c_int32
    library.T_LoadMSPFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadMSPBitmap.restype = c.c_int32
    library.T_LoadMSPBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveMSPBitmap.restype = c.c_int32
    library.T_SaveMSPBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadIMGFile.restype = c.c_int32
    library.T_LoadIMGFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadIMGBitmap.restype = c.c_int32
    library.T_LoadIMGBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveIMGBitmap.restype = c.c_int32
    library.T_SaveIMGBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadWPGFile.restype = c.c_int32
    library.T_LoadWPGFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadWPGBitmap.restype = c.c_int32
    library.T_LoadWPGBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveWPGBitmap.restype = c.c_int32
    library.T_SaveWPGBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadPCDFile.restype = c.c_int32
    library.T_LoadPCDFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadPCDBitmap.restype = c.c_int32
    library.T_LoadPCDBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SetPCDResolution.restype = c.c_int32
    library.T_SetPCDResolution.argtypes = [c.c_int32]
    library.T_SetPCDModule.restype = c.c_int32
    library.T_SetPCDModule.argtypes = [c.c_int32]
    library.T_LoadWMFFile.restype = c.c_int32
    library.T_LoadWMFFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadWMFBitmap.restype = c.c_int32
    library.T_LoadWMFBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveWMFBitmap.restype = c.c_int32
    library.T_SaveWMFBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_SetDrawScale.restype = c.c_int32
    library.T_SetDrawScale.argtypes = [c.c_int32]
    library.T_SetDrawSmooth.restype = c.c_int32
    library.T_SetDrawSmooth.argtypes = [c.c_int32]
    library.T_LoadPCTFile.restype = c.c_int32
    library.T_LoadPCTFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadPCTBitmap.restype = c.c_int32
    library.T_LoadPCTBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SavePCTBitmap.restype = c.c_int32
    library.T_SavePCTBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_LoadEPSFile.restype = c.c_int32
    library.T_LoadEPSFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p]
    library.T_LoadEPSBitmap.restype = c.c_int32
    library.T_LoadEPSBitmap.argtypes = [c.c_char_p, c.c_void_p]
    library.T_SaveEPSBitmap.restype = c.c_int32
    library.T_SaveEPSBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_Create1BitTable.restype = c.c_int32
    library.T_Create1BitTable.argtypes = []
    library.T_SetJFIFUnit.restype = c.c_int32
    library.T_SetJFIFUnit.argtypes = [c.c_int32]
    library.T_LoadCustomQTable.restype = c.c_int32
    library.T_LoadCustomQTable.argtypes = [c.c_void_p]
    library.T_StartCompressBuffer.restype = c.c_int32
    library.T_StartCompressBuffer.argtypes = [c.c_void_p, T_CompressWrite, c.c_uint32, c.c_uint32, c.c_void_p, c.c_int32, c.c_int32, c.c_void_p]
    library.T_CompressBuffer.restype = c.c_int32
    library.T_CompressBuffer.argtypes = [c.c_void_p]
    library.T_EndCompressBuffer.restype = c.c_int32
    library.T_EndCompressBuffer.argtypes = []
    library.CompressCallBack.restype = c.c_int32
    library.CompressCallBack.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_void_p]
    library.FileWriteBuffer.restype = c.c_uint32
    library.FileWriteBuffer.argtypes = [c.c_void_p, c.c_uint32, c.c_void_p]
    library.T_CompressBitmap.restype = c.c_int32
    library.T_CompressBitmap.argtypes = [c.c_void_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_CompressBitmapWithStamp.restype = c.c_int32
    library.T_CompressBitmapWithStamp.argtypes = [c.c_void_p, c.c_char_p, c.c_int32, c.c_int32, c.c_int32, c.c_int32, c.c_int32, c.c_int32]
    library.T_CompressALL.restype = c.c_int32
    library.T_CompressALL.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_CompressBMP.restype = c.c_int32
    library.T_CompressBMP.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_CompressGIF.restype = c.c_int32
    library.T_CompressGIF.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_CompressPCX.restype = c.c_int32
    library.T_CompressPCX.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_CompressTGA.restype = c.c_int32
    library.T_CompressTGA.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32, c.c_uint32]
    library.T_CompressTIF.restype = c.c_int32
    library.T_CompressTIF.argtypes = [c.c_char_p, c.c_char_p, c.c_int32, c.c_int32, c.c_uint32]
    library.T_StartCompressData.restype = c.c_int32
    library.T_StartCompressData.argtypes = [c.c_int32, c.c_int32, c.c_int32, T_CompressWrite, c.c_int32, c.c_int32, c.c_void_p]
    library.T_CompressData.restype = c.c_int32
    library.T_CompressData.argtypes = [c.c_void_p, c.c_int32]
    library.T_EndCompressData.restype = c.c_int32
    library.T_EndCompressData.argtypes = []
    library.T_CompressBitmap1Bit.restype = c.c_int32
    library.T_CompressBitmap1Bit.argtypes = [c.c_void_p, c.c_char_p, c.c_int32]
    library.T_DecompressBitmap1Bit.restype = c.c_int32
    library.T_DecompressBitmap1Bit.argtypes = [c.c_char_p, c.c_void_p]
    library.T_DecompressFile.restype = c.c_int32
    library.T_DecompressFile.argtypes = [c.c_char_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p, c.c_int32]
    library.T_DecompressMemory.restype = c.c_int32
    library.T_DecompressMemory.argtypes = [c.c_void_p, c.c_void_p, T_RowSink, c.c_int32, c.c_void_p, c.c_int32, c.c_uint32]
    library.T_DecompressBitmap.restype = c.c_int32
    library.T_DecompressBitmap.argtypes = [c.c_char_p, c.c_void_p, c.c_int32]
    library.T_DecompressBitmapMemory.restype = c.c_int32
    library.T_DecompressBitmapMemory.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_uint32]
    library.T_StartDecompressData.restype = c.c_int32
    library.T_StartDecompressData.argtypes = [T_RowSink, c.c_int32, c.c_int32, c.c_void_p]
    library.T_DecompressData.restype = c.c_int32
    library.T_DecompressData.argtypes = [c.c_void_p, c.c_uint32]
    library.T_EndDecompressData.restype = c.c_int32
    library.T_EndDecompressData.argtypes = []
    library.T_GetCompressFileStamp.restype = c.c_int32
    library.T_GetCompressFileStamp.argtypes = [c.c_char_p, c.c_void_p]
    library.T_GetJPEGInfo.restype = c.c_int32
    library.T_GetJPEGInfo.argtypes = [c.c_char_p, c.c_void_p]
    if sys.platform == "win32":
        library.T_EnableFastPaint.restype = c.c_int32
        library.T_EnableFastPaint.argtypes = [c.c_int32]
        library.T_EnableIndexedPaint.restype = c.c_int32
        library.T_EnableIndexedPaint.argtypes = [c.c_int32]
        library.T_EnableDitheredPaint.restype = c.c_int32
        library.T_EnableDitheredPaint.argtypes = [c.c_int32]
        library.T_EnableOrderedDither.restype = c.c_int32
        library.T_EnableOrderedDither.argtypes = [c.c_int32]
        library.T_EnableScaleToGray.restype = c.c_int32
        library.T_EnableScaleToGray.argtypes = [c.c_int32]
        library.T_PaintDevice.restype = c.c_int32
        library.T_PaintDevice.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_uint32]
        library.T_PaintBuffer.restype = c.c_int32
        library.T_PaintBuffer.argtypes = [c.c_void_p, c.c_void_p, c.c_int32, c.c_int32, c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_uint32]
        library.T_PaintEffect.restype = c.c_int32
        library.T_PaintEffect.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_uint32, c.c_int32, c.c_int32, c.c_int32]
        library.T_ConvertToDDB.restype = c.c_int32
        library.T_ConvertToDDB.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p]
        library.T_ConvertFromDDB.restype = c.c_int32
        library.T_ConvertFromDDB.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p]
        library.T_CopyToClipboard.restype = c.c_int32
        library.T_CopyToClipboard.argtypes = [c.c_void_p, c.c_void_p]
        library.T_CopyFromClipboard.restype = c.c_int32
        library.T_CopyFromClipboard.argtypes = [c.c_void_p, c.c_void_p]
        library.T_PrintBitmap.restype = c.c_int32
        library.T_PrintBitmap.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p]
        library.T_PrintBitmapExt.restype = c.c_int32
        library.T_PrintBitmapExt.argtypes = [c.c_void_p, c.c_void_p, c.c_void_p, c.c_void_p, c.c_uint32, c.c_uint32, c.c_char_p, c.c_char_p]
        library.T_TwainSelect.restype = c.c_int32
        library.T_TwainSelect.argtypes = [c.c_void_p]
        library.T_TwainAcquire.restype = c.c_int32
        library.T_TwainAcquire.argtypes = [c.c_void_p, c.c_void_p]
        library.T_TwainAcquireExt.restype = c.c_int32
        library.T_TwainAcquireExt.argtypes = [c.c_void_p, c.c_void_p, T_TwainPage, c.c_void_p]
        library.T_TwainCondition.restype = c.c_int32
        library.T_TwainCondition.argtypes = []


def _open():
    name = "TAVO45.dll" if sys.platform == "win32" else "libtavo45.so"
    beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), name)
    path = os.environ.get("TAVO45_LIBRARY") or (beside if os.path.exists(beside) else name)
    return (c.WinDLL if sys.platform == "win32" else c.CDLL)(path)


lib = _open()
_declare(lib)


class Error(Exception):
    """A call that failed: `status`, the sentence, and what T_GetError tells as `info`."""

    def __init__(self, status, name=None):
        text = c.create_string_buffer(300)
        self.status = status
        self.name = name
        self.info = T_ERRORINFO()
        lib.T_GetError(c.byref(self.info))
        if self.info.Status == status:
            lib.T_GetErrorText(text, len(text))
        words = text.value.decode("ascii") or lib.T_GetStatusText(status).decode("ascii")
        super().__init__(f"{name}: {words}" if name else words)


def check(status, name=None):
    """Raises Error unless `status` is T_OK."""
    if status != T_OK:
        raise Error(status, name)


def _bytes(name):
    return os.fsencode(name)


class Picture:
    """A bitmap of the library, freed with the object. `record` is the BitmapHandle itself."""

    def __init__(self, width=None, height=None, bits=24):
        self.record = BitmapHandle()
        if width is not None:
            check(lib.T_InitBitmap(self._at(), width, height, bits))
            check(lib.T_AllocateBitmap(self._at(), 1))
            check(lib.T_ClearBitmap(self._at()))

    def _at(self):
        return c.byref(self.record)

    def close(self):
        """Frees the pixels now. Arrays that share them must be gone."""
        lib.T_FreeBitmap(self._at())

    def __del__(self):
        if lib is not None:
            self.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    width = property(lambda self: self.record.Width)
    height = property(lambda self: self.record.Height)
    bits = property(lambda self: self.record.BitsPerPixel)

    @property
    def palette(self):
        """(red, green, blue) of each color, up to 8 bits; else empty."""
        count = self.record.Colors if self.bits <= 8 else 0
        return [(p.Red, p.Green, p.Blue) for p in self.record.Info.Palette[:count]]

    def save(self, name, format, bits=0, quality=0, flags=0):
        """Writes the file `name` in one of the T_FORMAT_ formats."""
        name = os.fspath(name)
        check(lib.T_SaveFile(_bytes(name), self._at(), format, bits, quality, flags, 0, 0), name)

    def call(self, function, *arguments):
        """function(bitmap, ...) of the library on this picture: picture.call(lib.T_InvertBitmap)."""
        check(function(self._at(), *arguments))
        return self

    def row(self, number):
        """The bytes of a stored row without its padding."""
        if not 0 <= number < self.height:  # the library does not look
            raise IndexError(f"row {number} of {self.height}")
        lib.T_AccessBitmap(self._at())
        row = c.create_string_buffer((self.width * self.bits + 7) // 8)
        got = lib.T_GetBitmapRow(self._at(), row, number, len(row))
        if got != len(row):
            raise Error(got if got < 0 else T_ERR_READ)
        return row.raw

    @property
    def buffer(self):
        """All stored rows, padded to multiples of 4 bytes, as memory that is shared and can be
        written. The picture must be in memory; it stays as long as the buffer does."""
        lib.T_AccessBitmap(self._at())  # of one that is accessed it does not give the address
        if not self.record.Flags & T_FLAG_MEMORY or not self.record.Data:
            raise Error(T_ERR_NO_STORAGE)
        pixels = (c.c_uint8 * self.record.Size).from_address(self.record.Data)
        pixels.picture = self
        return memoryview(pixels).cast("B")

    @property
    def __array_interface__(self):
        """The pixels for numpy.asarray: top row first, shared, 8 bits (height, width), 16 bits the
        same of uint16, 24 and 32 bits with a third axis of 3 or 4. Others: load them as 8."""
        if self.bits < 8:
            raise TypeError(f"{self.bits} bits per pixel: ask for 8 when loading")
        line = self.record.BytesPerLine
        address = c.addressof(c.c_uint8.from_buffer(self.buffer))
        is_bottom_up = self.record.ViewPerspective >= 2
        if is_bottom_up:
            address += line * (self.height - 1)
        sample, count = ("<u2", 1) if self.bits == 16 else ("|u1", self.bits // 8)
        axes = (count,) if count > 1 else ()
        steps = (self.bits // 8,) + ((1,) if count > 1 else ())
        return {"version": 3, "typestr": sample, "shape": (self.height, self.width) + axes,
                "strides": (-line if is_bottom_up else line,) + steps, "data": (address, False)}


def info(name):
    """What the file is, as FILEINFO."""
    found = FILEINFO()
    name = os.fspath(name)
    check(lib.T_FileInfo(_bytes(name), c.byref(found)), name)
    return found


def load(source, bits=0, order=T_ORDER_RGB, page=1):
    """A file by its name, or its content as bytes, as a Picture. `bits`: 1, 4, 8, 16, 24, 32, or 0
    for the file's own."""
    picture = Picture()
    at = picture._at()
    lib.T_SetPageNumber(page)
    try:
        if isinstance(source, (bytes, bytearray, memoryview)):
            content = bytes(source)
            check(lib.T_LoadBitmapMemory(content, at, bits, order, len(content)))
        else:
            name = os.fspath(source)
            check(lib.T_LoadBitmap(_bytes(name), at, bits, order), name)
    finally:
        lib.T_SetPageNumber(1)
    return picture


_STOP = 3  # a sink's answer that is no status of the library


def rows(name, bits=0, order=T_ORDER_RGB):
    """Yields (record, rows) while the file is read: `record` says how the rows are made, `rows` is
    bytes of one or more rows of record.BytesPerLine. The picture as a whole is never in memory. The
    load works in a thread of its own, one step at a time, and ends when the loop does."""
    name = os.fspath(name)
    ready, wanted = queue.Queue(), queue.Queue()

    def sink(source, data, count, _):
        record = BitmapHandle.from_buffer_copy(c.string_at(source, c.sizeof(BitmapHandle)))
        ready.put((record, c.string_at(data, count * record.BytesPerLine)))
        return T_OK if wanted.get() else _STOP

    def work():
        target = BitmapHandle()
        status = lib.T_LoadFile(_bytes(name), c.byref(target), bits, order, 0,
                                callback, None)
        ready.put(None if status in (T_OK, _STOP) else Error(status, name))

    callback = T_RowSink(sink)
    thread = threading.Thread(target=work, daemon=True)
    thread.start()
    try:
        while (item := ready.get()) is not None:
            if isinstance(item, Error):
                raise item
            yield item
            wanted.put(True)
    finally:
        wanted.put(False)
        thread.join()

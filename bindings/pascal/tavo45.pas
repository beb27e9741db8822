{ TAVO45 for Free Pascal and Delphi: every function under its own name; tavo45.h is the manual of
  them. Works in 32-bit and 64-bit programs. The library is TAVO45.dll on Windows and libtavo45.so
  elsewhere, and is used from one thread at a time. Check raises ETavo for what is no success. }
unit tavo45;

{$ifdef FPC}
  {$mode objfpc}
  {$H+}
  {$packrecords C}
{$else}
  {$A8}
  {$ifdef WIN64}{$define CPU64}{$endif}
{$endif}

interface

uses
  SysUtils;

const
  LibraryName = {$ifdef MSWINDOWS}'TAVO45.dll'{$else}'tavo45'{$endif};

const
  T_OK = 1;
  T_ERR_NO_MEMORY = -1;
  T_ERR_NO_STORAGE = -2;
  T_ERR_SEEK = -4;
  T_ERR_WRITE = -5;
  T_ERR_READ = -7;
  T_ERR_NAME = -8;
  T_ERR_BAD_DATA = -9;
  T_ERR_OPEN = -10;
  T_ERR_SIZE = -11;
  T_ERR_SUBTYPE = -12;
  T_ERR_ARGUMENT = -13;
  T_ERR_CREATE = -14;
  T_ERR_FORMAT = -16;
  T_ERR_QUALITY = -21;
  T_ERR_DEPTH = -27;
  T_ERR_MULTIPLIER = -36;
  T_ERR_NOT_COMPRESSIBLE = -42;
  T_ERR_INCOMPLETE = -57;
  T_ERR_NO_STAMP = -65;
  T_ERR_NOTICE = -100;
  T_ERR_DEVICE = -110;
  T_ERR_BUSY = -111;
  T_ERR_NO_PICTURE = -112;
  T_ERR_UNAVAILABLE = -113;
  T_ERR_NO_SOURCE = -114;
  T_ERR_SOURCE = -115;
  T_ERR_CANCELLED = -116;
  T_ERR_LIMIT = -120;
  T_ERR_TOO_LARGE = -121;
  T_LIMIT_PIXELS = 1;
  T_LIMIT_SIDE = 2;
  T_LIMIT_MEMORY = 3;
  T_LIMIT_TEMPORARY = 4;
  T_LIMIT_PAGES = 5;
  T_LIMIT_WORK = 6;
  T_FLAG_ALLOCATED = 1;
  T_FLAG_MEMORY = 2;
  T_FLAG_DISK = 16;
  T_FLAG_USER = 32;
  T_FLAG_LOCKED = 64;
  T_FLAG_INTERLACED = 128;
  T_FLAG_GRAY = 256;
  T_FLAG_REDUCED = 1024;
  T_FLAG_PALETTE = 2048;
  T_FLAG_NO_STORAGE = 8192;
  T_ORDER_RGB = 0;
  T_ORDER_BGR = 1;
  T_DITHER_NONE = 0;
  T_DITHER_FLOYD_STEINBERG = 1;
  T_DITHER_STUCKI = 2;
  T_DITHER_BURKES = 3;
  T_DITHER_SIERRA = 4;
  T_DITHER_STEVENSON_ARCE = 5;
  T_DITHER_JARVIS = 6;
  T_DITHER_ORDERED = 7;
  T_FORMAT_PCX = 1;
  T_FORMAT_GIF = 2;
  T_FORMAT_TIFF = 3;
  T_FORMAT_TGA = 4;
  T_FORMAT_CMP = 5;
  T_FORMAT_BMP = 6;
  T_FORMAT_JPEG = 10;
  T_FORMAT_JPEG_24 = 11;
  T_FORMAT_BMP_OS2 = 14;
  T_FORMAT_WMF = 15;
  T_FORMAT_EPS = 16;
  T_FORMAT_CMP_SAVE = 20;
  T_FORMAT_JPEG_2X1 = 21;
  T_FORMAT_JPEG_2X1_24 = 22;
  T_FORMAT_JPEG_2X2 = 23;
  T_FORMAT_JPEG_2X2_24 = 24;
  T_FORMAT_TIFF_PACKBITS = 17;
  T_FORMAT_TIFF_GROUP3 = 25;
  T_FORMAT_CMP_1BIT = 26;
  T_FORMAT_TIFF_GROUP3_2D = 27;
  T_FORMAT_TIFF_GROUP4 = 28;
  T_FORMAT_TIFF_LZW = 29;
  T_FORMAT_CALS = 50;
  T_FORMAT_MAC = 51;
  T_FORMAT_IMG = 52;
  T_FORMAT_MSP = 53;
  T_FORMAT_WPG = 54;
  T_FORMAT_RAS = 55;
  T_FORMAT_PCT = 56;
  T_FORMAT_PCD = 57;
  T_FORMAT_EPS_TEXT = 63;
  T_FORMAT_PNG = 200;
  T_FORMAT_TIFF_DEFLATE = 201;
  T_FORMAT_DCX = 202;
  T_EXTRA_ALPHA = 1;
  T_EXTRA_ICC = 2;
  T_EXTRA_EXIF = 4;
  T_EXTRA_XMP = 8;
  T_MAX_PAGES = 1023;
  T_LOAD_ALLOCATE = 1;
  T_LOAD_ACCESS = 2;
  T_LOAD_FIXED = 4;
  T_LOAD_GIF_WHOLE = 8;
  T_LOAD_WHOLE_ROWS = 16;
  T_SAVE_REDUCE = 1;
  T_SAVE_FIXED_PALETTE = 2;
  T_SAVE_APPEND = 4;
  T_SAVE_KEEP_RESOLUTION = 8;
  T_PALETTE_OPTIMIZED = 1;
  T_PALETTE_FIXED = 2;
  T_PALETTE_GIVEN = 3;
  T_PALETTE_NONE = 4;
  T_PALETTE_FINE = 5;
  T_SIZE_NEAREST = 0;
  T_SIZE_BOX = 1;
  T_SIZE_TRIANGLE = 2;
  T_SIZE_CUBIC = 3;
  T_SIZE_MITCHELL = 4;
  T_SIZE_LANCZOS = 5;
  T_SIZE_DRAFT = 256;
  T_ROTATE_KEEP_SIZE = 1;
  T_ROTATE_SMOOTH = 2;
  T_FILTER_ABSOLUTE = 1;
  T_BINARY_ERODE = 0;
  T_BINARY_DILATE = 1;
  T_BINARY_OPEN = 2;
  T_BINARY_CLOSE = 3;
  T_SHAPE_BOX = 0;
  T_SHAPE_CROSS = 1;
  T_SHAPE_ROW = 2;
  T_SHAPE_COLUMN = 3;
  T_LEVEL_DEFAULT = 0;
  T_LEVEL_FAST = 1;
  T_LEVEL_SMALL = 2;
  T_MAX_DRAW_SCALE = 16;
  T_FACTOR_NONE = -2147483648;
  T_EFFECT_NONE = 0;
  T_EFFECT_WIPE_RIGHT = 1;
  T_EFFECT_WIPE_LEFT = 2;
  T_EFFECT_WIPE_DOWN = 3;
  T_EFFECT_WIPE_UP = 4;
  T_EFFECT_BOX_OUT = 5;
  T_EFFECT_BOX_IN = 6;
  T_EFFECT_BLINDS_VERTICAL = 7;
  T_EFFECT_BLINDS_HORIZONTAL = 8;
  T_EFFECT_CHECKERBOARD = 9;
  T_EFFECT_DISSOLVE = 10;
  T_EFFECT_SPLIT_VERTICAL = 11;
  T_EFFECT_SPLIT_HORIZONTAL = 12;
  T_EFFECT_DIAGONAL = 13;
  T_EFFECT_SPIRAL = 14;
  T_PRINT_STRETCH = 0;
  T_PRINT_FIT = 1;
  T_PRINT_ACTUAL = 2;
  T_PRINT_CENTER = 16;

type
  T_ERRORINFO = record
    Status: LongInt;
    SystemError: LongInt;
    Offset: Int64;
    Row: LongInt;
    Page: LongInt;
    Limit: LongInt;
    NotAllowed: LongInt;
    Asked: UInt64;
    Allowed: UInt64;
    LimitName: array[0..15] of AnsiChar;
  end;

  T_PaletteEntry = record
    Blue: Byte;
    Green: Byte;
    Red: Byte;
    Reserved: Byte;
  end;

  T_BitmapInfoHeader = record
    biSize: LongWord;
    biWidth: LongInt;
    biHeight: LongInt;
    biPlanes: Word;
    biBitCount: Word;
    biCompression: LongWord;
    biSizeImage: LongWord;
    biXPelsPerMeter: LongInt;
    biYPelsPerMeter: LongInt;
    biClrUsed: LongWord;
    biClrImportant: LongWord;
  end;

  T_BitmapInfo = record
    Header: T_BitmapInfoHeader;
    Palette: array[0..255] of T_PaletteEntry;
  end;

  PBitmapHandle = ^BitmapHandle;

  T_ReleaseCallback = procedure(handle: NativeUInt; data: NativeUInt); {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_RowSink = function(source: PBitmapHandle; rows: Pointer; rowCount: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_StatusCallback = function(percent: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_FileOpen = function(name: PAnsiChar; access: LongInt; mode: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_FileRead = function(handle: LongInt; buffer: Pointer; count: LongWord): LongWord; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_FileWrite = function(handle: LongInt; buffer: Pointer; count: LongWord): LongWord; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_FileSeek = function(handle: LongInt; offset: LongInt; origin: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_FileClose = function(handle: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_CompressWrite = function(bytes: Pointer; size: LongWord; userData: Pointer): LongWord; {$ifdef WIN32}stdcall{$else}cdecl{$endif};
  T_TwainPage = function(picture: PBitmapHandle; page: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif};

  BitmapHandle = record
    Handle: NativeUInt;
    Data: Pointer;
    CacheHandle: NativeUInt;
    CachePointer: Pointer;
    WorkWords: array[0..{$ifdef CPU64}1{$else}3{$endif}] of LongWord;
    StorageKind: LongInt;
    Width: LongInt;
    Height: LongInt;
    BitsPerPixel: LongInt;
    BytesPerLine: LongWord;
    RowOffset: LongWord;
    CurrentRow: LongWord;
    ReservedA: array[0..1] of LongWord;
    Flags: LongWord;
    Colors: LongWord;
    Info: T_BitmapInfo;
    GdiObjectA: NativeUInt;
    GdiObjectB: NativeUInt;
    ReservedB: array[0..3] of LongWord;
    ViewPerspective: LongWord;
    Order: LongWord;
    Size: LongWord;
    ReservedC: LongWord;
    DitherState: Pointer;
    DitherMethod: LongWord;
    ReleaseCallback: T_ReleaseCallback;
    ReleaseData: NativeUInt;
    XOrigin: LongInt;
    YOrigin: LongInt;
    LastRow: LongInt;
    LastColumn: LongInt;
    ReservedD: array[0..{$ifdef CPU64}1{$else}10{$endif}] of LongWord;
    XResolution: LongInt;
    YResolution: LongInt;
    WriterDefaults: array[0..1] of LongWord;
    ReservedE: array[0..1] of LongWord;
  end;

  FileIOTable = record
    Open: T_FileOpen;
    Read: T_FileRead;
    Write: T_FileWrite;
    Seek: T_FileSeek;
    Close: T_FileClose;
  end;

  T_Format = record
    Id: LongInt;
    CanRead: LongInt;
    CanWrite: LongInt;
    WriteDepths: LongWord;
    Name: array[0..31] of AnsiChar;
    Description: array[0..63] of AnsiChar;
    Extensions: array[0..31] of AnsiChar;
  end;

  FILEINFO = record
    Format: LongInt;
    FileSize: LongWord;
    PageCount: LongInt;
    Page: LongInt;
    Width: LongInt;
    Height: LongInt;
    BitsPerPixel: LongInt;
    Order: LongInt;
    ViewPerspective: LongWord;
    Colors: LongWord;
    XResolution: LongInt;
    YResolution: LongInt;
    Flags: LongWord;
    Compression: array[0..31] of AnsiChar;
    Orientation: LongWord;
    Extras: LongWord;
    Reserved: array[0..8] of LongWord;
  end;

  T_FormatWriteContext = record
    Name: PAnsiChar;
    Format: LongInt;
    BitsPerPixel: LongInt;
    Quality: LongInt;
    Flags: LongWord;
    Rows: LongInt;
    Picture: BitmapHandle;
  end;

  T_TIFFOption = record
    XResolution: LongInt;
    YResolution: LongInt;
    WriterDefaults: array[0..1] of LongWord;
    Words: array[0..31] of LongWord;
  end;

  T_CompressContext = record
    OutputType: LongInt;
    Quality: LongInt;
    StripBuffer: Pointer;
    UserData: Pointer;
  end;

  T_JPEGINFO = record
    Format: LongInt;
    Components: LongInt;
    HorizontalFactors: array[0..3] of LongInt;
    VerticalFactors: array[0..3] of LongInt;
    Progressive: LongInt;
    RestartInterval: LongInt;
    HalfHeight: LongInt;
    Quality: LongInt;
    Factor: LongInt;
    StampWidth: LongInt;
    StampHeight: LongInt;
    StampBits: LongInt;
    Reserved: array[0..11] of LongInt;
  end;

  T_TwainOptions = record
    Size: LongWord;
    Flags: LongWord;
    Transfer: LongInt;
    PixelType: LongInt;
    BitDepth: LongInt;
    XResolution: LongInt;
    YResolution: LongInt;
    Pages: LongInt;
    Left: LongInt;
    Top: LongInt;
    Right: LongInt;
    Bottom: LongInt;
    Brightness: LongInt;
    Contrast: LongInt;
    FileFormat: LongInt;
    FileName: PAnsiChar;
    SourceName: array[0..35] of AnsiChar;
  end;

function T_GetStatusText(status: LongInt): PAnsiChar; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetVersion: LongWord; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetError(var error: T_ERRORINFO): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetErrorText(buffer: PAnsiChar; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetLimit(kind: LongInt; value: UInt64): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetLimit(kind: LongInt): UInt64; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EnableFormat(format: LongInt; flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetStatusCallBack(callback: T_StatusCallback): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_InitBitmap(var bitmap: BitmapHandle; width: LongInt; height: LongInt; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetUnknownResolution(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_AllocateBitmap(var bitmap: BitmapHandle; request: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_AccessBitmap(var bitmap: BitmapHandle): NativeUInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ReleaseBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FreeBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetBitmapRow(var bitmap: BitmapHandle; buffer: Pointer; row: LongWord; bytes: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PutBitmapRow(var bitmap: BitmapHandle; buffer: Pointer; row: LongWord; bytes: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetBitmapRowCol(var bitmap: BitmapHandle; buffer: Pointer; row: LongWord; column: LongWord; bytes: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PutBitmapRowCol(var bitmap: BitmapHandle; buffer: Pointer; row: LongWord; column: LongWord; bytes: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ClearBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CopyBitmap(var dst: BitmapHandle; var src: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CopyBitmapRect(var dst: BitmapHandle; var src: BitmapHandle; x: LongWord; y: LongWord; width: LongWord; height: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CopyBitmapData(var dst: BitmapHandle; var src: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CopyBitmapHandle(var dst: BitmapHandle; const src: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetNameEncoding(encoding: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_RedirectIO(open: T_FileOpen; read: T_FileRead; write: T_FileWrite; seek: T_FileSeek; close: T_FileClose): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetFormat(index: LongWord; var format: T_Format): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FileInfo(name: PAnsiChar; var info: FILEINFO): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FileInfoMemory(address: Pointer; var info: FILEINFO; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetCallbackLine(lines: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetPageNumber(page: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadFile(name: PAnsiChar; var target: BitmapHandle; bitsPerPixel: LongInt; order: LongInt; flags: LongWord; callback: T_RowSink; userData: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadMemory(address: Pointer; var target: BitmapHandle; bitsPerPixel: LongInt; order: LongInt; flags: LongWord; callback: T_RowSink; userData: Pointer; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadBitmap(name: PAnsiChar; var target: BitmapHandle; bitsPerPixel: LongInt; order: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadBitmapMemory(address: Pointer; var target: BitmapHandle; bitsPerPixel: LongInt; order: LongInt; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadFileCB(var source: BitmapHandle; rows: Pointer; rowCount: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetRowsRead: LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetDamageOffset: Int64; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveFile(name: PAnsiChar; var bitmap: BitmapHandle; format: LongInt; bitsPerPixel: LongInt; quality: LongInt; flags: LongWord; direct: LongWord; extra: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveBitmap(name: PAnsiChar; var bitmap: BitmapHandle; format: LongInt; bitsPerPixel: LongInt; quality: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ConvertFile(source: PAnsiChar; destination: PAnsiChar; format: LongInt; bitsPerPixel: LongInt; quality: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StreamFile(source: PAnsiChar; destination: PAnsiChar; format: LongInt; bitsPerPixel: LongInt; quality: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function FileFormatWrite(var source: BitmapHandle; rows: Pointer; rowCount: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function FileNoConvertWrite(var source: BitmapHandle; rows: Pointer; rowCount: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetSaveOrientation(orientation: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ConvertBuffer(buffer: Pointer; width: LongInt; bitsIn: LongInt; bitsOut: LongInt; orderIn: LongInt; orderOut: LongInt; paletteIn: Pointer; paletteOut: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DefaultDithering(method: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetGrayFixedPalette(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StartDithering(var bitmap: BitmapHandle; palette: Pointer; colors: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DitherLine(var bitmap: BitmapHandle; input: Pointer; output: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StopDithering(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_OptimizeBitmap(var source: BitmapHandle; var destination: BitmapHandle; flags: LongWord; colors: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ColorResolution(var bitmap: BitmapHandle; depth: LongInt; paletteType: LongInt; palette: Pointer; colors: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GrayScaleBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CreatePaintPalette(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CreateScreenPalette(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DupPalette(palette: NativeUInt): NativeUInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StartResize(oldWidth: LongInt; oldHeight: LongInt; newWidth: LongInt; newHeight: LongInt; resize: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_Resize(row: Pointer; rowNumber: LongWord; bitsPerPixel: LongInt; outWidth: Pointer; outRows: Pointer; resize: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StopResize(resize: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SizeBitmap(var bitmap: BitmapHandle; width: LongInt; height: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ResizeBitmap(var source: BitmapHandle; var destination: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SizeBitmapFine(var bitmap: BitmapHandle; width: LongInt; height: LongInt; method: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadBitmapFine(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt; order: LongInt; width: LongInt; height: LongInt; method: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_RotateBitmap(var bitmap: BitmapHandle; degrees: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FlipBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ReverseBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_RotateBitmapFine(var bitmap: BitmapHandle; angle: LongInt; flags: LongWord; color: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_AverageFilterBitmap(var bitmap: BitmapHandle; size: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_MedianFilterBitmap(var bitmap: BitmapHandle; size: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SpatialFilterBitmap(var bitmap: BitmapHandle; kernel: Pointer; size: LongInt; divisor: LongInt; bias: LongInt; flags: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SharpenBitmap(var bitmap: BitmapHandle; strength: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_BinaryFilterBitmap(var bitmap: BitmapHandle; operation: LongWord; shape: LongWord; size: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DespeckleBitmap(var bitmap: BitmapHandle; amount: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_MosaicBitmap(var bitmap: BitmapHandle; size: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ChangeBitmapIntensity(var bitmap: BitmapHandle; level: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ChangeBitmapContrast(var bitmap: BitmapHandle; level: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ChangeBitmapHue(var bitmap: BitmapHandle; degrees: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ChangeBitmapSaturation(var bitmap: BitmapHandle; level: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_InvertBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PosterizeBitmap(var bitmap: BitmapHandle; levels: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_HistoEqualizeBitmap(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_HalfToneBitmap(var bitmap: BitmapHandle; cell: LongInt; angle: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FindSkew(var bitmap: BitmapHandle; angle: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FindContent(var bitmap: BitmapHandle; x: Pointer; y: Pointer; width: Pointer; height: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_IsBlank(var bitmap: BitmapHandle; share: LongInt; blank: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ConvertToDIB(var bitmap: BitmapHandle; dib: Pointer; size: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ConvertFromDIB(dib: Pointer; size: LongWord; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ChangeToDIB(var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_FreeDIB(dib: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadBMPFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadBMPBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveBMPBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPCXFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPCXBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SavePCXBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadGIFFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadGIFBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveGIFBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetGIFVersion(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetScreenSize(width: LongInt; height: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetGIFDepth(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetGIFFrames(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadCALSFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadCALSBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveCALSBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadTGAFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadTGABitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveTGABitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetRASVariant(variant: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadRASFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadRASBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveRASBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetTIFFOption(const option: T_TIFFOption): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
procedure T_SetTIFFXYResolution(x: LongInt; y: LongInt); {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadTIFFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadTIFBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveTIFBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetDeflateLevel(level: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPNGFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPNGBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SavePNGBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadMACFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadMACBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveMACBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetDocumentName(name: PAnsiChar): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadMSPFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadMSPBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveMSPBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadIMGFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadIMGBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveIMGBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadWPGFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadWPGBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveWPGBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPCDFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPCDBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetPCDResolution(level: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetPCDModule(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadWMFFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadWMFBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveWMFBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetDrawScale(scale: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetDrawSmooth(flag: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPCTFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadPCTBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SavePCTBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadEPSFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadEPSBitmap(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SaveEPSBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_Create1BitTable: LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_SetJFIFUnit(unit_: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_LoadCustomQTable(table: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StartCompressBuffer(const bitmap: BitmapHandle; write: T_CompressWrite; inputStripBytes: LongWord; outputBufferBytes: LongWord; strip: Pointer; outputType: LongInt; quality: LongInt; userData: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressBuffer(strip: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EndCompressBuffer: LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function CompressCallBack(var bitmap: BitmapHandle; rows: Pointer; rowCount: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function FileWriteBuffer(bytes: Pointer; size: LongWord; userData: Pointer): LongWord; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressBitmap(var bitmap: BitmapHandle; name: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressBitmapWithStamp(var bitmap: BitmapHandle; name: PAnsiChar; outputType: LongInt; quality: LongInt; stampWidth: LongInt; stampHeight: LongInt; stampBits: LongInt; dither: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressALL(source: PAnsiChar; destination: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressBMP(source: PAnsiChar; destination: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressGIF(source: PAnsiChar; destination: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressPCX(source: PAnsiChar; destination: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressTGA(source: PAnsiChar; destination: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord; option: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressTIF(source: PAnsiChar; destination: PAnsiChar; outputType: LongInt; quality: LongInt; flag: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StartCompressData(width: LongInt; height: LongInt; bitsPerPixel: LongInt; write: T_CompressWrite; outputType: LongInt; quality: LongInt; userData: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressData(rows: Pointer; rowCount: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EndCompressData: LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CompressBitmap1Bit(var bitmap: BitmapHandle; name: PAnsiChar; format: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DecompressBitmap1Bit(name: PAnsiChar; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DecompressFile(name: PAnsiChar; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer; option: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DecompressMemory(address: Pointer; var bitmap: BitmapHandle; sink: T_RowSink; bitsPerPixel: LongInt; context: Pointer; option: LongInt; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DecompressBitmap(name: PAnsiChar; var bitmap: BitmapHandle; bitsPerPixel: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DecompressBitmapMemory(address: Pointer; var bitmap: BitmapHandle; bitsPerPixel: LongInt; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_StartDecompressData(sink: T_RowSink; bitsPerPixel: LongInt; order: LongInt; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_DecompressData(bytes: Pointer; size: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EndDecompressData: LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetCompressFileStamp(name: PAnsiChar; var stamp: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_GetJPEGInfo(name: PAnsiChar; var info: T_JPEGINFO): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;

{$ifdef MSWINDOWS}
function T_EnableFastPaint(on: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EnableIndexedPaint(on: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EnableDitheredPaint(on: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EnableOrderedDither(on: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_EnableScaleToGray(on: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PaintDevice(var bitmap: BitmapHandle; dc: Pointer; source: Pointer; destination: Pointer; clip: Pointer; rop: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PaintBuffer(var picture: BitmapHandle; rows: Pointer; firstRow: LongInt; rowCount: LongInt; dc: Pointer; source: Pointer; destination: Pointer; clip: Pointer; rop: LongWord): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PaintEffect(var bitmap: BitmapHandle; dc: Pointer; source: Pointer; destination: Pointer; clip: Pointer; rop: LongWord; effect: LongInt; blockSize: LongInt; delay: LongInt): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ConvertToDDB(var bitmap: BitmapHandle; dc: Pointer; result_: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_ConvertFromDDB(ddb: Pointer; palette: Pointer; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CopyToClipboard(var bitmap: BitmapHandle; owner: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_CopyFromClipboard(var bitmap: BitmapHandle; owner: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PrintBitmap(var bitmap: BitmapHandle; dc: Pointer; destination: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_PrintBitmapExt(var bitmap: BitmapHandle; dc: Pointer; source: Pointer; destination: Pointer; placement: LongWord; rop: LongWord; documentName: PAnsiChar; outputName: PAnsiChar): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_TwainSelect(window: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_TwainAcquire(window: Pointer; var bitmap: BitmapHandle): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_TwainAcquireExt(window: Pointer; const options: T_TwainOptions; page: T_TwainPage; context: Pointer): LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
function T_TwainCondition: LongInt; {$ifdef WIN32}stdcall{$else}cdecl{$endif}; external LibraryName;
{$endif}
type
  { A call that failed; the message is the library's sentence. }
  ETavo = class(Exception)
  public
    Status: LongInt;
    Info: T_ERRORINFO;
  end;

{ Raises ETavo unless the status is T_OK. }
procedure Check(Status: LongInt; const Name: string = '');

implementation

procedure Check(Status: LongInt; const Name: string);
var
  Error: ETavo;
  Text: array[0..299] of AnsiChar;
  Words: string;
begin
  if Status = T_OK then Exit;
  Error := ETavo.Create('');
  Error.Status := Status;
  T_GetError(Error.Info);
  Text[0] := #0;
  if Error.Info.Status = Status then T_GetErrorText(@Text[0], SizeOf(Text));
  Words := string(PAnsiChar(@Text[0]));
  if Words = '' then Words := string(T_GetStatusText(Status));
  if Name <> '' then Words := Name + ': ' + Words;
  Error.Message := Words;
  raise Error;
end;

end.

Attribute VB_Name = "tavo45"
' TAVO45 for Visual Basic 6 and VBA: every function under its own name; tavo45.h is the manual of
' them. TAVO45.dll must be as wide as the program (32 or 64 bits), and is used from one thread at a
' time. Callbacks are AddressOf a Public Function of a module with the same parameters. Numbers of 64
' bits are Currency: 10000 times what it shows. Texts in records are bytes, with a zero behind:
' TextOf makes strings of them.
Option Explicit

#If VBA7 Then
#Else
Public Enum LongPtr
  NullAddress = 0
End Enum
#End If

Public Const T_OK As Long = 1
Public Const T_ERR_NO_MEMORY As Long = -1
Public Const T_ERR_NO_STORAGE As Long = -2
Public Const T_ERR_SEEK As Long = -4
Public Const T_ERR_WRITE As Long = -5
Public Const T_ERR_READ As Long = -7
Public Const T_ERR_NAME As Long = -8
Public Const T_ERR_BAD_DATA As Long = -9
Public Const T_ERR_OPEN As Long = -10
Public Const T_ERR_SIZE As Long = -11
Public Const T_ERR_SUBTYPE As Long = -12
Public Const T_ERR_ARGUMENT As Long = -13
Public Const T_ERR_CREATE As Long = -14
Public Const T_ERR_FORMAT As Long = -16
Public Const T_ERR_QUALITY As Long = -21
Public Const T_ERR_DEPTH As Long = -27
Public Const T_ERR_MULTIPLIER As Long = -36
Public Const T_ERR_NOT_COMPRESSIBLE As Long = -42
Public Const T_ERR_INCOMPLETE As Long = -57
Public Const T_ERR_NO_STAMP As Long = -65
Public Const T_ERR_NOTICE As Long = -100
Public Const T_ERR_DEVICE As Long = -110
Public Const T_ERR_BUSY As Long = -111
Public Const T_ERR_NO_PICTURE As Long = -112
Public Const T_ERR_UNAVAILABLE As Long = -113
Public Const T_ERR_NO_SOURCE As Long = -114
Public Const T_ERR_SOURCE As Long = -115
Public Const T_ERR_CANCELLED As Long = -116
Public Const T_ERR_LIMIT As Long = -120
Public Const T_ERR_TOO_LARGE As Long = -121
Public Const T_LIMIT_PIXELS As Long = 1
Public Const T_LIMIT_SIDE As Long = 2
Public Const T_LIMIT_MEMORY As Long = 3
Public Const T_LIMIT_TEMPORARY As Long = 4
Public Const T_LIMIT_PAGES As Long = 5
Public Const T_LIMIT_WORK As Long = 6
Public Const T_FLAG_ALLOCATED As Long = 1
Public Const T_FLAG_MEMORY As Long = 2
Public Const T_FLAG_DISK As Long = 16
Public Const T_FLAG_USER As Long = 32
Public Const T_FLAG_LOCKED As Long = 64
Public Const T_FLAG_INTERLACED As Long = 128
Public Const T_FLAG_GRAY As Long = 256
Public Const T_FLAG_REDUCED As Long = 1024
Public Const T_FLAG_PALETTE As Long = 2048
Public Const T_FLAG_NO_STORAGE As Long = 8192
Public Const T_ORDER_RGB As Long = 0
Public Const T_ORDER_BGR As Long = 1
Public Const T_DITHER_NONE As Long = 0
Public Const T_DITHER_FLOYD_STEINBERG As Long = 1
Public Const T_DITHER_STUCKI As Long = 2
Public Const T_DITHER_BURKES As Long = 3
Public Const T_DITHER_SIERRA As Long = 4
Public Const T_DITHER_STEVENSON_ARCE As Long = 5
Public Const T_DITHER_JARVIS As Long = 6
Public Const T_DITHER_ORDERED As Long = 7
Public Const T_FORMAT_PCX As Long = 1
Public Const T_FORMAT_GIF As Long = 2
Public Const T_FORMAT_TIFF As Long = 3
Public Const T_FORMAT_TGA As Long = 4
Public Const T_FORMAT_CMP As Long = 5
Public Const T_FORMAT_BMP As Long = 6
Public Const T_FORMAT_JPEG As Long = 10
Public Const T_FORMAT_JPEG_24 As Long = 11
Public Const T_FORMAT_BMP_OS2 As Long = 14
Public Const T_FORMAT_WMF As Long = 15
Public Const T_FORMAT_EPS As Long = 16
Public Const T_FORMAT_CMP_SAVE As Long = 20
Public Const T_FORMAT_JPEG_2X1 As Long = 21
Public Const T_FORMAT_JPEG_2X1_24 As Long = 22
Public Const T_FORMAT_JPEG_2X2 As Long = 23
Public Const T_FORMAT_JPEG_2X2_24 As Long = 24
Public Const T_FORMAT_TIFF_PACKBITS As Long = 17
Public Const T_FORMAT_TIFF_GROUP3 As Long = 25
Public Const T_FORMAT_CMP_1BIT As Long = 26
Public Const T_FORMAT_TIFF_GROUP3_2D As Long = 27
Public Const T_FORMAT_TIFF_GROUP4 As Long = 28
Public Const T_FORMAT_TIFF_LZW As Long = 29
Public Const T_FORMAT_CALS As Long = 50
Public Const T_FORMAT_MAC As Long = 51
Public Const T_FORMAT_IMG As Long = 52
Public Const T_FORMAT_MSP As Long = 53
Public Const T_FORMAT_WPG As Long = 54
Public Const T_FORMAT_RAS As Long = 55
Public Const T_FORMAT_PCT As Long = 56
Public Const T_FORMAT_PCD As Long = 57
Public Const T_FORMAT_EPS_TEXT As Long = 63
Public Const T_FORMAT_PNG As Long = 200
Public Const T_FORMAT_TIFF_DEFLATE As Long = 201
Public Const T_FORMAT_DCX As Long = 202
Public Const T_EXTRA_ALPHA As Long = 1
Public Const T_EXTRA_ICC As Long = 2
Public Const T_EXTRA_EXIF As Long = 4
Public Const T_EXTRA_XMP As Long = 8
Public Const T_MAX_PAGES As Long = 1023
Public Const T_LOAD_ALLOCATE As Long = 1
Public Const T_LOAD_ACCESS As Long = 2
Public Const T_LOAD_FIXED As Long = 4
Public Const T_LOAD_GIF_WHOLE As Long = 8
Public Const T_LOAD_WHOLE_ROWS As Long = 16
Public Const T_SAVE_REDUCE As Long = 1
Public Const T_SAVE_FIXED_PALETTE As Long = 2
Public Const T_SAVE_APPEND As Long = 4
Public Const T_SAVE_KEEP_RESOLUTION As Long = 8
Public Const T_PALETTE_OPTIMIZED As Long = 1
Public Const T_PALETTE_FIXED As Long = 2
Public Const T_PALETTE_GIVEN As Long = 3
Public Const T_PALETTE_NONE As Long = 4
Public Const T_PALETTE_FINE As Long = 5
Public Const T_SIZE_NEAREST As Long = 0
Public Const T_SIZE_BOX As Long = 1
Public Const T_SIZE_TRIANGLE As Long = 2
Public Const T_SIZE_CUBIC As Long = 3
Public Const T_SIZE_MITCHELL As Long = 4
Public Const T_SIZE_LANCZOS As Long = 5
Public Const T_SIZE_DRAFT As Long = 256
Public Const T_ROTATE_KEEP_SIZE As Long = 1
Public Const T_ROTATE_SMOOTH As Long = 2
Public Const T_FILTER_ABSOLUTE As Long = 1
Public Const T_BINARY_ERODE As Long = 0
Public Const T_BINARY_DILATE As Long = 1
Public Const T_BINARY_OPEN As Long = 2
Public Const T_BINARY_CLOSE As Long = 3
Public Const T_SHAPE_BOX As Long = 0
Public Const T_SHAPE_CROSS As Long = 1
Public Const T_SHAPE_ROW As Long = 2
Public Const T_SHAPE_COLUMN As Long = 3
Public Const T_LEVEL_DEFAULT As Long = 0
Public Const T_LEVEL_FAST As Long = 1
Public Const T_LEVEL_SMALL As Long = 2
Public Const T_MAX_DRAW_SCALE As Long = 16
Public Const T_FACTOR_NONE As Long = &H80000000
Public Const T_EFFECT_NONE As Long = 0
Public Const T_EFFECT_WIPE_RIGHT As Long = 1
Public Const T_EFFECT_WIPE_LEFT As Long = 2
Public Const T_EFFECT_WIPE_DOWN As Long = 3
Public Const T_EFFECT_WIPE_UP As Long = 4
Public Const T_EFFECT_BOX_OUT As Long = 5
Public Const T_EFFECT_BOX_IN As Long = 6
Public Const T_EFFECT_BLINDS_VERTICAL As Long = 7
Public Const T_EFFECT_BLINDS_HORIZONTAL As Long = 8
Public Const T_EFFECT_CHECKERBOARD As Long = 9
Public Const T_EFFECT_DISSOLVE As Long = 10
Public Const T_EFFECT_SPLIT_VERTICAL As Long = 11
Public Const T_EFFECT_SPLIT_HORIZONTAL As Long = 12
Public Const T_EFFECT_DIAGONAL As Long = 13
Public Const T_EFFECT_SPIRAL As Long = 14
Public Const T_PRINT_STRETCH As Long = 0
Public Const T_PRINT_FIT As Long = 1
Public Const T_PRINT_ACTUAL As Long = 2
Public Const T_PRINT_CENTER As Long = 16

Public Type T_ERRORINFO
  Status As Long
  SystemError As Long
  Offset As Currency
  Row As Long
  Page As Long
  Limit As Long
  NotAllowed As Long
  Asked As Currency
  Allowed As Currency
  LimitName(0 To 15) As Byte
End Type

Public Type T_PaletteEntry
  Blue As Byte
  Green As Byte
  Red As Byte
  Reserved As Byte
End Type

Public Type T_BitmapInfoHeader
  biSize As Long
  biWidth As Long
  biHeight As Long
  biPlanes As Integer
  biBitCount As Integer
  biCompression As Long
  biSizeImage As Long
  biXPelsPerMeter As Long
  biYPelsPerMeter As Long
  biClrUsed As Long
  biClrImportant As Long
End Type

Public Type T_BitmapInfo
  Header As T_BitmapInfoHeader
  Palette(0 To 255) As T_PaletteEntry
End Type

Public Type BitmapHandle
  Handle As LongPtr
  Data As LongPtr
  CacheHandle As LongPtr
  CachePointer As LongPtr
#If Win64 Then
  WorkWords(0 To 1) As Long
#Else
  WorkWords(0 To 3) As Long
#End If
  StorageKind As Long
  Width As Long
  Height As Long
  BitsPerPixel As Long
  BytesPerLine As Long
  RowOffset As Long
  CurrentRow As Long
  ReservedA(0 To 1) As Long
  Flags As Long
  Colors As Long
  Info As T_BitmapInfo
  GdiObjectA As LongPtr
  GdiObjectB As LongPtr
  ReservedB(0 To 3) As Long
  ViewPerspective As Long
  Order As Long
  Size As Long
  ReservedC As Long
  DitherState As LongPtr
  DitherMethod As Long
  ReleaseCallback As LongPtr
  ReleaseData As LongPtr
  XOrigin As Long
  YOrigin As Long
  LastRow As Long
  LastColumn As Long
#If Win64 Then
  ReservedD(0 To 1) As Long
#Else
  ReservedD(0 To 10) As Long
#End If
  XResolution As Long
  YResolution As Long
  WriterDefaults(0 To 1) As Long
  ReservedE(0 To 1) As Long
End Type

Public Type FileIOTable
  Open_ As LongPtr
  Read_ As LongPtr
  Write_ As LongPtr
  Seek_ As LongPtr
  Close_ As LongPtr
End Type

Public Type T_Format
  Id As Long
  CanRead As Long
  CanWrite As Long
  WriteDepths As Long
  Name_(0 To 31) As Byte
  Description(0 To 63) As Byte
  Extensions(0 To 31) As Byte
End Type

Public Type FILEINFO
  Format As Long
  FileSize As Long
  PageCount As Long
  Page As Long
  Width As Long
  Height As Long
  BitsPerPixel As Long
  Order As Long
  ViewPerspective As Long
  Colors As Long
  XResolution As Long
  YResolution As Long
  Flags As Long
  Compression(0 To 31) As Byte
  Orientation As Long
  Extras As Long
  Reserved(0 To 8) As Long
End Type

Public Type T_FormatWriteContext
  Name_ As LongPtr
  Format As Long
  BitsPerPixel As Long
  Quality As Long
  Flags As Long
  Rows As Long
  Picture As BitmapHandle
End Type

Public Type T_TIFFOption
  XResolution As Long
  YResolution As Long
  WriterDefaults(0 To 1) As Long
  Words(0 To 31) As Long
End Type

Public Type T_CompressContext
  OutputType As Long
  Quality As Long
  StripBuffer As LongPtr
  UserData As LongPtr
End Type

Public Type T_JPEGINFO
  Format As Long
  Components As Long
  HorizontalFactors(0 To 3) As Long
  VerticalFactors(0 To 3) As Long
  Progressive As Long
  RestartInterval As Long
  HalfHeight As Long
  Quality As Long
  Factor As Long
  StampWidth As Long
  StampHeight As Long
  StampBits As Long
  Reserved(0 To 11) As Long
End Type

Public Type T_TwainOptions
  Size As Long
  Flags As Long
  Transfer As Long
  PixelType As Long
  BitDepth As Long
  XResolution As Long
  YResolution As Long
  Pages As Long
  Left As Long
  Top As Long
  Right As Long
  Bottom As Long
  Brightness As Long
  Contrast As Long
  FileFormat As Long
  FileName As LongPtr
  SourceName(0 To 35) As Byte
End Type

#If VBA7 Then
Public Declare PtrSafe Function T_GetStatusText Lib "TAVO45.dll" (ByVal status As Long) As LongPtr
Public Declare PtrSafe Function T_GetVersion Lib "TAVO45.dll" () As Long
Public Declare PtrSafe Function T_GetError Lib "TAVO45.dll" (ByRef error_ As T_ERRORINFO) As Long
Public Declare PtrSafe Function T_GetErrorText Lib "TAVO45.dll" (ByVal buffer As String, ByVal size As Long) As Long
Public Declare PtrSafe Function T_SetLimit Lib "TAVO45.dll" (ByVal kind As Long, ByVal value As Currency) As Long
Public Declare PtrSafe Function T_GetLimit Lib "TAVO45.dll" (ByVal kind As Long) As Currency
Public Declare PtrSafe Function T_EnableFormat Lib "TAVO45.dll" (ByVal format As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_SetStatusCallBack Lib "TAVO45.dll" (ByVal callback As LongPtr) As Long
Public Declare PtrSafe Function T_InitBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal width As Long, ByVal height As Long, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetUnknownResolution Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_AllocateBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal request As Long) As Long
Public Declare PtrSafe Function T_AccessBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As LongPtr
Public Declare PtrSafe Function T_ReleaseBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_FreeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_GetBitmapRow Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As LongPtr, ByVal row As Long, ByVal bytes As Long) As Long
Public Declare PtrSafe Function T_PutBitmapRow Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As LongPtr, ByVal row As Long, ByVal bytes As Long) As Long
Public Declare PtrSafe Function T_GetBitmapRowCol Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As LongPtr, ByVal row As Long, ByVal column As Long, ByVal bytes As Long) As Long
Public Declare PtrSafe Function T_PutBitmapRowCol Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As LongPtr, ByVal row As Long, ByVal column As Long, ByVal bytes As Long) As Long
Public Declare PtrSafe Function T_ClearBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_CopyBitmap Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle) As Long
Public Declare PtrSafe Function T_CopyBitmapRect Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle, ByVal x As Long, ByVal y As Long, ByVal width As Long, ByVal height As Long) As Long
Public Declare PtrSafe Function T_CopyBitmapData Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle) As Long
Public Declare PtrSafe Function T_CopyBitmapHandle Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle) As Long
Public Declare PtrSafe Function T_SetNameEncoding Lib "TAVO45.dll" (ByVal encoding As Long) As Long
Public Declare PtrSafe Function T_RedirectIO Lib "TAVO45.dll" (ByVal open_ As LongPtr, ByVal read_ As LongPtr, ByVal write_ As LongPtr, ByVal seek_ As LongPtr, ByVal close_ As LongPtr) As Long
Public Declare PtrSafe Function T_GetFormat Lib "TAVO45.dll" (ByVal index As Long, ByRef format As T_Format) As Long
Public Declare PtrSafe Function T_FileInfo Lib "TAVO45.dll" (ByVal name_ As String, ByRef info As FILEINFO) As Long
Public Declare PtrSafe Function T_FileInfoMemory Lib "TAVO45.dll" (ByVal address As LongPtr, ByRef info As FILEINFO, ByVal size As Long) As Long
Public Declare PtrSafe Function T_SetCallbackLine Lib "TAVO45.dll" (ByVal lines As Long) As Long
Public Declare PtrSafe Function T_SetPageNumber Lib "TAVO45.dll" (ByVal page As Long) As Long
Public Declare PtrSafe Function T_LoadFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal flags As Long, ByVal callback As LongPtr, ByVal userData As LongPtr) As Long
Public Declare PtrSafe Function T_LoadMemory Lib "TAVO45.dll" (ByVal address As LongPtr, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal flags As Long, ByVal callback As LongPtr, ByVal userData As LongPtr, ByVal size As Long) As Long
Public Declare PtrSafe Function T_LoadBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long) As Long
Public Declare PtrSafe Function T_LoadBitmapMemory Lib "TAVO45.dll" (ByVal address As LongPtr, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal size As Long) As Long
Public Declare PtrSafe Function T_LoadFileCB Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByVal rows As LongPtr, ByVal rowCount As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_GetRowsRead Lib "TAVO45.dll" () As Long
Public Declare PtrSafe Function T_GetDamageOffset Lib "TAVO45.dll" () As Currency
Public Declare PtrSafe Function T_SaveFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long, ByVal flags As Long, ByVal direct As Long, ByVal extra As Long) As Long
Public Declare PtrSafe Function T_SaveBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long) As Long
Public Declare PtrSafe Function T_ConvertFile Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long) As Long
Public Declare PtrSafe Function T_StreamFile Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long) As Long
Public Declare PtrSafe Function FileFormatWrite Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByVal rows As LongPtr, ByVal rowCount As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function FileNoConvertWrite Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByVal rows As LongPtr, ByVal rowCount As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_SetSaveOrientation Lib "TAVO45.dll" (ByVal orientation As Long) As Long
Public Declare PtrSafe Function T_ConvertBuffer Lib "TAVO45.dll" (ByVal buffer As LongPtr, ByVal width As Long, ByVal bitsIn As Long, ByVal bitsOut As Long, ByVal orderIn As Long, ByVal orderOut As Long, ByVal paletteIn As LongPtr, ByVal paletteOut As LongPtr) As Long
Public Declare PtrSafe Function T_DefaultDithering Lib "TAVO45.dll" (ByVal method As Long) As Long
Public Declare PtrSafe Function T_SetGrayFixedPalette Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_StartDithering Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal palette As LongPtr, ByVal colors As Long) As Long
Public Declare PtrSafe Function T_DitherLine Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal input_ As LongPtr, ByVal output As LongPtr) As Long
Public Declare PtrSafe Function T_StopDithering Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_OptimizeBitmap Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByRef destination As BitmapHandle, ByVal flags As Long, ByVal colors As Long) As Long
Public Declare PtrSafe Function T_ColorResolution Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal depth As Long, ByVal paletteType As Long, ByVal palette As LongPtr, ByVal colors As Long) As Long
Public Declare PtrSafe Function T_GrayScaleBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_CreatePaintPalette Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_CreateScreenPalette Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_DupPalette Lib "TAVO45.dll" (ByVal palette As LongPtr) As LongPtr
Public Declare PtrSafe Function T_StartResize Lib "TAVO45.dll" (ByVal oldWidth As Long, ByVal oldHeight As Long, ByVal newWidth As Long, ByVal newHeight As Long, ByVal resize As LongPtr) As Long
Public Declare PtrSafe Function T_Resize Lib "TAVO45.dll" (ByVal row As LongPtr, ByVal rowNumber As Long, ByVal bitsPerPixel As Long, ByRef outWidth As Long, ByRef outRows As Long, ByVal resize As LongPtr) As Long
Public Declare PtrSafe Function T_StopResize Lib "TAVO45.dll" (ByVal resize As LongPtr) As Long
Public Declare PtrSafe Function T_SizeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal width As Long, ByVal height As Long) As Long
Public Declare PtrSafe Function T_ResizeBitmap Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByRef destination As BitmapHandle) As Long
Public Declare PtrSafe Function T_SizeBitmapFine Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal width As Long, ByVal height As Long, ByVal method As Long) As Long
Public Declare PtrSafe Function T_LoadBitmapFine Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal width As Long, ByVal height As Long, ByVal method As Long) As Long
Public Declare PtrSafe Function T_RotateBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal degrees As Long) As Long
Public Declare PtrSafe Function T_FlipBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_ReverseBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_RotateBitmapFine Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal angle As Long, ByVal flags As Long, ByVal color As Long) As Long
Public Declare PtrSafe Function T_AverageFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal size As Long) As Long
Public Declare PtrSafe Function T_MedianFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal size As Long) As Long
Public Declare PtrSafe Function T_SpatialFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal kernel As LongPtr, ByVal size As Long, ByVal divisor As Long, ByVal bias As Long, ByVal flags As Long) As Long
Public Declare PtrSafe Function T_SharpenBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal strength As Long) As Long
Public Declare PtrSafe Function T_BinaryFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal operation As Long, ByVal shape As Long, ByVal size As Long) As Long
Public Declare PtrSafe Function T_DespeckleBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal amount As Long) As Long
Public Declare PtrSafe Function T_MosaicBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal size As Long) As Long
Public Declare PtrSafe Function T_ChangeBitmapIntensity Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal level As Long) As Long
Public Declare PtrSafe Function T_ChangeBitmapContrast Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal level As Long) As Long
Public Declare PtrSafe Function T_ChangeBitmapHue Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal degrees As Long) As Long
Public Declare PtrSafe Function T_ChangeBitmapSaturation Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal level As Long) As Long
Public Declare PtrSafe Function T_InvertBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_PosterizeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal levels As Long) As Long
Public Declare PtrSafe Function T_HistoEqualizeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_HalfToneBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal cell As Long, ByVal angle As Long) As Long
Public Declare PtrSafe Function T_FindSkew Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByRef angle As Long) As Long
Public Declare PtrSafe Function T_FindContent Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByRef x As Long, ByRef y As Long, ByRef width As Long, ByRef height As Long) As Long
Public Declare PtrSafe Function T_IsBlank Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal share As Long, ByRef blank As Long) As Long
Public Declare PtrSafe Function T_ConvertToDIB Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dib As LongPtr, ByRef size As Long) As Long
Public Declare PtrSafe Function T_ConvertFromDIB Lib "TAVO45.dll" (ByVal dib As LongPtr, ByVal size As Long, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_ChangeToDIB Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_FreeDIB Lib "TAVO45.dll" (ByVal dib As LongPtr) As Long
Public Declare PtrSafe Function T_LoadBMPFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadBMPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveBMPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadPCXFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadPCXBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SavePCXBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadGIFFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadGIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveGIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetGIFVersion Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_SetScreenSize Lib "TAVO45.dll" (ByVal width As Long, ByVal height As Long) As Long
Public Declare PtrSafe Function T_SetGIFDepth Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_SetGIFFrames Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_LoadCALSFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadCALSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveCALSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadTGAFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadTGABitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveTGABitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetRASVariant Lib "TAVO45.dll" (ByVal variant_ As Long) As Long
Public Declare PtrSafe Function T_LoadRASFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadRASBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveRASBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetTIFFOption Lib "TAVO45.dll" (ByRef option_ As T_TIFFOption) As Long
Public Declare PtrSafe Sub T_SetTIFFXYResolution Lib "TAVO45.dll" (ByVal x As Long, ByVal y As Long)
Public Declare PtrSafe Function T_LoadTIFFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadTIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveTIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetDeflateLevel Lib "TAVO45.dll" (ByVal level As Long) As Long
Public Declare PtrSafe Function T_LoadPNGFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadPNGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SavePNGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadMACFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadMACBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveMACBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetDocumentName Lib "TAVO45.dll" (ByVal name_ As String) As Long
Public Declare PtrSafe Function T_LoadMSPFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadMSPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveMSPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadIMGFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadIMGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveIMGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadWPGFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadWPGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveWPGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadPCDFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadPCDBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SetPCDResolution Lib "TAVO45.dll" (ByVal level As Long) As Long
Public Declare PtrSafe Function T_SetPCDModule Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_LoadWMFFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadWMFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveWMFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_SetDrawScale Lib "TAVO45.dll" (ByVal scale As Long) As Long
Public Declare PtrSafe Function T_SetDrawSmooth Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare PtrSafe Function T_LoadPCTFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadPCTBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SavePCTBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_LoadEPSFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_LoadEPSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_SaveEPSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_Create1BitTable Lib "TAVO45.dll" () As Long
Public Declare PtrSafe Function T_SetJFIFUnit Lib "TAVO45.dll" (ByVal unit As Long) As Long
Public Declare PtrSafe Function T_LoadCustomQTable Lib "TAVO45.dll" (ByVal table As LongPtr) As Long
Public Declare PtrSafe Function T_StartCompressBuffer Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal write_ As LongPtr, ByVal inputStripBytes As Long, ByVal outputBufferBytes As Long, ByVal strip As LongPtr, ByVal outputType As Long, ByVal quality As Long, ByVal userData As LongPtr) As Long
Public Declare PtrSafe Function T_CompressBuffer Lib "TAVO45.dll" (ByVal strip As LongPtr) As Long
Public Declare PtrSafe Function T_EndCompressBuffer Lib "TAVO45.dll" () As Long
Public Declare PtrSafe Function CompressCallBack Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal rows As LongPtr, ByVal rowCount As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function FileWriteBuffer Lib "TAVO45.dll" (ByVal bytes As LongPtr, ByVal size As Long, ByVal userData As LongPtr) As Long
Public Declare PtrSafe Function T_CompressBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal name_ As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_CompressBitmapWithStamp Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal name_ As String, ByVal outputType As Long, ByVal quality As Long, ByVal stampWidth As Long, ByVal stampHeight As Long, ByVal stampBits As Long, ByVal dither As Long) As Long
Public Declare PtrSafe Function T_CompressALL Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_CompressBMP Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_CompressGIF Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_CompressPCX Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_CompressTGA Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long, ByVal option_ As Long) As Long
Public Declare PtrSafe Function T_CompressTIF Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare PtrSafe Function T_StartCompressData Lib "TAVO45.dll" (ByVal width As Long, ByVal height As Long, ByVal bitsPerPixel As Long, ByVal write_ As LongPtr, ByVal outputType As Long, ByVal quality As Long, ByVal userData As LongPtr) As Long
Public Declare PtrSafe Function T_CompressData Lib "TAVO45.dll" (ByVal rows As LongPtr, ByVal rowCount As Long) As Long
Public Declare PtrSafe Function T_EndCompressData Lib "TAVO45.dll" () As Long
Public Declare PtrSafe Function T_CompressBitmap1Bit Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal name_ As String, ByVal format As Long) As Long
Public Declare PtrSafe Function T_DecompressBitmap1Bit Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_DecompressFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr, ByVal option_ As Long) As Long
Public Declare PtrSafe Function T_DecompressMemory Lib "TAVO45.dll" (ByVal address As LongPtr, ByRef bitmap As BitmapHandle, ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal context As LongPtr, ByVal option_ As Long, ByVal size As Long) As Long
Public Declare PtrSafe Function T_DecompressBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare PtrSafe Function T_DecompressBitmapMemory Lib "TAVO45.dll" (ByVal address As LongPtr, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long, ByVal size As Long) As Long
Public Declare PtrSafe Function T_StartDecompressData Lib "TAVO45.dll" (ByVal sink As LongPtr, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_DecompressData Lib "TAVO45.dll" (ByVal bytes As LongPtr, ByVal size As Long) As Long
Public Declare PtrSafe Function T_EndDecompressData Lib "TAVO45.dll" () As Long
Public Declare PtrSafe Function T_GetCompressFileStamp Lib "TAVO45.dll" (ByVal name_ As String, ByRef stamp As BitmapHandle) As Long
Public Declare PtrSafe Function T_GetJPEGInfo Lib "TAVO45.dll" (ByVal name_ As String, ByRef info As T_JPEGINFO) As Long
Public Declare PtrSafe Function T_EnableFastPaint Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare PtrSafe Function T_EnableIndexedPaint Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare PtrSafe Function T_EnableDitheredPaint Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare PtrSafe Function T_EnableOrderedDither Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare PtrSafe Function T_EnableScaleToGray Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare PtrSafe Function T_PaintDevice Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As LongPtr, ByVal source As LongPtr, ByVal destination As LongPtr, ByVal clip As LongPtr, ByVal rop As Long) As Long
Public Declare PtrSafe Function T_PaintBuffer Lib "TAVO45.dll" (ByRef picture As BitmapHandle, ByVal rows As LongPtr, ByVal firstRow As Long, ByVal rowCount As Long, ByVal dc As LongPtr, ByVal source As LongPtr, ByVal destination As LongPtr, ByVal clip As LongPtr, ByVal rop As Long) As Long
Public Declare PtrSafe Function T_PaintEffect Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As LongPtr, ByVal source As LongPtr, ByVal destination As LongPtr, ByVal clip As LongPtr, ByVal rop As Long, ByVal effect As Long, ByVal blockSize As Long, ByVal delay As Long) As Long
Public Declare PtrSafe Function T_ConvertToDDB Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As LongPtr, ByVal result As LongPtr) As Long
Public Declare PtrSafe Function T_ConvertFromDDB Lib "TAVO45.dll" (ByVal ddb As LongPtr, ByVal palette As LongPtr, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_CopyToClipboard Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal owner As LongPtr) As Long
Public Declare PtrSafe Function T_CopyFromClipboard Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal owner As LongPtr) As Long
Public Declare PtrSafe Function T_PrintBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As LongPtr, ByVal destination As LongPtr) As Long
Public Declare PtrSafe Function T_PrintBitmapExt Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As LongPtr, ByVal source As LongPtr, ByVal destination As LongPtr, ByVal placement As Long, ByVal rop As Long, ByVal documentName As String, ByVal outputName As String) As Long
Public Declare PtrSafe Function T_TwainSelect Lib "TAVO45.dll" (ByVal window As LongPtr) As Long
Public Declare PtrSafe Function T_TwainAcquire Lib "TAVO45.dll" (ByVal window As LongPtr, ByRef bitmap As BitmapHandle) As Long
Public Declare PtrSafe Function T_TwainAcquireExt Lib "TAVO45.dll" (ByVal window As LongPtr, ByRef options As T_TwainOptions, ByVal page As LongPtr, ByVal context As LongPtr) As Long
Public Declare PtrSafe Function T_TwainCondition Lib "TAVO45.dll" () As Long
#Else
Public Declare Function T_GetStatusText Lib "TAVO45.dll" (ByVal status As Long) As Long
Public Declare Function T_GetVersion Lib "TAVO45.dll" () As Long
Public Declare Function T_GetError Lib "TAVO45.dll" (ByRef error_ As T_ERRORINFO) As Long
Public Declare Function T_GetErrorText Lib "TAVO45.dll" (ByVal buffer As String, ByVal size As Long) As Long
Public Declare Function T_SetLimit Lib "TAVO45.dll" (ByVal kind As Long, ByVal value As Currency) As Long
Public Declare Function T_GetLimit Lib "TAVO45.dll" (ByVal kind As Long) As Currency
Public Declare Function T_EnableFormat Lib "TAVO45.dll" (ByVal format As Long, ByVal flag As Long) As Long
Public Declare Function T_SetStatusCallBack Lib "TAVO45.dll" (ByVal callback As Long) As Long
Public Declare Function T_InitBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal width As Long, ByVal height As Long, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetUnknownResolution Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_AllocateBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal request As Long) As Long
Public Declare Function T_AccessBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_ReleaseBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_FreeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_GetBitmapRow Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As Long, ByVal row As Long, ByVal bytes As Long) As Long
Public Declare Function T_PutBitmapRow Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As Long, ByVal row As Long, ByVal bytes As Long) As Long
Public Declare Function T_GetBitmapRowCol Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As Long, ByVal row As Long, ByVal column As Long, ByVal bytes As Long) As Long
Public Declare Function T_PutBitmapRowCol Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal buffer As Long, ByVal row As Long, ByVal column As Long, ByVal bytes As Long) As Long
Public Declare Function T_ClearBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_CopyBitmap Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle) As Long
Public Declare Function T_CopyBitmapRect Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle, ByVal x As Long, ByVal y As Long, ByVal width As Long, ByVal height As Long) As Long
Public Declare Function T_CopyBitmapData Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle) As Long
Public Declare Function T_CopyBitmapHandle Lib "TAVO45.dll" (ByRef dst As BitmapHandle, ByRef src As BitmapHandle) As Long
Public Declare Function T_SetNameEncoding Lib "TAVO45.dll" (ByVal encoding As Long) As Long
Public Declare Function T_RedirectIO Lib "TAVO45.dll" (ByVal open_ As Long, ByVal read_ As Long, ByVal write_ As Long, ByVal seek_ As Long, ByVal close_ As Long) As Long
Public Declare Function T_GetFormat Lib "TAVO45.dll" (ByVal index As Long, ByRef format As T_Format) As Long
Public Declare Function T_FileInfo Lib "TAVO45.dll" (ByVal name_ As String, ByRef info As FILEINFO) As Long
Public Declare Function T_FileInfoMemory Lib "TAVO45.dll" (ByVal address As Long, ByRef info As FILEINFO, ByVal size As Long) As Long
Public Declare Function T_SetCallbackLine Lib "TAVO45.dll" (ByVal lines As Long) As Long
Public Declare Function T_SetPageNumber Lib "TAVO45.dll" (ByVal page As Long) As Long
Public Declare Function T_LoadFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal flags As Long, ByVal callback As Long, ByVal userData As Long) As Long
Public Declare Function T_LoadMemory Lib "TAVO45.dll" (ByVal address As Long, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal flags As Long, ByVal callback As Long, ByVal userData As Long, ByVal size As Long) As Long
Public Declare Function T_LoadBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long) As Long
Public Declare Function T_LoadBitmapMemory Lib "TAVO45.dll" (ByVal address As Long, ByRef target As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal size As Long) As Long
Public Declare Function T_LoadFileCB Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByVal rows As Long, ByVal rowCount As Long, ByVal context As Long) As Long
Public Declare Function T_GetRowsRead Lib "TAVO45.dll" () As Long
Public Declare Function T_GetDamageOffset Lib "TAVO45.dll" () As Currency
Public Declare Function T_SaveFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long, ByVal flags As Long, ByVal direct As Long, ByVal extra As Long) As Long
Public Declare Function T_SaveBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long) As Long
Public Declare Function T_ConvertFile Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long) As Long
Public Declare Function T_StreamFile Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal format As Long, ByVal bitsPerPixel As Long, ByVal quality As Long) As Long
Public Declare Function FileFormatWrite Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByVal rows As Long, ByVal rowCount As Long, ByVal context As Long) As Long
Public Declare Function FileNoConvertWrite Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByVal rows As Long, ByVal rowCount As Long, ByVal context As Long) As Long
Public Declare Function T_SetSaveOrientation Lib "TAVO45.dll" (ByVal orientation As Long) As Long
Public Declare Function T_ConvertBuffer Lib "TAVO45.dll" (ByVal buffer As Long, ByVal width As Long, ByVal bitsIn As Long, ByVal bitsOut As Long, ByVal orderIn As Long, ByVal orderOut As Long, ByVal paletteIn As Long, ByVal paletteOut As Long) As Long
Public Declare Function T_DefaultDithering Lib "TAVO45.dll" (ByVal method As Long) As Long
Public Declare Function T_SetGrayFixedPalette Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_StartDithering Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal palette As Long, ByVal colors As Long) As Long
Public Declare Function T_DitherLine Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal input_ As Long, ByVal output As Long) As Long
Public Declare Function T_StopDithering Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_OptimizeBitmap Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByRef destination As BitmapHandle, ByVal flags As Long, ByVal colors As Long) As Long
Public Declare Function T_ColorResolution Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal depth As Long, ByVal paletteType As Long, ByVal palette As Long, ByVal colors As Long) As Long
Public Declare Function T_GrayScaleBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_CreatePaintPalette Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_CreateScreenPalette Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_DupPalette Lib "TAVO45.dll" (ByVal palette As Long) As Long
Public Declare Function T_StartResize Lib "TAVO45.dll" (ByVal oldWidth As Long, ByVal oldHeight As Long, ByVal newWidth As Long, ByVal newHeight As Long, ByVal resize As Long) As Long
Public Declare Function T_Resize Lib "TAVO45.dll" (ByVal row As Long, ByVal rowNumber As Long, ByVal bitsPerPixel As Long, ByRef outWidth As Long, ByRef outRows As Long, ByVal resize As Long) As Long
Public Declare Function T_StopResize Lib "TAVO45.dll" (ByVal resize As Long) As Long
Public Declare Function T_SizeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal width As Long, ByVal height As Long) As Long
Public Declare Function T_ResizeBitmap Lib "TAVO45.dll" (ByRef source As BitmapHandle, ByRef destination As BitmapHandle) As Long
Public Declare Function T_SizeBitmapFine Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal width As Long, ByVal height As Long, ByVal method As Long) As Long
Public Declare Function T_LoadBitmapFine Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal width As Long, ByVal height As Long, ByVal method As Long) As Long
Public Declare Function T_RotateBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal degrees As Long) As Long
Public Declare Function T_FlipBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_ReverseBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_RotateBitmapFine Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal angle As Long, ByVal flags As Long, ByVal color As Long) As Long
Public Declare Function T_AverageFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal size As Long) As Long
Public Declare Function T_MedianFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal size As Long) As Long
Public Declare Function T_SpatialFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal kernel As Long, ByVal size As Long, ByVal divisor As Long, ByVal bias As Long, ByVal flags As Long) As Long
Public Declare Function T_SharpenBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal strength As Long) As Long
Public Declare Function T_BinaryFilterBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal operation As Long, ByVal shape As Long, ByVal size As Long) As Long
Public Declare Function T_DespeckleBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal amount As Long) As Long
Public Declare Function T_MosaicBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal size As Long) As Long
Public Declare Function T_ChangeBitmapIntensity Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal level As Long) As Long
Public Declare Function T_ChangeBitmapContrast Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal level As Long) As Long
Public Declare Function T_ChangeBitmapHue Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal degrees As Long) As Long
Public Declare Function T_ChangeBitmapSaturation Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal level As Long) As Long
Public Declare Function T_InvertBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_PosterizeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal levels As Long) As Long
Public Declare Function T_HistoEqualizeBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_HalfToneBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal cell As Long, ByVal angle As Long) As Long
Public Declare Function T_FindSkew Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByRef angle As Long) As Long
Public Declare Function T_FindContent Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByRef x As Long, ByRef y As Long, ByRef width As Long, ByRef height As Long) As Long
Public Declare Function T_IsBlank Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal share As Long, ByRef blank As Long) As Long
Public Declare Function T_ConvertToDIB Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dib As Long, ByRef size As Long) As Long
Public Declare Function T_ConvertFromDIB Lib "TAVO45.dll" (ByVal dib As Long, ByVal size As Long, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_ChangeToDIB Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_FreeDIB Lib "TAVO45.dll" (ByVal dib As Long) As Long
Public Declare Function T_LoadBMPFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadBMPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveBMPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadPCXFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadPCXBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SavePCXBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadGIFFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadGIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveGIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetGIFVersion Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_SetScreenSize Lib "TAVO45.dll" (ByVal width As Long, ByVal height As Long) As Long
Public Declare Function T_SetGIFDepth Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_SetGIFFrames Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_LoadCALSFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadCALSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveCALSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadTGAFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadTGABitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveTGABitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetRASVariant Lib "TAVO45.dll" (ByVal variant_ As Long) As Long
Public Declare Function T_LoadRASFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadRASBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveRASBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetTIFFOption Lib "TAVO45.dll" (ByRef option_ As T_TIFFOption) As Long
Public Declare Sub T_SetTIFFXYResolution Lib "TAVO45.dll" (ByVal x As Long, ByVal y As Long)
Public Declare Function T_LoadTIFFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadTIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveTIFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetDeflateLevel Lib "TAVO45.dll" (ByVal level As Long) As Long
Public Declare Function T_LoadPNGFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadPNGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SavePNGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadMACFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadMACBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveMACBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetDocumentName Lib "TAVO45.dll" (ByVal name_ As String) As Long
Public Declare Function T_LoadMSPFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadMSPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveMSPBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadIMGFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadIMGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveIMGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadWPGFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadWPGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveWPGBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadPCDFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadPCDBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SetPCDResolution Lib "TAVO45.dll" (ByVal level As Long) As Long
Public Declare Function T_SetPCDModule Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_LoadWMFFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadWMFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveWMFBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_SetDrawScale Lib "TAVO45.dll" (ByVal scale As Long) As Long
Public Declare Function T_SetDrawSmooth Lib "TAVO45.dll" (ByVal flag As Long) As Long
Public Declare Function T_LoadPCTFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadPCTBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SavePCTBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_LoadEPSFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long) As Long
Public Declare Function T_LoadEPSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_SaveEPSBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_Create1BitTable Lib "TAVO45.dll" () As Long
Public Declare Function T_SetJFIFUnit Lib "TAVO45.dll" (ByVal unit As Long) As Long
Public Declare Function T_LoadCustomQTable Lib "TAVO45.dll" (ByVal table As Long) As Long
Public Declare Function T_StartCompressBuffer Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal write_ As Long, ByVal inputStripBytes As Long, ByVal outputBufferBytes As Long, ByVal strip As Long, ByVal outputType As Long, ByVal quality As Long, ByVal userData As Long) As Long
Public Declare Function T_CompressBuffer Lib "TAVO45.dll" (ByVal strip As Long) As Long
Public Declare Function T_EndCompressBuffer Lib "TAVO45.dll" () As Long
Public Declare Function CompressCallBack Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal rows As Long, ByVal rowCount As Long, ByVal context As Long) As Long
Public Declare Function FileWriteBuffer Lib "TAVO45.dll" (ByVal bytes As Long, ByVal size As Long, ByVal userData As Long) As Long
Public Declare Function T_CompressBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal name_ As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare Function T_CompressBitmapWithStamp Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal name_ As String, ByVal outputType As Long, ByVal quality As Long, ByVal stampWidth As Long, ByVal stampHeight As Long, ByVal stampBits As Long, ByVal dither As Long) As Long
Public Declare Function T_CompressALL Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare Function T_CompressBMP Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare Function T_CompressGIF Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare Function T_CompressPCX Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare Function T_CompressTGA Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long, ByVal option_ As Long) As Long
Public Declare Function T_CompressTIF Lib "TAVO45.dll" (ByVal source As String, ByVal destination As String, ByVal outputType As Long, ByVal quality As Long, ByVal flag As Long) As Long
Public Declare Function T_StartCompressData Lib "TAVO45.dll" (ByVal width As Long, ByVal height As Long, ByVal bitsPerPixel As Long, ByVal write_ As Long, ByVal outputType As Long, ByVal quality As Long, ByVal userData As Long) As Long
Public Declare Function T_CompressData Lib "TAVO45.dll" (ByVal rows As Long, ByVal rowCount As Long) As Long
Public Declare Function T_EndCompressData Lib "TAVO45.dll" () As Long
Public Declare Function T_CompressBitmap1Bit Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal name_ As String, ByVal format As Long) As Long
Public Declare Function T_DecompressBitmap1Bit Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_DecompressFile Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long, ByVal option_ As Long) As Long
Public Declare Function T_DecompressMemory Lib "TAVO45.dll" (ByVal address As Long, ByRef bitmap As BitmapHandle, ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal context As Long, ByVal option_ As Long, ByVal size As Long) As Long
Public Declare Function T_DecompressBitmap Lib "TAVO45.dll" (ByVal name_ As String, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long) As Long
Public Declare Function T_DecompressBitmapMemory Lib "TAVO45.dll" (ByVal address As Long, ByRef bitmap As BitmapHandle, ByVal bitsPerPixel As Long, ByVal size As Long) As Long
Public Declare Function T_StartDecompressData Lib "TAVO45.dll" (ByVal sink As Long, ByVal bitsPerPixel As Long, ByVal order As Long, ByVal context As Long) As Long
Public Declare Function T_DecompressData Lib "TAVO45.dll" (ByVal bytes As Long, ByVal size As Long) As Long
Public Declare Function T_EndDecompressData Lib "TAVO45.dll" () As Long
Public Declare Function T_GetCompressFileStamp Lib "TAVO45.dll" (ByVal name_ As String, ByRef stamp As BitmapHandle) As Long
Public Declare Function T_GetJPEGInfo Lib "TAVO45.dll" (ByVal name_ As String, ByRef info As T_JPEGINFO) As Long
Public Declare Function T_EnableFastPaint Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare Function T_EnableIndexedPaint Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare Function T_EnableDitheredPaint Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare Function T_EnableOrderedDither Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare Function T_EnableScaleToGray Lib "TAVO45.dll" (ByVal on_ As Long) As Long
Public Declare Function T_PaintDevice Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As Long, ByVal source As Long, ByVal destination As Long, ByVal clip As Long, ByVal rop As Long) As Long
Public Declare Function T_PaintBuffer Lib "TAVO45.dll" (ByRef picture As BitmapHandle, ByVal rows As Long, ByVal firstRow As Long, ByVal rowCount As Long, ByVal dc As Long, ByVal source As Long, ByVal destination As Long, ByVal clip As Long, ByVal rop As Long) As Long
Public Declare Function T_PaintEffect Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As Long, ByVal source As Long, ByVal destination As Long, ByVal clip As Long, ByVal rop As Long, ByVal effect As Long, ByVal blockSize As Long, ByVal delay As Long) As Long
Public Declare Function T_ConvertToDDB Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As Long, ByVal result As Long) As Long
Public Declare Function T_ConvertFromDDB Lib "TAVO45.dll" (ByVal ddb As Long, ByVal palette As Long, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_CopyToClipboard Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal owner As Long) As Long
Public Declare Function T_CopyFromClipboard Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal owner As Long) As Long
Public Declare Function T_PrintBitmap Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As Long, ByVal destination As Long) As Long
Public Declare Function T_PrintBitmapExt Lib "TAVO45.dll" (ByRef bitmap As BitmapHandle, ByVal dc As Long, ByVal source As Long, ByVal destination As Long, ByVal placement As Long, ByVal rop As Long, ByVal documentName As String, ByVal outputName As String) As Long
Public Declare Function T_TwainSelect Lib "TAVO45.dll" (ByVal window As Long) As Long
Public Declare Function T_TwainAcquire Lib "TAVO45.dll" (ByVal window As Long, ByRef bitmap As BitmapHandle) As Long
Public Declare Function T_TwainAcquireExt Lib "TAVO45.dll" (ByVal window As Long, ByRef options As T_TwainOptions, ByVal page As Long, ByVal context As Long) As Long
Public Declare Function T_TwainCondition Lib "TAVO45.dll" () As Long
#End If

' Raises an error with the library's sentence unless the status is T_OK.
Public Sub CheckStatus(ByVal Status As Long, Optional ByVal FileName As String = "")
  Dim Text As String
  If Status = T_OK Then Exit Sub
  Text = String$(300, 0)
  T_GetErrorText Text, Len(Text)
  Text = Left$(Text, InStr(Text & vbNullChar, vbNullChar) - 1)
  If FileName <> "" Then Text = FileName & ": " & Text
  Err.Raise vbObjectError + 45, "TAVO45", Text & " (status " & Status & ")"
End Sub

Public Function TextOf(ByRef Bytes() As Byte) As String
  Dim I As Long
  For I = LBound(Bytes) To UBound(Bytes)
    If Bytes(I) = 0 Then Exit For
    TextOf = TextOf & Chr$(Bytes(I))
  Next
End Function

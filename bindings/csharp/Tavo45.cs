// TAVO45 for C#: every function under its own name in Tavo45, and Picture for what most programs
// need. tavo45.h is the manual of the functions. Works in 32-bit and 64-bit programs; the library is
// TAVO45.dll on Windows and libtavo45.so elsewhere, found as the system finds libraries, and is used
// from one thread at a time.
using System;
using System.Collections.Concurrent;
using System.Runtime.InteropServices;
using System.Text;

namespace Tavo
{
    /// <summary>A call that failed: the status, the library's sentence as the message, and what
    /// T_GetError tells.</summary>
    public sealed class TavoException : Exception
    {
        public int Status { get; }
        public Tavo45.T_ERRORINFO Info { get; }

        private TavoException(int status, Tavo45.T_ERRORINFO info, string words) : base(words)
        {
            Status = status;
            Info = info;
        }

        internal static TavoException Of(int status, string name)
        {
            Tavo45.T_ERRORINFO info;
            Tavo45.T_GetError(out info);
            var text = new StringBuilder(300);
            if (info.Status == status) Tavo45.T_GetErrorText(text, (uint)text.Capacity);
            string words = text.Length > 0
                ? text.ToString()
                : Marshal.PtrToStringAnsi(Tavo45.T_GetStatusText(status));
            return new TavoException(status, info, name == null ? words : name + ": " + words);
        }
    }

    /// <summary>A bitmap of the library, freed when it is disposed of.</summary>
    public sealed class Picture : IDisposable
    {
        private const int RecordBytes = 1280;

        // Of pictures that nobody disposed of. The collector has a thread of its own, which must
        // not call the library: the next picture that is made frees them.
        private static readonly ConcurrentQueue<IntPtr> abandoned = new ConcurrentQueue<IntPtr>();

        private IntPtr record;

        /// <summary>The BitmapHandle, for the functions of Tavo45.</summary>
        public IntPtr At => record != IntPtr.Zero
            ? record
            : throw new ObjectDisposedException(nameof(Picture));

        public Picture()
        {
            while (abandoned.TryDequeue(out IntPtr left)) Free(left);
            record = Marshal.AllocHGlobal(RecordBytes);
            Marshal.Copy(new byte[RecordBytes], 0, record, RecordBytes);
        }

        ~Picture() { if (record != IntPtr.Zero) abandoned.Enqueue(record); }

        public void Dispose()
        {
            if (record == IntPtr.Zero) return;
            Free(record);
            record = IntPtr.Zero;
            GC.SuppressFinalize(this);
        }

        private static void Free(IntPtr left)
        {
            Tavo45.T_FreeBitmap(left);
            Marshal.FreeHGlobal(left);
        }

        public int StorageKind => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 40 : 32);
        public int Width => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 44 : 36);
        public int Height => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 48 : 40);
        public int BitsPerPixel => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 52 : 44);
        public uint BytesPerLine => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 56 : 48);
        public uint RowOffset => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 60 : 52);
        public uint CurrentRow => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 64 : 56);
        public uint Flags => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 76 : 68);
        public uint Colors => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 80 : 72);
        public uint ViewPerspective => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1184 : 1164);
        public uint Order => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1188 : 1168);
        public uint Size => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1192 : 1172);
        public uint ReservedC => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1196 : 1176);
        public uint DitherMethod => (uint)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1208 : 1184);
        public int XOrigin => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1232 : 1196);
        public int YOrigin => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1236 : 1200);
        public int LastRow => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1240 : 1204);
        public int LastColumn => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1244 : 1208);
        public int XResolution => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1256 : 1256);
        public int YResolution => (int)Marshal.ReadInt32(At, IntPtr.Size == 8 ? 1260 : 1260);

        /// <summary>Loads a file. bits: 1, 4, 8, 16, 24, 32, or 0 for the file's own.</summary>
        public static Picture Load(string name, int bits = 0, int order = Tavo45.T_ORDER_BGR)
        {
            var picture = new Picture();
            try
            {
                Tavo45.Check(Tavo45.T_LoadBitmap(name, picture.At, bits, order), name);
                return picture;
            }
            catch
            {
                picture.Dispose();
                throw;
            }
        }

        public void Save(string name, int format, int bits = 0, int quality = 0, uint flags = 0)
        {
            Tavo45.Check(Tavo45.T_SaveFile(name, At, format, bits, quality, flags, 0, 0), name);
        }

        /// <summary>The bytes of a stored row without its padding.</summary>
        public byte[] Row(uint number)
        {
            if (number >= (uint)Height) throw new ArgumentOutOfRangeException(nameof(number));
            Tavo45.T_AccessBitmap(At);
            var bytes = new byte[(Width * BitsPerPixel + 7) / 8];
            GCHandle pinned = GCHandle.Alloc(bytes, GCHandleType.Pinned);
            try
            {
                int got = Tavo45.T_GetBitmapRow(At, pinned.AddrOfPinnedObject(), number,
                                                (uint)bytes.Length);
                if (got != bytes.Length) throw TavoException.Of(got, null);
            }
            finally
            {
                pinned.Free();
            }
            return bytes;
        }
    }

    public static class Tavo45
    {
        private const string Library = "tavo45";

        /// <summary>Throws unless the status is T_OK.</summary>
        public static void Check(int status, string name = null)
        {
            if (status != T_OK) throw TavoException.Of(status, name);
        }

        public const int T_OK = 1;
        public const int T_ERR_NO_MEMORY = -1;
        public const int T_ERR_NO_STORAGE = -2;
        public const int T_ERR_SEEK = -4;
        public const int T_ERR_WRITE = -5;
        public const int T_ERR_READ = -7;
        public const int T_ERR_NAME = -8;
        public const int T_ERR_BAD_DATA = -9;
        public const int T_ERR_OPEN = -10;
        public const int T_ERR_SIZE = -11;
        public const int T_ERR_SUBTYPE = -12;
        public const int T_ERR_ARGUMENT = -13;
        public const int T_ERR_CREATE = -14;
        public const int T_ERR_FORMAT = -16;
        public const int T_ERR_QUALITY = -21;
        public const int T_ERR_DEPTH = -27;
        public const int T_ERR_MULTIPLIER = -36;
        public const int T_ERR_NOT_COMPRESSIBLE = -42;
        public const int T_ERR_INCOMPLETE = -57;
        public const int T_ERR_NO_STAMP = -65;
        public const int T_ERR_NOTICE = -100;
        public const int T_ERR_DEVICE = -110;
        public const int T_ERR_BUSY = -111;
        public const int T_ERR_NO_PICTURE = -112;
        public const int T_ERR_UNAVAILABLE = -113;
        public const int T_ERR_NO_SOURCE = -114;
        public const int T_ERR_SOURCE = -115;
        public const int T_ERR_CANCELLED = -116;
        public const int T_ERR_LIMIT = -120;
        public const int T_ERR_TOO_LARGE = -121;
        public const int T_LIMIT_PIXELS = 1;
        public const int T_LIMIT_SIDE = 2;
        public const int T_LIMIT_MEMORY = 3;
        public const int T_LIMIT_TEMPORARY = 4;
        public const int T_LIMIT_PAGES = 5;
        public const int T_LIMIT_WORK = 6;
        public const int T_FLAG_ALLOCATED = 1;
        public const int T_FLAG_MEMORY = 2;
        public const int T_FLAG_DISK = 16;
        public const int T_FLAG_USER = 32;
        public const int T_FLAG_LOCKED = 64;
        public const int T_FLAG_INTERLACED = 128;
        public const int T_FLAG_GRAY = 256;
        public const int T_FLAG_REDUCED = 1024;
        public const int T_FLAG_PALETTE = 2048;
        public const int T_FLAG_NO_STORAGE = 8192;
        public const int T_ORDER_RGB = 0;
        public const int T_ORDER_BGR = 1;
        public const int T_DITHER_NONE = 0;
        public const int T_DITHER_FLOYD_STEINBERG = 1;
        public const int T_DITHER_STUCKI = 2;
        public const int T_DITHER_BURKES = 3;
        public const int T_DITHER_SIERRA = 4;
        public const int T_DITHER_STEVENSON_ARCE = 5;
        public const int T_DITHER_JARVIS = 6;
        public const int T_DITHER_ORDERED = 7;
        public const int T_FORMAT_PCX = 1;
        public const int T_FORMAT_GIF = 2;
        public const int T_FORMAT_TIFF = 3;
        public const int T_FORMAT_TGA = 4;
        public const int T_FORMAT_CMP = 5;
        public const int T_FORMAT_BMP = 6;
        public const int T_FORMAT_JPEG = 10;
        public const int T_FORMAT_JPEG_24 = 11;
        public const int T_FORMAT_BMP_OS2 = 14;
        public const int T_FORMAT_WMF = 15;
        public const int T_FORMAT_EPS = 16;
        public const int T_FORMAT_CMP_SAVE = 20;
        public const int T_FORMAT_JPEG_2X1 = 21;
        public const int T_FORMAT_JPEG_2X1_24 = 22;
        public const int T_FORMAT_JPEG_2X2 = 23;
        public const int T_FORMAT_JPEG_2X2_24 = 24;
        public const int T_FORMAT_TIFF_PACKBITS = 17;
        public const int T_FORMAT_TIFF_GROUP3 = 25;
        public const int T_FORMAT_CMP_1BIT = 26;
        public const int T_FORMAT_TIFF_GROUP3_2D = 27;
        public const int T_FORMAT_TIFF_GROUP4 = 28;
        public const int T_FORMAT_TIFF_LZW = 29;
        public const int T_FORMAT_CALS = 50;
        public const int T_FORMAT_MAC = 51;
        public const int T_FORMAT_IMG = 52;
        public const int T_FORMAT_MSP = 53;
        public const int T_FORMAT_WPG = 54;
        public const int T_FORMAT_RAS = 55;
        public const int T_FORMAT_PCT = 56;
        public const int T_FORMAT_PCD = 57;
        public const int T_FORMAT_EPS_TEXT = 63;
        public const int T_FORMAT_PNG = 200;
        public const int T_FORMAT_TIFF_DEFLATE = 201;
        public const int T_FORMAT_DCX = 202;
        public const int T_EXTRA_ALPHA = 1;
        public const int T_EXTRA_ICC = 2;
        public const int T_EXTRA_EXIF = 4;
        public const int T_EXTRA_XMP = 8;
        public const int T_MAX_PAGES = 1023;
        public const int T_LOAD_ALLOCATE = 1;
        public const int T_LOAD_ACCESS = 2;
        public const int T_LOAD_FIXED = 4;
        public const int T_LOAD_GIF_WHOLE = 8;
        public const int T_LOAD_WHOLE_ROWS = 16;
        public const int T_SAVE_REDUCE = 1;
        public const int T_SAVE_FIXED_PALETTE = 2;
        public const int T_SAVE_APPEND = 4;
        public const int T_SAVE_KEEP_RESOLUTION = 8;
        public const int T_PALETTE_OPTIMIZED = 1;
        public const int T_PALETTE_FIXED = 2;
        public const int T_PALETTE_GIVEN = 3;
        public const int T_PALETTE_NONE = 4;
        public const int T_PALETTE_FINE = 5;
        public const int T_SIZE_NEAREST = 0;
        public const int T_SIZE_BOX = 1;
        public const int T_SIZE_TRIANGLE = 2;
        public const int T_SIZE_CUBIC = 3;
        public const int T_SIZE_MITCHELL = 4;
        public const int T_SIZE_LANCZOS = 5;
        public const int T_SIZE_DRAFT = 256;
        public const int T_ROTATE_KEEP_SIZE = 1;
        public const int T_ROTATE_SMOOTH = 2;
        public const int T_FILTER_ABSOLUTE = 1;
        public const int T_BINARY_ERODE = 0;
        public const int T_BINARY_DILATE = 1;
        public const int T_BINARY_OPEN = 2;
        public const int T_BINARY_CLOSE = 3;
        public const int T_SHAPE_BOX = 0;
        public const int T_SHAPE_CROSS = 1;
        public const int T_SHAPE_ROW = 2;
        public const int T_SHAPE_COLUMN = 3;
        public const int T_LEVEL_DEFAULT = 0;
        public const int T_LEVEL_FAST = 1;
        public const int T_LEVEL_SMALL = 2;
        public const int T_MAX_DRAW_SCALE = 16;
        public const int T_FACTOR_NONE = -2147483648;
        public const int T_EFFECT_NONE = 0;
        public const int T_EFFECT_WIPE_RIGHT = 1;
        public const int T_EFFECT_WIPE_LEFT = 2;
        public const int T_EFFECT_WIPE_DOWN = 3;
        public const int T_EFFECT_WIPE_UP = 4;
        public const int T_EFFECT_BOX_OUT = 5;
        public const int T_EFFECT_BOX_IN = 6;
        public const int T_EFFECT_BLINDS_VERTICAL = 7;
        public const int T_EFFECT_BLINDS_HORIZONTAL = 8;
        public const int T_EFFECT_CHECKERBOARD = 9;
        public const int T_EFFECT_DISSOLVE = 10;
        public const int T_EFFECT_SPLIT_VERTICAL = 11;
        public const int T_EFFECT_SPLIT_HORIZONTAL = 12;
        public const int T_EFFECT_DIAGONAL = 13;
        public const int T_EFFECT_SPIRAL = 14;
        public const int T_PRINT_STRETCH = 0;
        public const int T_PRINT_FIT = 1;
        public const int T_PRINT_ACTUAL = 2;
        public const int T_PRINT_CENTER = 16;

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate void T_ReleaseCallback(UIntPtr handle, UIntPtr data);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate int T_RowSink(IntPtr source, IntPtr rows, int rowCount, IntPtr context);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate int T_StatusCallback(int percent);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate int T_FileOpen(IntPtr name, int access, int mode);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate uint T_FileRead(int handle, IntPtr buffer, uint count);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate uint T_FileWrite(int handle, IntPtr buffer, uint count);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate int T_FileSeek(int handle, int offset, int origin);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate int T_FileClose(int handle);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate uint T_CompressWrite(IntPtr bytes, uint size, IntPtr userData);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate int T_TwainPage(IntPtr picture, int page, IntPtr context);

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_ERRORINFO
        {
            public int Status;
            public int SystemError;
            public long Offset;
            public int Row;
            public int Page;
            public int Limit;
            public int NotAllowed;
            public ulong Asked;
            public ulong Allowed;
            [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 16)] public string LimitName;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_PaletteEntry
        {
            public byte Blue;
            public byte Green;
            public byte Red;
            public byte Reserved;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_BitmapInfoHeader
        {
            public uint biSize;
            public int biWidth;
            public int biHeight;
            public ushort biPlanes;
            public ushort biBitCount;
            public uint biCompression;
            public uint biSizeImage;
            public int biXPelsPerMeter;
            public int biYPelsPerMeter;
            public uint biClrUsed;
            public uint biClrImportant;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_BitmapInfo
        {
            public T_BitmapInfoHeader Header;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 256)] public T_PaletteEntry[] Palette;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct FileIOTable
        {
            public T_FileOpen Open;
            public T_FileRead Read;
            public T_FileWrite Write;
            public T_FileSeek Seek;
            public T_FileClose Close;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_Format
        {
            public int Id;
            public int CanRead;
            public int CanWrite;
            public uint WriteDepths;
            [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 32)] public string Name;
            [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 64)] public string Description;
            [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 32)] public string Extensions;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct FILEINFO
        {
            public int Format;
            public uint FileSize;
            public int PageCount;
            public int Page;
            public int Width;
            public int Height;
            public int BitsPerPixel;
            public int Order;
            public uint ViewPerspective;
            public uint Colors;
            public int XResolution;
            public int YResolution;
            public uint Flags;
            [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 32)] public string Compression;
            public uint Orientation;
            public uint Extras;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 9)] public uint[] Reserved;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_FormatWriteContext
        {
            public IntPtr Name;
            public int Format;
            public int BitsPerPixel;
            public int Quality;
            public uint Flags;
            public int Rows;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 1280)] public byte[] Picture;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_TIFFOption
        {
            public int XResolution;
            public int YResolution;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 2)] public uint[] WriterDefaults;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 32)] public uint[] Words;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_CompressContext
        {
            public int OutputType;
            public int Quality;
            public IntPtr StripBuffer;
            public IntPtr UserData;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_JPEGINFO
        {
            public int Format;
            public int Components;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 4)] public int[] HorizontalFactors;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 4)] public int[] VerticalFactors;
            public int Progressive;
            public int RestartInterval;
            public int HalfHeight;
            public int Quality;
            public int Factor;
            public int StampWidth;
            public int StampHeight;
            public int StampBits;
            [MarshalAs(UnmanagedType.ByValArray, SizeConst = 12)] public int[] Reserved;
        }

        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]
        public struct T_TwainOptions
        {
            public uint Size;
            public uint Flags;
            public int Transfer;
            public int PixelType;
            public int BitDepth;
            public int XResolution;
            public int YResolution;
            public int Pages;
            public int Left;
            public int Top;
            public int Right;
            public int Bottom;
            public int Brightness;
            public int Contrast;
            public int FileFormat;
            public IntPtr FileName;
            [MarshalAs(UnmanagedType.ByValTStr, SizeConst = 36)] public string SourceName;
        }

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern IntPtr T_GetStatusText(int status);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern uint T_GetVersion();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetError(out T_ERRORINFO error);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetErrorText(StringBuilder buffer, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetLimit(int kind, ulong value);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern ulong T_GetLimit(int kind);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EnableFormat(int format, int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetStatusCallBack(T_StatusCallback callback);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_InitBitmap(IntPtr bitmap, int width, int height, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetUnknownResolution(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_AllocateBitmap(IntPtr bitmap, uint request);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern UIntPtr T_AccessBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ReleaseBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FreeBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetBitmapRow(IntPtr bitmap, IntPtr buffer, uint row, uint bytes);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PutBitmapRow(IntPtr bitmap, IntPtr buffer, uint row, uint bytes);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetBitmapRowCol(IntPtr bitmap, IntPtr buffer, uint row, uint column, uint bytes);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PutBitmapRowCol(IntPtr bitmap, IntPtr buffer, uint row, uint column, uint bytes);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ClearBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CopyBitmap(IntPtr dst, IntPtr src);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CopyBitmapRect(IntPtr dst, IntPtr src, uint x, uint y, uint width, uint height);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CopyBitmapData(IntPtr dst, IntPtr src);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CopyBitmapHandle(IntPtr dst, IntPtr src);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetNameEncoding(int encoding);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_RedirectIO(T_FileOpen open, T_FileRead read, T_FileWrite write, T_FileSeek seek, T_FileClose close);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetFormat(uint index, out T_Format format);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FileInfo(string name, out FILEINFO info);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FileInfoMemory(IntPtr address, out FILEINFO info, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetCallbackLine(int lines);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetPageNumber(int page);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadFile(string name, IntPtr target, int bitsPerPixel, int order, uint flags, T_RowSink callback, IntPtr userData);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadMemory(IntPtr address, IntPtr target, int bitsPerPixel, int order, uint flags, T_RowSink callback, IntPtr userData, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadBitmap(string name, IntPtr target, int bitsPerPixel, int order);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadBitmapMemory(IntPtr address, IntPtr target, int bitsPerPixel, int order, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadFileCB(IntPtr source, IntPtr rows, int rowCount, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetRowsRead();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern long T_GetDamageOffset();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveFile(string name, IntPtr bitmap, int format, int bitsPerPixel, int quality, uint flags, uint direct, uint extra);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveBitmap(string name, IntPtr bitmap, int format, int bitsPerPixel, int quality);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ConvertFile(string source, string destination, int format, int bitsPerPixel, int quality);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StreamFile(string source, string destination, int format, int bitsPerPixel, int quality);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int FileFormatWrite(IntPtr source, IntPtr rows, int rowCount, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int FileNoConvertWrite(IntPtr source, IntPtr rows, int rowCount, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetSaveOrientation(int orientation);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ConvertBuffer(IntPtr buffer, int width, int bitsIn, int bitsOut, int orderIn, int orderOut, [In] T_PaletteEntry[] paletteIn, [In] T_PaletteEntry[] paletteOut);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DefaultDithering(uint method);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetGrayFixedPalette(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StartDithering(IntPtr bitmap, [In] T_PaletteEntry[] palette, uint colors);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DitherLine(IntPtr bitmap, IntPtr input, IntPtr output);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StopDithering(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_OptimizeBitmap(IntPtr source, IntPtr destination, uint flags, uint colors);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ColorResolution(IntPtr bitmap, int depth, int paletteType, [In] T_PaletteEntry[] palette, uint colors);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GrayScaleBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CreatePaintPalette(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CreateScreenPalette(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern UIntPtr T_DupPalette(UIntPtr palette);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StartResize(int oldWidth, int oldHeight, int newWidth, int newHeight, out IntPtr resize);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_Resize(IntPtr row, uint rowNumber, int bitsPerPixel, out int outWidth, out int outRows, IntPtr resize);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StopResize(IntPtr resize);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SizeBitmap(IntPtr bitmap, int width, int height);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ResizeBitmap(IntPtr source, IntPtr destination);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SizeBitmapFine(IntPtr bitmap, int width, int height, uint method);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadBitmapFine(string name, IntPtr bitmap, int bitsPerPixel, int order, int width, int height, uint method);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_RotateBitmap(IntPtr bitmap, int degrees);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FlipBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ReverseBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_RotateBitmapFine(IntPtr bitmap, int angle, uint flags, uint color);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_AverageFilterBitmap(IntPtr bitmap, int size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_MedianFilterBitmap(IntPtr bitmap, int size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SpatialFilterBitmap(IntPtr bitmap, int[] kernel, int size, int divisor, int bias, uint flags);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SharpenBitmap(IntPtr bitmap, int strength);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_BinaryFilterBitmap(IntPtr bitmap, uint operation, uint shape, int size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DespeckleBitmap(IntPtr bitmap, int amount);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_MosaicBitmap(IntPtr bitmap, int size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ChangeBitmapIntensity(IntPtr bitmap, int level);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ChangeBitmapContrast(IntPtr bitmap, int level);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ChangeBitmapHue(IntPtr bitmap, int degrees);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ChangeBitmapSaturation(IntPtr bitmap, int level);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_InvertBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PosterizeBitmap(IntPtr bitmap, int levels);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_HistoEqualizeBitmap(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_HalfToneBitmap(IntPtr bitmap, int cell, int angle);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FindSkew(IntPtr bitmap, out int angle);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FindContent(IntPtr bitmap, out uint x, out uint y, out uint width, out uint height);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_IsBlank(IntPtr bitmap, int share, out int blank);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ConvertToDIB(IntPtr bitmap, IntPtr dib, out uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ConvertFromDIB(IntPtr dib, uint size, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ChangeToDIB(IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_FreeDIB(IntPtr dib);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadBMPFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadBMPBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveBMPBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPCXFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPCXBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SavePCXBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadGIFFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadGIFBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveGIFBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetGIFVersion(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetScreenSize(int width, int height);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetGIFDepth(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetGIFFrames(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadCALSFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadCALSBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveCALSBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadTGAFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadTGABitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveTGABitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetRASVariant(int variant);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadRASFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadRASBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveRASBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetTIFFOption(ref T_TIFFOption option);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern void T_SetTIFFXYResolution(int x, int y);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadTIFFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadTIFBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveTIFBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetDeflateLevel(int level);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPNGFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPNGBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SavePNGBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadMACFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadMACBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveMACBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetDocumentName(string name);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadMSPFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadMSPBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveMSPBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadIMGFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadIMGBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveIMGBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadWPGFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadWPGBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveWPGBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPCDFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPCDBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetPCDResolution(int level);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetPCDModule(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadWMFFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadWMFBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveWMFBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetDrawScale(int scale);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetDrawSmooth(int flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPCTFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadPCTBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SavePCTBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadEPSFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadEPSBitmap(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SaveEPSBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_Create1BitTable();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_SetJFIFUnit(int unit);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_LoadCustomQTable(uint[] table);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StartCompressBuffer(IntPtr bitmap, T_CompressWrite write, uint inputStripBytes, uint outputBufferBytes, IntPtr strip, int outputType, int quality, IntPtr userData);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressBuffer(IntPtr strip);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EndCompressBuffer();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int CompressCallBack(IntPtr bitmap, IntPtr rows, int rowCount, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern uint FileWriteBuffer(IntPtr bytes, uint size, IntPtr userData);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressBitmap(IntPtr bitmap, string name, int outputType, int quality, uint flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressBitmapWithStamp(IntPtr bitmap, string name, int outputType, int quality, int stampWidth, int stampHeight, int stampBits, int dither);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressALL(string source, string destination, int outputType, int quality, uint flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressBMP(string source, string destination, int outputType, int quality, uint flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressGIF(string source, string destination, int outputType, int quality, uint flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressPCX(string source, string destination, int outputType, int quality, uint flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressTGA(string source, string destination, int outputType, int quality, uint flag, uint option);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressTIF(string source, string destination, int outputType, int quality, uint flag);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StartCompressData(int width, int height, int bitsPerPixel, T_CompressWrite write, int outputType, int quality, IntPtr userData);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressData(IntPtr rows, int rowCount);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EndCompressData();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CompressBitmap1Bit(IntPtr bitmap, string name, int format);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DecompressBitmap1Bit(string name, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DecompressFile(string name, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context, int option);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DecompressMemory(IntPtr address, IntPtr bitmap, T_RowSink sink, int bitsPerPixel, IntPtr context, int option, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DecompressBitmap(string name, IntPtr bitmap, int bitsPerPixel);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DecompressBitmapMemory(IntPtr address, IntPtr bitmap, int bitsPerPixel, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_StartDecompressData(T_RowSink sink, int bitsPerPixel, int order, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_DecompressData(IntPtr bytes, uint size);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EndDecompressData();

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetCompressFileStamp(string name, IntPtr stamp);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_GetJPEGInfo(string name, out T_JPEGINFO info);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EnableFastPaint(int on);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EnableIndexedPaint(int on);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EnableDitheredPaint(int on);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EnableOrderedDither(int on);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_EnableScaleToGray(int on);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PaintDevice(IntPtr bitmap, IntPtr dc, [In] int[] source, [In] int[] destination, [In] int[] clip, uint rop);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PaintBuffer(IntPtr picture, IntPtr rows, int firstRow, int rowCount, IntPtr dc, [In] int[] source, [In] int[] destination, [In] int[] clip, uint rop);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PaintEffect(IntPtr bitmap, IntPtr dc, [In] int[] source, [In] int[] destination, [In] int[] clip, uint rop, int effect, int blockSize, int delay);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ConvertToDDB(IntPtr bitmap, IntPtr dc, out IntPtr result);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_ConvertFromDDB(IntPtr ddb, IntPtr palette, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CopyToClipboard(IntPtr bitmap, IntPtr owner);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_CopyFromClipboard(IntPtr bitmap, IntPtr owner);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PrintBitmap(IntPtr bitmap, IntPtr dc, [In] int[] destination);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_PrintBitmapExt(IntPtr bitmap, IntPtr dc, [In] int[] source, [In] int[] destination, uint placement, uint rop, string documentName, string outputName);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_TwainSelect(IntPtr window);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_TwainAcquire(IntPtr window, IntPtr bitmap);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_TwainAcquireExt(IntPtr window, ref T_TwainOptions options, T_TwainPage page, IntPtr context);

        [DllImport(Library, CharSet = CharSet.Ansi)]
        public static extern int T_TwainCondition();
    }
}

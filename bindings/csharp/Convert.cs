// Converts a file: Convert.exe IN OUT.tif
using System;
using Tavo;

static class Convert
{
    static int Main(string[] arguments)
    {
        if (arguments.Length != 2)
        {
            Console.Error.WriteLine("usage: Convert IN OUT.tif");
            return 2;
        }
        try
        {
            using (Picture picture = Picture.Load(arguments[0]))
            {
                bool isBilevel = picture.BitsPerPixel == 1;
                picture.Save(arguments[1],
                             isBilevel ? Tavo45.T_FORMAT_TIFF_GROUP4 : Tavo45.T_FORMAT_TIFF_LZW);
                Console.WriteLine("{0} x {1} pixels of {2} bits", picture.Width, picture.Height,
                                  picture.BitsPerPixel);
            }
            return 0;
        }
        catch (TavoException error)
        {
            Console.Error.WriteLine("{0} (status {1})", error.Message, error.Status);
            return 1;
        }
    }
}

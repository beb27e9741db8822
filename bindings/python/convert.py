"""Converts a file: convert.py IN OUT.tif"""
import sys

import tavo45


def main():
    if len(sys.argv) != 3:
        return f"usage: {sys.argv[0]} IN OUT.tif"
    try:
        info = tavo45.info(sys.argv[1])
        with tavo45.load(sys.argv[1]) as picture:
            bilevel = picture.bits == 1
            kind = tavo45.T_FORMAT_TIFF_GROUP4 if bilevel else tavo45.T_FORMAT_TIFF_LZW
            picture.save(sys.argv[2], kind)
    except tavo45.Error as error:
        return f"{error} (status {error.status})"
    print(f"{info.Width} x {info.Height} pixels of {info.BitsPerPixel} bits")
    return 0


if __name__ == "__main__":
    sys.exit(main())

"""The mean grey level of a file of any size, of which no more than some rows are held: rows.py FILE"""
import sys

import numpy
import tavo45


def main():
    levels = pixels = 0
    for record, rows in tavo45.rows(sys.argv[1], bits=24):
        lines = numpy.frombuffer(rows, numpy.uint8).reshape(-1, record.BytesPerLine)
        colors = lines[:, : 3 * record.Width].reshape(-1, 3).astype(numpy.uint32)
        levels += int(((colors @ (2, 5, 1) + 4) >> 3).sum())  # red, green, blue
        pixels += len(colors)
    print(f"{record.Width} x {record.Height} pixels, mean level {levels // pixels}")


if __name__ == "__main__":
    main()

"""Compares rotations, filters, sizes and adjustments with what SciPy, NumPy and Pillow make of the
same picture, through the shared library.

usage: interop_process.py LIBRARY

Pictures are 8-bit grey with a ramp, 24 bits and, where it has a meaning, 1 bit. The last line is "N
passed, N failed".
"""

import colorsys
import ctypes
import sys

import numpy as np
from PIL import Image, ImageEnhance, ImageFilter, ImageOps, features
from scipy import ndimage

passed = failed = 0


class Bitmap(ctypes.Structure):
    """BitmapHandle of 64-bit hosts."""
    _fields_ = [('handle', ctypes.c_void_p), ('data', ctypes.c_void_p), ('work', ctypes.c_uint32 * 7),
                ('width', ctypes.c_int32), ('height', ctypes.c_int32), ('bits', ctypes.c_int32),
                ('line', ctypes.c_uint32), ('cursor', ctypes.c_uint32 * 4),
                ('flags', ctypes.c_uint32), ('colors', ctypes.c_uint32),
                ('header', ctypes.c_uint8 * 40), ('palette', ctypes.c_uint8 * 4 * 256),
                ('objects', ctypes.c_void_p * 2), ('reserved', ctypes.c_uint32 * 4),
                ('perspective', ctypes.c_uint32), ('order', ctypes.c_uint32),
                ('rest', ctypes.c_uint8 * 88)]


def apply(name, picture, *arguments):
    """The pixels of a picture after a call of the library: (height, width[, 3]) of bytes, or of
    bool for 1 bit."""
    height, width = picture.shape[:2]
    bits = 1 if picture.dtype == bool else 8 * (picture.size // (width * height))
    bitmap = Bitmap()
    reference = ctypes.byref(bitmap)
    library.T_InitBitmap(reference, width, height, bits)
    bitmap.perspective = bitmap.order = 0
    for i in range(256):
        level = 255 * i if bits == 1 else i
        bitmap.palette[i][:] = [level & 255] * 3 + [0]
    assert library.T_AllocateBitmap(reference, 1) == 1
    rows = np.packbits(picture, axis=1) if bits == 1 else picture.reshape(height, -1)
    stored = np.zeros((height, bitmap.line), np.uint8)
    stored[:, :rows.shape[1]] = rows
    library.T_AccessBitmap(reference)
    ctypes.memmove(bitmap.data, stored.ctypes.data, stored.size)
    assert getattr(library, name)(reference, *arguments) == 1, name
    stored = np.zeros((bitmap.height, bitmap.line), np.uint8)
    ctypes.memmove(stored.ctypes.data, bitmap.data, stored.size)
    shape = (bitmap.height, bitmap.width) + (3,) * (bitmap.bits == 24)
    if bitmap.bits == 1:
        result = np.unpackbits(stored, axis=1)[:, :bitmap.width].astype(bool)
    else:
        result = stored[:, :bitmap.width * bitmap.bits // 8].reshape(shape)
    apply.palette = np.array(bitmap.palette)[:, 2::-1]
    library.T_FreeBitmap(reference)
    return result


def check(name, got, want, tolerance=0, differing=0.0):
    """`differing`: the part of the pixels that may be further off than the tolerance."""
    global passed, failed
    same = got.shape == want.shape
    if same:
        off = np.abs(got.astype(int) - want.astype(int)) > tolerance
        same = off.mean() <= differing
    if same:
        passed += 1
    else:
        failed += 1
        print(f'FAILED: {name}', got.shape, want.shape)


def each(picture, work):
    """Every channel through what works on one."""
    if picture.ndim == 2:
        return work(picture)
    return np.stack([work(picture[..., c]) for c in range(3)], axis=2)


def rounded(values):
    return np.clip(np.floor(values + 0.5), 0, 255).astype(np.uint8)


def moves(name, picture):
    for degrees in (90, 180, 270):
        check(f'{name} rotate {degrees}', apply('T_RotateBitmap', picture, degrees),
              np.rot90(picture, -degrees // 90))
    check(f'{name} flip', apply('T_FlipBitmap', picture), picture[::-1])
    check(f'{name} reverse', apply('T_ReverseBitmap', picture), picture[:, ::-1])
    if picture.dtype == bool:
        return
    for angle in (-7, 33):
        image = Image.fromarray(picture)
        fill = 255 if picture.ndim == 2 else (255, 255, 255)
        turned = np.asarray(image.rotate(-angle, Image.Resampling.NEAREST, fillcolor=fill))
        check(f'{name} fine {angle}', differing=0.01, want=turned,
              got=apply('T_RotateBitmapFine', picture, angle * 100, 1, 0xFFFFFF))
        turned = np.asarray(image.rotate(-angle, Image.Resampling.BILINEAR, fillcolor=fill))
        height, width = picture.shape[:2]
        inner = np.s_[height // 3:height * 2 // 3, width // 3:width * 2 // 3]
        check(f'{name} smooth {angle}', tolerance=2, differing=0.01, want=turned[inner],
              got=apply('T_RotateBitmapFine', picture, angle * 100, 3, 0xFFFFFF)[inner])


def filters(name, picture):
    for size in (3, 5, 15, 41):
        def mean(channel):
            return rounded(ndimage.uniform_filter(channel.astype(float), size, mode='nearest'))
        check(f'{name} average {size}', apply('T_AverageFilterBitmap', picture, size),
              each(picture, mean))
    for size in (3, 5, 7, 9, 21):
        check(f'{name} median {size}', apply('T_MedianFilterBitmap', picture, size),
              each(picture, lambda c: ndimage.median_filter(c, size, mode='nearest')))
    for size, divisor in ((3, 1), (5, 9), (7, 64)):
        kernel = np.random.default_rng(size).integers(-9, 30, (size, size))
        numbers = (ctypes.c_int32 * kernel.size)(*kernel.ravel().tolist())

        def weighed(channel):
            sums = ndimage.correlate(channel.astype(np.int64), kernel, mode='nearest')
            return rounded(sums / divisor - 20)
        check(f'{name} spatial {size}', each(picture, weighed),
              apply('T_SpatialFilterBitmap', picture, numbers, size, divisor, -20, 0))
    image = Image.fromarray(picture)
    inner = np.s_[1:-1, 1:-1]
    sharp = np.asarray(image.filter(ImageFilter.SHARPEN))
    check(f'{name} sharpen', apply('T_SharpenBitmap', picture, 125)[inner], sharp[inner], 1)
    small = np.asarray(image.reduce(8).resize(image.size, Image.Resampling.NEAREST))
    check(f'{name} mosaic', apply('T_MosaicBitmap', picture, 8), small, 1)


def sizes(name, picture):
    """Not at the edges, where Pillow leaves out what lies outside; its box counts whole pixels.
    Where light or dark overshoots, it cuts the rows between the two directions, too."""
    height, width = picture.shape[:2]
    box, *others = [(1, Image.Resampling.BOX), (2, Image.Resampling.BILINEAR),
                    (3, Image.Resampling.BICUBIC), (5, Image.Resampling.LANCZOS)]
    jobs = [(width // n, height // n, box, 0) for n in (2, 4, 8)]
    for new_width, new_height in ((width // 2, height // 2), (50, 41), (width, 77), (300, 200)):
        edge = 3 * max(1, new_width // width, new_height // height) + 1
        jobs += [(new_width, new_height, other, edge) for other in others]
    for new_width, new_height, (method, resampling), edge in jobs:
        image = Image.fromarray(picture).resize((new_width, new_height), resampling)
        inner = np.s_[edge:new_height - edge, edge:new_width - edge]
        got = apply('T_SizeBitmapFine', picture, new_width, new_height, method)
        check(f'{name} size {new_width} x {new_height} by {method}', got[inner],
              np.asarray(image)[inner], 1, differing=0.0003)


def shapes(name, picture):
    for size in (3, 9, 31):
        half = size // 2
        cross = np.zeros((size, size), bool)
        cross[half] = cross[:, half] = True
        footprints = [np.ones((size, size), bool), cross, cross[half:half + 1],
                      cross[:, half:half + 1]]
        for shape, footprint in enumerate(footprints):
            def eroded(channel):
                return ndimage.minimum_filter(channel, footprint=footprint, mode='nearest')

            def dilated(channel):
                return ndimage.maximum_filter(channel, footprint=footprint, mode='nearest')
            wanted = [eroded, dilated, lambda c: dilated(eroded(c)), lambda c: eroded(dilated(c))]
            for operation, work in enumerate(wanted):
                check(f'{name} binary {operation} {shape} {size}', each(picture, work),
                      apply('T_BinaryFilterBitmap', picture, operation, shape, size))


def bits(picture):
    for size in (3, 9):
        check(f'bits median {size}', apply('T_MedianFilterBitmap', picture, size),
              ndimage.median_filter(picture, size, mode='nearest'))
    for amount in (1, 4, 30):
        labels, _ = ndimage.label(~picture, np.ones((3, 3)))
        small = np.bincount(labels.ravel()) <= amount
        small[0] = False
        check(f'bits despeckle {amount}', apply('T_DespeckleBitmap', picture, amount),
              picture | small[labels])


def adjustments(name, picture):
    image = Image.fromarray(picture)
    check(f'{name} invert', apply('T_InvertBitmap', picture), np.asarray(ImageOps.invert(image)))
    more = np.clip(picture.astype(int) + 51, 0, 255)
    check(f'{name} intensity', apply('T_ChangeBitmapIntensity', picture, 200), more)
    for level, factor in ((-600, 0.4), (500, 2)):
        check(f'{name} contrast {level}', apply('T_ChangeBitmapContrast', picture, level),
              rounded(127.5 + factor * (picture - 127.5)), 1)
    kept = apply('T_PosterizeBitmap', picture, 8)
    check(f'{name} posterize', kept & 0xE0, np.asarray(ImageOps.posterize(image, 3)))
    halves = apply('T_HalfToneBitmap', np.full_like(picture, 128), 6, 45)
    check(f'{name} halftone', np.array([halves.mean() * 100]), np.array([50]), 2)


def colors(picture):
    stretched = ImageEnhance.Color(Image.fromarray(picture)).enhance(0.5)
    got = apply('T_ChangeBitmapSaturation', picture, -500)
    # The grey weights differ by up to a sixteenth of the range, of which half counts.
    check('saturation', got, np.asarray(stretched), 12)
    got = apply('T_ChangeBitmapHue', picture, 77)
    flat = (picture.reshape(-1, 3) / 255).tolist()
    turned = [colorsys.hsv_to_rgb((h + 77 / 360) % 1, s, v)
              for h, s, v in (colorsys.rgb_to_hsv(*color) for color in flat)]
    check('hue', got, rounded(np.array(turned).reshape(picture.shape) * 255), 1)


def fine_palettes(picture):
    """Every pixel has the nearest colour, and all in all they are nearer than Pillow's best."""
    kinds = [m for m in Image.Quantize if m != Image.Quantize.LIBIMAGEQUANT
             or features.check('libimagequant')]
    pixels = picture.reshape(-1, 1, 3).astype(int)
    library.T_DefaultDithering(0)
    for colors in (16, 64, 256):
        indices = apply('T_ColorResolution', picture, 8, 5, None, colors).ravel()
        distances = ((pixels - apply.palette[:colors].astype(int)) ** 2).sum(axis=2)
        chosen = distances[np.arange(len(indices)), indices]
        check(f'fine {colors} nearest', chosen, distances.min(axis=1))
        others = (np.asarray(Image.fromarray(picture).quantize(colors, kind, dither=0)
                             .convert('RGB')) for kind in kinds)
        least = min(((picture.astype(int) - other) ** 2).sum() for other in others)
        check(f'fine {colors} error', np.array([chosen.sum() <= least]), np.array([True]))


def scans():
    """A page of 1 bit and of grey, turned by Pillow, with a scanner's border and specks."""
    random = np.random.default_rng(46)
    page = np.ones((1100, 850), bool)
    for y in range(100, 1000, 24):
        words = np.repeat(random.random(100) > 0.25, 7)[:random.integers(400, 700)]
        page[y:y + 12, 80:80 + len(words)] = ~words
    dirty = page.copy()
    dirty[:30] = dirty[:, -25:] = False
    dirty[random.integers(50, 90, 9), random.integers(50, 800, 9)] = False
    ink = np.argwhere(~page)
    (top, left), (bottom, right) = ink.min(axis=0), ink.max(axis=0) + 1
    for name, scan in (('bits', dirty), ('grey', (200 * dirty + 30).astype(np.uint8))):
        area = [ctypes.c_uint32() for _ in range(4)]
        apply('T_FindContent', scan, *map(ctypes.byref, area))
        check(f'content {name}', np.array([a.value for a in area]),
              np.array([left, top, right - left, bottom - top]))
        for share, want in ((1000000, 1), (1000, 0)):
            blank = ctypes.c_int32(-1)
            apply('T_IsBlank', scan, share, ctypes.byref(blank))
            check(f'blank {name} {share}', np.array([blank.value]), np.array([want]))
        for degrees in (-14.3, -3.21, 0.0, 0.4, 11.7):
            # Pillow turns the other way.
            turned = Image.fromarray(scan).rotate(-degrees, fillcolor=int(scan.max()))
            found = ctypes.c_int32(-9999)
            apply('T_FindSkew', np.asarray(turned), ctypes.byref(found))
            check(f'skew {name} {degrees}', np.array([found.value]),
                  np.array([round(100 * degrees)]), 10)


def equalized(picture):
    counts = np.bincount(picture.ravel(), minlength=256).cumsum()
    first = counts[picture.min()]
    table = rounded(255 * (counts - first) / (counts[-1] - first))
    check('equalize', apply('T_HistoEqualizeBitmap', picture), table[picture])


def main():
    random = np.random.default_rng(45)
    smooth = ndimage.zoom(random.integers(0, 256, (9, 12, 3)).astype(float), (13.2, 12, 1), order=1)
    color = np.clip(smooth + random.normal(0, 12, smooth.shape), 0, 255).astype(np.uint8)[:112, :136]
    gray = np.ascontiguousarray(color[..., 1])
    speckled = random.random((97, 131)) > 0.2
    for name, picture in (('grey', gray), ('color', color), ('bits', speckled)):
        moves(name, picture)
        shapes(name, picture)
        if name != 'bits':
            filters(name, picture)
            sizes(name, picture)
            adjustments(name, picture)
    bits(speckled)
    colors(color)
    equalized(gray)
    fine_palettes(color)
    scans()
    print(f'{passed} passed, {failed} failed')
    return 0 if failed == 0 and passed >= 222 else 1


if __name__ == '__main__':
    library = ctypes.CDLL(sys.argv[1])
    sys.exit(main())

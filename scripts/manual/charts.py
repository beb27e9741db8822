"""Bar charts of benchmark figures, as SVG: what is measured, and for each program its milliseconds."""
import html

FAX = {"text": 0, "speckled text": 1, "drawing": 2}

# Title, program of scripts/bench, and in each group the names of benchmarks by who is measured.
CHARTS = [
    ("Fax pages (Group 4), read", "bench_fax",
     {name: {"TAVO45": f"Decode/page:{page}/coding:0",
             "libtiff": f"LibtiffDecode/page:{page}/coding:0",
             "FFmpeg": f"FFmpegDecode/page:{page}/coding:0"} for name, page in FAX.items()}),
    ("Fax pages (Group 4), written", "bench_fax",
     {name: {"TAVO45": f"Encode/page:{page}/coding:0",
             "libtiff": f"LibtiffEncode/page:{page}/coding:0"} for name, page in FAX.items()}),
    ("JPEG, read", "bench_jpeg_decode",
     {name: {"TAVO45": f"JpegDecode/{key}/q75/tavo",
             "libjpeg-turbo": f"JpegDecode/{key}/q75/libjpeg-turbo"}
      for name, key in {"full chroma": "444", "halved across": "422", "halved both ways": "420",
                        "progressive": "progressive", "grey": "gray"}.items()}),
    ("PNG, read", "bench_png",
     {name: {"TAVO45": f"decode/{key}/tavo", "libpng": f"decode/{key}/libpng"}
      for name, key in {"photograph": "photo", "grey": "photo8", "screen": "screen"}.items()}),
    ("PNG, written, a photograph", "bench_png",
     {"quick": {"TAVO45": "encode/photo/tavo fast", "libpng": "encode/photo/libpng 1"},
      "as it comes": {"TAVO45": "encode/photo/tavo default", "libpng": "encode/photo/libpng"},
      "small": {"TAVO45": "encode/photo/tavo small", "libpng": "encode/photo/libpng 9"}}),
    *((f"Another size, 24 bits, {words}", "bench_resample",
       {name: {"TAVO45": f"{name}/24/{width}/Bitmap", "OpenCV": f"{name}/24/{width}/OpenCV",
               "FFmpeg": f"{name}/24/{width}/swscale"}
        for name in ("box", "triangle", "cubic", "lanczos")})
      for words, width in (("half as wide", 2048), ("half as wide again", 6144))),
    ("Dithering of 24 bits by error diffusion, to fixed colors", "bench_dither",
     {name: {"TAVO45": f"dither/{key}_whole", "FFmpeg": f"swscale/{key}"}
      for name, key in {"256 colors": "rgb332_fs", "black and white": "rgb1_fs"}.items()}),
]

COLORS = ("#1f6f8b", "#b9c4cf", "#d8b98a")
WIDTH, LABELS, BAR, GAP = 720, 190, 16, 14


def text(x, y, words, anchor="start", css=""):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}"{css}>{html.escape(words)}</text>'


def bars(groups):
    """SVG of groups {label: {who: milliseconds}}."""
    who = list(dict.fromkeys(name for group in groups.values() for name in group))
    longest = max(value for group in groups.values() for value in group.values())
    scale = (WIDTH - LABELS - 130) / longest
    out, y = [], 34
    for i, name in enumerate(who):
        x = LABELS + 130 * i
        out += [f'<rect x="{x}" y="4" width="12" height="12" fill="{COLORS[i]}"/>',
                text(x + 18, 15, name)]
    for label, group in groups.items():
        out.append(text(LABELS - 12, y + len(group) * BAR / 2 + 5, label, "end"))
        for name, value in group.items():
            width = max(1, round(value * scale))
            out += [f'<rect x="{LABELS}" y="{y}" width="{width}" height="{BAR - 2}" '
                    f'fill="{COLORS[who.index(name)]}"/>',
                    text(LABELS + width + 6, y + 12, f"{value:.3g} ms", css=' font-size="12"')]
            y += BAR
        y += GAP
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {y}" width="{WIDTH}" '
            f'height="{y}" font-family="sans-serif" font-size="14" fill="#1d2430" role="img">'
            + "".join(out) + "</svg>\n")


def names():
    """Of all benchmarks that the charts show."""
    return {name for _, _, groups in CHARTS for group in groups.values() for name in group.values()}


def drawn(milliseconds):
    """(title, SVG) of each chart whose figures are all there."""
    for title, program, groups in CHARTS:
        found = milliseconds.get(program, {})
        values = {label: {who: found[name] for who, name in group.items() if name in found}
                  for label, group in groups.items()}
        if all("TAVO45" in group and len(group) > 1 for group in values.values()):
            yield title, bars(values)

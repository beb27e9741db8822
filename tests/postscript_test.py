"""Printing to a PostScript printer of Wine's: what Ghostscript makes of the page is the picture.

usage: postscript_test.py TAVO.exe    with WINEPREFIX as for any program; makes a printer in it
"""
import io
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy
from PIL import Image

TAVO = pathlib.Path(sys.argv[1]).absolute()
NAME = "TavoPostScript"
DPI = 300
PPD = """*PPD-Adobe: "4.3"
*NickName: "Test"
*LanguageLevel: "2"
*ColorDevice: True
*DefaultResolution: 300dpi
*OpenUI *PageSize: PickOne
*DefaultPageSize: A4
*PageSize A4/A4: "<</PageSize[595 842]>>setpagedevice"
*CloseUI: *PageSize
*DefaultImageableArea: A4
*ImageableArea A4/A4: "18 36 577 806"
*DefaultPaperDimension: A4
*PaperDimension A4/A4: "595 842"
*DefaultFont: Courier
*Font Courier: Standard "(002.004S)" Standard ROM
"""
PRINT = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Print"
REGISTRY = rf"""REGEDIT4

[{PRINT}\Environments\Windows NT x86\Drivers\Version-3\PS Driver]
"Configuration File"="wineps.drv"
"Data File"="tavo.ppd"
"Datatype"="RAW"
"Driver"="wineps.drv"
"Version"=dword:00000003

[{PRINT}\Printers\{NAME}]
"Name"="{NAME}"
"Port"="FILE:"
"Datatype"="RAW"
"Print Processor"="WinPrint"
"Printer Driver"="PS Driver"
"Attributes"=dword:00000000
"Status"=dword:00000000

[HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\Devices]
"{NAME}"="wineps.drv,FILE:"
"""


def wine(*command):
    return subprocess.run(["wine", *map(str, command)], capture_output=True, check=False,
                          timeout=120).returncode


def make_printer():
    system = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c/windows/system32"
    folder = system / "spool/drivers/w32x86/3"
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "tavo.ppd").write_text(PPD)
    pathlib.Path("printer.reg").write_text(REGISTRY)
    return wine("regedit", "/S", "printer.reg") == 0


def page():
    """The printed page as Ghostscript shows it, a pixel for each of the printer's."""
    shown = subprocess.run(["gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=ppmraw",
                            f"-r{DPI}", "-sOutputFile=-", "page.ps"], capture_output=True, check=True)
    return numpy.array(Image.open(io.BytesIO(shown.stdout)).convert("RGB"))


def prints(picture, scale):
    """Whether the page shows just this picture, so many times as large in each direction."""
    want = numpy.array(picture.convert("RGB")).repeat(scale, 0).repeat(scale, 1)
    picture.save("in.png", dpi=(DPI / scale, DPI / scale))
    pathlib.Path("page.ps").unlink(missing_ok=True)
    if wine(TAVO, "print", "in.png", "--printer", NAME, "--size", "actual", "--print-to", "page.ps"):
        return False
    shown = page()
    ys, xs = numpy.nonzero((shown != 255).any(axis=2))
    found = shown[ys.min():ys.max() + 1, xs.min():xs.max() + 1]
    return numpy.array_equal(found, want)


def pictures():
    """Black along the edges, so that they can be found on the page."""
    y, x = numpy.mgrid[0:450, 0:620]
    colors = numpy.dstack([x * 255 // 619, y * 255 // 449, x ^ y]).astype("uint8")
    colors[[0, -1]] = colors[:, [0, -1]] = 0
    photo = Image.fromarray(colors)
    yield "24 bits, in two bands", photo, 1
    yield "24 bits, enlarged", photo, 2
    yield "8 bits", photo.quantize(256), 1
    yield "1 bit", photo.convert("1"), 1


def main():
    passed = failed = 0
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        is_there = make_printer()
        for name, picture, scale in pictures():
            is_good = is_there and prints(picture, scale)
            passed += is_good
            failed += not is_good
            if not is_good:
                print(f"FAILED: {name}", flush=True)
        os.chdir("/")
    print(f"{passed} passed, {failed} failed")
    return 0 if failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())

"""Writes a small picture as a BMP file the way another program writes it, and
beside it the picture as that program reads the file back (RGB bytes, top row
first): the reference a BMP reader is compared with.

    foreign_bmp.py OUT.bmp OUT.rgb WRITER PICTURE [OPTION...]

WRITER   convert: ImageMagick's convert with the OPTIONs, the last of them the
                  format prefix (BMP2:, BMP3:, BMP:)
         topdown: the same, then the rows are stored top row first (negative
                  height), which neither program writes
         masks40: the same (a BMP: file with channel masks), then its header
                  cut to the 40-byte one with the three masks after it, the
                  layout of Windows' own 16-bit files, which neither writes
         pil:     PIL's BMP writer (no OPTIONs)
PICTURE  rgb, rgba (varying alpha), palette (20 colours, with runs for RLE),
         grey
Exit status 77 when ImageMagick is not installed.
"""
import os
import struct
import subprocess
import sys

from PIL import Image

WIDTH, HEIGHT = 13, 7  # odd: every depth pads its rows


def picture(kind):
    im = Image.new("RGBA", (WIDTH, HEIGHT))
    im.putdata([((x * 37 + y * 11) % 256, (y * 53 + x) % 256, (x * y * 7 + 3) % 256, (x * 40 + y * 9) % 256)
                for y in range(HEIGHT) for x in range(WIDTH)])
    if kind == "rgba":
        return im
    if kind == "palette":
        # Runs of one colour beside single pixels, so that RLE8 uses both modes.
        runs = Image.new("RGB", (WIDTH, HEIGHT))
        runs.putdata([((x // 4) * 60 + y * 5, 200 - y * 20, (x * 50) % 256 if y % 2 else 90)
                      for y in range(HEIGHT) for x in range(WIDTH)])
        return runs.quantize(colors=20)
    return im.convert("L" if kind == "grey" else "RGB")


def has_imagemagick():
    try:
        out = subprocess.run(["convert", "-version"], capture_output=True, text=True)
    except OSError:
        return False
    return out.returncode == 0 and "ImageMagick" in out.stdout


def store_top_down(path):
    data = bytearray(open(path, "rb").read())
    offset, = struct.unpack_from("<I", data, 10)
    width, height, _, bits, compression = struct.unpack_from("<iiHHI", data, 18)
    assert height > 0 and compression == 0, "top-down needs an uncompressed bottom-up file"
    stride = (width * bits + 31) // 32 * 4
    rows = [data[offset + r * stride:offset + (r + 1) * stride] for r in range(height)]
    data[offset:offset + height * stride] = b"".join(reversed(rows))
    struct.pack_into("<i", data, 22, -height)
    open(path, "wb").write(data)


def cut_to_40_byte_header(path):
    data = open(path, "rb").read()
    offset, = struct.unpack_from("<I", data, 10)
    assert struct.unpack_from("<I", data, 30)[0] == 3, "needs a file with channel masks"
    header = bytearray(data[14:14 + 52])  # the 40-byte fields, then the red, green and blue masks
    struct.pack_into("<I", header, 0, 40)
    file_header = bytearray(data[:14])
    struct.pack_into("<I", file_header, 10, 14 + 52)
    open(path, "wb").write(file_header + header + data[offset:])


def main(bmp, rgb, writer, kind, *options):
    source = picture(kind)
    if writer == "pil":
        source.save(bmp)
        open(rgb, "wb").write(Image.open(bmp).convert("RGB").tobytes())
        return 0
    if not has_imagemagick():
        print("ImageMagick's convert is not installed", file=sys.stderr)
        return 77
    png = bmp + ".png"
    source.save(png)
    *flags, prefix = options
    subprocess.run(["convert", png, *flags, prefix + bmp], check=True)
    subprocess.run(["convert", bmp, "-alpha", "off", "-depth", "8", "rgb:" + rgb], check=True)
    os.remove(png)
    if writer == "topdown":
        store_top_down(bmp)
    if writer == "masks40":
        cut_to_40_byte_header(bmp)
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

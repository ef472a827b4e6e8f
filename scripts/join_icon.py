#!/usr/bin/env python3
"""Adds images to an icon as they are: join_icon.py ICON PNG...

Windows takes PNG images in an icon, which are far smaller than bitmaps of the large sizes.
"""

import pathlib
import struct
import sys

HEADER = struct.Struct("<HHH")  # reserved, type, count
ENTRY = struct.Struct("<BBBBHHII")  # width, height, colors, reserved, planes, bits, length, offset


def read_images(icon):
    """The directory entries of an icon without their offsets, each with its data."""
    _, _, count = HEADER.unpack_from(icon)
    for index in range(count):
        *facts, length, offset = ENTRY.unpack_from(icon, HEADER.size + index * ENTRY.size)
        yield facts, icon[offset:offset + length]


def describe_png(png):
    width, height = struct.unpack_from(">II", png, 16)
    return [width % 256, height % 256, 0, 0, 1, 32]  # 256 is written as 0


def main(icon_path, *png_paths):
    images = list(read_images(pathlib.Path(icon_path).read_bytes()))
    for path in png_paths:
        png = pathlib.Path(path).read_bytes()
        images.append((describe_png(png), png))
    joined = HEADER.pack(0, 1, len(images))
    offset = HEADER.size + len(images) * ENTRY.size
    for facts, data in images:
        joined += ENTRY.pack(*facts, len(data), offset)
        offset += len(data)
    joined += b"".join(data for _, data in images)
    pathlib.Path(icon_path).write_bytes(joined)


if __name__ == "__main__":
    main(*sys.argv[1:])

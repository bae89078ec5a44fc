"""Reading, writing and comparing PNG pictures of 8 bits a channel, as the player makes them."""
import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"
CHANNELS = {0: 1, 2: 3, 6: 4}


def chunks(data):
    at = len(SIGNATURE)
    while at < len(data):
        (size,) = struct.unpack(">I", data[at : at + 4])
        yield data[at + 4 : at + 8], data[at + 8 : at + 8 + size]
        at += size + 12


def unfilter(kind, row, above, step):
    """Undoes a row's filter in place."""
    for i in range(len(row)):
        left = row[i - step] if i >= step else 0
        up = above[i]
        if kind == 1:
            guess = left
        elif kind == 2:
            guess = up
        elif kind == 3:
            guess = (left + up) // 2
        else:
            corner = above[i - step] if i >= step else 0
            base = left + up - corner
            distances = abs(base - left), abs(base - up), abs(base - corner)
            guess = (left, up, corner)[distances.index(min(distances))]
        row[i] = row[i] + guess & 255


def read(path):
    """Width, height and the bytes of a picture, as rows of red, green and blue."""
    data = path.read_bytes()
    if not data.startswith(SIGNATURE):
        raise ValueError(f"{path} is no PNG picture")
    packed = b""
    width = height = channels = 0
    for name, body in chunks(data):
        if name == b"IHDR":
            width, height, depth, kind, _, _, interlace = struct.unpack(">IIBBBBB", body)
            if depth != 8 or interlace or kind not in CHANNELS:
                raise ValueError(f"{path} is no picture of plain 8-bit channels")
            channels = CHANNELS[kind]
        elif name == b"IDAT":
            packed += body
    raw = zlib.decompress(packed)
    size = width * channels
    rows = []
    above = bytearray(size)
    for y in range(height):
        start = y * (size + 1)
        row = bytearray(raw[start + 1 : start + 1 + size])
        if raw[start]:
            unfilter(raw[start], row, above, channels)
        rows.append(row)
        above = row
    return width, height, [to_rgb(row, channels) for row in rows]


def to_rgb(row, channels):
    if channels == 3:
        return row
    out = bytearray(len(row) // channels * 3)
    for i in range(3):
        out[i::3] = row[min(i, channels - 1) :: channels] if channels > 1 else row
    return out


def write(path, picture):
    width, height, rows = picture

    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    packed = zlib.compress(b"".join(b"\0" + bytes(row) for row in rows))
    path.write_bytes(
        SIGNATURE + chunk(b"IHDR", header) + chunk(b"IDAT", packed) + chunk(b"IEND", b"")
    )


def compare(actual, expected):
    """The largest difference of a channel, how many pixels differ, and a picture that shows where:
    equal pixels dark, others white. Pictures of different sizes differ by 256."""
    if not expected.exists():
        return 256, 0, None
    width, height, rows = read(actual)
    other_width, other_height, other = read(expected)
    if (width, height) != (other_width, other_height):
        return 256, width * height, None
    worst = count = 0
    shown = []
    for row, target in zip(rows, other):
        marks = bytearray(v // 4 for v in row)
        if row != target:
            for x in range(0, len(row), 3):
                step = max(abs(row[x + i] - target[x + i]) for i in range(3))
                if step:
                    worst = max(worst, step)
                    count += 1
                    marks[x : x + 3] = b"\xff\xff\xff"
        shown.append(marks)
    return worst, count, (width, height, shown)

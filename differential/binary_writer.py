"""Writes the binary format with every choice that it leaves, made at random."""

import struct

from canonical import content, kind, of_bits, text

MAGIC = b"bplist00"


def number(value, width):
    return value.to_bytes(width, "big")


def least_width(value):
    return max(1, (value.bit_length() + 7) // 8)


def table_and_trailer(offsets, table_offset, offset_width, reference_width, top, unused=bytes(6)):
    table = b"".join(number(offset, offset_width) for offset in offsets)
    return table + unused + bytes([offset_width, reference_width]) + struct.pack(
        ">QQQ", len(offsets), top, table_offset)


def head(marker, count, width=None):
    """The marker and the count, which is extended when it must be or when a width is given."""
    if width is None and count < 15:
        return bytes([marker | count])
    width = width or next(size for size in (1, 2, 4, 8) if count >> (8 * size) == 0)
    return bytes([marker | 15, 0x10 | {1: 0, 2: 1, 4: 2, 8: 3}[width]]) + number(count, width)


def assembled(objects, reference_width, top=0):
    """A file of objects that are bytes, in their order."""
    offsets, body = [], bytearray(MAGIC)
    for item in objects:
        offsets.append(len(body))
        body += item
    return bytes(body) + table_and_trailer(offsets, len(body), least_width(len(body)), reference_width, top)


class BinaryWriter:
    def __init__(self, random):
        self.random = random
        self.objects = []  # Values; of containers, (kind, indices).
        self.known = {}
        self.shares = random.random()

    def write(self, value):
        top = self.add(value)
        if self.random.random() < 0.2:
            self.add(text("nobody refers to this"))
        places = list(range(len(self.objects)))
        if self.random.random() < 0.7:
            self.random.shuffle(places)
        order = sorted(range(len(places)), key=places.__getitem__)
        self.places = places
        self.reference_width = self.wider(least_width(len(places)))
        return self.assemble(order, places[top])

    def wider(self, least):
        return least if self.random.random() < 0.6 else self.random.randint(least, 8)

    def assemble(self, order, top):
        body, offsets = bytearray(MAGIC), []
        for index in order:
            if self.random.random() < 0.02:
                body += self.random.randbytes(self.random.randint(1, 5))
            offsets.append(len(body))
            body += self.encoded(self.objects[index])
        unused = self.random.randbytes(6) if self.random.random() < 0.1 else bytes(6)
        width = self.wider(least_width(len(body)))
        return bytes(body) + table_and_trailer(
            offsets, len(body), width, self.reference_width, top, unused)

    def add(self, value):
        """The value's index; an equal one may be shared."""
        name = repr(value)
        if name in self.known and self.random.random() < self.shares:
            return self.known[name]
        if kind(value) in ("array", "set"):
            entry = (kind(value), [self.add(item) for item in content(value)])
        elif kind(value) == "dictionary":
            entry = ("dictionary", self.entries(content(value)))
        else:
            entry = value
        self.objects.append(entry)
        self.known[name] = len(self.objects) - 1
        return self.known[name]

    def entries(self, members):
        members = list(members)
        self.random.shuffle(members)
        if members and self.random.random() < 0.05:
            # Of a repeated key the last value counts.
            members.insert(0, [self.random.choice(members)[0], text("not this one")])
        keys = [self.add(text(key)) for key, _ in members]
        return keys + [self.add(member) for _, member in members]

    def encoded(self, entry):
        if isinstance(entry, tuple):
            return self.container(*entry)
        if entry is None or isinstance(entry, bool):
            return bytes([{None: 0, False: 8, True: 9}[entry]])
        return getattr(self, kind(entry))(content(entry))

    def container(self, name, indices):
        marker = {"array": 0xA0, "set": 0xC0, "dictionary": 0xD0}[name]
        count = len(indices) // 2 if name == "dictionary" else len(indices)
        references = b"".join(number(self.places[index], self.reference_width) for index in indices)
        return self.head(marker, count) + references

    def head(self, marker, count):
        if count < 15 and self.random.random() < 0.8:
            return head(marker, count)
        return head(marker, count, self.random.choice([size for size in (1, 2, 4, 8) if count >> (8 * size) == 0]))

    def integer(self, digits):
        value = int(digits)
        widths = [size for size in (1, 2, 4) if value >= 0 and value >> (8 * size) == 0]
        widths += [8] * (-(2**63) <= value < 2**63) + [16]
        width = widths[0] if self.random.random() < 0.7 else self.random.choice(widths)
        return bytes([0x10 | {1: 0, 2: 1, 4: 2, 8: 3, 16: 4}[width]]) + value.to_bytes(
            width, "big", signed=width >= 8)

    def real(self, bits):
        value = of_bits(bits)
        try:
            short = struct.pack(">f", value)
            if struct.unpack(">f", short)[0] == value and self.random.random() < 0.5:
                return b"\x22" + short
        except OverflowError:
            pass
        return b"\x23" + bytes.fromhex(bits)

    def date(self, bits):
        return b"\x33" + bytes.fromhex(bits)

    def data(self, digits):
        return self.head(0x40, len(digits) // 2) + bytes.fromhex(digits)

    def uid(self, digits):
        width = self.wider(least_width(int(digits)))
        return bytes([0x80 | (width - 1)]) + number(int(digits), width)

    def text(self, characters):
        if characters.isascii() and self.random.random() < 0.8:
            return self.head(0x50, len(characters)) + characters.encode("ascii")
        utf16 = characters.encode("utf-16-be")
        return self.head(0x60, len(utf16) // 2) + utf16

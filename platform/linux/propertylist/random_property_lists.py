"""Random property lists, written with the choices that their format leaves to a writer."""

import base64
import datetime
import plistlib
import re
import struct

TEXTS = ["", " ", "\n", "\ttab", "quote\"'", "<&>]]>", "back\\slash", "é", "ß€", "\U0001f511", "a\u0301", "\u2028",
         "\U0010ffff", "日本語" * 6, "w" * 300, "ü" * 300, "x" * 14, "y" * 15, "true", "1"]
CONTROL_TEXTS = ["\0", "a\0b", "\x01", "\x1f end"]
INTEGERS = [0, 1, -1, 127, 128, 255, 256, 65535, 65536, 2**31 - 1, 2**31, 2**32 - 1, 2**32, -(2**31) - 1,
            2**53 + 1, 2**63 - 1, 2**63, 2**64 - 1, -(2**63)]
REALS = [0.0, -0.0, 1.0, -1.5, 0.1, 1e300, 5e-324, 2.0**-126, 1 / 3, float("inf"), float("-inf")]
EPOCH = datetime.datetime(2001, 1, 1)
DOCTYPE = '<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">'
SCALARS = [bool, int, float, datetime.datetime, bytes, plistlib.UID, str]


class Values:
    """Values as plistlib has them."""

    def __init__(self, random, texts):
        self.random, self.texts = random, texts

    def value(self, levels):
        if levels and self.random.random() < 0.2:
            return self.random.choice([self.list, self.dict])(levels - 1)
        return getattr(self, self.random.choice(SCALARS).__name__)()

    def count(self):
        return self.random.choice([0, 1, 2, 3, 14, 15, 16] + [1, 2, 3] * 4)

    def dict(self, levels=3):
        return {self.str(): self.value(levels) for _ in range(self.count())}

    def list(self, levels):
        return [self.value(levels) for _ in range(self.count())]

    def str(self):
        if self.random.random() < 0.5:
            return self.random.choice(self.texts)
        return "".join(chr(self.random.choice([0x20, 0x20, 0x20, 0xA0, 0x4E00, 0x1F600]) + self.random.randrange(95))
                       for _ in range(self.random.randint(0, 40)))

    def bool(self):
        return self.random.random() < 0.5

    def int(self):
        return self.random.choice([*INTEGERS, self.random.randint(-(2**63), 2**64 - 1) >> self.random.randint(0, 63)])

    def float(self):
        return self.random.choice([*REALS, self.random.uniform(-1, 1) * 10.0 ** self.random.randint(-30, 30)])

    def datetime(self):
        return EPOCH + datetime.timedelta(seconds=self.random.randint(-(2**34), 2**36))

    def bytes(self):
        return self.random.randbytes(self.random.choice([0, 1, 2, 3, 14, 15, 16, 40, 300]))

    def UID(self):
        return plistlib.UID(self.random.getrandbits(self.random.choice([1, 8, 16, 24, 32])))


class Writer:
    """Collects the names of what is in a file and not understood by every reader."""

    def __init__(self, random):
        self.random = random
        self.peculiarities = set()

    def chance(self, probability, peculiarity=None):
        happens = self.random.random() < probability
        if happens and peculiarity:
            self.peculiarities.add(peculiarity)
        return happens

    def element(self, value):
        return getattr(self, type(value).__name__)(value)


class BinaryWriter(Writer):
    """Objects in any order, shared or not, with numbers wider than they need be."""

    def write(self, value):
        self.objects, self.known = [], {}
        top = self.add(value)
        order = list(range(len(self.objects)))
        self.random.shuffle(order)
        self.places = {index: place for place, index in enumerate(order)}
        self.width = self.wider(len(order))
        body, offsets = bytearray(b"bplist00"), []
        for index in order:
            body += self.random.randbytes(3) if self.chance(0.02) else b""
            offsets.append(len(body))
            body += self.encoded(self.objects[index])
        width = self.wider(len(body))
        trailer = struct.pack(">6xBBQQQ", width, self.width, len(order), self.places[top], len(body))
        return bytes(body) + b"".join(offset.to_bytes(width, "big") for offset in offsets) + trailer

    def wider(self, number):
        least = max(1, (number.bit_length() + 7) // 8)
        return self.random.randint(least, 8) if self.chance(0.4) else least

    def add(self, value):
        """The value's index; of an equal one, perhaps, which is then shared."""
        name = repr(value)
        if name in self.known and self.chance(0.5):
            return self.known[name]
        if isinstance(value, list):
            value = (0xA0, [self.add(item) for item in value], len(value))
        elif isinstance(value, dict):
            entries = list(value.items())
            if entries and self.chance(0.05, "a repeated key"):
                entries.insert(0, (self.random.choice(entries)[0], "the last one counts"))
            indices = [self.add(key) for key, _ in entries] + [self.add(member) for _, member in entries]
            value = (0xD0, indices, len(entries))
        self.objects.append(value)
        self.known[name] = len(self.objects) - 1
        return self.known[name]

    def encoded(self, value):
        if isinstance(value, tuple):
            marker, indices, count = value
            return self.head(marker, count) + b"".join(
                self.places[index].to_bytes(self.width, "big") for index in indices)
        return self.element(value)

    def head(self, marker, count):
        if count < 15 and self.chance(0.8):
            return bytes([marker | count])
        power = self.random.choice([power for power in range(4) if count >> (8 << power) == 0])
        return bytes([marker | 15, 0x10 | power]) + count.to_bytes(1 << power, "big")

    def bool(self, value):
        return b"\x09" if value else b"\x08"

    def int(self, value):
        powers = [power for power in (0, 1, 2) if value >= 0 and value >> (8 << power) == 0]
        powers += [3] * (value < 2**63) + [4]
        power = self.random.choice([*powers[:1] * 4, *powers])
        if power == 4 and value < 0:
            self.peculiarities.add("a negative integer of 16 bytes")
        return bytes([0x10 | power]) + value.to_bytes(1 << power, "big", signed=power >= 3)

    def float(self, value):
        is_short = abs(value) < 1e38 and struct.unpack(">f", struct.pack(">f", value))[0] == value
        return b"\x22" + struct.pack(">f", value) if is_short and self.chance(0.5) else b"\x23" + struct.pack(">d", value)

    def datetime(self, value):
        return b"\x33" + struct.pack(">d", (value - EPOCH).total_seconds())

    def bytes(self, value):
        return self.head(0x40, len(value)) + value

    def UID(self, value):
        width = self.wider(value.data)
        return bytes([0x80 | (width - 1)]) + value.data.to_bytes(width, "big")

    def str(self, value):
        if value.isascii() and not self.chance(0.2, not value and "an empty string in UTF-16"):
            return self.head(0x50, len(value)) + value.encode()
        utf16 = value.encode("utf-16-be")
        return self.head(0x60, len(utf16) // 2) + utf16


class XmlWriter(Writer):
    def write(self, value):
        document = '<?xml version="1.0" encoding="UTF-8"?>' + self.space()
        document += self.random.choice([DOCTYPE, ""]) + self.space()
        version = self.random.choice(["", ' version="1.0"', " version='1.0' "])
        document += f"<plist{version}>{self.space()}{self.element(value)}{self.space()}</plist>\n"
        if self.chance(0.2, "a byte order mark"):
            document = "\ufeff" + document
            if self.chance(0.6):
                return document.replace("UTF-8", "UTF-16").encode(self.random.choice(["utf-16-le", "utf-16-be"]))
        return document.encode()

    def space(self):
        return self.random.choice(["", "", "\n", "\n\t", " ", "\r\n", "<!-- a comment -->"])

    def wrapped(self, name, inner):
        return f"<{name}/>" if inner == "" and self.chance(0.5, f"an empty {name}") else f"<{name}>{inner}</{name}>"

    def list(self, items):
        return self.wrapped("array", "".join(self.space() + self.element(item) for item in items))

    def dict(self, entries):
        return self.wrapped("dict", "".join(
            self.space() + self.wrapped("key", self.characters(key)) + self.space() + self.element(member)
            for key, member in entries.items()))

    def str(self, value):
        return self.wrapped("string", self.characters(value))

    def characters(self, value):
        if "]]>" not in value and self.chance(0.1):
            return f"<![CDATA[{value}]]>"
        return "".join(self.character(character) for character in value)

    def character(self, character):
        if self.chance(0.05):
            return self.random.choice([f"&#{ord(character)};", f"&#x{ord(character):x};"])
        return {"&": "&amp;", "<": "&lt;", ">": "&gt;"}.get(character, character)

    def padded(self, characters):
        return self.random.choice([" ", "\n"]) + characters + "\n" if self.chance(0.3) else characters

    def bool(self, value):
        return f"<{str(value).lower()}/>"

    def int(self, value):
        if value >= 0 and self.chance(0.3, "an integer in another form"):
            return self.wrapped("integer", self.random.choice([f"{value:#x}", f"+{value}", f"00{value}", f"0X{value:X}"]))
        return self.wrapped("integer", self.padded(str(value)))

    def float(self, value):
        return self.wrapped("real", self.padded(self.random.choice([repr(value), f"{value:.17e}"])))

    def datetime(self, value):
        return self.wrapped("date", value.isoformat() + "Z")

    def bytes(self, value):
        digits = base64.b64encode(value).decode()
        return self.wrapped("data", re.sub(f"(.{{{self.random.choice([4, 7, 60])}}})", "\\1\n\t", digits))

    def UID(self, value):
        return f"<dict><key>CF$UID</key>{self.space()}<integer>{value.data}</integer></dict>"


def damaged(random, contents, first):
    """The file with some bytes behind the `first` ones changed, left out, put in or cut off."""
    place = random.randrange(first, len(contents))
    if random.random() < 0.1:
        return contents[:place]
    return contents[:place] + random.randbytes(random.choice([0, 1, 1, 2])) + contents[place + random.choice([0, 1, 1, 2]):]

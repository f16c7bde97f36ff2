"""Writes the XML format with the freedoms that XML and the format give."""

import base64
import datetime

from canonical import EPOCH, content, kind, of_bits

DOCTYPE = ('<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN"'
           ' "http://www.apple.com/DTDs/PropertyList-1.0.dtd">')


class XmlWriter:
    def __init__(self, random):
        self.random = random

    def chance(self, probability):
        return self.random.random() < probability

    def write(self, value):
        """Bytes of the whole document."""
        encoding = self.random.choice(["utf-8"] * 6 + ["utf-8-sig", "utf-16-le", "utf-16-be"])
        name = "UTF-16" if encoding.startswith("utf-16") else "UTF-8"
        document = f'<?xml version="1.0" encoding="{name}"?>' if self.chance(0.8) else ""
        document += self.space() + (DOCTYPE + self.space() if self.chance(0.7) else "")
        body = self.space() + self.element(value) + self.space()
        if self.chance(0.9):
            body = "<plist" + self.random.choice(["", ' version="1.0"', " version='1.0' "]) + f">{body}</plist>"
        mark = "\ufeff" if encoding.startswith("utf-16") else ""
        return (mark + document + body + self.random.choice(["", "\n", " <!-- end -->\n"])).encode(encoding)

    def space(self):
        return self.random.choice(["", "", "\n", "\n\t", " ", "\r\n", "<!-- a comment -->", "<?target data?>"])

    def element(self, value):
        if isinstance(value, bool):
            name = "true" if value else "false"
            return self.random.choice([f"<{name}/>", f"<{name} />", f"<{name}></{name}>"])
        return getattr(self, kind(value))(content(value))

    def wrapped(self, name, inner):
        if inner == "" and self.chance(0.5):
            return f"<{name}/>"
        return f"<{name}>{inner}</{name}>"

    def padded(self, characters):
        return self.random.choice([characters] * 4 + [f" {characters}", f"\n{characters}\n"])

    def array(self, items):
        return self.wrapped("array", "".join(self.space() + self.element(item) for item in items) + self.space())

    def dictionary(self, entries):
        entries = list(entries)
        self.random.shuffle(entries)
        inner = "".join(
            self.space() + self.wrapped("key", self.characters(key)) + self.space() + self.element(member)
            for key, member in entries)
        return self.wrapped("dict", inner + self.space())

    def text(self, characters):
        return self.wrapped("string", self.characters(characters))

    def characters(self, characters):
        if "]]>" not in characters and "\r" not in characters and self.chance(0.15):
            return f"<![CDATA[{characters}]]>"
        return "".join(self.character(character) for character in characters)

    def character(self, character):
        names = {"&": "amp", "<": "lt", ">": "gt", '"': "quot", "'": "apos"}
        if character in names and (character in "&<>" or self.chance(0.5)):
            return f"&{names[character]};"
        if character == "\r" or self.chance(0.05):
            return self.random.choice([f"&#{ord(character)};", f"&#x{ord(character):x};"])
        return character

    def integer(self, digits):
        value = int(digits)
        forms = [digits] * 6 + ([f"{value:#x}", f"+{value}", f"00{value}", f"0X{value:X}"] if value >= 0 else
                                [f"-{-value:#x}"])
        return self.wrapped("integer", self.padded(self.random.choice(forms)))

    def real(self, bits):
        value = of_bits(bits)
        forms = [repr(value)] * 4 + ([f"{value:.17e}", f"{value:+.17g}"])
        return self.wrapped("real", self.padded(self.random.choice(forms)))

    def date(self, bits):
        moment = EPOCH + datetime.timedelta(seconds=of_bits(bits))
        return self.wrapped("date", moment.strftime("%Y-%m-%dT%H:%M:%SZ").rjust(20, "0"))

    def data(self, digits):
        text = base64.b64encode(bytes.fromhex(digits)).decode()
        width = self.random.choice([4, 7, 60, 10_000])
        lines = [text[first:first + width] for first in range(0, len(text), width)]
        return self.wrapped("data", self.random.choice(["\n\t", "\r\n", "\n"]).join(lines))

    def uid(self, digits):
        return f"<dict>{self.space()}<key>CF$UID</key><integer>{digits}</integer></dict>"

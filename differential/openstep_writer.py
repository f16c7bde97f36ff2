"""Writes the OpenStep format with the freedoms that it gives."""

import re

from canonical import content, kind

BARE = re.compile(r"[A-Za-z0-9_$/:.-]+", re.ASCII)
NAMED = {"\a": "a", "\b": "b", "\f": "f", "\n": "n", "\r": "r", "\t": "t", "\v": "v"}
# The NeXTSTEP encoding from 0x80 on: https://www.unicode.org/Public/MAPPINGS/VENDORS/NEXT/NEXTSTEP.TXT.
NEXTSTEP_CHARACTERS = (
    "\xa0ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖÙÚÛÜÝÞµ×÷©¡¢£\u2044¥ƒ§¤’“«‹›ﬁﬂ®–†‡·¦¶•‚„”»…‰¬¿¹\u02cb\xb4ˆ˜\xaf˘˙\xa8²˚\xb8³˝˛ˇ"
    "—±¼½¾àáâãäåçèéêëìÆíªîïðñŁØŒºòóôõöæùúûıüýłøœßþÿ")
NEXTSTEP = {character: 0x80 + place for place, character in enumerate(NEXTSTEP_CHARACTERS)}


class OpenStepWriter:
    def __init__(self, random):
        self.random = random
        self.common = random.random() < 0.5

    def chance(self, probability):
        return self.random.random() < probability

    def write(self, value):
        """`common` files keep to what every reader knows."""
        if kind(value) == "dictionary" and content(value) and self.chance(0.25):
            characters = self.entries(content(value))
        else:
            characters = self.element(value)
        characters = self.space() + characters + self.space()
        if self.common or self.chance(0.8):
            return characters.encode("utf-8")
        return ("\ufeff" + characters).encode(self.random.choice(["utf-8", "utf-16-le", "utf-16-be"]))

    def space(self):
        forms = ["", "", " ", "\n", "\t", "\r\n", " /* a comment */", " // a comment\n"]
        return self.random.choice(forms if self.common else forms + ["\u2028", "\u2029", "\v\f"])

    def spaced(self, characters):
        return self.space() + characters + self.space()

    def element(self, value):
        return getattr(self, kind(value))(content(value))

    def text(self, characters):
        if BARE.fullmatch(characters) and "//" not in characters and self.chance(0.7) and not (
                characters.startswith(("/*", "//"))):
            return characters
        quote = '"' if self.common or self.chance(0.7) else "'"
        return quote + "".join(self.character(character, quote) for character in characters) + quote

    def character(self, character, quote):
        if character in (quote, "\\"):
            return "\\" + character
        if character in NAMED and self.chance(0.7):
            return "\\" + NAMED[character]
        if (code := NEXTSTEP.get(character, ord(character))) < 256 and (character < "\x80" or character in NEXTSTEP):
            if character < " " or self.chance(0.05):
                return f"\\{code:03o}"
        if self.chance(0.3 if character > "\x7e" else 0.02):
            units = character.encode("utf-16-be").hex()
            return "".join(f"\\U{units[first:first + 4]}" for first in range(0, len(units), 4))
        return character

    def data(self, digits):
        pairs = [digits[first:first + 2] for first in range(0, len(digits), 2)]
        form = self.random.choice([str.lower, str.upper])
        gap = self.random.choice(["", "", " "])
        return "<" + gap.join(form(pair) for pair in pairs) + ">"

    def array(self, items):
        parts = [self.spaced(self.element(item)) for item in items]
        last = "," if parts and not self.common and self.chance(0.3) else ""
        return "(" + ",".join(parts) + last + self.space() + ")"

    def dictionary(self, entries):
        return "{" + self.entries(entries) + "}"

    def entries(self, entries):
        entries = list(entries)
        self.random.shuffle(entries)
        return "".join(self.spaced(self.entry(key, value)) for key, value in entries)

    def entry(self, key, value):
        if value == {"text": key} and not self.common and self.chance(0.5):
            return self.text(key) + self.space() + ";"
        return self.text(key) + self.spaced("=") + self.element(value) + self.space() + ";"

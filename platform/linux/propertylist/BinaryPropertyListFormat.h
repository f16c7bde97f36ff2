#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// The binary property-list format, version 1.0, which its originator publishes as source:
/// https://github.com/apple-oss-distributions/CF/blob/main/CFBinaryPList.c
///
/// A stream is the magic, the objects, a table of each object's offset and the trailer. Numbers are
/// big-endian. An object begins with one byte: a marker, and in most kinds a count in the low half.
namespace korvan::binaryPropertyList {

inline constexpr std::string_view Magic = "bplist00";
/// How the magic begins in every version.
inline constexpr std::size_t NameSize = 6;

/// Five unused bytes, a sort version, the widths of an offset and of a reference, one byte each;
/// then eight bytes each: the number of objects, the top object, the offset table's offset.
inline constexpr std::size_t TrailerSize = 32;
inline constexpr std::size_t OffsetWidthPlace = 6;
inline constexpr std::size_t ReferenceWidthPlace = 7;
inline constexpr std::size_t CountPlace = 8;
inline constexpr std::size_t TopPlace = 16;
inline constexpr std::size_t TableOffsetPlace = 24;

/// A count in the low half of the first byte is below this. This value itself means that an integer
/// object with the count follows.
inline constexpr std::uint8_t ExtendedCount = 0x0F;

inline constexpr std::uint8_t NullMarker = 0x00;
inline constexpr std::uint8_t FalseMarker = 0x08;
inline constexpr std::uint8_t TrueMarker = 0x09;
/// The low half is the binary logarithm of the size: 1, 2 and 4 bytes are unsigned, 8 and 16
/// signed.
inline constexpr std::uint8_t IntegerMarker = 0x10;
/// The low half is the binary logarithm of the size: 4 or 8 bytes, IEEE 754.
inline constexpr std::uint8_t RealMarker = 0x20;
inline constexpr std::uint8_t DateMarker = 0x33;
inline constexpr std::uint8_t DataMarker = 0x40;
inline constexpr std::uint8_t AsciiMarker = 0x50;
/// The count is of 16-bit units.
inline constexpr std::uint8_t Utf16Marker = 0x60;
/// The low half is the size less one.
inline constexpr std::uint8_t UidMarker = 0x80;
inline constexpr std::uint8_t ArrayMarker = 0xA0;
inline constexpr std::uint8_t SetMarker = 0xC0;
/// All references to keys come first, then as many to values.
inline constexpr std::uint8_t DictionaryMarker = 0xD0;

}  // namespace korvan::binaryPropertyList

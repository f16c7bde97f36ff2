// What the costliest bodies of 4 MiB take to decode, or to be refused, and the costliest message to
// encode: processor time and memory, the body's own included, each in a process of its own.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::bench {
namespace {

constexpr std::size_t Size = 4UL << 20;
constexpr double MaxSeconds = 1;
constexpr double MaxMegabytes = 400;

std::string bigEndian(std::uint64_t number, std::size_t width) {
  std::string bytes;
  while (width-- > 0) {
    bytes += static_cast<char>(number >> (8 * width));
  }
  return bytes;
}

/// An object whose count is in an integer of its own.
std::string counted(unsigned marker, std::size_t count, std::string_view contents) {
  return (static_cast<char>(marker | 0x0F) + ('\x12' + bigEndian(count, 4))).append(contents);
}

/// References to the objects from `first` on.
std::string references(std::size_t first, std::size_t count, std::size_t width) {
  std::string bytes;
  for (std::size_t number = first; number < first + count; ++number) {
    bytes += bigEndian(number, width);
  }
  return bytes;
}

std::string repeated(std::string_view unit, std::size_t count) {
  std::string text;
  text.reserve(unit.size() * count);
  while (count-- > 0) {
    text += unit;
  }
  return text;
}

/// A binary property list of these objects, the first of them the top.
std::string binary(const std::vector<std::string>& objects, std::size_t referenceWidth) {
  constexpr std::size_t OffsetWidth = 3;
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += bigEndian(bytes.size(), OffsetWidth);
    bytes += object;
  }
  const std::size_t tableOffset = bytes.size();
  return bytes + table + std::string(6, '\0') + bigEndian(OffsetWidth, 1) +
         bigEndian(referenceWidth, 1) + bigEndian(objects.size(), 8) + bigEndian(0, 8) +
         bigEndian(tableOffset, 8);
}

/// An array of as many of the object, which is one byte, as fit.
std::string manyOf(std::string_view object) {
  const std::size_t count = Size / 7;
  std::vector<std::string> objects(count + 1, std::string(object));
  objects[0] = counted(0xA0, count, references(1, count, 3));
  return binary(objects, 3);
}

/// A dictionary with as many of the keys, and true for each.
std::string withKeys(std::size_t count, auto keyAt) {
  std::vector<std::string> objects = {"", "\x09"};
  for (std::size_t index = 0; index < count; ++index) {
    const std::string key = keyAt(index);
    objects.push_back(counted(0x50, key.size(), key));
  }
  objects[0] = counted(0xD0, count, references(2, count, 3) + repeated(bigEndian(1, 3), count));
  return binary(objects, 3);
}

std::string smallDictionaries() {
  const std::size_t count = Size / 13;
  std::vector<std::string> objects(count + 3, "\xD1" + references(1, 2, 3));
  objects[0] = counted(0xA0, count, references(3, count, 3));
  objects[1] = "Qk";
  objects[2] = "\x09";
  return binary(objects, 3);
}

std::string nestedArrays() {
  std::vector<std::string> objects = {"", "\xA0"};
  while (objects.size() < Size / 12) {
    objects.push_back("\xA1" + references(objects.size() - 1, 1, 3));
  }
  // From within, so that the nesting is found last.
  objects[0] = counted(0xA0, objects.size() - 1, references(1, objects.size() - 1, 3));
  return binary(objects, 3);
}

/// Arrays that refer to the next one so often each.
std::string sharedArrays(std::size_t levels, std::size_t references) {
  std::vector<std::string> objects;
  for (std::size_t level = 1; level < levels; ++level) {
    objects.push_back(counted(0xA0, references, repeated(bigEndian(level, 1), references)));
  }
  objects.emplace_back("\xA0");
  return binary(objects, 1);
}

struct BinaryShape {
  std::string_view name;
  std::string (*bytes)();
};

// NOLINTBEGIN(modernize-use-designated-initializers): they are tables.
constexpr auto BinaryShapes = std::to_array<BinaryShape>({
    {"binary: references to one integer",
     [] { return binary({counted(0xA0, Size, std::string(Size, 1)), "\x10\x07"}, 1); }},
    {"binary: references to one key",
     [] { return binary({counted(0xD0, Size / 2, std::string(Size, 1)), "Qk"}, 1); }},
    {"binary: references to one UTF-16 text",
     [] {
       return binary({counted(0xA0, Size / 2, std::string(Size / 2, 1)),
                      counted(0x60, Size / 4, std::string(Size / 2, ' '))},
                     1);
     }},
    {"binary: empty arrays", [] { return manyOf("\xA0"); }},
    // The marker of an empty UTF-16 text.
    {"binary: empty texts", [] { return manyOf("`"); }},
    {"binary: arrays inside one another", nestedArrays},
    {"binary: small dictionaries", smallDictionaries},
    {"binary: levels of shared arrays", [] { return sharedArrays(250, Size / 256); }},
    {"binary: 60 levels of two references", [] { return sharedArrays(60, 2); }},
    {"binary: distinct keys, last first",
     [] {
       return withKeys(Size / 22,
                       [](std::size_t index) { return std::to_string(9'999'999 - index); });
     }},
    {"binary: two long keys in turn",
     [] {
       const std::string key(Size / 8, 'k');
       return binary(
           {counted(0xD0, Size / 4, repeated("\x01\x02", Size / 8) + std::string(Size / 4, 3)),
            counted(0x50, key.size() + 1, key + 'a'), counted(0x50, key.size() + 1, key + 'b'),
            "\x09"},
           1);
     }},
    {"binary: equal keys of their own",
     [] { return withKeys(Size / 16, [](std::size_t) { return "k"; }); }},
    {"binary: keys that begin alike",
     [] {
       return withKeys(2'000, [](std::size_t index) {
         return std::string(2'000, 'k') + std::to_string(index * 7919 % 2'000);
       });
     }},
});

struct TextShape {
  std::string_view name;
  std::string_view first;
  /// Repeated; a # in it is another number each time.
  std::string_view unit;
  std::string_view last;

  [[nodiscard]] std::string bytes() const {
    std::string text(first);
    const auto place = unit.find('#');
    for (std::size_t number = 9'999'999; text.size() + unit.size() + last.size() + 8 < Size;) {
      text += unit.substr(0, place);
      if (place != std::string_view::npos) {
        text.append(std::to_string(number--)).append(unit.substr(place + 1));
      }
    }
    return text.append(last);
  }
};

constexpr auto TextShapes = std::to_array<TextShape>({
    {"XML: empty dictionaries", "<array>", "<dict/>", "</array>"},
    {"XML: one key again and again", "<dict>", "<key/><true/>", "</dict>"},
    {"XML: distinct keys, last first", "<dict>", "<key>#</key><true/>", "</dict>"},
    {"XML: entities", "<string>", "&lt;", "</string>"},
    {"XML: empty CDATA", "<string>", "<![CDATA[]]>", "</string>"},
    {"XML: comments", "<string>", "<!---->", "</string>"},
    {"XML: lines", "<string>", "\r\n", "</string>"},
    {"XML: attributes of one element", "<array", " a#='1'", "/>"},
    {"XML: one integer of many digits", "<integer>", "0", "</integer>"},
    {"XML: one real of many digits", "<real>0.", "123456789", "</real>"},
    {"XML: base64", "<data>", "AAAA", "</data>"},
    {"XML: arrays inside one another", "", "<array>", ""},
    {"XML: a comment that does not end", "<!--", "<!- ", ""},
    {"OpenStep: strings of one letter", "(", "a,", ")"},
    {"OpenStep: empty arrays", "(", "(),", ")"},
    {"OpenStep: empty data", "(", "<>,", ")"},
    {"OpenStep: two keys in turn", "{", "a;b;", "}"},
    {"OpenStep: distinct keys, last first", "{", "#;", "}"},
    {"OpenStep: escapes", "\"", R"(\U20ac)", "\""},
    {"OpenStep: strings with an escape", "(", R"("\n",)", ")"},
    {"OpenStep: hexadecimal data", "<", "00", ">"},
    {"OpenStep: a file of strings", "", "#=a;", ""},
    {"OpenStep: arrays inside one another", "", "(", ""},
    {"OpenStep: a comment that does not end", "/*", "/* ", ""},
});
// NOLINTEND(modernize-use-designated-initializers)

/// Texts that begin and end alike.
PropertyListDictionary similarTexts() {
  const std::string alike(64, 'a');
  PropertyListValue::Array items;
  for (std::size_t index = 0; index < Size / 136; ++index) {
    items.emplace_back(std::string(alike).append(std::to_string(1'000'000 + index)).append(alike));
  }
  return {{"items", std::move(items)}};
}

/// Does the work in a child, prints its line, and tells whether it is within bounds. `work` tells
/// whether it succeeded.
bool show(std::string_view name, auto work) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(work() ? 0 : 1);
  }
  int status = 0;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status)) {
    std::cout << name << ": the process ended early\n";
    return false;
  }
  const double seconds =
      static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
      (static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6);
  const double megabytes = static_cast<double>(usage.ru_maxrss) / 1024;
  const bool isWithin = seconds < MaxSeconds && megabytes < MaxMegabytes;
  std::cout << std::left << std::setw(42) << name << std::right << std::fixed
            << std::setprecision(1) << std::setw(9) << seconds * 1000 << " ms" << std::setw(8)
            << megabytes << " MB" << (WEXITSTATUS(status) == 0 ? "  taken" : "  refused")
            << (isWithin ? "" : "  TOO MUCH") << '\n'
            << std::flush;
  return isWithin;
}

bool showDecoding(std::string_view name, const std::string& bytes) {
  const Data body =
      Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  return show(name, [&] { return LinuxPropertyListSerialization().decode(body).has_value(); });
}

bool showEncoding(std::string_view name, const PropertyListDictionary& message) {
  return show(name,
              [&] { return LinuxPropertyListSerialization().encodeBinary(message).has_value(); });
}

}  // namespace
}  // namespace korvan::bench

int main() {
  bool areWithin = korvan::bench::showEncoding("written: texts that begin and end alike",
                                               korvan::bench::similarTexts());
  for (const auto& shape : korvan::bench::BinaryShapes) {
    areWithin = korvan::bench::showDecoding(shape.name, shape.bytes()) && areWithin;
  }
  for (const auto& shape : korvan::bench::TextShapes) {
    areWithin = korvan::bench::showDecoding(shape.name, shape.bytes()) && areWithin;
  }
  return areWithin ? EXIT_SUCCESS : EXIT_FAILURE;
}

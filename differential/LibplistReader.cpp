// Reads property lists with libplist: a line of canonical JSON for each file named on standard
// input. Its own tool, plistutil, has a process for each file and formats that lose bits of
// numbers.

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <plist/plist.h>

#include "differential/CanonicalJson.h"
#include "differential/ReaderProgram.h"

namespace korvan {
namespace {

void write(plist_t node, CanonicalJson& json);

void writeDate(plist_t node, CanonicalJson& json) {
  constexpr double Microsecond = 1e-6;
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  json.date(seconds + (microseconds * Microsecond));
}

void writeArray(plist_t node, CanonicalJson& json) {
  json.openItems("array");
  // By an iterator, since finding the nth item goes through those before it.
  void* place = nullptr;
  plist_array_new_iter(node, &place);
  const std::unique_ptr<void, decltype(&std::free)> iterator(place, &std::free);
  plist_t item = nullptr;
  for (plist_array_next_item(node, place, &item); item != nullptr && !json.isFull();
       plist_array_next_item(node, place, &item)) {
    write(item, json);
  }
  json.closeItems();
}

void writeDictionary(plist_t node, CanonicalJson& json) {
  json.openDictionary();
  void* place = nullptr;
  plist_dict_new_iter(node, &place);
  const std::unique_ptr<void, decltype(&std::free)> iterator(place, &std::free);
  while (!json.isFull()) {
    char* name = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, place, &name, &item);
    const std::unique_ptr<char, decltype(&std::free)> key(name, &std::free);
    if (item == nullptr) {
      break;
    }
    json.key(std::string_view(name != nullptr ? name : ""));
    write(item, json);
    json.endEntry();
  }
  json.closeDictionary();
}

void writeNumber(plist_t node, CanonicalJson& json) {
  std::uint64_t integer = 0;
  double real = 0;
  std::uint8_t boolean = 0;
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
      plist_get_bool_val(node, &boolean);
      return json.boolean(boolean != 0);
    case PLIST_UINT:
      plist_get_uint_val(node, &integer);
      return json.integer(integer);
    case PLIST_REAL:
      plist_get_real_val(node, &real);
      return json.real(real);
    case PLIST_UID:
      plist_get_uid_val(node, &integer);
      return json.uid(integer);
    default:
      return json.null();
  }
}

void write(plist_t node, CanonicalJson& json) {
  std::uint64_t size = 0;
  switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
      const char* text = plist_get_string_ptr(node, &size);
      return json.text(std::string_view(text, text != nullptr ? size : 0));
    }
    case PLIST_DATA: {
      const auto* data = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &size));
      return json.data({data, data != nullptr ? size : 0});
    }
    case PLIST_DATE:
      return writeDate(node, json);
    case PLIST_ARRAY:
      return writeArray(node, json);
    case PLIST_DICT:
      return writeDictionary(node, json);
    default:
      return writeNumber(node, json);
  }
}

std::string decoded(const Data& bytes, bool isToBeWritten) {
  plist_t read = nullptr;
  plist_from_memory(reinterpret_cast<const char*>(bytes.bytes().data()),
                    static_cast<std::uint32_t>(bytes.size()), &read);
  const std::unique_ptr<void, decltype(&plist_free)> top(read, &plist_free);
  if (top == nullptr) {
    return CanonicalJson::error("refused");
  }
  CanonicalJson json;
  if (isToBeWritten) {
    write(top.get(), json);
  } else {
    json.null();
  }
  return std::move(json).finish();
}

}  // namespace
}  // namespace korvan

int main(int count, char** values) {
  try {
    return korvan::runReaderProgram({values, static_cast<std::size_t>(count)}, korvan::decoded);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}

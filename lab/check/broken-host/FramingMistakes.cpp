#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include <glib.h>
#include <sys/socket.h>
#include <unistd.h>

#include "channel/ProviderFrame.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::broken {
namespace {

constexpr std::ptrdiff_t PrefixSize = ProviderFramePrefix().size();

/// A frame with another prefix.
void setPrefix(Bytes& frame, const Bytes& prefix) {
  frame.erase(frame.begin(), frame.begin() + PrefixSize);
  frame.insert(frame.begin(), prefix.begin(), prefix.end());
}

void announce(Bytes& frame, std::size_t size) {
  const ProviderFramePrefix prefix = encodeProviderFramePrefix(size);
  setPrefix(frame, {prefix.begin(), prefix.end()});
}

void setText(Bytes& body, std::string_view text) { body.assign(text.begin(), text.end()); }

/// A binary property list with the one object.
void setObject(Bytes& body, const Bytes& object) {
  setText(body, "bplist00");
  body.insert(body.end(), object.begin(), object.end());
  const auto offsetsPlace = static_cast<std::uint8_t>(body.size());
  body.push_back(8);
  Bytes trailer(32);
  trailer[6] = trailer[7] = trailer[15] = 1;
  trailer[31] = offsetsPlace;
  body.insert(body.end(), trailer.begin(), trailer.end());
}

/// Takes a size that is right for one with which it has no use, and refuses the request.
void serveReversedSizes(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  ProviderFramePrefix prefix{};
  std::ignore = ::recv(socket, prefix.data(), prefix.size(), MSG_WAITALL);
  std::ranges::reverse(prefix);
  Bytes body;
  if (const std::uint32_t size = decodeProviderFramePrefix(prefix);
      isValidProviderMessageSize(size)) {
    body.resize(size);
    std::ignore = ::recv(socket, body.data(), body.size(), MSG_WAITALL);
  }
  sendAll(socket, answerFrame(body, mistake, surroundings));
  ::shutdown(socket, SHUT_WR);
  // So that the client does not see a reset.
  std::array<std::uint8_t, 4096> rest{};
  while (::recv(socket, rest.data(), rest.size(), 0) > 0) {
  }
}

void setDictionary(Bytes& body, const PropertyListDictionary& dictionary) {
  const auto encoded = LinuxPropertyListSerialization().encodeBinary(dictionary);
  body.assign(encoded->bytes().begin(), encoded->bytes().end());
}

std::string xmlOf(const PropertyListValue& value) {
  if (const Text* const text = value.text()) {
    return "<string>" + std::string(text->view()) + "</string>";
  }
  if (const Data* const data = value.data()) {
    gchar* const base64 = g_base64_encode(data->bytes().data(), data->size());
    std::string element = "<data>" + std::string(base64) + "</data>";
    g_free(base64);
    return element;
  }
  return value.truthValue() ? "<true/>" : "<false/>";
}

/// The same answer in XML. It holds no text that would need escaping, and no numbers.
void turnIntoXml(Bytes& body) {
  const auto answer = LinuxPropertyListSerialization().decode(Data::copyOf(body));
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
  for (const auto& [key, value] : *answer->dictionary()) {
    xml += "<key>" + std::string(key.view()) + "</key>" + xmlOf(value);
  }
  setText(body, xml + "</dict></plist>");
}

}  // namespace

std::vector<Mistake> framingMistakes() {
  return {
      {.name = "greets",
       .fails = {"frame.early"},
       .hint = "7 bytes: 68 65 6c 6c 6f 0d 0a (\"hello..\")",
       .greet = [](int socket) { sendAll(socket, {'h', 'e', 'l', 'l', 'o', '\r', '\n'}); }},
      {.name = "closes-without-an-answer",
       .fails = {"frame.answer"},
       .hint = "closed without an answer",
       .frame = [](Bytes& frame) { frame.clear(); }},
      {.name = "never-answers",
       .fails = {"frame.answer"},
       .hint = "no answer",
       .serve = [](int /*socket*/, const auto& /*mistake*/,
                   const auto& /*surroundings*/) { ::pause(); }},
      {.name = "reads-a-byte-too-few",
       .fails = {"frame.answer"},
       .hint = "closed with bytes of the request unread",
       .serve =
           [](int socket, const Mistake& /*mistake*/, const Surroundings& /*surroundings*/) {
             std::uint8_t byte = 0;
             std::ignore = ::recv(socket, &byte, sizeof byte, 0);
           }},
      {.name = "size-is-little-endian",
       .fails = {"frame.order"},
       .hint = "with its bytes reversed",
       .frame = [](Bytes& frame) { std::reverse(frame.begin(), frame.begin() + PrefixSize); }},
      {.name = "size-counts-itself",
       .fails = {"frame.meaning"},
       .hint = "the four are not counted",
       .frame = [](Bytes& frame) { announce(frame, frame.size()); }},
      {.name = "size-has-eight-bytes",
       .fails = {"frame.meaning"},
       .hint = "an eight-byte size",
       .frame = [](Bytes& frame) { frame.insert(frame.begin(), PrefixSize, 0); }},
      {.name = "size-has-two-bytes",
       .fails = {"frame.meaning"},
       .hint = "a two-byte size",
       .frame = [](Bytes& frame) { frame.erase(frame.begin(), frame.begin() + 2); }},
      {.name = "no-size",
       .fails = {"frame.meaning"},
       .hint = "no size: the answer begins with bplist00",
       .frame = [](Bytes& frame) { setPrefix(frame, {}); }},
      {.name = "half-the-body",
       .fails = {"frame.meaning"},
       .hint = "announced 42, sent 21",
       .body = [](Bytes& body) { setObject(body, {0x09}); },
       .frame = [](Bytes& frame) { frame.resize(PrefixSize + ((frame.size() - PrefixSize) / 2)); }},
      {.name = "size-is-zero",
       .fails = {"frame.bounds"},
       .hint = "announced 0",
       .frame = [](Bytes& frame) { frame.assign(PrefixSize, 0); }},
      {.name = "size-is-over-the-limit",
       .fails = {"frame.bounds"},
       .hint = "announced 4194305",
       .frame = [](Bytes& frame) { announce(frame, MaxProviderMessageSize + 1); }},
      {.name = "newline-after-the-body",
       .fails = {"frame.rest"},
       .hint = "1 byte after the body, an end of a line",
       .frame = [](Bytes& frame) { frame.push_back('\n'); }},
      {.name = "size-is-one-short",
       .fails = {"frame.rest"},
       .hint = "announced 49 for a body of 50: the size is 1 too small",
       .frame =
           [](Bytes& frame) {
             const ProviderFramePrefix prefix =
                 encodeProviderFramePrefix(frame.size() - ProviderFramePrefix().size() - 1);
             std::ranges::copy(prefix, frame.begin());
           }},
      {.name = "answers-twice",
       .fails = {"frame.rest"},
       .hint = "bytes after the body, another frame",
       .frame =
           [](Bytes& frame) {
             const Bytes copy = frame;
             frame.insert(frame.end(), copy.begin(), copy.end());
           }},
      {.name = "pads-the-answer",
       .fails = {"frame.rest"},
       .hint = "3 bytes after the body, zeros",
       .frame = [](Bytes& frame) { frame.insert(frame.end(), 3, 0); }},
      {.name = "leaves-the-connection-open",
       .fails = {"frame.close"},
       .hint = "still open: close it",
       // A copy keeps it open.
       .afterAnswer = [](int socket) { std::ignore = ::dup(socket); }},
      {.name = "answers-in-xml",
       .fails = {"body.binary"},
       .hint = "an XML property list",
       .body = turnIntoXml},
      {.name = "answers-in-json",
       .fails = {"body.binary"},
       .hint = "JSON",
       .body = [](Bytes& body) { setText(body, R"({"ok":true})"); }},
      {.name = "answers-with-a-keyed-archive",
       .fails = {"body.binary"},
       .hint = "a keyed archive",
       .body =
           [](Bytes& body) {
             setDictionary(body, {{"$archiver", "NSKeyedArchiver"},
                                  {"$objects", PropertyListValue::Array{"$null"}},
                                  {"$top", PropertyListDictionary{}},
                                  {"$version", 100000}});
           }},
      {.name = "answers-with-a-damaged-body",
       .fails = {"body.binary"},
       .hint = "a damaged one: ",
       .body = [](Bytes& body) { body.back() = 0xff; }},
      {.name = "ends-the-body-with-a-zero",
       .fails = {"body.binary"},
       .hint = "the list ends before the body does: 1 byte: 00",
       .body = [](Bytes& body) { body.push_back(0); }},
      {.name = "answers-with-text",
       .fails = {"body.binary"},
       .hint = "not a property list",
       .body = [](Bytes& body) { setText(body, "\x01\x02"); }},
      {.name = "answers-with-a-boolean",
       .fails = {"body.dictionary"},
       .hint = "the body is a boolean",
       .body = [](Bytes& body) { setObject(body, {0x09}); }},
      {.name = "ok-is-an-integer",
       .fails = {"answer.ok"},
       .hint = "the integer 1",
       .answer = [](const auto& /*request*/,
                    auto& answer) { answer["ok"] = std::int64_t{answer.at("ok").truthValue()}; }},
      {.name = "ok-is-a-text",
       .fails = {"answer.ok"},
       .hint = "the text YES",
       .answer = [](const auto& /*request*/,
                    auto& answer) { answer["ok"] = answer.at("ok").truthValue() ? "YES" : "NO"; }},
      {.name = "ok-is-missing",
       .fails = {"answer.ok"},
       .hint = "ok is missing",
       .answer = [](const auto& /*request*/, auto& answer) { answer.erase("ok"); }},
      {.name = "reads-sizes-reversed",
       .fails = {"answer.ok"},
       .hint = "synchronize is refused as failed: does the host read the size big-endian",
       .serve = serveReversedSizes},
      {.name = "locks-its-vault-for-ever",
       .fails = {"answer.ok"},
       .hint = "synchronize is refused as vaultLocked, though the user may be asked",
       .answer = [](const auto& /*request*/, auto& answer) { answer = refusal("vaultLocked"); }},
      // Not a mistake.
      {.name = "is-locked-while-nobody-is-there",
       .fails = {},
       .hint = "",
       .options = {"--unattended", "--only", "frame.*", "--only", "answer.ok"},
       .answer = [](const auto& /*request*/, auto& answer) { answer = refusal("vaultLocked"); }},
  };
}

}  // namespace korvan::lab::broken

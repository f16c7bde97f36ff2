#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "channel/ProviderFrame.h"
#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Judgment.h"
#include "lab/check/Requests.h"

namespace korvan::lab::check {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t PrefixSize = ProviderFramePrefix().size();

// All but the last check judge one recorded answer.

const std::vector<std::uint8_t>& answerOf(CheckContext& context) {
  return context.synchronizeRecord().answer;
}

Result framingFailure(CheckContext& context, std::string got, std::string wanted,
                      std::string hint) {
  return failed({.sent = context.described(synchronizeRequest(context.settings().attended)),
                 .got = std::move(got),
                 .wanted = std::move(wanted),
                 .hint = std::move(hint)});
}

std::uint64_t bigEndian(Bytes bytes) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes) {
    number = (number << 8U) | byte;
  }
  return number;
}

std::uint64_t littleEndian(Bytes bytes) {
  const std::vector<std::uint8_t> reversed(bytes.rbegin(), bytes.rend());
  return bigEndian(reversed);
}

std::string hexadecimal(Bytes bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += (text.empty() ? "" : " ") + std::string(digits.data());
  }
  return text;
}

bool startsWith(Bytes bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::equal(text.begin(), text.end(), bytes.begin());
}

/// The size in the answer's first four bytes, and that of what follows.
struct Sizes {
  std::uint64_t announced;
  std::uint64_t sent;
};

Sizes sizesOf(const std::vector<std::uint8_t>& answer) {
  const Bytes bytes = answer;
  return {.announced = bigEndian(bytes.first(std::min(PrefixSize, bytes.size()))),
          .sent = bytes.size() - std::min(PrefixSize, bytes.size())};
}

Result frameEarly(CheckContext& context) {
  const auto& early = context.synchronizeRecord().early;
  return early.empty() ? passed()
                       : framingFailure(context, described(early), "nothing before the request",
                                        "sent before the request: " + described(early));
}

Result frameAnswer(CheckContext& context) {
  const SynchronizeRecord& record = context.synchronizeRecord();
  if (!record.answer.empty()) {
    return passed();
  }
  switch (record.ending) {
    case Ending::timedOut:
      return framingFailure(
          context, "nothing within the timeout", "an answer",
          "no answer: does the host wait for the end of the stream, or for more bytes than the "
          "size announces, or does it read the size with its bytes reversed?");
    case Ending::reset:
      return framingFailure(context, "a reset connection", "an answer",
                            "closed with bytes of the request unread");
    default:
      return framingFailure(context, "a connection that was closed without a byte", "an answer",
                            "closed without an answer: did the host fail?");
  }
}

Result frameOrder(CheckContext& context) {
  const auto& answer = answerOf(context);
  const auto [announced, sent] = sizesOf(answer);
  const Bytes prefix = Bytes(answer).first(std::min(PrefixSize, answer.size()));
  if (announced == sent || littleEndian(prefix) != sent || sent == 0) {
    return passed();
  }
  const std::string number = std::to_string(sent);
  return framingFailure(context, hexadecimal(prefix), "the size " + number + ", big-endian",
                        hexadecimal(prefix) + " is " + number + " with its bytes reversed");
}

/// The other meanings that people give to the size.
std::string hintOnMeaning(Bytes answer, const Sizes& sizes) {
  constexpr std::size_t TwoBytes = 2;
  constexpr std::size_t EightBytes = 8;
  for (const std::string_view start : {"bplist00", "<?xml", "<plist", "<!DOCTYPE", "{", "["}) {
    if (startsWith(answer, start)) {
      return "no size: the answer begins with " + std::string(start);
    }
  }
  if (answer.size() > EightBytes &&
      (bigEndian(answer.first(EightBytes)) == answer.size() - EightBytes ||
       littleEndian(answer.first(EightBytes)) == answer.size() - EightBytes)) {
    return "an eight-byte size; it has four";
  }
  if (answer.size() > TwoBytes &&
      (bigEndian(answer.first(TwoBytes)) == answer.size() - TwoBytes ||
       littleEndian(answer.first(TwoBytes)) == answer.size() - TwoBytes)) {
    return "a two-byte size; it has four";
  }
  const std::string numbers =
      "announced " + std::to_string(sizes.announced) + ", sent " + std::to_string(sizes.sent);
  return sizes.announced == sizes.sent + PrefixSize ? numbers + ": the four are not counted"
                                                    : numbers;
}

Result frameMeaning(CheckContext& context) {
  const auto& answer = answerOf(context);
  const Sizes sizes = sizesOf(answer);
  const std::string hint = hintOnMeaning(answer, sizes);
  const bool announcesTooMuch =
      sizes.announced > sizes.sent && isValidProviderMessageSize(sizes.announced);
  if (hint.starts_with("announced") && !announcesTooMuch) {
    // Exactly the body's; or frame.bounds and frame.rest say what it is.
    return passed();
  }
  return framingFailure(context, described(answer),
                        "the size of the body in four bytes, and the body", hint);
}

Result frameBounds(CheckContext& context) {
  const std::uint64_t announced = sizesOf(answerOf(context)).announced;
  const std::string number = std::to_string(announced);
  return isValidProviderMessageSize(announced)
             ? passed()
             : framingFailure(context, "the size " + number, "1 to 4194304",
                              "announced " + number + ": the extension takes 1 to 4194304");
}

/// What follows the frame.
Bytes restOf(const std::vector<std::uint8_t>& answer) {
  const Sizes sizes = sizesOf(answer);
  return sizes.sent > sizes.announced ? Bytes(answer).subspan(PrefixSize + sizes.announced)
                                      : Bytes();
}

/// What the bytes after a body are, where that shows.
std::string lookOf(Bytes rest) {
  const auto consistsOf = [rest](std::string_view bytes) {
    return std::ranges::all_of(rest, [bytes](std::uint8_t each) {
      return bytes.find(static_cast<char>(each)) != std::string_view::npos;
    });
  };
  if (consistsOf("\r\n")) {
    return ", an end of a line";
  }
  if (consistsOf(std::string_view("\0", 1))) {
    return ", zeros";
  }
  return rest.size() > PrefixSize && bigEndian(rest.first(PrefixSize)) == rest.size() - PrefixSize
             ? ", another frame"
             : "";
}

bool isPropertyList(const CheckContext& context, Bytes bytes) {
  return context.propertyLists().decode(Data::copyOf(bytes)).has_value();
}

/// Whether what follows the announced bytes belongs to the property list.
bool isSizeTooSmall(CheckContext& context) {
  const Bytes sent = Bytes(answerOf(context)).subspan(PrefixSize);
  return isPropertyList(context, sent) &&
         !isPropertyList(context, sent.first(sizesOf(answerOf(context)).announced));
}

Result frameRest(CheckContext& context) {
  const Bytes rest = restOf(answerOf(context));
  if (rest.empty()) {
    return passed();
  }
  const std::string count = std::to_string(rest.size());
  if (const Sizes sizes = sizesOf(answerOf(context)); isSizeTooSmall(context)) {
    return framingFailure(context, described(answerOf(context)), "the size of the whole body",
                          "announced " + std::to_string(sizes.announced) + " for a body of " +
                              std::to_string(sizes.sent) + ": the size is " + count + " too small");
  }
  return framingFailure(
      context, described(rest) + " after the body", "nothing after the body",
      count + (rest.size() == 1 ? " byte" : " bytes") + " after the body" + lookOf(rest));
}

Result frameClose(CheckContext& context) {
  switch (context.synchronizeRecord().ending) {
    case Ending::timedOut:
      return framingFailure(context, "a connection that is still open a second after the answer",
                            "a closed connection",
                            "still open: close it (does a child or a copy hold it?)");
    case Ending::reset:
      return framingFailure(context, "a reset connection", "a closed connection",
                            "closed with bytes of the request unread");
    default:
      return passed();
  }
}

Data bodyOf(CheckContext& context) {
  const auto& answer = answerOf(context);
  const Bytes body = Bytes(answer).subspan(PrefixSize);
  return Data::copyOf(body.first(body.size() - restOf(answer).size()));
}

bool isKeyedArchive(const PropertyListValue& value) {
  return value.dictionary() != nullptr && valueForKey(*value.dictionary(), "$archiver") != nullptr;
}

/// What is wrong with a binary property list that cannot be read for the reason.
std::string hintOnDamage(const CheckContext& context, Bytes body, const std::string& reason) {
  constexpr std::size_t MostExtra = 16;
  for (std::size_t extra = 1; extra <= std::min(MostExtra, body.size()); ++extra) {
    if (isPropertyList(context, body.first(body.size() - extra))) {
      return "the list ends before the body does: " + described(body.last(extra)) + " too many";
    }
  }
  return "a damaged one: " + reason;
}

Result bodyBinary(CheckContext& context) {
  const Data body = bodyOf(context);
  if (!restOf(answerOf(context)).empty() && isSizeTooSmall(context)) {
    return blockedBy("frame.rest");
  }
  const auto decoded = context.propertyLists().decode(body);
  std::string hint;
  if (startsWith(body.bytes(), "bplist")) {
    if (!decoded) {
      hint = hintOnDamage(context, body.bytes(),
                          decoded.error().localizedDescription.value_or("no reason is known"));
    } else if (isKeyedArchive(*decoded)) {
      hint = "a keyed archive; write the plain dictionary instead";
    } else {
      return passed();
    }
  } else if (decoded && startsWith(body.bytes(), "<")) {
    hint = "an XML property list; write the binary format";
  } else if (startsWith(body.bytes(), "{\"") || startsWith(body.bytes(), "[")) {
    hint = "JSON; write a binary property list";
  } else {
    hint =
        decoded ? "a property list in another format; write the binary one" : "not a property list";
  }
  return framingFailure(context, described(body.bytes()), "a binary property list", hint);
}

std::string_view kindOf(const PropertyListValue& value) {
  if (value.array() != nullptr) {
    return "an array";
  }
  if (value.text() != nullptr) {
    return "a text";
  }
  if (value.data() != nullptr) {
    return "data";
  }
  if (value.boolean()) {
    return "a boolean";
  }
  return value.integer() || value.real() ? "a number" : "something else";
}

Result bodyDictionary(CheckContext& context) {
  const Data body = bodyOf(context);
  const auto decoded = context.propertyLists().decode(body);
  if (!decoded || isKeyedArchive(*decoded)) {
    return blockedBy("body.binary");
  }
  const std::string kind(kindOf(*decoded));
  return decoded->dictionary() != nullptr
             ? passed()
             : framingFailure(context, kind + ": " + described(body.bytes()), "a dictionary",
                              "the body is " + kind + "; wrap the answer in a dictionary");
}

/// What is to be said of a refused `synchronize`. With nobody there a host may refuse it.
Result refusedSynchronize(CheckContext& context, const ProviderMessage& answer) {
  const bool attended = context.settings().attended;
  if (!attended && needsUser(answer)) {
    return passed();
  }
  const std::string code =
      stringForKey(answer, provider_message_key::errorCode).value_or("no errorCode");
  const std::string refused = "synchronize is refused as " + code;
  return framingFailure(context, context.described(answer), "ok, true",
                        !needsUser(answer) ? refused +
                                                 ": does the host read the size big-endian, "
                                                 "the body as a binary property list, and know "
                                                 "the type synchronize?"
                                           : refused + ", though the user may be asked");
}

Result answerOk(CheckContext& context) {
  const ProviderMessage answer = context.exchange(synchronizeRequest(context.settings().attended));
  const PropertyListValue* const ok = valueForKey(answer, provider_message_key::ok);
  std::string kind = "missing";
  if (ok != nullptr) {
    if (const auto value = ok->boolean()) {
      return *value ? passed() : refusedSynchronize(context, answer);
    }
    const Text* const text = ok->text();
    const auto integer = ok->integer();
    kind = integer           ? "the integer " + std::to_string(*integer)
           : text != nullptr ? "the text " + std::string(text->view())
                             : std::string(kindOf(*ok));
  }
  return framingFailure(context, context.described(answer), "ok, true",
                        "ok is " + kind + "; it must be a boolean");
}

}  // namespace

std::vector<Check> framingChecks() {
  return {
      hostCheck("frame.early", "the host says nothing before the request", {"socket.accepts"},
                "the-socket", frameEarly),
      hostCheck("frame.answer", "a request is answered", {"socket.accepts"}, "frames", frameAnswer),
      hostCheck("frame.order", "the size is big-endian", {"frame.answer"}, "frames", frameOrder),
      hostCheck("frame.meaning", "the size is the body's, in four bytes", {"frame.order"}, "frames",
                frameMeaning),
      hostCheck("frame.bounds", "the size is 1 to 4194304", {"frame.meaning"}, "frames",
                frameBounds),
      hostCheck("frame.rest", "nothing follows the body", {"frame.bounds"}, "frames", frameRest),
      hostCheck("frame.close", "the host closes within a second of the answer", {"frame.answer"},
                "the-socket", frameClose),
      hostCheck("body.binary", "the body is a binary property list", {"frame.bounds"}, "bodies",
                bodyBinary),
      hostCheck("body.dictionary", "it is a dictionary", {"frame.bounds"}, "bodies",
                bodyDictionary),
      hostCheck("answer.ok", "its ok is the boolean true", {"frame.early", "body.dictionary"},
                "answers", answerOk),
  };
}

}  // namespace korvan::lab::check

#include "lab/commands/Narrator.h"

#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

#include "channel/ProviderMessage.h"
#include "lab/json/MessageJson.h"
#include "lab/site/FrameWords.h"
#include "lab/support/Base64Url.h"
#include "lab/support/EscapeSequences.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

constexpr std::string_view Bold = "\x1b[1m";
constexpr std::string_view Green = "\x1b[32m";
constexpr std::string_view Red = "\x1b[31m";
constexpr std::string_view Plain = "\x1b[0m";

std::string passkeyNamed(const std::optional<Data>& credentialID) {
  return credentialID ? "the passkey " + base64Url(credentialID->bytes())
                      : "a passkey without an ID";
}

std::string shown(const PropertyListSerialization& propertyLists, const Data& body) {
  if (!decodeProviderMessage(propertyLists, body).message) {
    return wordsForStrangeBody(propertyLists, body);
  }
  // A host may send what is not UTF-8.
  return visibleText(messageJson(propertyLists, body)
                         .dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

std::string sentence(const Canceled& canceled) {
  const Error& error = canceled.error;
  const auto description = error.localizedDescription();
  return std::string(canceled.noticeShown ? "The notice was shown and OK pressed. The request "
                                          : "The request ")
      .append("was canceled: ")
      .append(nameOfErrorDomain(error.domain))
      .append(" code ")
      .append(std::to_string(error.code))
      .append(description ? ", \"" + visibleText(*description) + "\"" : ".");
}

/// One function per outcome.
struct OutcomeSentence {
  std::string operator()(const CompletedAssertion& completed) const {
    return "The extension completed the sign-in with " +
           passkeyNamed(completed.credential.credentialID) + ".";
  }
  std::string operator()(const CompletedRegistration& completed) const {
    return "The extension completed the registration of " +
           passkeyNamed(completed.credential.credentialID) + ".";
  }
  std::string operator()(const CompletedConfiguration& /*completed*/) const {
    return "The extension completed the configuration.";
  }
  std::string operator()(const Canceled& canceled) const { return sentence(canceled); }
  std::string operator()(const NoticePending& /*pending*/) const { return "The notice is up."; }
  std::string operator()(const Returned& /*returned*/) const {
    return "The report returned; reports have no outcome.";
  }
  std::string operator()(const Refused& refused) const {
    return "The entry point refused its arguments: " + refused.reason;
  }
  std::string operator()(const TimedOut& timedOut) const {
    return "Timed out: the host did not " + timedOut.waitedFor + " in time.";
  }
};

}  // namespace

std::string durationText(double milliseconds) {
  constexpr double MillisecondsPerSecond = 1000;
  std::ostringstream text;
  text << std::setprecision(3);
  if (milliseconds < MillisecondsPerSecond) {
    text << milliseconds << " ms";
  } else {
    text << milliseconds / MillisecondsPerSecond << " s";
  }
  return text.str();
}

Narrator Narrator::toStandardOutput() { return {std::cout, outputTakesEscapeSequences()}; }

void Narrator::line(std::string_view color, std::string_view mark, std::string_view words) {
  output_ << (colors_ ? color : "") << mark << words << (colors_ ? Plain : "") << '\n'
          << std::flush;
}

void Narrator::heading(std::string_view words) { line(Bold, "", words); }

void Narrator::say(std::string_view words) { output_ << "  " << words << '\n' << std::flush; }

void Narrator::finding(const Finding& finding) {
  switch (finding.verdict) {
    case Finding::Verdict::holds:
      line("", "    + ", finding.words);
      break;
    case Finding::Verdict::warns:
      line("", "    ! ", finding.words);
      break;
    case Finding::Verdict::fails:
      line(Red, "    - ", finding.words);
      break;
    case Finding::Verdict::notChecked:
      line("", "    ? ", finding.words);
      break;
  }
  detail("wanted", finding.wanted);
  detail("got", finding.got);
  detail("hint", finding.hint);
}

void Narrator::detail(std::string_view name, std::string_view words) {
  if (!words.empty()) {
    output_ << "        " << std::left << std::setw(6) << name << "  " << words << '\n'
            << std::flush;
  }
}

void Narrator::outcome(const CallResult& result) {
  say(std::visit(OutcomeSentence(), result.outcome));
}

void Narrator::result(const CallResult& result, const FindingList& findings) {
  outcome(result);
  for (const Finding& each : findings) {
    finding(each);
  }
}

void Narrator::messages(const PropertyListSerialization& propertyLists, const CallResult& result) {
  for (const RecordedFrame& frame : result.frames) {
    message(propertyLists, {.direction = frame.direction, .bytes = frame.body});
  }
  silence(result);
}

void Narrator::message(const PropertyListSerialization& propertyLists,
                       const PassingMessage& message) {
  if (message.isWhole) {
    say((message.direction == Direction::request ? "Sent: " : "Answered: ") +
        shown(propertyLists, message.bytes));
  } else {
    const std::string words = wordsForBrokenFrame(message.bytes);
    say(words.empty() ? "No answer came." : "No whole answer: " + words);
  }
}

void Narrator::silence(const CallResult& result) {
  if (result.frames.empty()) {
    say("Nothing was sent. Connections that failed: " + std::to_string(result.failedConnections) +
        ".");
  }
}

bool Narrator::verdict(bool verified, std::string_view words) {
  line(verified ? Green : Red, verified ? "  ✓ " : "  ✗ ", words);
  return verified;
}

}  // namespace korvan::lab

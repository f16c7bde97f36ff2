#include <array>
#include <chrono>
#include <cstdio>
#include <string>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"

namespace korvan::lab::check {
namespace {

std::string secondsSinceStart(CheckContext& context) {
  const std::chrono::duration<double> spent = Waits::Clock::now() - context.program().startTime();
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.2f s", spent.count());
  return text.data();
}

Result launchUrl(CheckContext& context) {
  const std::string& failure = context.launchRecord().failure;
  if (!failure.empty()) {
    return failed({.got = failure,
                   .wanted = "a program that runs",
                   .hint = "the program cannot be started: " + failure});
  }
  if (context.program().isRunning()) {
    return passed();
  }
  const std::string ending = context.program().ending() + " after " + secondsSinceStart(context);
  if (context.hostListens()) {
    return warned({.got = "a program that " + ending,
                   .wanted = "a program that runs",
                   .hint = ending + ", but a process that it left listens: check-host can neither "
                                    "stop nor kill that"});
  }
  std::string wrote = context.program().newErrors();
  wrote.erase(wrote.find_last_not_of('\n') + 1);
  const bool mayBeInBackground = ending.starts_with("ended with status 0 ");
  return failed(
      {.sent = std::string(LaunchUrl),
       .got = "a program that " + ending,
       .wanted = "a program that runs",
       .hint = (mayBeInBackground ? ending + "; a host stays in the foreground" : ending) +
               (wrote.empty() ? "; it wrote nothing to standard error" : "; it wrote: " + wrote)});
}

Result launchTime(CheckContext& context) {
  constexpr auto Long = std::chrono::milliseconds(2500);
  const auto spent = context.launchRecord().listenedAfter;
  if (!spent) {
    return failed({.got = "nobody listens " + secondsSinceStart(context) + " after the start",
                   .wanted = "a host that listens within 5 seconds",
                   .hint = "nobody listens " + secondsSinceStart(context) +
                           " after the start; the next checks say what there is instead"});
  }
  if (*spent <= Long) {
    return passed();
  }
  const Findings findings = {
      .got = "it listened " + std::to_string(spent->count()) + " ms after the start",
      .wanted = "at most 5000 ms",
      .hint = "listened after " + std::to_string(spent->count()) +
              " ms; the extension gives up after 5000: listen before anything that takes time"};
  return *spent > LaunchTime ? failed(findings) : warned(findings);
}

}  // namespace

std::vector<Check> launchChecks() {
  return {
      {.name = "launch.url",
       .passes = "the program is started with the URL, and keeps running",
       .needs = {Need::program},
       .see = "being-started",
       .run = launchUrl},
      {.name = "launch.time",
       .passes = "it listens within 5 seconds",
       .needs = {Need::program},
       .after = {"launch.url"},
       .see = "timing",
       .run = launchTime},
  };
}

}  // namespace korvan::lab::check

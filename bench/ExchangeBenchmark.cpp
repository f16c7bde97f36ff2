// One exchange, and one whole silent sign-in, against the same system calls with nothing else; and
// the sign-in against what people wait for without noticing: korvan-bench-exchange
// [SSH_AGENT_SOCKET]
//
// Both ends run on one processor: what is compared is work, not how two processors happen to meet.
// The agent has to be on it too, so start both as tools/bench does.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bench/BareExchange.h"
#include "bench/BareHandOver.h"
#include "bench/BenchHost.h"
#include "bench/PairedRounds.h"
#include "bench/SignInBench.h"
#include "channel/ExchangeProviderMessage.h"

namespace korvan::bench {
namespace {

void exchangeOnce(const std::string& socketPath, const Data& request) {
  const ProviderExchange result =
      exchangeProviderMessage(LinuxLocalSockets(), FakeCodeSigning(), socketPath, request.bytes());
  if (!result.response) {
    std::abort();
  }
}

Data bodyOf(std::size_t size) { return std::vector<std::uint8_t>(size); }

void compareExchanges(std::size_t size, std::size_t callsPerRound) {
  const Data body = bodyOf(size);
  const BenchHost host(body);
  runPairedRounds(
      "exchange of " + std::to_string(size) + " bytes each way",
      {.rounds = 31, .callsPerRound = callsPerRound},
      [&] { exchangeOnce(host.socketPath(), body); },
      [&] { static_cast<void>(bareExchange(host.socketPath(), body.bytes())); });
}

void compareSignIns(const char* agentSocketPath) {
  constexpr PairedRoundsSize Size{.rounds = 31, .callsPerRound = 1'000};
  const BenchHost host(SignInBench::encodedAnswer());
  SignInBench bench(host.directory());
  const Data request = bench.encodedRequest();
  BareHandOver handOver;
  runPairedRounds(
      "silent sign-in", Size, [&] { bench.signIn(); },
      [&] {
        // Of the container's check.
        struct stat status{};
        static_cast<void>(::lstat(host.directory().c_str(), &status));
        static_cast<void>(::geteuid());
        handOver.thereAndBack(
            [&] { static_cast<void>(bareExchange(host.socketPath(), request.bytes())); });
      });
  if (agentSocketPath != nullptr) {
    runPairedRounds(
        "silent sign-in, against listing a key", Size, [&] { bench.signIn(); },
        [&] { listOneKey(agentSocketPath); });
  } else {
    std::puts("silent sign-in, against listing a key: skipped, since no ssh-agent is given");
  }
}

/// Keeps this process, with all threads to come, on the processor that it runs on.
void stayOnOneProcessor() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  CPU_SET(static_cast<std::size_t>(sched_getcpu()), &processors);
  if (sched_setaffinity(0, sizeof(processors), &processors) != 0) {
    static_cast<void>(std::fputs("Cannot stay on one processor; ratios will be noisy.\n", stderr));
  }
}

}  // namespace
}  // namespace korvan::bench

int main(int argc, char** argv) try {
  korvan::bench::stayOnOneProcessor();
  std::printf("%-44s %17s %17s\n", "", "product", "floor");
  korvan::bench::compareExchanges(450, 2'000);
  korvan::bench::compareExchanges(4'194'304, 10);
  korvan::bench::compareSignIns(argc > 1 ? argv[1] : nullptr);
} catch (const std::exception& error) {
  static_cast<void>(std::fprintf(stderr, "korvan-bench-exchange: %s\n", error.what()));
  return 1;
}

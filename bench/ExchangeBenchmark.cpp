// One exchange against the same system calls with nothing else, and one whole silent sign-in
// against what people wait for without noticing: korvan-bench-exchange [SSH_AGENT_SOCKET]
//
// Both ends run on one processor: what is compared is work, not how two processors happen to meet.
// The agent has to be on it too, so start both as tools/bench does.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <sched.h>

#include "bench/BareExchange.h"
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

void compareSignIn(const char* agentSocketPath) {
  const BenchHost host(SignInBench::encodedAnswer());
  SignInBench bench(host.directory());
  runPairedRounds(
      "silent sign-in, against listing a key", {.rounds = 31, .callsPerRound = 1'000},
      [&] { bench.signIn(); }, [&] { listOneKey(agentSocketPath); });
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

int main(int argc, char** argv) {
  korvan::bench::stayOnOneProcessor();
  std::printf("%-44s %17s %17s\n", "", "product", "floor");
  korvan::bench::compareExchanges(450, 2'000);
  korvan::bench::compareExchanges(4'194'304, 10);
  if (argc > 1) {
    korvan::bench::compareSignIn(argv[1]);
  }
}

// One exchange, and one whole silent sign-in, against the same system calls with nothing else.
//
// Both ends run on one processor: what is compared is work, not how two processors happen to meet.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
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
  const ProviderExchange result = exchangeProviderMessage(
      LinuxLocalSockets(), TrustingCodeSigning(), socketPath, request.bytes());
  if (!result.response) {
    std::abort();
  }
  benchmark::DoNotOptimize(result.response->bytes().data());
}

void bareExchangeOnce(const std::string& socketPath, const Data& request) {
  const Data response = bareExchange(socketPath, request.bytes());
  benchmark::DoNotOptimize(response.bytes().data());
}

Data bodyOf(std::size_t size) { return Data(std::vector<std::uint8_t>(size)); }

void compareExchanges(std::size_t size, std::size_t callsPerRound) {
  const Data body = bodyOf(size);
  const BenchHost host(body);
  runPairedRounds(
      "exchange of " + std::to_string(size) + " bytes each way",
      {.rounds = 31, .callsPerRound = callsPerRound},
      [&] { exchangeOnce(host.socketPath(), body); },
      [&] { bareExchangeOnce(host.socketPath(), body); });
}

void compareSignIns(std::string_view name, BareHandOver::WayBack wayBack) {
  const BenchHost host(SignInBench::encodedAnswer());
  SignInBench bench(host.directory());
  const Data request = bench.encodedRequest();
  BareHandOver handOver(wayBack);
  // As in the product, the request's buffer is the caller's, and the answer's is made on the other
  // thread and released on the caller's.
  Data sent;
  Data received;
  const std::function<void()> exchange = [&] {
    received = bareExchange(host.socketPath(), sent.bytes());
  };
  runPairedRounds(
      name, {.rounds = 31, .callsPerRound = 2'000}, [&] { bench.signIn(); },
      [&] {
        // Of the container's check.
        struct stat status{};
        benchmark::DoNotOptimize(::lstat(host.directory().c_str(), &status));
        benchmark::DoNotOptimize(::geteuid());
        sent = Data::copyOf(request.bytes());
        handOver.thereAndBack(exchange);
        benchmark::DoNotOptimize(received.bytes().data());
        received = {};
      });
}

void Exchange(benchmark::State& state) {
  const Data body = bodyOf(static_cast<std::size_t>(state.range(0)));
  const BenchHost host(body);
  for ([[maybe_unused]] const auto _ : state) {
    exchangeOnce(host.socketPath(), body);
  }
}

void BareExchange(benchmark::State& state) {
  const Data body = bodyOf(static_cast<std::size_t>(state.range(0)));
  const BenchHost host(body);
  for ([[maybe_unused]] const auto _ : state) {
    bareExchangeOnce(host.socketPath(), body);
  }
}

void SilentSignIn(benchmark::State& state) {
  const BenchHost host(SignInBench::encodedAnswer());
  SignInBench bench(host.directory());
  for ([[maybe_unused]] const auto _ : state) {
    bench.signIn();
  }
}

BENCHMARK(Exchange)->Arg(450)->Arg(4'194'304)->UseRealTime();
BENCHMARK(BareExchange)->Arg(450)->Arg(4'194'304)->UseRealTime();
BENCHMARK(SilentSignIn)->UseRealTime();

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
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return EXIT_FAILURE;
  }
  korvan::bench::stayOnOneProcessor();
  std::printf("%-44s %17s %17s\n", "", "product", "floor");
  korvan::bench::compareExchanges(450, 2'000);
  korvan::bench::compareExchanges(4'194'304, 10);
  korvan::bench::compareSignIns("silent sign-in, over condition variables",
                                korvan::bench::BareHandOver::WayBack::condition);
  korvan::bench::compareSignIns("silent sign-in, back over a polled descriptor",
                                korvan::bench::BareHandOver::WayBack::polledDescriptor);
  std::puts("");
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return EXIT_SUCCESS;
}

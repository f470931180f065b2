// What a request costs from the ACL feature's configuration to its status, the chip answering at
// once: time and heap, on three roads (to the ISEM, to the in-LIFs of sub-interfaces and to those
// of tunnels), each beside two floors that do the same table operations and nothing else.
#include "bench/support/Alone.h"
#include "bench/support/InLifFloor.h"
#include "bench/support/InLifPipeline.h"
#include "bench/support/IsemFloor.h"
#include "bench/support/IsemPipeline.h"
#include "bench/support/Memory.h"
#include "bench/support/ProcessorTime.h"
#include "bench/support/Report.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <filesystem>

namespace Bench {
namespace {

Report report;
bool anyWrong = false;
unsigned runs = 0;

std::size_t limit() {
   char const* most = std::getenv("SHOAL_BENCH_MAX");
   return most == nullptr ? 1000000 : std::strtoull(most, nullptr, 10);
}

struct Outcome {
   Figures figures;
   double seconds = 0;
   char const* wrong = nullptr; // at the end of a phase
};

template<class Way>
char const* checked(Way const& way, std::size_t count, uint64_t policy) {
   for (std::size_t i = 0; i < count; ++i) {
      if (way.programmed(i) != policy) {
         return "not every request has its entry";
      }
      if (!way.isAnswered(i, policy)) {
         return "not every request is answered with its policy";
      }
   }
   if (policy == 0 && way.leftOver() != 0) {
      return "something is left behind the withdrawal";
   }
   return nullptr;
}

template<class Way>
Outcome run(Asking asking, std::size_t count, unsigned number) {
   World world(asking, count, number);
   auto inOrder = world.shuffled(1);
   auto other = world.shuffled(2);
   Way way(world);
   Outcome outcome;
   auto phase = [&](std::vector<std::size_t> const& order, uint64_t policy) {
      double start = processorTime();
      for (std::size_t which : order) {
         way.ask(which, policy);
      }
      way.drain();
      double seconds = processorTime() - start;
      outcome.seconds += seconds;
      if (char const* wrong = checked(way, count, policy)) {
         outcome.wrong = wrong;
      }
      return seconds * 1e9 / static_cast<double>(count);
   };
   std::size_t before = heapInUse;
   outcome.figures.fill = phase(inOrder, 5);
   outcome.figures.bytes = static_cast<double>(heapInUse - before) / static_cast<double>(count);
   outcome.figures.change = phase(other, 6);
   outcome.figures.withdraw = phase(inOrder, 0);
   return outcome;
}

template<class Way>
void measure(benchmark::State& state, Road road, Variant variant) {
   auto count = static_cast<std::size_t>(state.range(0));
   auto asking = road == Road::tunnel ? Asking::tunnels : Asking::subInterfaces;
   Figures last;
   for ([[maybe_unused]] auto _ : state) {
      ++runs;
      auto outcome = alone([&] { return run<Way>(asking, count, runs); });
      if (!outcome || outcome->wrong != nullptr) {
         anyWrong = true;
         state.SkipWithError(outcome ? outcome->wrong : "the run ended early");
         return;
      }
      state.SetIterationTime(outcome->seconds);
      last = outcome->figures;
      report.add(road, variant, count, last);
   }
   state.counters["fill_ns"] = last.fill;
   state.counters["change_ns"] = last.change;
   state.counters["withdraw_ns"] = last.withdraw;
   state.counters["bytes"] = last.bytes;
}

template<class Pipeline, template<class> class Floor>
void addRoad(Road road, std::vector<std::size_t> const& counts) {
   for (std::size_t count : counts) {
      for (Variant variant : variants) {
         // The small ones are repeated until they weigh as much as a large one. Of the slow floor a
         // single large run has to do: it is far off, and takes longer than all others together.
         std::size_t atLeast = variant == Variant::standard ? 1 : 3;
         auto repeats = static_cast<int>(std::clamp<std::size_t>(limit() / count / 2, atLeast, 20));
         std::string name = std::string(nameOf(road)) + "/" + nameOf(variant);
         auto run = [=](benchmark::State& state) {
            switch (variant) {
            case Variant::pipeline:
               return measure<Pipeline>(state, road, variant);
            case Variant::standard:
               return measure<Floor<Standard>>(state, road, variant);
            case Variant::platform:
               return measure<Floor<Platform>>(state, road, variant);
            }
         };
         benchmark::RegisterBenchmark(name.c_str(), run)
             ->Arg(static_cast<int64_t>(count))
             ->UseManualTime()
             ->Unit(benchmark::kMillisecond)
             ->Iterations(1)
             ->Repetitions(repeats)
             ->ReportAggregatesOnly();
      }
   }
}

// The slowest single request while filling, in processor time, and a slice over the whole backlog,
// in time: that is what the slice goes by. The best of three runs.
struct Stalls {
   double ask = 0;
   double work = 0;
   double slice = 0;
};

Stalls stalls(std::size_t count, unsigned number) {
   World world(Asking::subInterfaces, count, number);
   IsemPipeline road(world);
   road.codef().backlogQuantumIs(0.0); // one request to a slice
   Stalls slowest;
   for (std::size_t i = 0; i < count; ++i) {
      double start = processorTime();
      road.ask(i, 5);
      slowest.ask = std::max(slowest.ask, processorTime() - start);
      start = processorTime();
      road.slice();
      slowest.work = std::max(slowest.work, processorTime() - start);
   }
   road.codef().backlogQuantumIs(0.1);
   for (std::size_t i = 0; i < count; ++i) {
      road.ask(i, 6);
   }
   auto start = std::chrono::steady_clock::now();
   road.slice();
   slowest.slice = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
   return slowest;
}

void printStalls(std::size_t count) {
   Stalls best{1e9, 1e9, 1e9};
   for (unsigned number = 1; number <= 3; ++number) {
      if (auto one = alone([&] { return stalls(count, number); })) {
         best = {std::min(best.ask, one->ask), std::min(best.work, one->work),
                 std::min(best.slice, one->slice)};
      }
   }
   std::printf(
       "\nSlowest single request while filling to %zu (isem): noting it %.3f ms, working it "
       "%.3f ms\n",
       count, best.ask * 1e3, best.work * 1e3);
   std::printf("A slice over a backlog of %zu: %.3f ms (quantum 100 ms)\n", count,
               best.slice * 1e3);
}

// Runs the same road from a build with trace points and one without, in turn.
void printTraceCost(std::filesystem::path const& folder, std::size_t count) {
   auto time = [&](char const* program) {
      std::string command = (folder / program).string() + " " + std::to_string(count);
      double ns = 0;
      if (FILE* out = ::popen(command.c_str(), "r")) {
         if (std::fscanf(out, "%lf", &ns) != 1) {
            ns = 0;
         }
         ::pclose(out);
      }
      return ns;
   };
   std::vector<double> ratios;
   for (int pair = 0; pair < 15; ++pair) {
      bool tracedFirst = pair % 2 == 0;
      double first = time(tracedFirst ? "road_traced" : "road_untraced");
      double second = time(tracedFirst ? "road_untraced" : "road_traced");
      if (first > 0 && second > 0) {
         ratios.push_back(tracedFirst ? first / second : second / first);
      }
   }
   if (ratios.empty()) {
      std::printf("\nroad_traced and road_untraced are not built: no figure for trace points\n");
      return;
   }
   std::sort(ratios.begin(), ratios.end());
   std::printf("\nTrace points compiled in but off: x%.3f of the time without them (median of %zu "
               "pairs at %zu, "
               "%.3f to %.3f)\n",
               ratios[ratios.size() / 2], ratios.size(), count, ratios.front(), ratios.back());
}

} // namespace
} // namespace Bench

int main(int argc, char** argv) {
   using namespace Bench;
   std::vector<std::size_t> counts;
   for (std::size_t count : {10000UL, 100000UL, 1000000UL}) {
      if (count <= limit()) {
         counts.push_back(count);
      }
   }
   addRoad<IsemPipeline, IsemFloor>(Road::isem, counts);
   addRoad<InLifPipeline, InLifFloor>(Road::inLif, counts);
   addRoad<InLifPipeline, InLifFloor>(Road::tunnel, counts);
   // In random order: when the machine is busier for a while, that is not one variant's loss.
   std::string program = argv[0];
   std::string interleaved = "--benchmark_enable_random_interleaving=true";
   std::vector<char*> arguments{program.data(), interleaved.data()};
   arguments.insert(arguments.end(), argv + 1, argv + argc);
   argc = static_cast<int>(arguments.size());
   benchmark::Initialize(&argc, arguments.data());
   auto ran = benchmark::RunSpecifiedBenchmarks();
   for (Road road : roads) {
      report.print(road, counts);
   }
   if (anyWrong || ran < std::size(roads) * std::size(variants) * counts.size()) {
      return anyWrong ? 1 : 0; // a filter left some out
   }
   printStalls(counts.back());
   printTraceCost(std::filesystem::path(argv[0]).parent_path(),
                  std::min<std::size_t>(limit(), 100000));
   return 0;
}

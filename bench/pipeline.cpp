// What a request costs from the ACL feature's configuration to its status, the chip answering at
// once: time and heap, beside two floors that do the same table operations and nothing else.
#include "bench/support/Pipeline.h"
#include "bench/support/Floor.h"
#include "bench/support/Memory.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>

namespace Bench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
   return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Figures {
   double fill = 0;     // ns per request
   double change = 0;   // ns per request
   double withdraw = 0; // ns per request
   double bytes = 0;    // of heap per request, after the fill
   double mean() const { return (fill + change + withdraw) / 3; }
};

enum Variant { pipeline, standard, platform };
constexpr char const* variantNames[] = {"pipeline", "unordered_map", "collections"};
std::map<std::pair<Variant, std::size_t>, std::vector<Figures>> measured;
unsigned runs = 0;

std::size_t limit() {
   char const* most = std::getenv("SHOAL_BENCH_MAX");
   return most == nullptr ? 1000000 : std::strtoull(most, nullptr, 10);
}

// null, or what is wrong with the end of a phase.
template<class Road>
char const* checked(Road const& road, std::size_t count, uint64_t policy) {
   if (policy == 0) {
      return road.leftOver() == 0 ? nullptr : "something is left behind the withdrawal";
   }
   if (road.entries() != count) {
      return "not every request has its entry";
   }
   for (std::size_t i = 0; i < count; ++i) {
      if (!road.isAnswered(i, policy)) {
         return "not every request is answered with its policy";
      }
   }
   return nullptr;
}

template<class Road>
void measure(benchmark::State& state, Variant variant) {
   auto count = static_cast<std::size_t>(state.range(0));
   for (auto _ : state) {
      World world(count, ++runs);
      auto inOrder = world.shuffled(1);
      auto other = world.shuffled(2);
      Road road(world);
      Figures figures;
      double total = 0;
      auto phase = [&](std::vector<std::size_t> const& order, uint64_t policy) {
         auto start = Clock::now();
         for (std::size_t which : order) {
            road.ask(which, policy);
         }
         road.drain();
         double seconds = secondsSince(start);
         total += seconds;
         if (char const* wrong = checked(road, count, policy)) {
            state.SkipWithError(wrong);
         }
         return seconds * 1e9 / static_cast<double>(count);
      };
      std::size_t before = heapInUse;
      figures.fill = phase(inOrder, 5);
      figures.bytes = static_cast<double>(heapInUse - before) / static_cast<double>(count);
      figures.change = phase(other, 6);
      figures.withdraw = phase(inOrder, 0);
      state.SetIterationTime(total);
      measured[{variant, count}].push_back(figures);
   }
   auto const& last = measured[{variant, count}].back();
   state.counters["fill_ns"] = last.fill;
   state.counters["change_ns"] = last.change;
   state.counters["withdraw_ns"] = last.withdraw;
   state.counters["bytes"] = last.bytes;
}

Figures median(Variant variant, std::size_t count) {
   auto const& all = measured[{variant, count}];
   auto of = [&](double Figures::*figure) {
      std::vector<double> values;
      for (auto const& each : all) {
         values.push_back(each.*figure);
      }
      std::sort(values.begin(), values.end());
      return values[values.size() / 2];
   };
   return {of(&Figures::fill), of(&Figures::change), of(&Figures::withdraw), of(&Figures::bytes)};
}

void printRatios(std::vector<std::size_t> const& counts) {
   std::printf("\nMedians; ns and heap bytes per request\n%-14s %8s %8s %8s %9s %8s %7s\n", "", "N",
               "fill", "change", "withdraw", "mean", "bytes");
   for (std::size_t count : counts) {
      for (Variant variant : {pipeline, standard, platform}) {
         Figures figures = median(variant, count);
         std::printf("%-14s %8zu %8.0f %8.0f %9.0f %8.0f %7.0f\n", variantNames[variant], count,
                     figures.fill, figures.change, figures.withdraw, figures.mean(), figures.bytes);
      }
   }
   std::printf("\nRatio of the pipeline to each floor (below 1: faster, smaller)\n");
   for (std::size_t count : counts) {
      for (Variant floor : {standard, platform}) {
         Figures own = median(pipeline, count);
         Figures other = median(floor, count);
         std::printf(
             "  %7zu to %-14s time %.2f (fill %.2f, change %.2f, withdraw %.2f), bytes %.2f\n",
             count, variantNames[floor], own.mean() / other.mean(), own.fill / other.fill,
             own.change / other.change, own.withdraw / other.withdraw, own.bytes / other.bytes);
      }
   }
   std::printf("\nGrowth of the mean time from %zu to %zu\n", counts.front(), counts.back());
   for (Variant variant : {pipeline, standard, platform}) {
      std::printf("  %-14s %.2f\n", variantNames[variant],
                  median(variant, counts.back()).mean() / median(variant, counts.front()).mean());
   }
}

// The slowest single request while filling, and a slice over the whole backlog. The best of three
// runs, since the machine may stop a run at any time.
void printStalls(std::size_t count) {
   double slowestAsk = 1;
   double slowestWork = 1;
   double slice = 1e9;
   for (int repeat = 0; repeat < 3; ++repeat) {
      World world(count, ++runs);
      Pipeline road(world);
      road.codef().backlogQuantumIs(0.0); // one request to a slice
      double ask = 0;
      double work = 0;
      for (std::size_t i = 0; i < count; ++i) {
         auto start = Clock::now();
         road.ask(i, 5);
         ask = std::max(ask, secondsSince(start));
         start = Clock::now();
         road.slice();
         work = std::max(work, secondsSince(start));
      }
      slowestAsk = std::min(slowestAsk, ask);
      slowestWork = std::min(slowestWork, work);
      road.codef().backlogQuantumIs(0.1);
      for (std::size_t i = 0; i < count; ++i) {
         road.ask(i, 6);
      }
      auto start = Clock::now();
      road.slice();
      slice = std::min(slice, secondsSince(start));
   }
   std::printf(
       "\nSlowest single request while filling to %zu: noting it %.3f ms, working it %.3f ms\n",
       count, slowestAsk * 1e3, slowestWork * 1e3);
   std::printf("A slice over a backlog of %zu: %.3f ms (quantum 100 ms)\n", count, slice * 1e3);
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
   for (std::size_t count : counts) {
      // The small ones are repeated until they weigh as much as a large one.
      auto repeats = static_cast<int>(std::max<std::size_t>(3, limit() / count / 5));
      auto add = [&](char const* name, auto&& run) {
         benchmark::RegisterBenchmark(name, run)
             ->Arg(static_cast<int64_t>(count))
             ->UseManualTime()
             ->Unit(benchmark::kMillisecond)
             ->Iterations(std::min(repeats, 20));
      };
      add("pipeline", [](benchmark::State& state) { measure<Pipeline>(state, pipeline); });
      add("unordered_map",
          [](benchmark::State& state) { measure<Floor<Standard>>(state, standard); });
      add("collections",
          [](benchmark::State& state) { measure<Floor<Platform>>(state, platform); });
   }
   benchmark::Initialize(&argc, argv);
   benchmark::RunSpecifiedBenchmarks();
   for (std::size_t count : counts) {
      for (Variant variant : {pipeline, standard, platform}) {
         if (measured[{variant, count}].empty()) {
            return 0; // a filter left some out
         }
      }
   }
   printRatios(counts);
   printStalls(counts.back());
   printTraceCost(std::filesystem::path(argv[0]).parent_path(),
                  std::min<std::size_t>(limit(), 100000));
   return 0;
}

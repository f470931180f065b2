// Runs of roads through google-benchmark: each pipeline beside its floors, every run in a process
// of its own, through three phases: every request is made, every one changed, every one withdrawn.
//
// A road's world is made of (asking, count, number of the run). Its way - pipeline or floor - is
// made of that world and has ask(which, policy), drain(), programmed(which), isAnswered(which,
// policy) and leftOver().
#pragma once

#include "bench/support/Alone.h"
#include "bench/support/Memory.h"
#include "bench/support/ProcessorTime.h"
#include "bench/support/Report.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace Bench {

struct Standard;
struct Platform;

inline std::size_t limit() {
   char const* most = std::getenv("SHOAL_BENCH_MAX");
   return most == nullptr ? 1000000 : std::strtoull(most, nullptr, 10);
}

inline std::vector<std::size_t> countsUpTo(std::size_t most) {
   std::vector<std::size_t> counts;
   for (std::size_t count : {10000UL, 100000UL, 1000000UL}) {
      if (count <= most) {
         counts.push_back(count);
      }
   }
   return counts;
}

class RoadRuns {
 public:
   explicit RoadRuns(std::vector<std::size_t> counts) : counts_(std::move(counts)) {}

   template<class World, class Pipeline, template<class> class Floor, class Asking>
   void add(Road road, Asking asking) {
      roads_.push_back(road);
      for (std::size_t count : counts_) {
         for (Variant variant : variants) {
            auto run = [=, this](benchmark::State& state) {
               switch (variant) {
               case Variant::pipeline:
                  return measure<World, Pipeline>(state, road, variant, asking);
               case Variant::standard:
                  return measure<World, Floor<Standard>>(state, road, variant, asking);
               case Variant::platform:
                  return measure<World, Floor<Platform>>(state, road, variant, asking);
               }
            };
            registerRun(road, variant, count, run);
         }
      }
   }

   // Runs and prints. False when something went wrong or a filter left some out.
   bool run(int argc, char** argv) {
      // In random order: when the machine is busier for a while, that is not one variant's loss.
      std::string program = argv[0];
      std::string interleaved = "--benchmark_enable_random_interleaving=true";
      std::vector<char*> arguments{program.data(), interleaved.data()};
      arguments.insert(arguments.end(), argv + 1, argv + argc);
      argc = static_cast<int>(arguments.size());
      benchmark::Initialize(&argc, arguments.data());
      auto ran = benchmark::RunSpecifiedBenchmarks();
      for (Road road : roads_) {
         report_.print(road, counts_);
      }
      return !anyWrong_ && ran == roads_.size() * std::size(variants) * counts_.size();
   }
   bool anyWrong() const { return anyWrong_; }

 private:
   struct Outcome {
      Figures figures;
      double seconds = 0;
      char const* wrong = nullptr; // at the end of a phase
   };

   template<class Way>
   static char const* checked(Way const& way, std::size_t count, uint64_t policy) {
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

   template<class World, class Way, class Asking>
   static Outcome outcome(Asking asking, std::size_t count, unsigned number) {
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

   template<class World, class Way, class Asking>
   void measure(benchmark::State& state, Road road, Variant variant, Asking asking) {
      auto count = static_cast<std::size_t>(state.range(0));
      Figures last;
      for ([[maybe_unused]] auto _ : state) {
         ++runs_;
         auto ended = alone([&] { return outcome<World, Way>(asking, count, runs_); });
         if (!ended || ended->wrong != nullptr) {
            anyWrong_ = true;
            state.SkipWithError(ended ? ended->wrong : "the run ended early");
            return;
         }
         state.SetIterationTime(ended->seconds);
         last = ended->figures;
         report_.add(road, variant, count, last);
      }
      state.counters["fill_ns"] = last.fill;
      state.counters["change_ns"] = last.change;
      state.counters["withdraw_ns"] = last.withdraw;
      state.counters["bytes"] = last.bytes;
   }

   template<class Run>
   static void registerRun(Road road, Variant variant, std::size_t count, Run const& run) {
      // The small ones are repeated until they weigh as much as a large one. Of the slow floor a
      // single large run has to do: it is far off, and takes longer than all others together.
      std::size_t atLeast = variant == Variant::standard ? 1 : 3;
      auto repeats = static_cast<int>(std::clamp<std::size_t>(limit() / count / 2, atLeast, 20));
      std::string name = std::string(nameOf(road)) + "/" + nameOf(variant);
      benchmark::RegisterBenchmark(name.c_str(), run)
          ->Arg(static_cast<int64_t>(count))
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond)
          ->Iterations(1)
          ->Repetitions(repeats)
          ->ReportAggregatesOnly();
   }

   std::vector<std::size_t> counts_;
   std::vector<Road> roads_;
   Report report_;
   bool anyWrong_ = false;
   unsigned runs_ = 0;
};

} // namespace Bench

// Runs paths through google-benchmark: each pipeline and its baselines, every run in its own
// process. A run has three phases: make every request, change every request, withdraw every
// request.
//
// The world of a path is constructed from (kind, count, number of the run). An implementation,
// which is a pipeline or a baseline, is constructed from that world and has ask(which, policy),
// drain(), programmed(which), isAnswered(which, policy) and leftOver().
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
struct Arrays;

inline std::size_t limit() {
   char const* max = std::getenv("SHOAL_BENCH_MAX");
   return max == nullptr ? 1000000 : std::strtoull(max, nullptr, 10);
}

inline std::vector<std::size_t> countsUpTo(std::size_t max) {
   std::vector<std::size_t> counts;
   for (std::size_t count : {10000UL, 100000UL, 1000000UL}) {
      if (count <= max) {
         counts.push_back(count);
      }
   }
   return counts;
}

class PathRuns {
 public:
   // `variants`: with the pipeline.
   PathRuns(std::vector<std::size_t> counts, std::vector<Variant> variants)
       : counts_(std::move(counts)), variants_(std::move(variants)) {}

   template<class World, class Pipeline, template<class> class Baseline, bool withArrays,
            class RequestKind>
   void add(Path path, RequestKind kind) {
      paths_.push_back(path);
      for (std::size_t count : counts_) {
         for (Variant variant : variants_) {
            auto run = [=, this](benchmark::State& state) {
               switch (variant) {
               case Variant::pipeline:
                  return measure<World, Pipeline>(state, path, variant, kind);
               case Variant::standard:
                  return measure<World, Baseline<Standard>>(state, path, variant, kind);
               case Variant::platform:
                  return measure<World, Baseline<Platform>>(state, path, variant, kind);
               case Variant::arrays:
                  if constexpr (withArrays) {
                     return measure<World, Baseline<Arrays>>(state, path, variant, kind);
                  }
               }
            };
            registerRun(path, variant, count, run);
         }
      }
   }

   // Runs and prints. False if a run failed or a filter excluded some.
   bool run(int argc, char** argv) {
      // In random order, so that other load on the machine does not fall on one variant.
      std::string program = argv[0];
      std::string interleaved = "--benchmark_enable_random_interleaving=true";
      std::vector<char*> arguments{program.data(), interleaved.data()};
      arguments.insert(arguments.end(), argv + 1, argv + argc);
      argc = static_cast<int>(arguments.size());
      benchmark::Initialize(&argc, arguments.data());
      auto ran = benchmark::RunSpecifiedBenchmarks();
      for (Path path : paths_) {
         report_.print(path, variants_, counts_);
      }
      return !anyWrong_ && ran == paths_.size() * variants_.size() * counts_.size();
   }
   bool anyWrong() const { return anyWrong_; }

 private:
   struct Outcome {
      Figures figures;
      double seconds = 0;
      char const* wrong = nullptr; // what a check at the end of a phase found
   };

   template<class Implementation>
   static char const* checked(Implementation const& implementation, std::size_t count,
                              uint64_t policy) {
      for (std::size_t i = 0; i < count; ++i) {
         if (implementation.programmed(i) != policy) {
            return "not every request has its entry";
         }
         if (!implementation.isAnswered(i, policy)) {
            return "not every request is answered with its policy";
         }
      }
      if (policy == 0 && implementation.leftOver() != 0) {
         return "the withdrawal left something behind";
      }
      return nullptr;
   }

   template<class World, class Implementation, class RequestKind>
   static Outcome outcome(RequestKind kind, std::size_t count, unsigned number) {
      World world(kind, count, number);
      auto inOrder = world.shuffled(1);
      auto other = world.shuffled(2);
      Implementation implementation(world);
      Outcome outcome;
      auto phase = [&](std::vector<std::size_t> const& order, uint64_t policy) {
         double start = processorTime();
         for (std::size_t which : order) {
            implementation.ask(which, policy);
         }
         implementation.drain();
         double seconds = processorTime() - start;
         outcome.seconds += seconds;
         if (char const* wrong = checked(implementation, count, policy)) {
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

   template<class World, class Implementation, class RequestKind>
   void measure(benchmark::State& state, Path path, Variant variant, RequestKind kind) {
      auto count = static_cast<std::size_t>(state.range(0));
      Figures last;
      for ([[maybe_unused]] auto _ : state) {
         ++runs_;
         auto ended = alone([&] { return outcome<World, Implementation>(kind, count, runs_); });
         if (!ended || ended->wrong != nullptr) {
            anyWrong_ = true;
            state.SkipWithError(ended ? ended->wrong : "the run ended early");
            return;
         }
         state.SetIterationTime(ended->seconds);
         last = ended->figures;
         report_.add(path, variant, count, last);
      }
      state.counters["fill_ns"] = last.fill;
      state.counters["change_ns"] = last.change;
      state.counters["withdraw_ns"] = last.withdraw;
      state.counters["bytes"] = last.bytes;
   }

   template<class Run>
   static void registerRun(Path path, Variant variant, std::size_t count, Run const& run) {
      // Small runs are repeated until they take about as long as a large one. The slow baseline
      // gets a single large run, which takes longer than all others together.
      std::size_t atLeast = variant == Variant::standard ? 1 : 3;
      auto repeats = static_cast<int>(std::clamp<std::size_t>(limit() / count / 2, atLeast, 20));
      std::string name = std::string(nameOf(path)) + "/" + nameOf(variant);
      benchmark::RegisterBenchmark(name.c_str(), run)
          ->Arg(static_cast<int64_t>(count))
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond)
          ->Iterations(1)
          ->Repetitions(repeats)
          ->ReportAggregatesOnly();
   }

   std::vector<std::size_t> counts_;
   std::vector<Variant> variants_;
   std::vector<Path> paths_;
   Report report_;
   bool anyWrong_ = false;
   unsigned runs_ = 0;
};

} // namespace Bench

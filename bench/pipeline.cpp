// The cost of a request, in time and heap, from acl's configuration to its status. The
// chip answers at once. There are three paths: to the ISEM, to the in-LIFs of sub-interfaces and to
// those of tunnels. Each is compared with three baselines that do the same table operations and
// nothing else.
#include "bench/support/ArrayTables.h"
#include "bench/support/InLifBaseline.h"
#include "bench/support/InLifPipeline.h"
#include "bench/support/IsemBaseline.h"
#include "bench/support/IsemPipeline.h"
#include "bench/support/PathRuns.h"

#include <chrono>
#include <cstdio>
#include <filesystem>

namespace Bench {
namespace {

// Seconds of processor time of the slowest single request while filling, and seconds of elapsed
// time of a slice over the whole backlog, since a slice ends by elapsed time.
struct Stalls {
   double ask = 0;
   double work = 0;
   double slice = 0;
};

Stalls stalls(std::size_t count, unsigned number) {
   World world(RequestKind::subInterfaces, count, number);
   IsemPipeline pipeline(world);
   pipeline.codef().backlogQuantumIs(0.0); // one request per slice
   Stalls slowest;
   for (std::size_t i = 0; i < count; ++i) {
      double start = processorTime();
      pipeline.ask(i, 5);
      slowest.ask = std::max(slowest.ask, processorTime() - start);
      start = processorTime();
      pipeline.slice();
      slowest.work = std::max(slowest.work, processorTime() - start);
   }
   pipeline.codef().backlogQuantumIs(0.1);
   for (std::size_t i = 0; i < count; ++i) {
      pipeline.ask(i, 6);
   }
   auto start = std::chrono::steady_clock::now();
   pipeline.slice();
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

// Runs path_traced and path_untraced alternately and compares their times.
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
      double first = time(tracedFirst ? "path_traced" : "path_untraced");
      double second = time(tracedFirst ? "path_untraced" : "path_traced");
      if (first > 0 && second > 0) {
         ratios.push_back(tracedFirst ? first / second : second / first);
      }
   }
   if (ratios.empty()) {
      std::printf("\npath_traced and path_untraced are not built: no figure for trace points\n");
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
   auto counts = countsUpTo(limit());
   PathRuns runs(counts,
                 {Variant::pipeline, Variant::standard, Variant::platform, Variant::arrays});
   runs.add<World, IsemPipeline, IsemBaseline, true>(Path::isem, RequestKind::subInterfaces);
   runs.add<World, InLifPipeline, InLifBaseline, true>(Path::mapper, RequestKind::subInterfaces);
   runs.add<World, InLifPipeline, InLifBaseline, true>(Path::tunnel, RequestKind::tunnels);
   if (!runs.run(argc, argv)) {
      return runs.anyWrong() ? 1 : 0; // a filter excluded some runs
   }
   printStalls(counts.back());
   printTraceCost(std::filesystem::path(argv[0]).parent_path(),
                  std::min<std::size_t>(limit(), 100000));
   return 0;
}

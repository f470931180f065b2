// Prints the processor time of the ISEM path in ns per request, the best of five runs. `pipeline`
// compares two builds of the library with it.
#include "bench/support/IsemPipeline.h"
#include "bench/support/ProcessorTime.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
   std::size_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 100000;
   double best = 1e18;
   for (unsigned run = 1; run <= 5; ++run) {
      Bench::World world(Bench::RequestKind::subInterfaces, count, run);
      Bench::IsemPipeline pipeline(world);
      double start = Bench::processorTime();
      for (uint64_t policy : {5, 6, 0}) {
         for (std::size_t i = 0; i < count; ++i) {
            pipeline.ask(i, policy);
         }
         pipeline.drain();
      }
      double seconds = Bench::processorTime() - start;
      best = std::min(best, seconds * 1e9 / static_cast<double>(count * 3));
   }
   std::printf("%.1f\n", best);
   return 0;
}

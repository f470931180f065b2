// The processor time of one run of the road to the ISEM, in ns per request; for comparing builds of
// the library.
#include "bench/support/IsemPipeline.h"
#include "bench/support/ProcessorTime.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
   std::size_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 100000;
   double best = 1e18;
   for (unsigned run = 1; run <= 5; ++run) {
      Bench::World world(Bench::Asking::subInterfaces, count, run);
      Bench::IsemPipeline road(world);
      double start = Bench::processorTime();
      for (uint64_t policy : {5, 6, 0}) {
         for (std::size_t i = 0; i < count; ++i) {
            road.ask(i, policy);
         }
         road.drain();
      }
      double seconds = Bench::processorTime() - start;
      best = std::min(best, seconds * 1e9 / static_cast<double>(count * 3));
   }
   std::printf("%.1f\n", best);
   return 0;
}

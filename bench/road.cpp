// The time of one run of the pipeline, in ns per request; for comparing builds of the library.
#include "bench/support/Pipeline.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
   std::size_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 100000;
   double best = 1e18;
   for (unsigned run = 1; run <= 5; ++run) {
      Bench::World world(count, run);
      Bench::Pipeline road(world);
      auto start = std::chrono::steady_clock::now();
      for (uint64_t policy : {5, 6, 0}) {
         for (std::size_t i = 0; i < count; ++i) {
            road.ask(i, policy);
         }
         road.drain();
      }
      std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
      best = std::min(best, seconds.count() * 1e9 / static_cast<double>(count * 3));
   }
   std::printf("%.1f\n", best);
   return 0;
}

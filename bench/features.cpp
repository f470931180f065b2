// What a request for an in-LIF feature costs from its request directory to the feature word and the
// response, on three roads (a request per sub-interface, a request per port, all twelve features of
// each sub-interface), each beside two floors that do the same table operations and nothing else.
// Then what changes of membership and of layout cost among many aggregates.
#include "bench/support/FeatureFloor.h"
#include "bench/support/FeaturePipeline.h"
#include "bench/support/RoadRuns.h"

#include <cstdio>

namespace Bench {
namespace {

// The middle one of several runs, each in a process of its own; negative when one failed.
template<class Work>
double medianOf(unsigned runs, Work const& work) {
   std::vector<double> all;
   for (unsigned number = 1; number <= runs; ++number) {
      all.push_back(alone([&] { return work(number); }).value_or(-1));
   }
   std::sort(all.begin(), all.end());
   return all.front() < 0 ? all.front() : all[all.size() / 2];
}

// ns per port that joins or leaves a port-channel whose features its members carry, while this many
// ports and sub-interfaces have requests of their own.
double flap(std::size_t others, unsigned number) {
   constexpr std::size_t members = 64;
   constexpr unsigned rounds = 200;
   FeatureWorld world(FeatureAsking::ports, others / 2, number);
   for (auto const& request :
        FeatureWorld(FeatureAsking::subInterfaces, others / 2, number).requests) {
      world.requests.push_back(request);
   }
   IntfId lag("Port-Channel" + std::to_string(number));
   world.requests.push_back({lag, 0, 1});
   FeaturePipeline pipeline(world);
   std::vector<IntfId> ports;
   for (std::size_t i = 0; i < members; ++i) {
      ports.push_back(IntfId("member" + std::to_string(i)));
      pipeline.portOnTcam(ports.back(), 0);
      pipeline.join(lag, ports.back());
   }
   for (std::size_t which = 0; which < world.requests.size(); ++which) {
      pipeline.ask(which, 5);
   }
   double seconds = 0;
   for (unsigned round = 0; round < rounds; ++round) {
      double start = processorTime();
      for (IntfId port : ports) {
         pipeline.leave(lag, port);
      }
      seconds += processorTime() - start;
      if (std::any_of(ports.begin(), ports.end(),
                      [&](IntfId port) { return pipeline.hasWord(port); })) {
         return -1;
      }
      start = processorTime();
      for (IntfId port : ports) {
         pipeline.join(lag, port);
      }
      seconds += processorTime() - start;
      if (!std::all_of(ports.begin(), ports.end(),
                       [&](IntfId port) { return pipeline.hasWord(port); })) {
         return -1;
      }
   }
   return seconds * 1e9 / (2.0 * members * rounds);
}

// Seconds until every word is where a new layout puts it.
double newLayout(FeatureAsking asking, std::size_t count, unsigned number) {
   FeatureWorld world(asking, count, number);
   FeaturePipeline pipeline(world);
   for (std::size_t which = 0; which < count; ++which) {
      pipeline.ask(which, 5);
   }
   pipeline.layoutIs(3);
   double start = processorTime();
   pipeline.tcamKeyVersionInc();
   double seconds = processorTime() - start;
   for (std::size_t which = 0; which < count; ++which) {
      if (pipeline.programmed(which) != 5 || !pipeline.isAnswered(which, 5)) {
         return -1;
      }
   }
   return seconds;
}

bool printFlaps() {
   std::printf("\nA port-channel of 64 members, all leaving and all joining\n");
   double alone = 0;
   for (std::size_t others : {0UL, 10000UL, 100000UL}) {
      if (others > limit()) {
         continue;
      }
      double ns = medianOf(7, [&](unsigned number) { return flap(others, number); });
      if (ns < 0) {
         std::printf("  beside %7zu other aggregates: members without the right words\n", others);
         return false;
      }
      alone = others == 0 ? ns : alone;
      std::printf("  beside %7zu other aggregates: %6.0f ns per membership change, %.2f of that "
                  "beside none\n",
                  others, ns, ns / alone);
   }
   return true;
}

bool printLayouts(std::size_t count) {
   std::printf("\nA new TCAM key version over %zu aggregates\n", count);
   for (FeatureAsking asking : {FeatureAsking::subInterfaces, FeatureAsking::ports}) {
      char const* kind = asking == FeatureAsking::ports ? "ports" : "sub-interfaces";
      double seconds =
          medianOf(7, [&](unsigned number) { return newLayout(asking, count, number); });
      if (seconds < 0) {
         std::printf("  %-14s words or responses are wrong\n", kind);
         return false;
      }
      std::printf("  %-14s %7.2f ms, %.0f ns per aggregate\n", kind, seconds * 1e3,
                  seconds * 1e9 / static_cast<double>(count));
   }
   return true;
}

} // namespace
} // namespace Bench

int main(int argc, char** argv) {
   using namespace Bench;
   RoadRuns runs(countsUpTo(limit()));
   runs.add<FeatureWorld, FeaturePipeline, FeatureFloor>(Road::subIntfFeatures,
                                                         FeatureAsking::subInterfaces);
   runs.add<FeatureWorld, FeaturePipeline, FeatureFloor>(Road::portFeatures, FeatureAsking::ports);
   runs.add<FeatureWorld, FeaturePipeline, FeatureFloor>(Road::allFeatures,
                                                         FeatureAsking::allTypes);
   if (!runs.run(argc, argv)) {
      return runs.anyWrong() ? 1 : 0; // a filter left some out
   }
   bool right = printFlaps();
   right = printLayouts(std::min<std::size_t>(limit(), 100000)) && right;
   return right ? 0 : 1;
}

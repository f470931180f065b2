// The cost of a request for an in-LIF feature, from its request directory to the feature word and
// the response. There are three paths: one request per sub-interface, one request per port, and all
// twelve features of each sub-interface. Each is compared with two baselines that do the same table
// operations and nothing else. Then the cost of membership and layout changes among many
// aggregates.
#include "bench/support/FeatureBaseline.h"
#include "bench/support/FeaturePipeline.h"
#include "bench/support/PathRuns.h"

#include <cstdio>

namespace Bench {
namespace {

// The median of several runs, each in its own process; negative if one failed.
template<class Work>
double medianOf(unsigned runs, Work const& work) {
   std::vector<double> all;
   for (unsigned number = 1; number <= runs; ++number) {
      all.push_back(alone([&] { return work(number); }).value_or(-1));
   }
   std::sort(all.begin(), all.end());
   return all.front() < 0 ? all.front() : all[all.size() / 2];
}

// ns for a port to join or leave a port-channel that has a feature request, while `others` ports
// and sub-interfaces have requests of their own.
double flap(std::size_t others, unsigned number) {
   constexpr std::size_t members = 64;
   constexpr unsigned rounds = 200;
   FeatureWorld world(FeatureRequestKind::ports, others / 2, number);
   for (auto const& request :
        FeatureWorld(FeatureRequestKind::subInterfaces, others / 2, number).requests) {
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

// Seconds to rewrite every word for a new layout.
double newLayout(FeatureRequestKind kind, std::size_t count, unsigned number) {
   FeatureWorld world(kind, count, number);
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
      std::printf("  beside %7zu other aggregates: %6.0f ns per membership change, x%.2f of the "
                  "cost beside none\n",
                  others, ns, ns / alone);
   }
   return true;
}

bool printLayouts(std::size_t count) {
   std::printf("\nA new TCAM key version over %zu aggregates\n", count);
   for (FeatureRequestKind kind : {FeatureRequestKind::subInterfaces, FeatureRequestKind::ports}) {
      char const* name = kind == FeatureRequestKind::ports ? "ports" : "sub-interfaces";
      double seconds = medianOf(7, [&](unsigned number) { return newLayout(kind, count, number); });
      if (seconds < 0) {
         std::printf("  %-14s words or responses are wrong\n", name);
         return false;
      }
      std::printf("  %-14s %7.2f ms, %.0f ns per aggregate\n", name, seconds * 1e3,
                  seconds * 1e9 / static_cast<double>(count));
   }
   return true;
}

} // namespace
} // namespace Bench

int main(int argc, char** argv) {
   using namespace Bench;
   PathRuns runs(countsUpTo(limit()), {Variant::pipeline, Variant::standard, Variant::platform});
   runs.add<FeatureWorld, FeaturePipeline, FeatureBaseline, false>(
       Path::subIntfFeatures, FeatureRequestKind::subInterfaces);
   runs.add<FeatureWorld, FeaturePipeline, FeatureBaseline, false>(Path::portFeatures,
                                                                   FeatureRequestKind::ports);
   runs.add<FeatureWorld, FeaturePipeline, FeatureBaseline, false>(Path::allFeatures,
                                                                   FeatureRequestKind::allTypes);
   if (!runs.run(argc, argv)) {
      return runs.anyWrong() ? 1 : 0; // a filter excluded some runs
   }
   bool right = printFlaps();
   right = printLayouts(std::min<std::size_t>(limit(), 100000)) && right;
   return right ? 0 : 1;
}

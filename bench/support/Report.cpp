#include "bench/support/Report.h"

#include <algorithm>
#include <cstdio>

namespace Bench {

char const* nameOf(Path path) {
   constexpr char const* names[] = {"isem",          "mapper",      "tunnel", "subintf-features",
                                    "port-features", "all-features"};
   return names[static_cast<int>(path)];
}

char const* nameOf(Variant variant) {
   constexpr char const* names[] = {"pipeline", "unordered_map", "collections", "arrays"};
   return names[static_cast<int>(variant)];
}

Figures Report::median(Path path, Variant variant, std::size_t count) const {
   auto const& all = measured_.at({path, variant, count});
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

void Report::print(Path path, std::vector<Variant> const& variants,
                   std::vector<std::size_t> const& counts) const {
   for (std::size_t count : counts) {
      for (Variant variant : variants) {
         if (!measured_.contains({path, variant, count})) {
            return; // a filter excluded some runs
         }
      }
   }
   std::printf("\nPath %s: medians; ns of processor time and bytes of heap per request\n"
               "  %-14s %8s %8s %8s %9s %8s %7s\n",
               nameOf(path), "", "N", "fill", "change", "withdraw", "mean", "bytes");
   for (std::size_t count : counts) {
      for (Variant variant : variants) {
         Figures figures = median(path, variant, count);
         std::printf("  %-14s %8zu %8.0f %8.0f %9.0f %8.0f %7.0f\n", nameOf(variant), count,
                     figures.fill, figures.change, figures.withdraw, figures.mean(), figures.bytes);
      }
   }
   std::printf("Ratio of the pipeline to each baseline (below 1: faster, smaller)\n");
   for (std::size_t count : counts) {
      for (Variant baseline : variants) {
         if (baseline == Variant::pipeline) {
            continue;
         }
         Figures own = median(path, Variant::pipeline, count);
         Figures other = median(path, baseline, count);
         std::printf(
             "  %7zu to %-14s time %.2f (fill %.2f, change %.2f, withdraw %.2f), bytes %.2f\n",
             count, nameOf(baseline), own.mean() / other.mean(), own.fill / other.fill,
             own.change / other.change, own.withdraw / other.withdraw, own.bytes / other.bytes);
      }
   }
   std::printf("Growth of the mean time from %zu to %zu\n", counts.front(), counts.back());
   for (Variant variant : variants) {
      std::printf("  %-14s %.2f\n", nameOf(variant),
                  median(path, variant, counts.back()).mean() /
                      median(path, variant, counts.front()).mean());
   }
}

} // namespace Bench

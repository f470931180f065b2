// The figures of all runs, and the tables that are printed from them.
#pragma once

#include <cstddef>
#include <map>
#include <tuple>
#include <vector>

namespace Bench {

enum class Road { isem, inLif, tunnel, subIntfFeatures, portFeatures, allFeatures };
char const* nameOf(Road road);

enum class Variant { pipeline, standard, platform };
inline constexpr Variant variants[] = {Variant::pipeline, Variant::standard, Variant::platform};
char const* nameOf(Variant variant);

struct Figures {
   double fill = 0;     // ns per request
   double change = 0;   // ns per request
   double withdraw = 0; // ns per request
   double bytes = 0;    // of heap per request, after the fill
   double mean() const { return (fill + change + withdraw) / 3; }
};

class Report {
 public:
   void add(Road road, Variant variant, std::size_t count, Figures const& figures) {
      measured_[{road, variant, count}].push_back(figures);
   }
   // Medians, ratios and growth of a road that was measured whole.
   void print(Road road, std::vector<std::size_t> const& counts) const;

 private:
   Figures median(Road road, Variant variant, std::size_t count) const;
   std::map<std::tuple<Road, Variant, std::size_t>, std::vector<Figures>> measured_;
};

} // namespace Bench

// Collects the figures of all runs and prints them as tables.
#pragma once

#include <cstddef>
#include <map>
#include <tuple>
#include <vector>

namespace Bench {

enum class Path { isem, mapper, tunnel, subIntfFeatures, portFeatures, allFeatures };
char const* nameOf(Path path);

enum class Variant { pipeline, standard, platform, arrays };
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
   void add(Path path, Variant variant, std::size_t count, Figures const& figures) {
      measured_[{path, variant, count}].push_back(figures);
   }
   // Medians, ratios and growth of a path. Prints nothing unless every variant and count was run.
   void print(Path path, std::vector<Variant> const& variants,
              std::vector<std::size_t> const& counts) const;

 private:
   Figures median(Path path, Variant variant, std::size_t count) const;
   std::map<std::tuple<Path, Variant, std::size_t>, std::vector<Figures>> measured_;
};

} // namespace Bench

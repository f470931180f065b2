// The faults of the simulated chip: which answers they affect, and how late answers are.
//
// Faults are either counted ("the next 3 answers are lost") or drawn with a probability from a
// seeded generator, so a run is the same each time. Each may be limited to one table, one unit, or
// both.
#pragma once

#include "host/driver/ChipTables.h"

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

namespace Agent {

using namespace ShoalHost;

// What may happen to an answer. `refuse` applies to writes of entries; `defer` to writes of the
// tunnel table, which are answered "in progress" first and in full later; the others to all.
enum class Fault { refuse, lose, duplicate, reorder, slow, defer };
inline constexpr std::array<std::string_view, 6> faultNames{"refuse",  "lose", "duplicate",
                                                            "reorder", "slow", "defer"};
inline constexpr std::size_t kFaults = faultNames.size();

// None: any.
struct FaultScope {
   std::optional<ChipTableKind> table;
   std::optional<FapId> unit;

   friend bool operator==(FaultScope const&, FaultScope const&) = default;
};

class ChipFaults {
 public:
   // Seconds from a write to its answer, and the extra of a slow or deferred one.
   Seconds delay() const { return delay_; }
   void delayIs(Seconds delay) { delay_ = delay; }
   Seconds slowness() const { return slowness_; }
   void slownessIs(Seconds slowness) { slowness_ = slowness; }

   // The next `count` answers in the scope suffer the fault; adds to what is left.
   void next(Fault fault, uint64_t count, FaultScope scope);
   // From now on each answer in the scope suffers it with this probability, 0 to 1.
   void often(Fault fault, double probability, FaultScope scope);
   // Restarts the generator from this seed.
   void seedIs(uint64_t seed) {
      seed_ = seed;
      random_.seed(seed);
   }
   uint64_t seed() const { return seed_; }
   void clear() { settings_.clear(); }

   // Whether this answer suffers the fault; takes one off what is counted.
   bool suffers(Fault fault, ChipTableKind table, FapId unit);
   uint64_t suffered(Fault fault) const { return suffered_[static_cast<std::size_t>(fault)]; }

   // One fault in force.
   struct Setting {
      Fault fault;
      FaultScope scope;
      uint64_t next = 0;
      double probability = 0.0;
   };
   std::vector<Setting> const& settings() const { return settings_; }

 private:
   Setting& setting(Fault fault, FaultScope scope);

   Seconds delay_ = 0.01;
   Seconds slowness_ = 1.0;
   std::vector<Setting> settings_;
   uint64_t seed_ = 1;
   std::mt19937_64 random_{seed_};
   std::array<uint64_t, kFaults> suffered_{};
};

} // namespace Agent

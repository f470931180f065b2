// What the chip does: how fast it answers, and what goes wrong.
#include "agent/command/Names.h"

namespace Agent {

namespace {

std::optional<FapId> takeUnit(Host& host, Arguments& arguments) {
   return arguments.takeWord("unit") ? std::optional(host.world().unit(arguments.take("UNIT")))
                                     : std::nullopt;
}

void fault(Host& host, Arguments& arguments, Fault which) {
   if (arguments.takeWord("often")) {
      double probability = arguments.takeReal("PROBABILITY", 0.0, 1.0);
      auto unit = takeUnit(host, arguments);
      arguments.end();
      host.chip().faultOften(which, probability, unit);
      return;
   }
   if (!arguments.takeWord("next")) {
      throw CommandError("a fault is 'next N' or 'often PROBABILITY'");
   }
   uint64_t count = arguments.takeNumber("N", 1, 1000000);
   auto unit = takeUnit(host, arguments);
   arguments.end();
   host.chip().faultNext(which, count, unit);
}

void chip(Host& host, Arguments& arguments, std::ostream&) {
   std::string what = arguments.take("what the chip does");
   for (std::size_t i = 0; i < kFaults; ++i) {
      if (what == faultName(static_cast<Fault>(i))) {
         fault(host, arguments, static_cast<Fault>(i));
         return;
      }
   }
   SimulatedChip& chip = host.chip();
   if (what == "delay" || what == "slowness") {
      double seconds = arguments.takeReal("SECONDS", 0.0, 3600.0);
      arguments.end();
      what == "delay" ? chip.delayIs(seconds) : chip.slownessIs(seconds);
   } else if (what == "seed") {
      uint64_t seed = arguments.takeNumber("SEED", 0, UINT64_MAX);
      arguments.end();
      chip.seedIs(seed);
   } else if (what == "capacity") {
      FapId unit = host.world().unit(arguments.take("UNIT"));
      std::optional<uint64_t> entries;
      if (!arguments.takeWord("none")) {
         entries = arguments.takeNumber("ENTRIES", 0, 1U << 20);
      }
      arguments.end();
      chip.capacityIs(unit, entries);
   } else if (what == "well" || what == "restart" || what == "replay") {
      arguments.end();
      what == "well" ? chip.clearFaults() : what == "restart" ? chip.restart() : chip.replay();
   } else {
      throw CommandError("the chip knows refuse, lose, duplicate, reorder, slow, delay, slowness, "
                         "seed, capacity, well, restart and replay, not '" +
                         what + "'");
   }
}

} // namespace

void addChipCommands(Registry& registry) {
   registry.add({"chip",
                 "refuse|lose|duplicate|reorder|slow next N|often P [unit UNIT] | delay S | "
                 "slowness S | seed N | capacity UNIT N|none | well | restart | replay",
                 "how the simulated chip answers from now on", true, chip});
}

} // namespace Agent

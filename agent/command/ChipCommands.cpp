// What the chip does: how fast it answers, and what goes wrong.
#include "agent/command/Names.h"

namespace Agent {

namespace {

// [unit UNIT] [table isem|mapper|tunnel], in any order.
FaultScope takeScope(Host& host, Arguments& arguments) {
   FaultScope scope;
   while (arguments.more()) {
      if (arguments.takeWord("unit")) {
         scope.unit = host.world().unit(arguments.take("UNIT"));
      } else if (arguments.takeWord("table")) {
         scope.table = static_cast<ChipTableKind>(
             arguments.takeChoice("TABLE", {chipTableNames.begin(), chipTableNames.end()}));
      } else {
         arguments.end();
      }
   }
   return scope;
}

FaultScope takeFaultScope(Host& host, Arguments& arguments, Fault which) {
   FaultScope scope = takeScope(host, arguments);
   if (which == Fault::defer &&
       scope.table.value_or(ChipTableKind::tunnel) != ChipTableKind::tunnel) {
      throw CommandError("only the tunnel table answers \"in progress\"");
   }
   return scope;
}

void fault(Host& host, Arguments& arguments, Fault which) {
   if (arguments.takeWord("often")) {
      double probability = arguments.takeReal("PROBABILITY", 0.0, 1.0);
      host.chip().faults().often(which, probability, takeFaultScope(host, arguments, which));
      return;
   }
   if (!arguments.takeWord("next")) {
      throw CommandError("a fault is 'next N' or 'often PROBABILITY'");
   }
   uint64_t count = arguments.takeNumber("N", 1, 1000000);
   host.chip().faults().next(which, count, takeFaultScope(host, arguments, which));
}

void chipSetting(Host& host, Arguments& arguments, std::ostream&) {
   std::string what = arguments.take("what the chip does");
   for (std::size_t i = 0; i < kFaults; ++i) {
      if (what == faultNames[i]) {
         fault(host, arguments, static_cast<Fault>(i));
         return;
      }
   }
   SimulatedChip& chip = host.chip();
   if (what == "delay" || what == "slowness") {
      double seconds = arguments.takeReal("SECONDS", 0.0, 3600.0);
      arguments.end();
      what == "delay" ? chip.faults().delayIs(seconds) : chip.faults().slownessIs(seconds);
   } else if (what == "seed") {
      uint64_t seed = arguments.takeNumber("SEED", 0, UINT64_MAX);
      arguments.end();
      chip.faults().seedIs(seed);
   } else if (what == "capacity") {
      FapId unit = host.world().unit(arguments.take("UNIT"));
      std::optional<uint64_t> entries;
      if (!arguments.takeWord("none")) {
         entries = arguments.takeNumber("ENTRIES", 0, 1U << 20);
      }
      chip.capacityIs(takeScope(host, arguments).table, unit, entries);
   } else if (what == "well" || what == "restart" || what == "replay") {
      arguments.end();
      what == "well" ? chip.clearFaults() : what == "restart" ? chip.restart() : chip.replay();
   } else {
      throw CommandError("the chip knows refuse, lose, duplicate, reorder, slow, defer, delay, "
                         "slowness, seed, capacity, well, restart and replay, not '" +
                         what + "'");
   }
}

} // namespace

void addChipCommands(Registry& registry) {
   registry.add({"chip",
                 "refuse|lose|duplicate|reorder|slow|defer next N|often P [unit UNIT] "
                 "[table isem|mapper|tunnel] | delay S | slowness S | seed N | "
                 "capacity UNIT N|none [table isem|mapper|tunnel] | well | restart | replay",
                 "how the simulated chip answers from now on", true, chipSetting});
}

} // namespace Agent

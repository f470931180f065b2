// What the chip does: how fast it answers, and what goes wrong.
#include "agent/command/Names.h"

namespace Agent {

namespace {

// [unit UNIT] [table isem|mapper|tunnel], in any order.
FaultScope parseScope(Host& host, Arguments& arguments) {
   FaultScope scope;
   while (arguments.more()) {
      if (arguments.accept("unit")) {
         scope.unit = host.world().unit(arguments.next("UNIT"));
      } else if (arguments.accept("table")) {
         scope.table = static_cast<ChipTableKind>(
             arguments.parseChoice("TABLE", {chipTableNames.begin(), chipTableNames.end()}));
      } else {
         arguments.end();
      }
   }
   return scope;
}

FaultScope parseFaultScope(Host& host, Arguments& arguments, Fault which) {
   FaultScope scope = parseScope(host, arguments);
   if (which == Fault::defer &&
       scope.table.value_or(ChipTableKind::tunnel) != ChipTableKind::tunnel) {
      throw CommandError("only the tunnel table answers \"in progress\"");
   }
   return scope;
}

void fault(Host& host, Arguments& arguments, Fault which) {
   if (arguments.accept("often")) {
      double probability = arguments.parseReal("PROBABILITY", 0.0, 1.0);
      host.chip().faults().often(which, probability, parseFaultScope(host, arguments, which));
      return;
   }
   if (!arguments.accept("next")) {
      throw CommandError("a fault is 'next N' or 'often PROBABILITY'");
   }
   uint64_t count = arguments.parseNumber("N", 1, 1000000);
   host.chip().faults().next(which, count, parseFaultScope(host, arguments, which));
}

void chipSetting(Host& host, Arguments& arguments, std::ostream&) {
   std::string what = arguments.next("what the chip does");
   for (std::size_t i = 0; i < kFaults; ++i) {
      if (what == faultNames[i]) {
         fault(host, arguments, static_cast<Fault>(i));
         return;
      }
   }
   SimulatedChip& chip = host.chip();
   if (what == "delay" || what == "slowness") {
      double seconds = arguments.parseReal("SECONDS", 0.0, 3600.0);
      arguments.end();
      what == "delay" ? chip.faults().delayIs(seconds) : chip.faults().slownessIs(seconds);
   } else if (what == "seed") {
      uint64_t seed = arguments.parseNumber("SEED", 0, UINT64_MAX);
      arguments.end();
      chip.faults().seedIs(seed);
   } else if (what == "capacity") {
      FapId unit = host.world().unit(arguments.next("UNIT"));
      std::optional<uint64_t> entries;
      if (!arguments.accept("none")) {
         entries = arguments.parseNumber("ENTRIES", 0, 1U << 20);
      }
      chip.capacityIs(parseScope(host, arguments).table, unit, entries);
   } else if (what == "clear-faults" || what == "restart" || what == "replay") {
      arguments.end();
      what == "clear-faults" ? chip.clearFaults()
      : what == "restart"    ? chip.restart()
                             : chip.replay();
   } else {
      throw CommandError("the chip knows refuse, lose, duplicate, reorder, slow, defer, delay, "
                         "slowness, seed, capacity, clear-faults, restart and replay, not '" +
                         what + "'");
   }
}

} // namespace

void addChipCommands(Registry& registry) {
   registry.add(
       {"chip",
        "refuse|lose|duplicate|reorder|slow|defer next N|often P [unit UNIT] "
        "[table isem|mapper|tunnel] | delay S | slowness S | seed N | "
        "capacity UNIT N|none [table isem|mapper|tunnel] | clear-faults | restart | replay",
        "how the simulated chip answers from now on", true, chipSetting});
}

} // namespace Agent

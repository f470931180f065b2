// How the simulated chip answers: how fast, and what goes wrong.
#include "agent/command/Names.h"

namespace Agent {

namespace {

// [unit UNIT] [table TABLE], in any order.
FaultScope parseScope(AgentHost& host, Arguments& arguments) {
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

template<Fault fault>
void chipFault(AgentHost& host, Arguments& arguments, std::ostream&) {
   ChipFaults& faults = host.chip().faults();
   auto scope = [&] {
      FaultScope parsed = parseScope(host, arguments);
      if (fault == Fault::defer &&
          parsed.table.value_or(ChipTableKind::tunnel) != ChipTableKind::tunnel) {
         throw CommandError("only the tunnel table answers \"in progress\"");
      }
      return parsed;
   };
   if (arguments.accept("often")) {
      double probability = arguments.parseReal("PROBABILITY", 0.0, 1.0);
      faults.often(fault, probability, scope());
   } else if (arguments.accept("next")) {
      uint64_t count = arguments.parseNumber("N", 1, 1000000);
      faults.next(fault, count, scope());
   } else {
      throw CommandError("a fault is 'next N' or 'often PROBABILITY'");
   }
}

template<void (ChipFaults::*set)(Seconds)>
void chipTime(AgentHost& host, Arguments& arguments, std::ostream&) {
   double seconds = arguments.parseReal("SECONDS", 0.0, 3600.0);
   arguments.end();
   (host.chip().faults().*set)(seconds);
}

void chipSeed(AgentHost& host, Arguments& arguments, std::ostream&) {
   uint64_t seed = arguments.parseNumber("SEED", 0, UINT64_MAX);
   arguments.end();
   host.chip().faults().seedIs(seed);
}

void chipCapacity(AgentHost& host, Arguments& arguments, std::ostream&) {
   FapId unit = host.world().unit(arguments.next("UNIT"));
   std::optional<uint64_t> entries;
   if (!arguments.accept("none")) {
      entries = arguments.parseNumber("ENTRIES", 0, 1U << 20);
   }
   host.chip().capacityIs(parseScope(host, arguments).table, unit, entries);
}

template<void (SimulatedChip::*act)()>
void chipAct(AgentHost& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   (host.chip().*act)();
}

void chipReplay(AgentHost& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   host.seam().replay();
}

constexpr std::string_view faultGrammar =
    "next N|often PROBABILITY [unit UNIT] [table isem|mapper|tunnel|port-word|sub-interface-word]";

} // namespace

std::span<Command const> chipCommands() {
   static constexpr Command table[] = {
       {"chip refuse", faultGrammar,
        "the next N writes, or each with this probability, are refused", chipFault<Fault::refuse>},
       {"chip lose", faultGrammar, "answers are lost; the writes are carried out",
        chipFault<Fault::lose>},
       {"chip duplicate", faultGrammar, "answers come twice", chipFault<Fault::duplicate>},
       {"chip reorder", faultGrammar, "answers are held back, and given last one first",
        chipFault<Fault::reorder>},
       {"chip slow", faultGrammar, "answers come later, by the slowness", chipFault<Fault::slow>},
       {"chip defer", "next N|often PROBABILITY [unit UNIT] [table tunnel]",
        "writes of the tunnel table are answered \"in progress\" first, in full later",
        chipFault<Fault::defer>},
       {"chip delay", "SECONDS", "the time from a write to its answer",
        chipTime<&ChipFaults::delayIs>},
       {"chip slowness", "SECONDS", "the extra time of a slow or deferred answer",
        chipTime<&ChipFaults::slownessIs>},
       {"chip seed", "SEED", "the seed from which probabilities are drawn", chipSeed},
       {"chip capacity",
        "UNIT ENTRIES|none [table isem|mapper|tunnel|port-word|sub-interface-word]",
        "the entries that a unit holds at most, in one table or in each", chipCapacity},
       {"chip clear-faults", "", "end all faults; answers held back are given",
        chipAct<&SimulatedChip::clearFaults>},
       {"chip restart", "", "the chip restarts empty; its statuses are cleared",
        chipAct<&SimulatedChip::restart>},
       {"chip replay", "", "write the configuration to the chip again", chipReplay},
   };
   return table;
}

} // namespace Agent

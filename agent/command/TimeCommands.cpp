// Virtual time, and the time constants of the agent.
#include "agent/command/Names.h"

namespace Agent {

namespace {

void advance(Host& host, Arguments& arguments, std::ostream&) {
   double seconds = arguments.parseReal("SECONDS", 0.0, 86400.0);
   arguments.end();
   host.advance(seconds);
}

void settle(Host& host, Arguments& arguments, std::ostream& out) {
   arguments.end();
   Seconds before = host.time().peek();
   if (!host.settle()) {
      out << "still moving after " << formatSeconds(host.time().peek() - before) << " s\n";
   }
}

void set(Host& host, Arguments& arguments, std::ostream&) {
   std::size_t what =
       arguments.parseChoice("WHAT", {"quantum", "retry-interval", "cost-per-reading"});
   // A retry pass every instant would leave time no room to move.
   double seconds = arguments.parseReal("SECONDS", what == 1 ? 0.01 : 0.0, 3600.0);
   arguments.end();
   if (what < 2) {
      for (SharingPipeline* pipeline : host.pipelines()) {
         what == 0 ? pipeline->codef->backlogQuantumIs(seconds)
                   : pipeline->codef->retryTimeIntervalIs(seconds);
      }
   } else if (seconds > 1.0) {
      throw CommandError("a reading of the clock costs 1 s at most");
   } else {
      host.time().costPerReadingIs(seconds);
   }
}

} // namespace

void addTimeCommands(Registry& registry) {
   registry.add({"advance", "SECONDS", "let time pass", false, advance});
   registry.add({"settle", "", "let time pass until nothing moves but retries", false, settle});
   registry.add({"set", "quantum|retry-interval|cost-per-reading SECONDS",
                 "length of a slice, time between retry passes, time that reading the clock takes",
                 true, set});
}

} // namespace Agent

// Virtual time, and the time constants of the agent.
#include "agent/command/Names.h"

#include "host/names/Names.h"

namespace Agent {

namespace {

void advance(AgentHost& host, Arguments& arguments, std::ostream&) {
   double seconds = arguments.parseReal("SECONDS", 0.0, 86400.0);
   arguments.end();
   host.advance(seconds);
}

void settle(AgentHost& host, Arguments& arguments, std::ostream& out) {
   arguments.end();
   Seconds before = host.time().peek();
   if (!host.settle()) {
      out << "still moving after " << formatSeconds(host.time().peek() - before) << " s\n";
   }
}

void setQuantum(AgentHost& host, Arguments& arguments, std::ostream&) {
   double seconds = arguments.parseReal("SECONDS", 0.0, 3600.0);
   arguments.end();
   for (SharingPipeline* pipeline : host.pipelines()) {
      pipeline->codef->backlogQuantumIs(seconds);
   }
}

void setRetryInterval(AgentHost& host, Arguments& arguments, std::ostream&) {
   // A retry pass every instant would leave time no room to move.
   double seconds = arguments.parseReal("SECONDS", 0.01, 3600.0);
   arguments.end();
   for (SharingPipeline* pipeline : host.pipelines()) {
      pipeline->codef->retryTimeIntervalIs(seconds);
   }
}

void setAdmission(AgentHost& host, Arguments& arguments, std::ostream&) {
   std::size_t setting = arguments.parseChoice("SETTING", {"refuse", "detour", "off"});
   arguments.end();
   host.changes().settingIs(static_cast<Changes::Setting>(setting));
}

void setAnswerBound(AgentHost& host, Arguments& arguments, std::ostream&) {
   double seconds = arguments.parseReal("SECONDS", 0.01, 3600.0);
   arguments.end();
   host.changes().detours().answerBoundIs(seconds);
}

void setCostPerReading(AgentHost& host, Arguments& arguments, std::ostream&) {
   double seconds = arguments.parseReal("SECONDS", 0.0, 1.0);
   arguments.end();
   host.time().costPerReadingIs(seconds);
}

} // namespace

std::span<Command const> timeCommands() {
   static constexpr Command table[] = {
       {"advance", "SECONDS", "let time pass", advance},
       {"settle", "", "let time pass until nothing moves but retries", settle},
       {"set quantum", "SECONDS", "the length of a slice of the backlog", setQuantum},
       {"set retry-interval", "SECONDS", "the time between retry passes", setRetryInterval},
       {"set admission", "refuse|detour|off",
        "a change that would stop the library is refused, made by a way round, or made",
        setAdmission},
       {"set answer-bound", "SECONDS",
        "how long a way round waits for the chip before it asks again", setAnswerBound},
       {"set cost-per-reading", "SECONDS", "the time that a reading of the clock takes",
        setCostPerReading},
   };
   return table;
}

} // namespace Agent

#include "agent/host/Rehearsal.h"

#include "agent/process/Copy.h"
#include "platform/Orv/Exception.h"
#include "platform/Trace/Trace.h"

#include <csignal>
#include <sys/resource.h>

namespace Agent {

namespace {

using End = Rehearsal::End;

// In the copy only. The failure hook is a plain function.
struct Rehearsing {
   AgentHost& host;
   DescribeFailure const& describe;
   Copy::Report const& report;

   // A letter for the end, one for `expected`, and the text.
   void tell(End end, bool expected, std::string const& text) const {
      report(std::string{static_cast<char>('0' + static_cast<int>(end)), expected ? '+' : '-'} +
             text);
   }
};
Rehearsing const* rehearsing = nullptr;

void reportFailure(Orv::Failure const& failure) {
   Observer const* observer = rehearsing->host.observer();
   bool expected = observer == nullptr || observer->stopsBy(failure.condition);
   rehearsing->tell(End::stopped, expected, rehearsing->describe(rehearsing->host, failure));
   Copy::end();
}

void runRehearsal(Rehearsing const& here, std::function<void()> const& change) {
   Trace::enabledLevels = 0;
   rehearsing = &here;
   // Its own time: a child's begins at 0.
   rlimit const limit{maxProcessorTime, maxProcessorTime + 1};
   ::setrlimit(RLIMIT_CPU, &limit);
   Orv::failureHookIs(reportFailure);
   try {
      change();
      if (!here.host.settle(longestRehearsal)) {
         here.tell(End::restless, false, "");
      }
   } catch (Orv::RangeException const& error) {
      here.tell(End::outOfRange, false, error.what());
   } catch (std::exception const&) {
      // The caller meets the same error.
   }
   // Coverage counts are dropped: what went well runs again in the caller, and counts there.
}

} // namespace

Rehearsal rehearse(AgentHost& host, std::function<void()> const& change,
                   DescribeFailure const& describe) {
   Copy copy([&](Copy::Report const& report) { runRehearsal({host, describe, report}, change); });
   std::string told;
   Copy::Ending ending = copy.collect([&](std::string_view text) { told += text; });
   if (ending.signalled && ending.code == SIGXCPU) {
      return {End::overtime, "", false};
   }
   if (told.size() >= 2) {
      return {static_cast<End>(told[0] - '0'), told.substr(2), told[1] == '+'};
   }
   return {ending.signalled || ending.code != 0 ? End::abnormal : End::sound, "", false};
}

} // namespace Agent

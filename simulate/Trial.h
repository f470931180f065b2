// One history on a fresh agent, in a process of its own. Reports the outcome even if the agent
// crashes there.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/ComparedTable.h"
#include "simulate/Copy.h"
#include "simulate/Coverage.h"
#include "simulate/Findings.h"

#include <functional>
#include <optional>
#include <set>

namespace Simulate {

using Agent::AgentHost;
using Agent::Inventory;

struct TrialOutcome {
   std::vector<std::string> carriedOut; // commands that were accepted, in order
   std::set<uint64_t> refused;          // the others, by their number among all
   std::string firstRefusal;            // what was said to the first of them
   Coverage coverage = Situation::coverage();
   std::optional<Finding> failure; // the check that failed, or how the agent ended
};

class Trial {
 public:
   // The next command; none: the history is over.
   using Source = std::function<std::optional<std::string>()>;
   // Called on each new agent, before any command.
   using Prepare = std::function<void(AgentHost&)>;

   // Starts the process; `source` is asked there. `prove`: of so many changes that admission
   // refuses, one is carried out in a copy, where it has to stop the library; 0: none. `extent`: of
   // the checks after each command. Those of what was touched are followed by one of the whole
   // every so many commands, and the outcome of a failure may lack its last commands.
   Trial(Inventory const& inventory, Source const& source, Prepare const& prepare,
         unsigned prove = 1, Extent extent = Extent::whole);
   // Waits for the end of the process. May be called once.
   TrialOutcome outcome();

 private:
   Copy copy_;
};

} // namespace Simulate

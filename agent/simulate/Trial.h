// One history on a fresh agent, in a process of its own: whatever becomes of the agent there, it is
// told here.
#pragma once

#include "agent/host/Host.h"
#include "agent/process/Copy.h"
#include "agent/simulate/Findings.h"
#include "agent/simulate/Probes.h"

#include <functional>
#include <optional>
#include <set>

namespace Agent {

struct TrialOutcome {
   std::vector<std::string> carriedOut; // commands that were accepted, in order
   std::set<uint64_t> refused;          // the others, by their number among all
   std::string firstRefusal;            // what was said to the first of them
   Probes probes;
   // The check that failed, or how the agent ended; and the command that shows it in a scenario.
   std::optional<Finding> failure;
   std::string lastCheck;
};

class Trial {
 public:
   // The next command; none: the history is over.
   using Source = std::function<std::optional<std::string>()>;
   // Called on each new agent, before any command.
   using Prepare = std::function<void(Host&)>;

   // Starts the process; `source` is asked there. Unrehearsed: the commands were all accepted
   // before, in this order.
   Trial(Inventory const& inventory, Source const& source, Prepare const& prepare,
         bool rehearse = true);
   // Waits for its end. Once.
   TrialOutcome outcome();

 private:
   Copy copy_;
};

} // namespace Agent

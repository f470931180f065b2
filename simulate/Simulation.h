// Random histories from seeds, each checked all along; a failing one is shrunk and written as a
// scenario. Every fourth seed's history is orderly (see Orderly).
#pragma once

#include "simulate/Trial.h"

#include <ostream>
#include <stdexcept>

namespace Simulate {

struct SimulateOptions {
   std::string scenario; // for replay()
   uint64_t seed = 1;
   uint64_t seeds = 1;
   uint64_t steps = 1000;
   unsigned jobs = 1;                // histories at a time
   std::vector<std::string> first;   // commands at the head of every history
   std::string write;                // where a failing history goes; empty: simulate-SEED.scenario
   unsigned prove = 50;              // see Trial
   bool whole = false;               // check everything after each command, not what was touched
   bool counts = false;              // print how often each situation was met
   bool allMet = false;              // a situation that was never met is an error
   std::ostream* progress = nullptr; // where the progress of a run is shown; null: nowhere
   Trial::Prepare prepare;           // for tests: what goes wrong in each agent
};

// Options that cannot be followed; nothing was simulated.
class SimulateError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// 0, or 1 when a check failed (stops at the first seed that does) or a situation was not met that
// had to be. The same options print the same on `out`. Throws SimulateError, "--first:N: error:
// reason", for a command of `first` that is refused.
int simulate(Inventory const& inventory, SimulateOptions const& options, std::ostream& out);

// Carries out the lines of the scenario as a history. Returns 0, or 1 if a check failed, and prints
// that check.
// Throws SimulateError when the file cannot be read or a command is refused.
int replay(Inventory const& inventory, SimulateOptions const& options, std::ostream& out);

// The fewest commands found, by leaving out what is not needed, that fail as `failing` does when
// they are carried out like a scenario; none: they do not fail then.
std::optional<TrialOutcome> shrink(Inventory const& inventory, TrialOutcome failing,
                                   Trial::Prepare const& prepare);

} // namespace Simulate

#include "simulate/Simulation.h"

#include "agent/inventory/FileContent.h"
#include "simulate/History.h"
#include "simulate/Orderly.h"
#include "simulate/Progress.h"

#include <deque>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>

namespace Simulate {

namespace {

Trial::Source listed(std::vector<std::string> const& commands) {
   return [commands, at = std::size_t{0}]() mutable {
      return at < commands.size() ? std::optional(commands[at++]) : std::nullopt;
   };
}

Trial::Source drawn(Inventory const& inventory, SimulateOptions const& options, uint64_t seed) {
   if (seed % 4 == 0) {
      auto orderly = std::make_shared<Orderly>(inventory, seed, options.steps / 4 + 1);
      return [orderly, first = listed(options.first)]() mutable {
         auto command = first();
         return command ? command : orderly->next();
      };
   }
   auto history = std::make_shared<History>(inventory, seed);
   auto queue =
       std::make_shared<std::deque<std::string>>(options.first.begin(), options.first.end());
   if (seed % 4 == 3) {
      queue->push_back("set admission detour");
   }
   for (std::string const& command : history->opening()) {
      queue->push_back(command);
   }
   return [history, queue, left = options.steps]() mutable -> std::optional<std::string> {
      if (queue->empty() && left > 0) {
         queue->push_back(history->next());
         if (--left == 0) {
            for (std::string const& command : history->closing()) {
               queue->push_back(command);
            }
         }
      }
      if (queue->empty()) {
         return std::nullopt;
      }
      std::string command = queue->front();
      queue->pop_front();
      return command;
   };
}

void writeScenario(SimulateOptions const& options, uint64_t seed, TrialOutcome const& failing,
                   std::ostream& out) {
   std::string path =
       options.write.empty() ? "simulate-" + std::to_string(seed) + ".scenario" : options.write;
   std::ofstream file(path);
   file << "# seed " << seed << ", " << options.steps << " steps: " << failing.failure->check
        << ": " << failing.failure->text << "\n";
   for (std::string const& command : failing.carriedOut) {
      file << command << "\n";
   }
   out << (file.flush() ? "written to " : "cannot write ") << path << ", "
       << failing.carriedOut.size() << " commands\n";
}

// A failure that was found by what was touched is found at the same command or an earlier one when
// everything is checked after each.
TrialOutcome located(Inventory const& inventory, SimulateOptions const& options, uint64_t seed,
                     TrialOutcome failing) {
   if (options.whole) {
      return failing;
   }
   TrialOutcome exact =
       Trial(inventory, drawn(inventory, options, seed), options.prepare, options.prove).outcome();
   return exact.failure ? std::move(exact) : std::move(failing);
}

// They are the same in every history, and nothing comes before them: once is enough.
void checkFirst(Inventory const& inventory, SimulateOptions const& options) {
   TrialOutcome outcome = Trial(inventory, listed(options.first), options.prepare).outcome();
   if (!outcome.refused.empty()) {
      throw SimulateError("--first:" + std::to_string(*outcome.refused.begin() + 1) + ": " +
                          outcome.firstRefusal);
   }
}

} // namespace

std::optional<TrialOutcome> shrink(Inventory const& inventory, TrialOutcome failing,
                                   Trial::Prepare const& prepare) {
   constexpr int maxTrials = 2000;
   int trials = 0;
   auto fails = [&](TrialOutcome const& outcome) {
      return outcome.failure && outcome.failure->check == failing.failure->check;
   };
   TrialOutcome again = Trial(inventory, listed(failing.carriedOut), prepare).outcome();
   if (!again.failure) {
      return std::nullopt;
   }
   failing = std::move(again);
   if (failing.carriedOut.back().starts_with("#")) {
      return failing; // a shorter history would not be orderly
   }
   for (std::size_t size = std::max<std::size_t>(1, failing.carriedOut.size() / 2);;) {
      bool shrunk = false;
      // From the end: what comes last depends on what came before, not the other way.
      for (std::size_t end = failing.carriedOut.size(); end > 0 && trials < maxTrials; ++trials) {
         std::size_t begin = end > size ? end - size : 0;
         auto fewer = failing.carriedOut;
         fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(begin),
                     fewer.begin() + static_cast<std::ptrdiff_t>(end));
         TrialOutcome outcome = Trial(inventory, listed(fewer), prepare).outcome();
         if (fails(outcome) && outcome.carriedOut.size() < failing.carriedOut.size()) {
            failing = std::move(outcome);
            shrunk = true;
         }
         end = std::min(begin, failing.carriedOut.size());
      }
      if (trials >= maxTrials || (size == 1 && !shrunk)) {
         return failing;
      }
      size = std::max<std::size_t>(1, size / 2);
   }
}

int replay(Inventory const& inventory, SimulateOptions const& options, std::ostream& out) {
   std::string reason;
   auto scenario = Agent::fileContent(options.scenario, &reason);
   if (!scenario) {
      throw SimulateError(options.scenario + ": error: cannot be read: " + reason);
   }
   std::vector<std::string> lines;
   std::istringstream in(*scenario);
   for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
   }
   TrialOutcome outcome = Trial(inventory, listed(lines), options.prepare).outcome();
   if (!outcome.refused.empty()) {
      throw SimulateError(options.scenario + ":" + std::to_string(*outcome.refused.begin() + 1) +
                          ": " + outcome.firstRefusal);
   }
   if (outcome.failure) {
      out << options.scenario << ":" << outcome.carriedOut.size()
          << ": failed: " << outcome.failure->check << ": " << outcome.failure->text << "\n";
      return 1;
   }
   out << options.scenario << ": all checks held\n";
   return 0;
}

int simulate(Inventory const& inventory, SimulateOptions const& options, std::ostream& out) {
   if (inventory.units.empty()) {
      out << "the inventory has no unit: nothing can happen there\n";
      return 1;
   }
   std::deque<Trial> running;
   uint64_t started = 0;
   uint64_t carriedOut = 0;
   uint64_t refused = 0;
   if (!options.first.empty()) {
      checkFirst(inventory, options);
   }
   Coverage coverage;
   Progress progress(options.progress, options.seeds);
   for (uint64_t i = 0; i < options.seeds; ++i) {
      while (started < options.seeds && started < i + options.jobs) {
         running.emplace_back(inventory, drawn(inventory, options, options.seed + started++),
                              options.prepare, options.prove,
                              options.whole ? Extent::whole : Extent::touched);
      }
      TrialOutcome outcome = running.front().outcome();
      running.pop_front();
      carriedOut += outcome.carriedOut.size();
      refused += outcome.refused.size();
      progress.ended(outcome.carriedOut.size() + outcome.refused.size(),
                     outcome.failure.has_value());
      for (auto const& [name, count] : outcome.coverage) {
         coverage[name] += count;
      }
      if (outcome.failure) {
         uint64_t seed = options.seed + i;
         running.clear();
         outcome = located(inventory, options, seed, std::move(outcome));
         progress.clear();
         out << "seed " << seed << " fails: " << outcome.failure->check << ": "
             << outcome.failure->text << "\n";
         auto shrunk = shrink(inventory, outcome, options.prepare);
         if (!shrunk) {
            out << "its commands alone do not fail again; written as they were\n";
         }
         writeScenario(options, seed, shrunk.value_or(std::move(outcome)), out);
         return 1;
      }
   }
   progress.clear();
   out << options.seeds << " seeds from " << options.seed << ", " << options.steps
       << " steps each: " << carriedOut << " commands carried out, " << refused
       << " refused, all checks held\n";
   std::string never;
   bool allMet = true;
   for (auto const& [name, count] : coverage) {
      allMet = allMet && count != 0;
      never += count == 0 ? "   " + name + "\n" : "";
      if (options.counts) {
         out << std::setw(10) << count << "  " << name << "\n";
      }
   }
   out << (never.empty() ? "every situation was met\n" : "never met:\n" + never);
   return options.allMet && !allMet ? 1 : 0;
}

} // namespace Simulate

// shoal-simulate: random histories of the library under an agent, checked against a model.
#include "agent/command/ProgramOptions.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "host/text/Printable.h"
#include "simulate/Simulation.h"

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace {

using Simulate::SimulateOptions;

std::string checkCommand(std::string const& text) {
   return std::any_of(text.begin(), text.end(), Agent::isControl)
              ? "a command is one line without control characters"
              : "";
}

void addOptions(CLI::App& app, SimulateOptions& options) {
   constexpr uint64_t max = 1'000'000'000;
   app.add_option("--scenario", options.scenario,
                  "play this file of commands instead, with the same checks");
   app.add_option("--seed", options.seed, "the first history's; 1 by default")
       ->transform(Agent::number(0, UINT64_MAX));
   app.add_option("--steps", options.steps, "commands drawn per history; 1,000 by default")
       ->transform(Agent::number(1, max));
   app.add_option("--seeds", options.seeds, "how many histories; 1 by default")
       ->transform(Agent::number(1, max));
   app.add_option("--jobs", options.jobs, "histories at a time; 1 by default")
       ->transform(Agent::number(1, 256));
   app.add_option("--first", options.first, "a command ahead of every history; repeatable")
       ->check(checkCommand)
       ->allow_extra_args(false);
   app.add_option("--prove", options.prove,
                  "of so many refused changes, one is carried out in a copy, where it has to stop "
                  "the library; 50 by default, 0: none")
       ->transform(Agent::number(0, max));
   app.add_flag("--whole", options.whole,
                "check everything after each command, not only what it touched");
   app.add_option("--write", options.write,
                  "file for a failing history; simulate-SEED.scenario by default");
   app.add_flag("--counts", options.counts, "print how often each situation was met");
   app.add_flag("--all-met", options.allMet, "a situation that was never met is an error");
}

int run(int argc, char** argv) {
   CLI::App app("shoal-simulate: random histories, checked against a model of the library");
   Agent::InventoryOptions inventoryOptions;
   SimulateOptions options;
   Agent::addInventoryOptions(app, inventoryOptions);
   addOptions(app, options);
   try {
      app.parse(argc, argv);
   } catch (CLI::ParseError const& error) {
      return app.exit(error) == 0 ? 0 : Agent::usageError;
   }
   auto inventory = Agent::readInventory(inventoryOptions);
   if (!inventory) {
      return Agent::usageError;
   }
   Agent::readToggles();
   options.progress = ::isatty(STDERR_FILENO) != 0 ? &std::cerr : nullptr;
   return options.scenario.empty() ? simulate(*inventory, options, std::cout)
                                   : replay(*inventory, options, std::cout);
}

} // namespace

int main(int argc, char** argv) {
   int result = Agent::usageError;
   try {
      result = run(argc, argv);
   } catch (Agent::InventoryError const& error) {
      std::cerr << error.what() << "\n";
   } catch (Simulate::SimulateError const& error) {
      std::cerr << error.what() << "\n";
   } catch (std::exception const& error) {
      std::cerr << "shoal-simulate: error: " << error.what() << "\n";
      result = 1;
   }
   if (!std::cout.flush()) {
      std::cerr << "shoal-simulate: error: cannot write all of the output\n";
      return result == 0 ? 1 : result;
   }
   return result;
}

// shoal-agent: hosts the library over a simulated chip.
#include "agent/command/Reference.h"
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "agent/simulate/SimulateCommands.h"
#include "agent/simulate/Simulation.h"
#include "agent/text/Printable.h"
#include "platform/Toggle/Toggle.h"
#include "platform/Trace/BliplineReader.h"
#include "ShoalTunnel/TcamSharing/DynamicISemData.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <csignal>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace {

constexpr int usageError = 2;

// What the command line asks for.
using Run = std::function<int()>;

struct InventoryOptions {
   std::string path;
   bool strict = false;
   bool quiet = false;
};

void defineInventory(CLI::App& command, InventoryOptions& options) {
   command.add_option("--inventory", options.path, "CONFIG_DB JSON file")->required();
   command.add_flag("--strict", options.strict, "a diagnostic of the inventory is an error");
   command.add_flag("--quiet", options.quiet, "do not print the diagnostics of the inventory");
}

// Prints its diagnostics; none when they are errors.
std::optional<Agent::Inventory> loadInventory(InventoryOptions const& options) {
   Agent::Inventory inventory = Agent::readInventory(options.path);
   if (!options.quiet || options.strict) {
      for (auto const& each : inventory.diagnostics) {
         std::cerr << each.file << ": " << each.table << " " << each.key
                   << (options.strict ? ": error: " : ": warning: ") << each.text << "\n";
      }
   }
   if (options.strict && !inventory.diagnostics.empty()) {
      return std::nullopt;
   }
   return inventory;
}

// Read here, so that none of the copies that rehearse commands reads them and warns again.
void readToggles() {
   (void)Hardware::ShoalTunnel::toggleDynamicISemDataEnabled();
   for (std::string const& warning : Toggle::warnings()) {
      std::cerr << warning << "\n";
   }
}

struct ScenarioOptions {
   InventoryOptions inventory;
   std::optional<std::string> scenario; // "-": standard input
   std::vector<std::string> then;
   Agent::RunOptions run;
};

int runScenario(ScenarioOptions const& options) {
   // Who gives commands has given what is to run.
   std::string path = options.scenario.value_or(options.then.empty() ? "-" : "");
   bool standardInput = path == "-";
   std::optional<std::string> scenario = "";
   std::string reason;
   if (options.scenario && !standardInput) {
      scenario = Agent::fileContent(path, &reason);
   }
   if (!scenario) {
      std::cerr << path << ": error: cannot be read: " << reason << "\n";
      return usageError;
   }
   auto inventory = loadInventory(options.inventory);
   if (!inventory) {
      return usageError;
   }
   Agent::RunOptions how = options.run;
   if (standardInput && ::isatty(STDIN_FILENO) == 1) {
      std::cerr << "shoal-agent: reads commands from here: help lists them\n";
      how.keepGoing = true; // who types sees the error and types again
   }
   readToggles();
   Agent::Host host(std::move(*inventory));
   Agent::ScenarioRunner runner(host, std::cout, std::cerr, how);
   std::istringstream commands(*scenario);
   int result = standardInput ? runner.run(std::cin, "standard input") : runner.run(commands, path);
   for (std::size_t i = 0; i < options.then.size(); ++i) {
      result = runner.runLine(options.then[i], "--then", i + 1) ? result : 1;
   }
   host.traceFile().check();
   return result;
}

void defineRun(CLI::App& app, Run& chosen) {
   auto options = std::make_shared<ScenarioOptions>();
   auto& run = *app.add_subcommand("run", "run a scenario on an inventory, on virtual time");
   defineInventory(run, options->inventory);
   run.add_option("--scenario", options->scenario,
                  "file of commands; - is standard input, the default without --then");
   run.add_option("--then", options->then, "a command to run after the scenario; repeatable")
       ->allow_extra_args(false);
   run.add_flag("--keep-going", options->run.keepGoing, "go on after an error");
   run.add_flag("--echo", options->run.echo, "print each command before it runs");
   run.callback([=, &chosen] { chosen = [=] { return runScenario(*options); }; });
}

// Numbers as in commands, instead of whatever the conversion makes of them.
CLI::Validator number(uint64_t min, uint64_t max) {
   return {[=](std::string& text) {
              try {
                 text = std::to_string(Agent::parseNumber(text, "it", min, max));
                 return std::string();
              } catch (Agent::CommandError const& error) {
                 return std::string(error.what());
              }
           },
           "", "number"};
}

std::string checkCommand(std::string const& text) {
   return std::any_of(text.begin(), text.end(), Agent::isControl)
              ? "a command is one line without control characters"
              : "";
}

struct HistoryOptions {
   InventoryOptions inventory;
   Agent::SimulateOptions simulation;
};

int simulate(HistoryOptions const& options) {
   auto inventory = loadInventory(options.inventory);
   if (!inventory) {
      return usageError;
   }
   readToggles();
   return Agent::simulate(*inventory, options.simulation, std::cout);
}

void defineSimulate(CLI::App& app, Run& chosen) {
   auto options = std::make_shared<HistoryOptions>();
   auto& simulating = *app.add_subcommand("simulate", "random histories, checked all along");
   defineInventory(simulating, options->inventory);
   auto& simulation = options->simulation;
   constexpr uint64_t max = 1'000'000'000;
   simulating.add_option("--seed", simulation.seed, "the first history's")
       ->required()
       ->transform(number(0, UINT64_MAX));
   simulating.add_option("--steps", simulation.steps, "commands drawn per history")
       ->required()
       ->transform(number(1, max));
   simulating.add_option("--seeds", simulation.seeds, "how many histories; 1 by default")
       ->transform(number(1, max));
   simulating.add_option("--jobs", simulation.jobs, "histories at a time; 1 by default")
       ->transform(number(1, 256));
   simulating
       .add_option("--first", simulation.first, "a command ahead of every history; repeatable")
       ->check(checkCommand)
       ->allow_extra_args(false);
   simulating.add_option("--write", simulation.write,
                         "file for a failing history; simulate-SEED.scenario by default");
   simulating.add_flag("--counts", simulation.counts, "print how often each situation was met");
   simulating.add_flag("--all-met", simulation.allMet,
                       "an error when one was never met, rules that excuse a check left aside");
   simulating.add_option("--write-refused", simulation.writeRefused,
                         "file for the numbers of the commands that were refused");
   simulating.add_option("--refused", simulation.refused,
                         "such a file of the same histories: they are left out, and the rest is "
                         "not rehearsed (faster under sanitizers)");
   simulating.callback([=, &chosen] { chosen = [=] { return simulate(*options); }; });
}

int decode(std::string const& path) {
   try {
      Trace::printBlipline(path, std::cout);
   } catch (Trace::BliplineError const& error) {
      std::cerr << path << ": error: " << error.what() << "\n";
      return 1;
   } catch (std::system_error const& error) {
      std::cerr << path << ": error: cannot be read: " << error.code().message() << "\n";
      return usageError;
   }
   return 0;
}

void defineDecode(CLI::App& app, Run& chosen) {
   auto path = std::make_shared<std::string>();
   auto& decoding = *app.add_subcommand("decode", "print a Blipline file in words");
   decoding.add_option("FILE", *path, "Blipline file")->required();
   decoding.callback([=, &chosen] { chosen = [=] { return decode(*path); }; });
}

int listCommands() {
   for (auto const& [name, command] : Agent::commandRegistry().commands()) {
      Agent::printCommand(std::cout, command);
   }
   return 0;
}

void defineCommands(CLI::App& app, Run& chosen) {
   app.add_subcommand("commands", "list the commands of scenarios")->callback([&chosen] {
      chosen = listCommands;
   });
}

void defineHelp(CLI::App& app, Run& chosen) {
   auto& help = *app.add_subcommand("help", "list the commands of scenarios for other programs");
   auto& format = *help.add_option_group("format")->require_option(1);
   auto markdown = std::make_shared<bool>(false);
   auto dictionary = std::make_shared<bool>(false);
   format.add_flag("--markdown", *markdown, "as the table in docs/agent.md");
   format.add_flag("--dictionary", *dictionary, "as a dictionary for a fuzzer");
   help.callback([=, &chosen] {
      chosen = [=] {
         *dictionary ? Agent::printDictionary(std::cout) : Agent::printMarkdown(std::cout);
         return 0;
      };
   });
}

int runProgram(int argc, char** argv) {
   CLI::App app("shoal-agent: hosts the TcamSharing library over a simulated chip");
   app.require_subcommand(1);
   Run chosen;
   defineRun(app, chosen);
   defineSimulate(app, chosen);
   defineDecode(app, chosen);
   defineCommands(app, chosen);
   defineHelp(app, chosen);
   try {
      app.parse(argc, argv);
   } catch (CLI::ParseError const& error) {
      return app.exit(error) == 0 ? 0 : usageError;
   }
   try {
      return chosen();
   } catch (Agent::InventoryError const& error) {
      std::cerr << error.what() << "\n";
      return usageError;
   } catch (Agent::SimulateError const& error) {
      std::cerr << error.what() << "\n";
      return usageError;
   } catch (std::exception const& error) {
      std::cerr << "shoal-agent: error: " << error.what() << "\n";
      return 1;
   }
}

} // namespace

int main(int argc, char** argv) {
   // A write past the limit of a file's size is an error where it happens.
   std::signal(SIGXFSZ, SIG_IGN);
   Agent::addSimulateCommands(Agent::commandRegistry());
   int result = runProgram(argc, argv);
   if (!std::cout.flush()) {
      std::cerr << "shoal-agent: error: cannot write all of the output\n";
      return result == 0 ? 1 : result;
   }
   return result;
}

// shoal-agent: hosts the library over a simulated chip.
#include "agent/command/Registry.h"
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
#include <iostream>
#include <optional>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace {

constexpr int usageError = 2;

struct Options {
   std::string inventory;
   std::optional<std::string> scenario; // "-": standard input
   std::vector<std::string> then;
   bool strict = false;
   bool quiet = false;
   Agent::RunOptions run;
};

// With what is odd in it printed; none when that is an error.
std::optional<Agent::Inventory> parseInventory(Options const& options) {
   Agent::Inventory inventory = Agent::readInventory(options.inventory);
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

// Read here, so that none of the copies that rehearse commands does it and says so again.
void readToggles() {
   (void)Hardware::ShoalTunnel::toggleDynamicISemDataEnabled();
   for (std::string const& warning : Toggle::warnings()) {
      std::cerr << warning << "\n";
   }
}

int runScenario(Options const& options) {
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
   auto inventory = parseInventory(options);
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

int simulate(Options const& options, Agent::SimulateOptions const& simulation) {
   auto inventory = parseInventory(options);
   if (!inventory) {
      return usageError;
   }
   readToggles();
   return Agent::simulate(*inventory, simulation, std::cout);
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

int listCommands() {
   for (auto const& [name, command] : Agent::commandRegistry().commands()) {
      std::cout << name << " " << command.arguments << "\n    " << command.help << "\n";
   }
   return 0;
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

int runProgram(int argc, char** argv) {
   CLI::App app("shoal-agent: hosts the TcamSharing library over a simulated chip");
   app.require_subcommand(1);
   Options options;
   auto* run = app.add_subcommand("run", "run a scenario on an inventory, on virtual time");
   run->add_option("--inventory", options.inventory, "CONFIG_DB JSON file")->required();
   run->add_option("--scenario", options.scenario,
                   "file of commands; - is standard input, the default without --then");
   run->add_option("--then", options.then, "a command to run behind the scenario; repeatable")
       ->allow_extra_args(false);
   run->add_flag("--strict", options.strict, "what is odd in the inventory is an error");
   run->add_flag("--quiet", options.quiet, "do not print what is odd in the inventory");
   run->add_flag("--keep-going", options.run.keepGoing, "go on behind an error");
   run->add_flag("--echo", options.run.echo, "print each command before it runs");
   Agent::SimulateOptions simulation;
   auto* simulating = app.add_subcommand("simulate", "random histories, checked all along");
   simulating->add_option("--inventory", options.inventory, "CONFIG_DB JSON file")->required();
   simulating->add_flag("--strict", options.strict, "what is odd in the inventory is an error");
   simulating->add_flag("--quiet", options.quiet, "do not print what is odd in the inventory");
   constexpr uint64_t max = 1'000'000'000;
   simulating->add_option("--seed", simulation.seed, "the first history's")
       ->required()
       ->transform(number(0, UINT64_MAX));
   simulating->add_option("--steps", simulation.steps, "commands drawn per history")
       ->required()
       ->transform(number(1, max));
   simulating->add_option("--seeds", simulation.seeds, "how many histories; 1 by default")
       ->transform(number(1, max));
   simulating->add_option("--jobs", simulation.jobs, "histories at a time; 1 by default")
       ->transform(number(1, 256));
   simulating
       ->add_option("--first", simulation.first, "a command ahead of every history; repeatable")
       ->check(checkCommand)
       ->allow_extra_args(false);
   simulating->add_option("--write", simulation.write,
                          "file for a failing history; simulate-SEED.scenario by default");
   simulating->add_flag("--counts", simulation.counts, "print how often each situation was met");
   simulating->add_flag("--all-met", simulation.allMet,
                        "an error when one was never met, rules that excuse a check left aside");
   simulating->add_option("--write-refused", simulation.writeRefused,
                          "file for the numbers of the commands that were refused");
   simulating->add_option("--refused", simulation.refused,
                          "such a file of the same histories: they are left out, and the rest is "
                          "not rehearsed (faster under sanitizers)");
   std::string blipline;
   auto* decoding = app.add_subcommand("decode", "print a Blipline file in words");
   decoding->add_option("FILE", blipline, "Blipline file")->required();
   app.add_subcommand("commands", "list the commands of scenarios");
   try {
      app.parse(argc, argv);
   } catch (CLI::ParseError const& error) {
      return app.exit(error) == 0 ? 0 : usageError;
   }
   try {
      return run->parsed()          ? runScenario(options)
             : simulating->parsed() ? simulate(options, simulation)
             : decoding->parsed()   ? decode(blipline)
                                    : listCommands();
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

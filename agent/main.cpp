// shoal-agent: hosts the library over a simulated chip.
#include "agent/command/ProgramOptions.h"
#include "agent/command/Registry.h"
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "platform/Trace/BliplineReader.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>
#include <optional>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace {

using Agent::usageError;

struct Options {
   Agent::InventoryOptions inventory;
   std::optional<std::string> scenario; // "-": standard input
   std::vector<std::string> then;
   Agent::RunOptions run;
};

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
   auto inventory = readInventory(options.inventory);
   if (!inventory) {
      return usageError;
   }
   Agent::RunOptions how = options.run;
   if (standardInput && ::isatty(STDIN_FILENO) == 1) {
      std::cerr << "shoal-agent: reads commands from here: help lists them\n";
      how.keepGoing = true; // who types sees the error and types again
   }
   Agent::readToggles();
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

int runProgram(int argc, char** argv) {
   CLI::App app("shoal-agent: hosts the TcamSharing library over a simulated chip");
   app.require_subcommand(1);
   Options options;
   auto* run = app.add_subcommand("run", "run a scenario on an inventory, on virtual time");
   addInventoryOptions(*run, options.inventory);
   run->add_option("--scenario", options.scenario,
                   "file of commands; - is standard input, the default without --then");
   run->add_option("--then", options.then, "a command to run behind the scenario; repeatable")
       ->allow_extra_args(false);
   run->add_flag("--keep-going", options.run.keepGoing, "go on behind an error");
   run->add_flag("--echo", options.run.echo, "print each command before it runs");
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
      return run->parsed()        ? runScenario(options)
             : decoding->parsed() ? decode(blipline)
                                  : listCommands();
   } catch (Agent::InventoryError const& error) {
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
   int result = runProgram(argc, argv);
   if (!std::cout.flush()) {
      std::cerr << "shoal-agent: error: cannot write all of the output\n";
      return result == 0 ? 1 : result;
   }
   return result;
}

// shoal-agent: hosts the library over a simulated chip.
#include "agent/command/ManualPages.h"
#include "agent/command/ProgramOptions.h"
#include "agent/command/Reference.h"
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "platform/Trace/BliplineReader.h"
#include "ShoalTunnel/Version.h"

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

using Agent::usageError;

// What the command line asks for.
using Run = std::function<int()>;

struct ScenarioOptions {
   Agent::InventoryOptions inventory;
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
   // Ends with the process: to take it apart takes about as long as to build it.
   static Agent::AgentHost& host = *new Agent::AgentHost(std::move(*inventory));
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
   addInventoryOptions(run, options->inventory);
   run.add_option("--scenario", options->scenario,
                  "file of commands; - is standard input, the default without --then")
       ->type_name("FILE");
   run.add_option("--then", options->then, "a command to run after the scenario; repeatable")
       ->type_name("COMMAND")
       ->allow_extra_args(false);
   run.add_flag("--keep-going", options->run.keepGoing, "go on after an error");
   run.add_flag("--echo", options->run.echo, "print each command before it runs");
   run.callback([=, &chosen] { chosen = [=] { return runScenario(*options); }; });
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
   auto manual = std::make_shared<std::string>();
   format.add_flag("--markdown", *markdown, "as the table in docs/agent.md");
   format.add_flag("--dictionary", *dictionary, "as a dictionary for a fuzzer");
   format.add_option("--man", *manual, "as manual pages, written into this folder")
       ->type_name("FOLDER");
   help.callback([=, &app, &chosen] {
      chosen = [=, &app] {
         if (*markdown) {
            Agent::printMarkdown(std::cout);
         } else if (*dictionary) {
            Agent::printDictionary(std::cout);
         } else {
            Agent::writeManualPages(app, *manual);
         }
         return 0;
      };
   });
}

int runProgram(int argc, char** argv) {
   CLI::App app("shoal-agent: hosts the TcamSharing library over a simulated chip");
   app.require_subcommand(1);
   app.footer("Exit code 0: success; 1: an error, a condition that did not hold, or output that\n"
              "could not be written; 2: a usage error, or a file that is not valid or cannot be\n"
              "read.");
   app.set_version_flag("--version", TCAM_SHARING_VERSION);
   Run chosen;
   defineRun(app, chosen);
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

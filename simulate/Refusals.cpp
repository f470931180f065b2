#include "simulate/Refusals.h"

#include "agent/command/Registry.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Simulate {

using namespace Agent;

Refusals Refusals::read(std::string const& path) {
   Refusals refusals;
   std::ifstream file(path);
   if (!file) {
      throw std::runtime_error("cannot read " + path);
   }
   std::string line;
   for (std::size_t number = 1; std::getline(file, line); ++number) {
      std::istringstream words(line);
      std::string seed;
      std::string steps;
      std::string command;
      try {
         if (!(words >> seed >> steps) || steps.back() != ':') {
            throw CommandError("");
         }
         steps.pop_back();
         std::set<uint64_t> commands;
         while (words >> command) {
            commands.insert(parseNumber(command, "NUMBER", 0, UINT64_MAX));
         }
         refusals.historyIs(parseNumber(seed, "SEED", 0, UINT64_MAX),
                            parseNumber(steps, "STEPS", 0, UINT64_MAX), std::move(commands));
      } catch (CommandError const& error) {
         std::string reason = error.what();
         throw std::runtime_error(path + ":" + std::to_string(number) +
                                  ": not SEED STEPS: NUMBER..." +
                                  (reason.empty() ? "" : ": " + reason));
      }
   }
   return refusals;
}

void Refusals::checkWritable(std::string const& path) {
   if (!std::ofstream(path, std::ios::app)) {
      throw std::runtime_error("cannot write " + path);
   }
}

void Refusals::write(std::string const& path) const {
   std::ofstream file(path);
   for (auto const& [history, commands] : histories_) {
      file << history.first << ' ' << history.second << ':';
      for (uint64_t command : commands) {
         file << ' ' << command;
      }
      file << '\n';
   }
   if (!file.flush()) {
      throw std::runtime_error("cannot write " + path);
   }
}

std::set<uint64_t> const& Refusals::history(uint64_t seed, uint64_t steps) const {
   auto found = histories_.find({seed, steps});
   if (found == histories_.end()) {
      throw std::runtime_error("the refused commands of seed " + std::to_string(seed) + ", " +
                               std::to_string(steps) + " steps are not known");
   }
   return found->second;
}

} // namespace Simulate

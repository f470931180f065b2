#include "agent/simulate/Refusals.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Agent {

Refusals Refusals::read(std::string const& path) {
   Refusals refusals;
   std::ifstream file(path);
   if (!file) {
      throw std::runtime_error("cannot read " + path);
   }
   std::string line;
   for (std::size_t number = 1; std::getline(file, line); ++number) {
      std::istringstream words(line);
      uint64_t seed = 0;
      uint64_t steps = 0;
      char colon = 0;
      bool sound = words >> seed >> steps >> colon && colon == ':';
      std::set<uint64_t> commands;
      for (uint64_t command; sound && words >> command;) {
         commands.insert(command);
      }
      if (!sound || !words.eof()) {
         throw std::runtime_error(path + ":" + std::to_string(number) +
                                  ": not SEED STEPS: NUMBER...");
      }
      refusals.historyIs(seed, steps, std::move(commands));
   }
   return refusals;
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

} // namespace Agent

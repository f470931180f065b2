// Which commands of each history were refused, kept in a file from one run to the next: a run that
// knows them leaves them out and need not rehearse the rest, which is what takes time under
// sanitizers.
//
// One line per history, "SEED STEPS: NUMBER...", the numbers counting its commands from 0.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace Simulate {

class Refusals {
 public:
   // The file's. Throws std::runtime_error, naming the place, when it cannot be read.
   static Refusals read(std::string const& path);
   // Throws std::runtime_error when write() would have to. The file keeps what it holds.
   static void checkWritable(std::string const& path);
   // Throws std::runtime_error.
   void write(std::string const& path) const;

   void historyIs(uint64_t seed, uint64_t steps, std::set<uint64_t> commands) {
      histories_[{seed, steps}] = std::move(commands);
   }
   // Throws std::runtime_error for a history that is not there.
   std::set<uint64_t> const& history(uint64_t seed, uint64_t steps) const;

 private:
   std::map<std::pair<uint64_t, uint64_t>, std::set<uint64_t>> histories_;
};

} // namespace Simulate

// Runs a scenario: commands, one per line, '#' to the end of a line is a comment, quotes keep
// spaces.
#pragma once

#include "agent/host/AgentHost.h"

#include <istream>
#include <optional>
#include <ostream>
#include <string>

namespace Agent {

struct RunOptions {
   bool keepGoing = false; // go on after an error
   bool echo = false;      // print each command before it runs
};

class ScenarioRunner {
 public:
   // Results go to `out`, errors ("file:line: error: reason") to `errors`. Both are flushed after
   // each command.
   ScenarioRunner(AgentHost& host, std::ostream& out, std::ostream& errors, RunOptions options)
       : host_(host), out_(out), errors_(errors), options_(options) {}

   // Returns 0, or 1 after an error or an expectation that did not hold.
   int run(std::istream& in, std::string const& name);
   // One command; false after an error.
   bool runLine(std::string const& line, std::string const& name, std::size_t number);
   // Why the last command was refused, if its change would have stopped the library.
   std::optional<Objection> const& refused() const { return refused_; }

 private:
   bool tryLine(std::string const& line, std::string const& name, std::size_t number);
   // What was told of ways round, behind the first so many.
   void printNotes(uint64_t told);

   AgentHost& host_;
   std::ostream& out_;
   std::ostream& errors_;
   RunOptions options_;
   std::optional<Objection> refused_;
};

// Throws CommandError for quotes that are not closed.
std::vector<std::string> splitWords(std::string const& line);

} // namespace Agent

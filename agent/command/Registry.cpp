#include "agent/command/Registry.h"

namespace Agent {

void Registry::add(std::span<Command const> commands) {
   for (Command const& command : commands) {
      commands_.emplace(command.name, command);
   }
}

std::vector<Command const*> Registry::named(std::string_view name) const {
   std::vector<Command const*> found;
   for (auto at = commands_.lower_bound(name); at != commands_.end(); ++at) {
      std::string_view rest = at->first;
      if (!rest.starts_with(name)) {
         break;
      }
      rest.remove_prefix(name.size());
      if (rest.empty() || rest.front() == ' ') {
         found.push_back(&at->second);
      }
   }
   return found;
}

Command const& Registry::take(std::vector<std::string>& words) const {
   auto named = this->named(words.front());
   if (named.empty()) {
      throw CommandError("there is no command '{}' (help lists them)", words.front());
   }
   std::size_t first = words.front().size();
   for (Command const* command : named) {
      bool two = command->name.size() > first;
      if (!two || (words.size() > 1 && command->name.substr(first + 1) == words[1])) {
         words.erase(words.begin(), words.begin() + (two ? 2 : 1));
         return *command;
      }
   }
   if (words.size() == 1) {
      throw CommandError("WHAT is missing behind {}", words.front());
   }
   throw CommandError(
       "{} is followed by one of {}, not '{}'", words.front(),
       join(named, ", ", [&](Command const* each) { return each->name.substr(first + 1); }),
       words[1]);
}

Registry& commandRegistry() {
   static Registry registry = [] {
      Registry made;
      for (auto commands : {requestCommands(), worldCommands(), featureCommands(),
                            machineCommands(), chipCommands(), timeCommands(), showCommands(),
                            explainCommands(), expectCommands(), traceCommands()}) {
         made.add(commands);
      }
      return made;
   }();
   return registry;
}

} // namespace Agent

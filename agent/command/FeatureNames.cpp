#include "agent/command/FeatureNames.h"

#include <algorithm>
#include <bit>
#include <sstream>

namespace Agent {

using namespace Hardware::ShoalTunnel;

InLifFeatureType parseFeatureType(Arguments& arguments) {
   std::string word = arguments.next("TYPE");
   std::string number = word.starts_with("feature") ? word.substr(7) : word;
   return static_cast<InLifFeatureType>(parseNumber(number, "TYPE", 1, kInLifFeatureTypeBound - 1));
}

std::vector<InLifIntfKey> parseInLifKeys(AgentHost const& host, Arguments& arguments) {
   World const& world = host.world();
   auto interfaces = world.interfaces(arguments.next("INTERFACE"));
   std::string word = arguments.next("UNIT:CORE or own");
   std::vector<InLifIntfKey> keys;
   for (IntfId intf : interfaces) {
      World::checkServesFeatures(intf);
      if (word != "own") {
         keys.emplace_back(intf, world.tcam(word));
         continue;
      }
      auto tcams = world.tcamsOf(intf);
      if (tcams.empty()) {
         throw CommandError("{} is served by no TCAM; name one as UNIT:CORE", intf.name());
      }
      for (auto tcam : tcams) {
         keys.emplace_back(intf, tcam);
      }
   }
   return keys;
}

InLifIntfKey parseInLifKey(AgentHost const& host, Arguments& arguments) {
   auto keys = parseInLifKeys(host, arguments);
   if (keys.size() != 1) {
      throw CommandError("that names {}; one is wanted here", counted(keys.size(), "key"));
   }
   return keys.front();
}

} // namespace Agent

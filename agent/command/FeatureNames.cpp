#include "agent/command/FeatureNames.h"

#include <algorithm>
#include <bit>

namespace Agent {

using namespace Hardware::ShoalTunnel;

InLifFeatureType parseFeatureType(Arguments& arguments) {
   std::string word = arguments.next("TYPE");
   std::string number = word.starts_with("feature") ? word.substr(7) : word;
   return static_cast<InLifFeatureType>(parseNumber(number, "TYPE", 1, kInLifFeatureTypeBound - 1));
}

std::vector<InLifIntfKey> parseInLifKeys(Host const& host, Arguments& arguments) {
   World const& world = host.world();
   auto interfaces = world.interfaces(arguments.next("INTERFACE"));
   std::string word = arguments.next("UNIT:CORE or own");
   std::vector<InLifIntfKey> keys;
   for (IntfId intf : interfaces) {
      auto kind = intf.fields().kind;
      bool served = !intf.l3Flood() &&
                    (kind == Plexus::IntfKind::port || kind == Plexus::IntfKind::portChannel ||
                     kind == Plexus::IntfKind::vlan);
      if (!served) {
         throw CommandError(intf.name() +
                            " is no port, port-channel, sub-interface or VLAN interface: nothing "
                            "serves in-LIF features there");
      }
      if (word != "own") {
         keys.emplace_back(intf, world.tcam(word));
         continue;
      }
      auto tcams = world.tcamsOf(intf);
      if (tcams.empty()) {
         throw CommandError(intf.name() + " is served by no TCAM; name one as UNIT:CORE");
      }
      for (auto tcam : tcams) {
         keys.emplace_back(intf, tcam);
      }
   }
   return keys;
}

InLifIntfKey parseInLifKey(Host const& host, Arguments& arguments) {
   auto keys = parseInLifKeys(host, arguments);
   if (keys.size() != 1) {
      throw CommandError("that names " + std::to_string(keys.size()) + " keys; one is wanted here");
   }
   return keys.front();
}

std::string formatInLifKey(Host const& host, InLifIntfKey key) {
   return key.intfId().name() + " on " + host.world().tcamName(key.tcamId());
}

std::string formatFeatures(InLifIntfFeatureAggr const& aggregate) {
   std::ostringstream text;
   char const* separator = "";
   for (auto const& [type, value] : aggregate.featureAggIter()) {
      text << separator << type << '=' << value;
      separator = ",";
   }
   return text.str();
}

std::string formatWord(InLifFeatureAttributes const& word) {
   char text[24];
   std::snprintf(text, sizeof text, "0x%08x%04x%04x", word.eei, word.data1, word.data0);
   return text;
}

std::string formatWidth(uint32_t mask) {
   int width = std::popcount(mask);
   return std::to_string(width) + (width == 1 ? " bit" : " bits");
}

std::string_view formatFeatureStatus(InLifFeatureResponseStatus status) {
   static constexpr std::string_view names[] = {"none", "success", "failure"};
   return names[static_cast<std::size_t>(status)];
}

} // namespace Agent

// In-LIF features: who asks for them, and what they are laid over.
#include "agent/command/Explanation.h"
#include "agent/command/FeatureSituation.h"

namespace Agent {

namespace {

using namespace Hardware::ShoalTunnel;
using ShoalTcam::TcamShareQualInfo;

Orv::Ptr<InLifFeatureRequestDir> parseDirectory(Host& host, Arguments& arguments) {
   std::string name = arguments.next("DIRECTORY");
   auto directory = host.inLifFeatures().directory(name);
   if (!directory) {
      throw CommandError("there is no request directory '" + name +
                         "' (feature-directory NAME add)");
   }
   return directory;
}

void featureDirectory(Host& host, Arguments& arguments, std::ostream&) {
   std::string name = arguments.next("NAME");
   std::size_t what = arguments.parseChoice("WHAT", {"remove", "add", "foreign"});
   arguments.end();
   auto const& input = host.inLifFeatures().inputDir;
   if (what == 0) {
      if (!input->entryHas(name)) {
         throw CommandError("there is no directory '" + name + "'");
      }
      input->entryDel(name);
   } else if (what == 1) {
      // A directory that is replaced starts empty.
      input->entryIs(name, Orv::make<InLifFeatureRequestDir>(name));
   } else {
      input->entryIs(name, Orv::make<Orv::Dir>());
   }
}

// By the rules a value is written as it is; who asks has to know what fits.
void warnOfWidth(Host const& host, InLifIntfKey key, InLifFeatureType type, InLifFeatureValue value,
                 std::ostream& out) {
   auto field = featureField(key.tcamId(), type);
   if (field && (value & ~field->mask()) != 0) {
      out << "warning: the field of " << type << " on " << host.world().tcamName(key.tcamId())
          << " has " << formatWidth(field->mask()) << ": the value " << value
          << " is wider; the rest runs into the bits above it\n";
   }
}

void feature(Host& host, Arguments& arguments, std::ostream& out) {
   auto directory = parseDirectory(host, arguments);
   auto keys = parseInLifKeys(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   auto value = static_cast<InLifFeatureValue>(arguments.parseNumber("VALUE", 0, UINT32_MAX));
   arguments.end();
   for (InLifIntfKey key : keys) {
      directory->requestIs(InLifFeatureRequest{InLifFeatureKey(key, type), value});
      warnOfWidth(host, key, type, value, out);
   }
}

void withdrawFeature(Host& host, Arguments& arguments, std::ostream&) {
   auto directory = parseDirectory(host, arguments);
   auto keys = parseInLifKeys(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   arguments.end();
   std::erase_if(
       keys, [&](InLifIntfKey key) { return !directory->requestHas(InLifFeatureKey(key, type)); });
   if (keys.empty()) {
      throw CommandError("directory '" + directory->name() + "' asks for nothing there");
   }
   for (InLifIntfKey key : keys) {
      directory->requestDel(InLifFeatureKey(key, type));
   }
}

void tcamLayout(Host& host, Arguments& arguments, std::ostream&) {
   auto tcam = host.world().tcam(arguments.next("UNIT:CORE"));
   InLifFeatureType type = parseFeatureType(arguments);
   std::optional<TcamShareQualInfo> place;
   if (!arguments.accept("none")) {
      auto offset = static_cast<uint16_t>(arguments.parseNumber("OFFSET", 0, 63));
      auto width = static_cast<uint32_t>(arguments.parseNumber("WIDTH", 1, 16));
      if (offset + width > 64) {
         throw CommandError("a field of " + std::to_string(width) + " bits at offset " +
                            std::to_string(offset) + " does not fit into 64 bits");
      }
      place = TcamShareQualInfo(offset, (1U << width) - 1);
   }
   arguments.end();
   host.world().tcamLayoutIs(tcam, type, place);
}

void tcamKeyVersion(Host& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   host.world().tcamKeyVersionInc();
}

void portChannel(Host& host, Arguments& arguments, std::ostream&) {
   IntfId lag = host.world().interface(arguments.next("PORTCHANNEL"));
   bool present = arguments.parseChoice("add or remove", {"remove", "add"}) == 1;
   arguments.end();
   host.world().portChannelIs(lag, present);
}

void untaggedVlan(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = host.world().interface(arguments.next("INTERFACE"));
   Bridging::VlanIdOrNone vlan;
   if (!arguments.accept("none")) {
      vlan = Bridging::VlanIdOrNone(static_cast<uint32_t>(arguments.parseNumber("VLAN", 1, 4094)));
   }
   arguments.end();
   host.world().untaggedVlanIs(intf, vlan);
}

void explainFeatureCommand(Host& host, Arguments& arguments, std::ostream& out) {
   InLifIntfKey key = parseInLifKey(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   arguments.end();
   printExplanation(out, explainFeature(host, InLifFeatureKey(key, type)), arguments.format());
}

} // namespace

void addFeatureCommands(Registry& registry) {
   registry.add(
       {"feature-directory", "NAME add|remove|foreign",
        "a directory of in-LIF feature requests comes or goes, or an entry of another type "
        "takes its place",
        true, featureDirectory});
   registry.add({"feature", "DIRECTORY INTERFACE UNIT:CORE|own TYPE VALUE",
                 "a directory asks for an in-LIF feature (1 to 12)", true, feature});
   registry.add({"withdraw-feature", "DIRECTORY INTERFACE UNIT:CORE|own TYPE",
                 "a directory asks for it no longer", true, withdrawFeature});
   registry.add({"explain-feature", "INTERFACE UNIT:CORE|own TYPE [--format json]",
                 "why an in-LIF feature is answered as it is, or not yet", false,
                 explainFeatureCommand});
   registry.add({"tcam-layout", "UNIT:CORE TYPE OFFSET WIDTH | UNIT:CORE TYPE none",
                 "where a TCAM keeps a feature in the word; shows with the next key version", true,
                 tcamLayout});
   registry.add(
       {"tcam-key-version", "", "TCAM layouts have changed: all words anew", true, tcamKeyVersion});
   registry.add({"port-channel", "PORTCHANNEL add|remove",
                 "a port-channel goes, its members first, or comes back without any", true,
                 portChannel});
   registry.add({"untagged-vlan", "PORT|PORTCHANNEL VLAN|none", "the VLAN of untagged frames", true,
                 untaggedVlan});
}

} // namespace Agent

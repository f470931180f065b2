// In-LIF features: who asks for them, and where TCAMs keep them.
#include "agent/command/FeatureNames.h"
#include "host/insight/FeatureSituation.h"

#include <fmt/format.h>

namespace Agent {

namespace {

using namespace Hardware::ShoalTunnel;
using ShoalTcam::TcamShareQualInfo;

Orv::Ptr<InLifFeatureRequestDir> parseDirectory(AgentHost& host, Arguments& arguments) {
   std::string name = arguments.next("DIRECTORY");
   auto directory = host.inLifFeatures().directory(name);
   if (!directory) {
      throw CommandError("there is no request directory '{}' (feature-directory NAME add)", name);
   }
   return directory;
}

void featureDirectory(AgentHost& host, Arguments& arguments, std::ostream&) {
   std::string name = arguments.next("NAME");
   std::size_t what = arguments.parseChoice("WHAT", {"remove", "add", "foreign"});
   arguments.end();
   auto const& input = host.inLifFeatures().inputDir;
   if (what == 0) {
      if (!input->entryHas(name)) {
         throw CommandError("there is no directory '{}'", name);
      }
      input->entryDel(name);
   } else if (what == 1) {
      // A directory that is replaced starts empty.
      input->entryIs(name, Orv::make<InLifFeatureRequestDir>(name));
   } else {
      input->entryIs(name, Orv::make<Orv::Dir>());
   }
}

// The value is written as it is; who asks has to know what fits.
void warnOfWidth(AgentHost const& host, InLifFeatureKey key, InLifFeatureValue value,
                 std::ostream& out) {
   auto field = featureField(key.tcamId(), key.featureType());
   if (field && (value & ~field->mask()) != 0) {
      out << fmt::format("warning: the field of {} on {} has {}: the value {} is wider; the rest "
                         "runs into the bits above it\n",
                         formatType(key.featureType()), host.world().tcamName(key.tcamId()),
                         formatWidth(field->mask()), value);
   }
}

void feature(AgentHost& host, Arguments& arguments, std::ostream& out) {
   auto directory = parseDirectory(host, arguments);
   auto keys = parseInLifKeys(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   auto value = arguments.parse<InLifFeatureValue>("VALUE", 0, UINT32_MAX);
   arguments.end();
   for (InLifIntfKey intfKey : keys) {
      InLifFeatureKey key(intfKey, type);
      host.changes().featureIs(directory->name(), key, value);
      warnOfWidth(host, key, value, out);
   }
}

void withdrawFeature(AgentHost& host, Arguments& arguments, std::ostream&) {
   auto directory = parseDirectory(host, arguments);
   auto keys = parseInLifKeys(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   arguments.end();
   std::erase_if(
       keys, [&](InLifIntfKey key) { return !directory->requestHas(InLifFeatureKey(key, type)); });
   if (keys.empty()) {
      throw CommandError("directory '{}' asks for nothing there", directory->name());
   }
   for (InLifIntfKey key : keys) {
      directory->requestDel(InLifFeatureKey(key, type));
   }
}

void tcamLayout(AgentHost& host, Arguments& arguments, std::ostream&) {
   auto tcam = host.world().tcam(arguments.next("UNIT:CORE"));
   InLifFeatureType type = parseFeatureType(arguments);
   std::optional<TcamShareQualInfo> place;
   if (!arguments.accept("none")) {
      auto offset = arguments.parse<uint16_t>("OFFSET", 0, 63);
      auto width = arguments.parse<uint32_t>("WIDTH", 1, 16);
      if (offset + width > 64) {
         throw CommandError("a field of {} at offset {} does not fit into 64 bits",
                            counted(width, "bit"), offset);
      }
      place = TcamShareQualInfo(offset, (1U << width) - 1);
   }
   arguments.end();
   host.world().tcamLayoutIs(tcam, type, place);
}

void tcamKeyVersion(AgentHost& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   host.world().tcamKeyVersionInc();
}

} // namespace

std::span<Command const> featureCommands() {
   static constexpr Command table[] = {
       {"feature-directory", "NAME add|remove|foreign",
        "add or remove a directory of in-LIF feature requests, or put an entry of another type in "
        "its place",
        featureDirectory},
       {"feature", "DIRECTORY INTERFACE UNIT:CORE|own TYPE VALUE",
        "a directory asks for an in-LIF feature (types 1 to 12)", feature},
       {"withdraw-feature", "DIRECTORY INTERFACE UNIT:CORE|own TYPE",
        "the directory asks for it no longer", withdrawFeature},
       {"tcam-layout", "UNIT:CORE TYPE OFFSET WIDTH | UNIT:CORE TYPE none",
        "set where a TCAM keeps a feature in the word; takes effect with the next key version",
        tcamLayout},
       {"tcam-key-version", "", "TCAM layouts have changed: encode all words again",
        tcamKeyVersion},
   };
   return table;
}

} // namespace Agent

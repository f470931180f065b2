// Reactors on the sets inside the members of a collection.
#include "platform/Orv/SetReactors.h"
#include "platform/Lag/LagPhyIntfMapping.h"

#include <gmock/gmock.h>

#include <functional>

namespace Orv {
namespace {

using Lag::LagPhyIntfConfig;
using Plexus::IntfId;
using testing::ElementsAre;

class Monitor {
 public:
   void handlePort(IntfId lag, IntfId port) {
      told.push_back(lag.name() + " " + port.name());
      if (meanwhile) {
         std::exchange(meanwhile, nullptr)();
      }
   }
   using Reactors = SetReactors<KeyedByIndex, LagPhyIntfConfig,
                                &LagPhyIntfConfig::phyIntfCollection, &Monitor::handlePort>;

   explicit Monitor(Lag::LagPhyIntfMapping const& mapping)
       : reactors_(&mapping.lagPhyIntfConfigCollection(), this) {}
   std::vector<std::string> told;
   std::function<void()> meanwhile;

 private:
   Reactors reactors_;
};

// The first handler that is told of a change removes the whole set, before the second one is told.
TEST(SetReactorsTest, NobodyMissesAMemberWhoseSetGoesMeanwhile) {
   auto mapping = Orv::make<Lag::LagPhyIntfMapping>();
   Monitor first(*mapping);
   Monitor second(*mapping);
   IntfId lag("PortChannel1");
   for (char const* port : {"Ethernet1", "Ethernet2"}) {
      mapping->lagPhyIntfConfigIs(lag)->phyIntfIs(IntfId(port));
   }
   second.told.clear();
   first.meanwhile = [&] { mapping->lagPhyIntfConfigDel(lag); };
   mapping->lagPhyIntfConfig(lag)->phyIntfDel(IntfId("Ethernet1"));
   EXPECT_THAT(second.told, ElementsAre("PortChannel1 Ethernet1", "PortChannel1 Ethernet2"));

   // Once, when nobody interferes.
   auto members = mapping->lagPhyIntfConfigIs(lag);
   members->phyIntfIs(IntfId("Ethernet3"));
   second.told.clear();
   members->phyIntfDel(IntfId("Ethernet3"));
   mapping->lagPhyIntfConfigDel(lag);
   EXPECT_THAT(second.told, ElementsAre("PortChannel1 Ethernet3"));
}

} // namespace
} // namespace Orv

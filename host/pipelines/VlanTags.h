// Which VLAN tags are in use, where, and what they mean: the machines that publish the units and
// VLAN domains of ports, the ports that carry each tag, what a tag means on a port, and per unit
// who uses it. They read the world and the shared entries, and change neither.
#pragma once

#include "host/pipelines/IsemPipeline.h"
#include "host/pipelines/Observer.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMapSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfigSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatusSm.h"
#include "ShoalTunnel/VlanDomainSm/VlanDomainSm.h"

namespace ShoalHost {

class VlanTags {
 public:
   VlanTags(World& world, IsemPipeline const& isem);

   // Destroys the machine and builds it again on the same entities. Ignores the machines of the
   // pipelines.
   void rebuild(Machine machine);
   // The pair that an entry's key stands for.
   static Hardware::ShoalTunnel::VlanTagKey tagOf(Hardware::ShoalTunnel::AradSemKeyAndFap key) {
      Hardware::ShoalTunnel::AradISemKeyTcamSharing fields(key.key());
      return {key.fapId(), fields.vlanId(), fields.vlanDomain()};
   }

   // Who uses the entry's tag in its VLAN domain; null: nobody.
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagUsers const>
   usersOf(Hardware::ShoalTunnel::AradSemKeyAndFap key) const {
      return vlanTagMap->vlanTag(tagOf(key));
   }

   // Interface -> its unit, and its VLAN domain.
   Orv::Ptr<Hardware::ShoalTunnel::IntfToFapIdStatus> intfToFapIdStatus;
   Orv::Ptr<Hardware::ShoalTunnel::IntfToVlanDomainStatus> intfToVlanDomainStatus;
   // VLAN -> the ports that carry it; outer tag of sub-interfaces -> the same.
   Orv::Ptr<Hardware::ShoalTunnel::VlanPhyIntfConfig> vlanPhyIntfConfig;
   Orv::Ptr<Hardware::ShoalTunnel::VlanPhyIntfConfig> subIntfTagPhyIntfConfig;
   // Port and tag -> what it means there.
   Orv::Ptr<Hardware::ShoalTunnel::VlanXlateStatus> vlanXlateStatus;
   // Unit, tag and VLAN domain -> who uses it.
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingVlanTagMap> vlanTagMap;

 private:
   World& world_;
   IsemPipeline const& isem_;
   Orv::Ptr<Hardware::ShoalTunnel::VlanDomainSm> vlanDomainSm_;
   Orv::Ptr<Hardware::ShoalTunnel::VlanPhyIntfConfigSm> vlanPhyIntfConfigSm_;
   Orv::Ptr<Hardware::ShoalTunnel::VlanXlateStatusSm> vlanXlateStatusSm_;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingVlanTagMapSm> vlanTagMapSm_;
};

} // namespace ShoalHost

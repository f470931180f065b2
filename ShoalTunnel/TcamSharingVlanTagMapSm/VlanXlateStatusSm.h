// Publishes what each tag means on each physical interface that carries it: a sub-interface, a
// VLAN, the internal VLAN of a routed port; and whether two meanings collide.
//
// The tags of a port-channel's sub-interfaces and its internal VLAN count on each of its members.
// An internal VLAN counts also on a port without a place in the port map. Follows the tables of
// VlanPhyIntfConfigSm, tags, membership and internal VLANs. Null directories read as empty. Ready
// after construction; keeps what an earlier machine published, as far as it is still so. Event
// thread only.
#pragma once

#include "platform/IntfVlanId/Table.h"
#include "platform/Lag/LagPhyIntfMapping.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/SubIntfTags.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfig.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatus.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT VlanXlateStatusSm : public Orv::RefCounted,
                                              private SubIntfTags::Follower {
 public:
   VlanXlateStatusSm(Orv::Ptr<VlanPhyIntfConfig const> vlanPhyIntfConfig,
                     Orv::Ptr<VlanPhyIntfConfig const> subIntfTagPhyIntfConfig,
                     Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
                     Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap,
                     Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                     Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable,
                     Orv::Ptr<VlanXlateStatus> vlanXlateStatus);
   ~VlanXlateStatusSm() override;

   void handleInitialized();
   bool initialized() const { return initialized_; }
   // The port began or ceased to carry the tag.
   void handleVlanPhyIntf(uint16_t tag, Plexus::IntfId phyIntf);
   void handleSubIntfTags(Plexus::IntfId subIntf, Bridging::Dot1qEncap previous) override;
   void handleInternalVlan(Plexus::IntfId const& intfId);
   // The port joined or left the port-channel.
   void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf);

 private:
   using OrvVlanPhyIntf = VlanPhyIntfReactors<&VlanXlateStatusSm::handleVlanPhyIntf>;
   using OrvIntfVlanIdTable = Orv::ReactorFor<&VlanXlateStatusSm::handleInternalVlan>;
   using OrvLagPhyIntfConfig = Lag::LagPhyIntfReactors<&VlanXlateStatusSm::handleLagPhyIntf>;

   VlanXlate meaningOf(VlanXlateKey const& key) const;
   void doUpdate(Plexus::IntfId phyIntf, uint16_t tag);

   Orv::Ptr<VlanPhyIntfConfig const> vlanPhyIntfConfig_;
   Orv::Ptr<VlanPhyIntfConfig const> subIntfTagPhyIntfConfig_;
   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable_;
   Orv::Ptr<VlanXlateStatus> vlanXlateStatus_;

   bool initialized_ = false;
   SubIntfTags subIntfTags_;
   Orv::KeyedByIndex<Plexus::IntfId, Bridging::VlanIdOrNone> internalVlan_; // as last seen

   OrvVlanPhyIntf orvVlanPhyIntf_;
   OrvVlanPhyIntf orvSubIntfTagPhyIntf_;
   OrvIntfVlanIdTable orvIntfVlanIdTable_;
   OrvLagPhyIntfConfig lagPhyIntfConfig_;
};

template<class... Args>
Orv::Ptr<VlanXlateStatusSm> VlanXlateStatusSmIs(Args&&... args) {
   return Orv::make<VlanXlateStatusSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// Publishes which physical interfaces carry each VLAN, and each outer tag of routed
// sub-interfaces.
//
// A port carries the VLANs of which it is a member, tagged or untagged; as a member of a
// port-channel, those of the port-channel instead, and none while it is about to join one. It
// carries the outer tags of its own sub-interfaces and of those of its port-channel: shared entries
// are written for both.
//
// Published is a port while it has a place in the port map. A port that gets a system port with a
// place is published at once while the port map is valid. All other changes of places take effect
// at the next port map version. Until then what was published stays, so that nothing that stays
// loses its entries while the port map is being rewritten.
//
// Null directories read as empty. Ready after construction; keeps what an earlier machine
// published, as far as it is still so. While the port map is not valid, it knows of the ports only
// that are published. Event thread only.
#pragma once

#include "platform/Bridging/TaggedVlanDir.h"
#include "platform/Bridging/UntaggedVlanDir.h"
#include "platform/Hardware/Shoal/Status.h"
#include "platform/Lag/LagPhyIntfMapping.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/SubIntfTags.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfig.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT VlanPhyIntfConfigSm : public Orv::RefCounted,
                                                private SubIntfTags::Follower {
 public:
   VlanPhyIntfConfigSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                       Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
                       Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap,
                       Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                       Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir,
                       Orv::Ptr<Bridging::TaggedVlanDir const> taggedVlanDir,
                       Orv::Ptr<VlanPhyIntfConfig> vlanPhyIntfConfig,
                       Orv::Ptr<VlanPhyIntfConfig> subIntfTagPhyIntfConfig);
   ~VlanPhyIntfConfigSm() override;

   void handleInitialized();
   bool initialized() const { return initialized_; }
   // Publishes all ports anew; does nothing while the port map is not valid.
   void handlePortMapVersion();
   void handleSysPhyPortId(Plexus::IntfId const& phyIntf);
   // The untagged VLAN of a port or port-channel; whether it carries the VLAN tagged.
   void handleUntaggedVlan(Plexus::IntfId const& intfId);
   void handleTaggedVlan(Bridging::VlanMember const& member);
   // The port joined or left the port-channel.
   void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf);
   void handleSubIntfTags(Plexus::IntfId subIntf, Bridging::Dot1qEncap previous) override;

 private:
   using Tags = std::set<uint16_t>;
   // A table, with what it has by port.
   class Published {
    public:
      explicit Published(Orv::Ptr<VlanPhyIntfConfig> config) : config_(std::move(config)) {}
      void read(); // what an earlier machine wrote
      Orv::IndexedMap<Plexus::IntfId, Tags> const& byPort() const { return byPort_; }
      Tags tagsOf(Plexus::IntfId phyIntf) const;
      void set(Plexus::IntfId phyIntf, uint16_t tag, bool carries);

    private:
      bool has(Plexus::IntfId phyIntf, uint16_t tag) const;

      Orv::Ptr<VlanPhyIntfConfig> config_;
      Orv::IndexedMap<Plexus::IntfId, Tags> byPort_;
   };
   struct OrvShoalStatus {
      explicit OrvShoalStatus(VlanPhyIntfConfigSm* sm) : sysPhyPortId(sm), portMapVersion(sm) {}
      Orv::ReactorFor<&VlanPhyIntfConfigSm::handleSysPhyPortId> sysPhyPortId;
      Orv::ReactorFor<&VlanPhyIntfConfigSm::handlePortMapVersion> portMapVersion;
   };
   using OrvUntaggedVlanDir = Orv::ReactorFor<&VlanPhyIntfConfigSm::handleUntaggedVlan>;
   using OrvTaggedVlanDir = Orv::ReactorFor<&VlanPhyIntfConfigSm::handleTaggedVlan>;
   using OrvLagPhyIntfConfig = Lag::LagPhyIntfReactors<&VlanPhyIntfConfigSm::handleLagPhyIntf>;

   bool hasPlace(Plexus::IntfId phyIntf) const;
   bool publishesVlan(Plexus::IntfId phyIntf, uint16_t vlanId) const;
   bool publishesSubIntfTag(Plexus::IntfId phyIntf, uint16_t tag) const;
   // The port-channel or port whose VLANs the port carries; the empty interface: none.
   Plexus::IntfId memberOf(Plexus::IntfId phyIntf) const;

   void doRecordTagged(Bridging::VlanMember const& member);
   void doUpdateVlan(Plexus::IntfId phyIntf, uint16_t vlanId);
   void doUpdateSubIntfTag(Plexus::IntfId phyIntf, uint16_t tag);
   // Everything that the port carries or carried.
   void doUpdatePort(Plexus::IntfId phyIntf);

   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir_;
   Orv::Ptr<Bridging::TaggedVlanDir const> taggedVlanDir_;
   bool initialized_ = false;
   SubIntfTags subIntfTags_;
   Orv::KeyedByIndex<Plexus::IntfId, Bridging::VlanIdOrNone> untaggedVlan_; // as last seen
   Orv::IndexedMap<Plexus::IntfId, Tags> taggedVlans_;
   Orv::KeyedByIndex<Plexus::IntfId, bool> placed_; // those that are published
   Published publishedVlans_;
   Published publishedTags_;

   OrvShoalStatus orvShoalStatus_;
   OrvUntaggedVlanDir orvUntaggedVlanDir_;
   OrvTaggedVlanDir orvTaggedVlanDir_;
   OrvLagPhyIntfConfig lagPhyIntfConfig_;
};

template<class... Args>
Orv::Ptr<VlanPhyIntfConfigSm> VlanPhyIntfConfigSmIs(Args&&... args) {
   return Orv::make<VlanPhyIntfConfigSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// In-LIF features of VLAN interfaces.
//
// The key of a VLAN interface covers each physical port on the key's TCAM whose default (untagged)
// VLAN is the interface's, and whose name has the interface's unit; one without a unit in its name
// covers the ports that their own unit's leaves. So one key at most covers a port, in whatever
// order the keys come. A member of a port-channel has the port-channel's default VLAN and no other.
// The word of a covered port (defaultVlanLifFeatureCfg) wins outright in the merged table, so it
// carries both: the port's features as PortInLifIntfSm spread them (inLifIntfCfgLagExp) and the
// VLAN's laid over them, the VLAN's value winning per feature type.
//
// Follows the spread configuration, default VLANs and membership port by port; which TCAM serves a
// port is followed with the port map's version. While the port map is not valid additions wait for
// its next version, and no port comes under a key; ports may leave one, and words follow the port's
// features. What an earlier machine left then waits for that version, with its answer. Null
// directories read as empty. Answers keys of VLAN interfaces only, not of their flood entries.
#pragma once

#include "platform/Bridging/UntaggedVlanDir.h"
#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureConfig.h"
#include "ShoalTunnel/InLifIntfSm/LagPhyIntfReactors.h"

#include <map>
#include <set>
#include <tuple>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT VlanInLifIntfSm : public BaseInLifIntfSm,
                                            private LagPhyIntfReactors::Follower {
 public:
   VlanInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                   Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                   Orv::Ptr<Shoal::Status const> shoalStatus,
                   Orv::Ptr<DefaultLifFeatureConfig> defaultVlanLifFeatureCfg,
                   Orv::Ptr<InLifIntfConfig const> inLifIntfCfgLagExp,
                   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                   Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir);
   ~VlanInLifIntfSm() override;

   void handleInitialized() override;
   // Throws Orv::RangeException for a VLAN interface outside 1 to 4094, before it changes anything.
   void doHandleRequest(InLifIntfKey const& key, bool isAdd) override;
   // The default VLAN of a port or port-channel changed.
   void handleUntaggedVlan(Plexus::IntfId const& intfId);
   // The port's own entry in the membership changed; the port-channel's member list did.
   void handlePhyIntfLag(Plexus::IntfId const& phyIntf);
   void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf) override;
   // The port's features in the spread configuration came or went.
   void handleInLifIntfCfgLagExp(InLifIntfKey const& key);
   // Throws as doHandleRequest does, for any key of the configuration, behind all others.
   void handlePortMapVersion();

 protected:
   void doHandleStarted() override;

 private:
   // Whose ports, of which VLAN and TCAM, a key covers.
   using Place = std::tuple<uint32_t, Bridging::VlanIdOrNone, Shoal::SystemTcamId>;
   using OrvUntaggedVlanDir = Orv::ReactorFor<&VlanInLifIntfSm::handleUntaggedVlan>;
   using OrvPhyIntfLag = Orv::ReactorFor<&VlanInLifIntfSm::handlePhyIntfLag>;
   using OrvInLifIntfCfgLagExp = Orv::ReactorFor<&VlanInLifIntfSm::handleInLifIntfCfgLagExp>;
   using OrvPortMapVersion = Orv::ReactorFor<&VlanInLifIntfSm::handlePortMapVersion>;

   // Follows the features of one port.
   class OrvPortFeatures : public VersionReactor {
    public:
      OrvPortFeatures(Orv::Ptr<InLifIntfFeatureAggr const> const& features, VlanInLifIntfSm* sm)
          : VersionReactor(features), sm_(sm) {}

    private:
      void handle() override;
      VlanInLifIntfSm* sm_;
   };

   static Place placeOf(InLifIntfKey key);
   // The empty interface: none.
   Plexus::IntfId lagOf(Plexus::IntfId phyIntf) const;
   // Its own entry names a port-channel whose member list does not name it.
   bool isJoining(Plexus::IntfId phyIntf) const;
   Bridging::VlanIdOrNone vlanOf(Plexus::IntfId phyIntf) const;
   // The key that covers the port, the default key when none does.
   InLifIntfKey coveringKey(Plexus::IntfId phyIntf) const;
   template<class Use>
   void forEachPort(Plexus::IntfId intfId, Use&& use) const;

   void doFollowPortFeatures(InLifIntfKey const& key);
   void doFollowVlan(Plexus::IntfId phyIntf);
   void doUpdatePort(Plexus::IntfId phyIntf);
   void doUpdateWord(Plexus::IntfId phyIntf);
   // What an earlier machine wrote and this one does not ask for.
   void doRemoveLeftWords();
   void doHandlePortFeatures(InLifIntfKey const& key);

   Orv::Ptr<DefaultLifFeatureConfig> defaultVlanLifFeatureCfg_;
   Orv::Ptr<InLifIntfConfig const> inLifIntfCfgLagExp_;
   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir_;

   // Port -> its default VLAN as followed so far, and the ports of each VLAN.
   Orv::KeyedByIndex<Plexus::IntfId, Bridging::VlanIdOrNone> vlan_;
   std::map<Bridging::VlanIdOrNone, std::set<Plexus::IntfId>> portsOfVlan_;
   std::map<Place, InLifIntfKey> keys_; // those handled
   // Port -> the key that its word is of. Its VLAN is the port's in vlan_.
   Orv::KeyedByIndex<Plexus::IntfId, InLifIntfKey> wordKey_;

   OrvUntaggedVlanDir orvUntaggedVlanDir_;
   OrvPhyIntfLag orvPhyIntfLag_;
   LagPhyIntfReactors lagPhyIntfConfig_;
   OrvInLifIntfCfgLagExp orvInLifIntfCfgLagExp_;
   Orv::KeyedByIndex<InLifIntfKey, Orv::Ptr<OrvPortFeatures>> portFeatures_;
   OrvPortMapVersion orvPortMapVersion_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<VlanInLifIntfSm> vlanInLifIntfSmFactory(Args&&... args) {
   return Orv::make<VlanInLifIntfSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// In-LIF features of VLAN interfaces.
//
// The key of a VLAN interface covers each physical port that is on the key's TCAM, has the
// interface's VLAN as its default (untagged) VLAN, and has the same unit in its name. An interface
// without a unit in its name covers the ports for which no interface of their own unit has such a
// key. So at most one key covers a port, whatever the order of the keys. A member of a port-channel
// has the default VLAN of the port-channel only.
//
// The word of a covered port (defaultVlanLifFeatureCfg) replaces that of the port in the merged
// table, so it includes both: the features of the port from the expanded configuration
// (inLifIntfCfgLagExp) and those of the VLAN. If both have a feature type, the VLAN's value wins.
//
// Changes of the expanded configuration, of default VLANs and of membership update the ports
// concerned. Changes of the TCAM that serves a port take effect at the next port map version. While
// the port map is not valid, additions wait for its next version and no key covers a new port;
// ports may still leave, and words follow the features of the port. What an earlier machine left is
// removed at that version, too. Null directories read as empty. Answers the keys of VLAN interfaces
// only, not those of their flood entries.
#pragma once

#include "platform/Bridging/UntaggedVlanDir.h"
#include "platform/Lag/LagPhyIntfMapping.h"
#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureConfig.h"

#include <map>
#include <set>
#include <tuple>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT VlanInLifIntfSm : public BaseInLifIntfSm {
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
   // The port-channel entry of the port changed; the member list of the port-channel changed.
   void handlePhyIntfLag(Plexus::IntfId const& phyIntf);
   void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf);
   // The features of a port were added to or removed from the expanded configuration; they changed.
   void handleInLifIntfCfgLagExp(InLifIntfKey const& key);
   void handlePortFeatures(InLifIntfKey const& key);
   // Throws as doHandleRequest does, for any key of the configuration, after it handled the others.
   void handlePortMapVersion();

 protected:
   void doHandleStarted() override;

 private:
   // (unit, VLAN, TCAM) of the ports that a key covers.
   using Place = std::tuple<uint32_t, Bridging::VlanIdOrNone, Shoal::SystemTcamId>;
   using OrvUntaggedVlanDir = Orv::ReactorFor<&VlanInLifIntfSm::handleUntaggedVlan>;
   using OrvPhyIntfLag = Orv::ReactorFor<&VlanInLifIntfSm::handlePhyIntfLag>;
   using OrvInLifIntfCfgLagExp = Orv::ReactorFor<&VlanInLifIntfSm::handleInLifIntfCfgLagExp>;
   using OrvPortFeatures = Orv::ReactorFor<&VlanInLifIntfSm::handlePortFeatures>;
   using OrvLagPhyIntfConfig = Lag::LagPhyIntfReactors<&VlanInLifIntfSm::handleLagPhyIntf>;
   using OrvPortMapVersion = Orv::ReactorFor<&VlanInLifIntfSm::handlePortMapVersion>;

   static Place placeOf(InLifIntfKey key);
   // The port-channel of the port; the empty interface if there is none.
   Plexus::IntfId lagOf(Plexus::IntfId phyIntf) const;
   // Whether the port has an entry for a port-channel whose member list does not include it yet.
   bool isJoining(Plexus::IntfId phyIntf) const;
   Bridging::VlanIdOrNone vlanOf(Plexus::IntfId phyIntf) const;
   // The key that covers the port; the default key if there is none.
   InLifIntfKey coveringKey(Plexus::IntfId phyIntf) const;
   template<class Use>
   void forEachPort(Plexus::IntfId intfId, Use&& use) const;

   void doFollowVlan(Plexus::IntfId phyIntf);
   void doUpdatePort(Plexus::IntfId phyIntf);
   void doUpdateWord(Plexus::IntfId phyIntf);
   // Removes words that an earlier machine wrote and that no key covers.
   void doRemoveLeftWords();

   Orv::Ptr<DefaultLifFeatureConfig> defaultVlanLifFeatureCfg_;
   Orv::Ptr<InLifIntfConfig const> inLifIntfCfgLagExp_;
   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir_;

   // Port -> default VLAN as last seen, and VLAN -> ports.
   Orv::KeyedByIndex<Plexus::IntfId, Bridging::VlanIdOrNone> vlan_;
   std::map<Bridging::VlanIdOrNone, std::set<Plexus::IntfId>> portsOfVlan_;
   std::map<Place, InLifIntfKey> keys_; // handled keys
   // Port -> the key whose features are in its word. The key has the VLAN of the port in vlan_.
   Orv::KeyedByIndex<Plexus::IntfId, InLifIntfKey> wordKey_;

   OrvUntaggedVlanDir orvUntaggedVlanDir_;
   OrvPhyIntfLag orvPhyIntfLag_;
   OrvLagPhyIntfConfig lagPhyIntfConfig_;
   OrvInLifIntfCfgLagExp orvInLifIntfCfgLagExp_;
   OrvPortFeatures orvPortFeatures_;
   OrvPortMapVersion orvPortMapVersion_;
};

template<class... Args>
Orv::Ptr<VlanInLifIntfSm> vlanInLifIntfSmFactory(Args&&... args) {
   return Orv::make<VlanInLifIntfSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// In-LIF features of ports and port-channels.
//
// For each physical port, writes the feature word of the key that covers it
// (defaultPortLifFeatureCfg) and a copy of that key's request under (port, TCAM of the key)
// (inLifIntfCfgLagExp, the expanded configuration). The key of a port covers the port on any TCAM.
// The key of a port-channel covers its members on the key's TCAM. While a port is a member, its own
// request has no effect but is answered. When a port joins or leaves, only the word of that port is
// written.
//
// While the port map is not valid, additions and membership changes are ignored; removals are
// handled. The start removes words and statuses that no request covers; while the port map is not
// valid, the next port map version does. A port map version gives every port the word that a fresh
// start would give it. It is an invariant failure if the port map is not valid, or if a port with a
// word has no TCAM.
#pragma once

#include "platform/Hardware/Shoal/LocalPortMapStatus.h"
#include "platform/Lag/Config.h"
#include "platform/Lag/LagPhyIntfMapping.h"
#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureConfig.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT PortInLifIntfSm : public BaseInLifIntfSm {
 public:
   PortInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                   Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                   Orv::Ptr<Shoal::Status const> shoalStatus,
                   Orv::Ptr<DefaultLifFeatureConfig> defaultPortLifFeatureCfg,
                   Orv::Ptr<InLifIntfConfig> inLifIntfCfgLagExp,
                   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                   Orv::Ptr<Lag::Config const> lagConfig,
                   Orv::Ptr<Shoal::LocalPortMapStatus const> localPortMapStatus);

   void handleInitialized() override;
   // Ignores sub-interfaces and VLAN interfaces.
   void doHandleRequest(InLifIntfKey const& key, bool isAdd) override;
   // The port joined or left the member list of the port-channel.
   void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf);
   void handlePortMapVersion();

   Orv::Ptr<Lag::Config const> const& lagConfig() const { return lagConfig_; }
   Orv::Ptr<Shoal::LocalPortMapStatus const> const& localPortMapStatus() const {
      return localPortMapStatus_;
   }

 private:
   using OrvLagPhyIntfConfig = Lag::LagPhyIntfReactors<&PortInLifIntfSm::handleLagPhyIntf>;
   using OrvPortMapVersion = Orv::ReactorFor<&PortInLifIntfSm::handlePortMapVersion>;

   bool isLagMember(Plexus::IntfId phyIntf) const;
   // Calls use(port) for each port that the key of a port or port-channel covers.
   template<class Use>
   void forEachCovered(InLifIntfKey key, Use&& use) const;
   // Calls use(key, port) for each port that each key covers.
   template<class Use>
   void forEachCovered(Use&& use) const;
   void doUpdateDefaultLifFeatureCfg(InLifIntfKey const& lifIntfKey, Plexus::IntfId phyIntf,
                                     bool isAdd);
   void doOnLagMember(Plexus::IntfId lag, Plexus::IntfId phyIntf, bool isAdd);
   // Removes from the expanded configuration what no request covers.
   void doRemoveUncovered();

   Orv::Ptr<DefaultLifFeatureConfig> defaultPortLifFeatureCfg_;
   Orv::Ptr<InLifIntfConfig> inLifIntfCfgLagExp_;
   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Orv::Ptr<Lag::Config const> lagConfig_;
   Orv::Ptr<Shoal::LocalPortMapStatus const> localPortMapStatus_;
   OrvLagPhyIntfConfig lagPhyIntfConfig_;
   OrvPortMapVersion orvPortMapVersion_;
};

template<class... Args>
Orv::Ptr<PortInLifIntfSm> portInLifIntfSmFactory(Args&&... args) {
   return Orv::make<PortInLifIntfSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

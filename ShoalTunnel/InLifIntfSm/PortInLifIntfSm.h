// In-LIF features of ports and port-channels.
//
// Writes, per physical port, the feature word of the key that covers it (defaultPortLifFeatureCfg),
// and a copy of that key's request under the port and the key's TCAM (inLifIntfCfgLagExp). A port's
// own key covers the port, whatever TCAM serves it; a port-channel's key covers its members on the
// key's TCAM. While a port is a member its own request is set aside, yet answered. A port that
// joins or leaves takes or drops the port-channel's features, at a cost that depends on nothing
// else.
//
// While the port map is not valid, additions and changes of membership are passed over; removals
// are not. When the machine starts, words that nobody asks for go; while the port map is not valid
// they wait for its next version, and so do their answers. A new port map version brings every port
// to what a fresh start would give it. It is an invariant failure while the port map is not valid,
// or while a port with a word has no TCAM.
#pragma once

#include "platform/Hardware/Shoal/LocalPortMapStatus.h"
#include "platform/Lag/Config.h"
#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureConfig.h"
#include "ShoalTunnel/InLifIntfSm/LagPhyIntfReactors.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT PortInLifIntfSm : public BaseInLifIntfSm,
                                            private LagPhyIntfReactors::Follower {
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
   // Sub-interfaces and VLAN interfaces are passed over.
   void doHandleRequest(InLifIntfKey const& key, bool isAdd) override;
   // The port joined or left the port-channel's member list.
   void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf) override;
   void handlePortMapVersion();

   Orv::Ptr<Lag::Config const> const& lagConfig() const { return lagConfig_; }
   Orv::Ptr<Shoal::LocalPortMapStatus const> const& localPortMapStatus() const {
      return localPortMapStatus_;
   }

 private:
   using OrvPortMapVersion = Orv::ReactorFor<&PortInLifIntfSm::handlePortMapVersion>;

   bool isLagMember(Plexus::IntfId phyIntf) const;
   // Calls use(port) for each port that the key of a port or port-channel covers.
   template<class Use>
   void forEachCovered(InLifIntfKey key, Use&& use) const;
   // Calls use(key, port) for each of every request.
   template<class Use>
   void forEachCovered(Use&& use) const;
   void doUpdateDefaultLifFeatureCfg(InLifIntfKey const& lifIntfKey, Plexus::IntfId phyIntf,
                                     bool isAdd);
   void doOnLagMember(Plexus::IntfId lag, Plexus::IntfId phyIntf, bool isAdd);
   // From the spread configuration, what no request covers.
   void doRemoveUncovered();

   Orv::Ptr<DefaultLifFeatureConfig> defaultPortLifFeatureCfg_;
   Orv::Ptr<InLifIntfConfig> inLifIntfCfgLagExp_;
   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Orv::Ptr<Lag::Config const> lagConfig_;
   Orv::Ptr<Shoal::LocalPortMapStatus const> localPortMapStatus_;
   LagPhyIntfReactors lagPhyIntfConfig_;
   OrvPortMapVersion orvPortMapVersion_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<PortInLifIntfSm> portInLifIntfSmFactory(Args&&... args) {
   return Orv::make<PortInLifIntfSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

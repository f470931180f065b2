// Watches the member lists of all port-channels, with one reactor per list.
//
// Notifies its follower of each port that joined or left a list. When a list is removed, it
// notifies the follower of each port that was still in it. The follower looks up in the mapping
// whether the port is a member now. A null mapping reads as empty. Event thread only.
#pragma once

#include "platform/Lag/LagPhyIntfMapping.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT LagPhyIntfReactors {
 public:
   class Follower {
    public:
      virtual void handleLagPhyIntf(Plexus::IntfId lag, Plexus::IntfId phyIntf) = 0;

    protected:
      ~Follower() = default;
   };

   // The follower has to outlive the reactors. It is not notified of ports that are members
   // already.
   LagPhyIntfReactors(Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping, Follower& follower);

   // The list of this port-channel was added or removed.
   void handleLagPhyIntfConfig(Plexus::IntfId const& lag);

 private:
   class OrvLagPhyIntfConfig : public Orv::Reactor<Plexus::IntfId>, public Orv::RefCounted {
    public:
      OrvLagPhyIntfConfig(Orv::Ptr<Lag::LagPhyIntfConfig const> lagPhyIntfConfig,
                          Follower& follower);
      void handle(Plexus::IntfId const& phyIntf) override {
         follower_.handleLagPhyIntf(lagPhyIntfConfig_->lag(), phyIntf);
      }
      // The list was removed from the mapping.
      void handleDelete() override;

    private:
      Orv::Ptr<Lag::LagPhyIntfConfig const> lagPhyIntfConfig_;
      Follower& follower_;
   };
   using OrvLagPhyIntfMapping = Orv::ReactorFor<&LagPhyIntfReactors::handleLagPhyIntfConfig>;

   Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping_;
   Follower& follower_;
   OrvLagPhyIntfMapping orvLagPhyIntfMapping_;
   Orv::KeyedByIndex<Plexus::IntfId, Orv::Ptr<OrvLagPhyIntfConfig>> lagPhyIntfConfig_;
};

} // namespace Hardware::ShoalTunnel

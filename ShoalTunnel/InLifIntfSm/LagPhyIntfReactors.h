// Follows the member lists of all port-channels, with one reactor per list.
//
// Tells its follower of each port that joined or left a list, and nothing of ports that stay; when
// a whole list goes, of each port that was still in it. Which of the two it was is asked of the
// mapping. A null mapping reads as empty. Event thread only.
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

   // The follower outlives the reactors. Lists that are there are followed, not told of.
   LagPhyIntfReactors(Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping, Follower& follower);

   // The list of this port-channel came or went.
   void handleLagPhyIntfConfig(Plexus::IntfId const& lag);

 private:
   class OrvLagPhyIntfConfig : public Orv::Reactor<Plexus::IntfId>, public Orv::RefCounted {
    public:
      OrvLagPhyIntfConfig(Orv::Ptr<Lag::LagPhyIntfConfig const> lagPhyIntfConfig,
                          Follower& follower);
      void handle(Plexus::IntfId const& phyIntf) override {
         follower_.handleLagPhyIntf(lagPhyIntfConfig_->lag(), phyIntf);
      }
      // The list left the mapping.
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

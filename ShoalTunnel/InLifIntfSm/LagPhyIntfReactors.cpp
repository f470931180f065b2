#include "ShoalTunnel/InLifIntfSm/LagPhyIntfReactors.h"

namespace Hardware::ShoalTunnel {

LagPhyIntfReactors::LagPhyIntfReactors(Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                                       Follower& follower)
    : lagPhyIntfMapping_(std::move(lagPhyIntfMapping)), follower_(follower),
      orvLagPhyIntfMapping_(this) {
   if (lagPhyIntfMapping_) {
      lagPhyIntfMapping_->lagPhyIntfConfigCollection().watch(orvLagPhyIntfMapping_);
      for (auto const& [lag, members] : lagPhyIntfMapping_->lagPhyIntfConfigIter()) {
         handleLagPhyIntfConfig(lag);
      }
   }
}

void LagPhyIntfReactors::handleLagPhyIntfConfig(Plexus::IntfId const& lag) {
   if (auto members = lagPhyIntfMapping_->lagPhyIntfConfig(lag)) {
      lagPhyIntfConfig_.set(lag, Orv::make<OrvLagPhyIntfConfig>(members, follower_));
   } else if (auto reactor = lagPhyIntfConfig_.get(lag)) {
      lagPhyIntfConfig_.del(lag);
      reactor->remove();
      reactor->handleDelete();
   }
}

LagPhyIntfReactors::OrvLagPhyIntfConfig::OrvLagPhyIntfConfig(
    Orv::Ptr<Lag::LagPhyIntfConfig const> lagPhyIntfConfig, Follower& follower)
    : lagPhyIntfConfig_(std::move(lagPhyIntfConfig)), follower_(follower) {
   lagPhyIntfConfig_->phyIntfCollection().watch(*this);
}

void LagPhyIntfReactors::OrvLagPhyIntfConfig::handleDelete() {
   for (auto const& [phyIntf, present] : lagPhyIntfConfig_->phyIntfIter()) {
      follower_.handleLagPhyIntf(lagPhyIntfConfig_->lag(), phyIntf);
   }
}

} // namespace Hardware::ShoalTunnel

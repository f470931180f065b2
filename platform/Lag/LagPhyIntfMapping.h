// The members of port-channels, by port-channel and by port.
//
// The writer keeps the two consistent. When a port joins or leaves, the writer changes the port's
// entry (phyIntfLag) before the member list, so that a reactor on the list reads the new entry. A
// port that moves leaves its old port-channel before it joins the new one.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Orv/SetReactors.h"
#include "platform/Plexus/IntfId.h"

namespace Lag {

// The member list of one port-channel.
class ORV_EXPORT LagPhyIntfConfig : public Orv::Entity {
   ORV_ENTITY(LagPhyIntfConfig, "Lag::LagPhyIntfConfig")

   explicit LagPhyIntfConfig(Plexus::IntfId lag) : lag_(lag) {}
   Plexus::IntfId lag() const { return lag_; }
   ORV_SET(phyIntf, Plexus::IntfId, Orv::Keyed)

 private:
   Plexus::IntfId lag_;
};

class ORV_EXPORT LagPhyIntfMapping : public Orv::Entity {
   ORV_ENTITY(LagPhyIntfMapping, "Lag::LagPhyIntfMapping")
   // Port-channel -> its members.
   ORV_OWNED_COLLECTION(lagPhyIntfConfig, Plexus::IntfId, LagPhyIntfConfig, Orv::KeyedByIndex)
   // Port -> the port-channel that it belongs to; absent or the empty interface for none.
   ORV_COLLECTION(phyIntfLag, Plexus::IntfId, Plexus::IntfId, Orv::KeyedByIndex)

   bool isMember(Plexus::IntfId lag, Plexus::IntfId phyIntf) const {
      auto members = lagPhyIntfConfig(lag);
      return members && members->phyIntf(phyIntf);
   }
};

// Calls handler(port-channel, port) for each port that joins or leaves a member list. The mapping
// may be null.
template<auto handler>
class LagPhyIntfReactors : Orv::SetReactors<Orv::KeyedByIndex, LagPhyIntfConfig,
                                            &LagPhyIntfConfig::phyIntfCollection, handler> {
 public:
   template<class Owner>
   LagPhyIntfReactors(Orv::Ptr<LagPhyIntfMapping const> const& mapping, Owner* owner)
       : LagPhyIntfReactors::SetReactors(mapping ? &mapping->lagPhyIntfConfigCollection() : nullptr,
                                         owner) {}
};

} // namespace Lag

// The members of port-channels, by port-channel and by port.
//
// The writer keeps the two consistent. When a port joins or leaves, the writer changes the port's
// entry (phyIntfLag) before the member list, so that a reactor on the list reads the new entry. A
// port that moves leaves its old port-channel before it joins the new one.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Orv/SetReactors.h"
#include "platform/Plexus/IntfId.h"

#include <vector>

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

// The port-channel whose member the port is; the empty interface if there is none. A null mapping
// reads as empty, here and below.
inline Plexus::IntfId lagOf(Orv::Ptr<LagPhyIntfMapping const> const& mapping,
                            Plexus::IntfId phyIntf) {
   Plexus::IntfId lag = mapping ? mapping->phyIntfLag(phyIntf) : Plexus::IntfId();
   return lag != Plexus::IntfId() && mapping->isMember(lag, phyIntf) ? lag : Plexus::IntfId();
}
// A port itself, or the members of a port-channel now.
inline std::vector<Plexus::IntfId> portsOf(Orv::Ptr<LagPhyIntfMapping const> const& mapping,
                                           Plexus::IntfId intfId) {
   if (!Plexus::PortChannelIntfId::isPortChannelIntfId(intfId)) {
      return {intfId};
   }
   std::vector<Plexus::IntfId> ports;
   if (auto members = mapping ? mapping->lagPhyIntfConfig(intfId) : nullptr) {
      for (auto const& [phyIntf, present] : members->phyIntfIter()) {
         ports.push_back(phyIntf);
      }
   }
   return ports;
}

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

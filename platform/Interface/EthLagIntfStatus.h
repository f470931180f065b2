// Port-channels and their active members.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Interface {

class ORV_EXPORT EthLagIntfStatus : public Orv::Entity {
   ORV_ENTITY(EthLagIntfStatus, "Interface::EthLagIntfStatus")

   explicit EthLagIntfStatus(Plexus::IntfId intfId) : intfId_(intfId) {}
   Plexus::IntfId intfId() const { return intfId_; }
   ORV_SET(member, Plexus::IntfId, Orv::Keyed)

 private:
   Plexus::IntfId intfId_;
};

class ORV_EXPORT EthLagIntfStatusDir : public Orv::Entity {
   ORV_ENTITY(EthLagIntfStatusDir, "Interface::EthLagIntfStatusDir")
   ORV_OWNED_COLLECTION(ethLagIntfStatus, Plexus::IntfId, EthLagIntfStatus, Orv::KeyedByIndex)
};

} // namespace Interface

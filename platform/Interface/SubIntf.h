// Sub-interfaces: configuration, status, and encapsulations assigned at run time.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Interface {

class ORV_EXPORT SubIntfConfig : public Orv::Entity {
   ORV_ENTITY(SubIntfConfig, "Interface::SubIntfConfig")
   ORV_ATTRIBUTE(dot1qEncap, Bridging::Dot1qEncap, {})
};

class ORV_EXPORT SubIntfConfigDir : public Orv::Entity {
   ORV_ENTITY(SubIntfConfigDir, "Interface::SubIntfConfigDir")
   ORV_COLLECTION(subIntfConfig, Plexus::IntfId, Orv::Ptr<SubIntfConfig>, Orv::KeyedByIndex)
};

class ORV_EXPORT SubIntfStatus : public Orv::Entity {
   ORV_ENTITY(SubIntfStatus, "Interface::SubIntfStatus")

   explicit SubIntfStatus(Plexus::IntfId intfId) : intfId_(intfId) {}
   Plexus::IntfId intfId() const { return intfId_; }
   ORV_ATTRIBUTE(programInHw, bool, true)
   // 4 marks sub-interfaces whose tags the chip matches in another tag type.
   ORV_ATTRIBUTE(encapKind, uint32_t, 0)

 private:
   Plexus::IntfId intfId_;
};

class ORV_EXPORT SubIntfStatusDir : public Orv::Entity {
   ORV_ENTITY(SubIntfStatusDir, "Interface::SubIntfStatusDir")
   ORV_OWNED_COLLECTION(subIntfStatus, Plexus::IntfId, SubIntfStatus, Orv::KeyedByIndex)
};

// Encapsulations assigned at run time; they override configured ones.
class ORV_EXPORT SubIntfDynDot1qEncap : public Orv::Entity {
   ORV_ENTITY(SubIntfDynDot1qEncap, "Interface::SubIntfDynDot1qEncap")
   ORV_COLLECTION(dot1qEncap, Plexus::IntfId, Bridging::Dot1qEncap, Orv::KeyedByIndex)
};

} // namespace Interface

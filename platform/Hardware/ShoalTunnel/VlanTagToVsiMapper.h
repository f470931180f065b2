// The VLAN-tag-to-VSI mapper: the key of its entries, and the VLAN domains that it assigned to
// port-channels. Owned by the component that programs sub-interfaces.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::ShoalTunnel {

// 0: no answer yet; 9: success; every other value is a failure.
enum class VlanTagToVsiMapperErrorType : uint32_t { none = 0, success = 9 };

enum class VlanTagType : uint32_t { dot1q = 0, encapKind4 = 3 };

// One mapper entry: the tags of a sub-interface on one parent port.
struct VlanTagToVsiMapperKey {
   Plexus::IntfId intfId;  // the parent whose port carries the tags
   Shoal::Vsi outerVlan;   // the outer tag
   uint16_t innerVlan = 0; // the inner tag, 0 for none
   uint32_t auxValue = 0;  // always 0 for sub-interfaces
   VlanTagType tagType = VlanTagType::dot1q;
   Plexus::IntfId subIntfId; // the sub-interface itself
   bool auxFlag = false;     // always false for sub-interfaces

   ORV_VALUE(VlanTagToVsiMapperKey, "Hardware::ShoalTunnel::VlanTagToVsiMapperKey", intfId,
             outerVlan, innerVlan, auxValue, tagType, subIntfId, auxFlag)
};

// A tunnel's entry on one unit.
struct TunnelPolicyMapperKey {
   Plexus::IntfId intfId;
   Shoal::FapId fapId;

   ORV_VALUE(TunnelPolicyMapperKey, "Hardware::ShoalTunnel::TunnelPolicyMapperKey", intfId, fapId)
};

struct LagFapKey {
   Plexus::IntfId lag;
   Shoal::SystemTcamId tcamId;

   ORV_VALUE(LagFapKey, "Hardware::ShoalTunnel::LagFapKey", lag, tcamId)
};

// A port-channel on one unit: its VLAN domain there, and the unit's ports that are its members.
class ORV_EXPORT VlanDomainPerLagFap : public Orv::Entity {
   ORV_ENTITY(VlanDomainPerLagFap, "Hardware::ShoalTunnel::VlanDomainPerLagFap")

   explicit VlanDomainPerLagFap(LagFapKey key) : key_(key) {}
   LagFapKey const& key() const { return key_; }
   ORV_ATTRIBUTE(vlanDomain, Shoal::VlanDomain, {})
   // Unit ports, in order of number.
   ORV_SET(memberPort, uint16_t, Orv::OrderedCollection)

 private:
   LagFapKey key_;
};

class ORV_EXPORT VlanDomainManager : public Orv::Entity {
   ORV_ENTITY(VlanDomainManager, "Hardware::ShoalTunnel::VlanDomainManager")
   ORV_OWNED_COLLECTION(vlanDomainPerLagFap, LagFapKey, VlanDomainPerLagFap, Orv::Keyed)
};

class ORV_EXPORT VlanTagToVsiMapperSm : public Orv::Entity {
   ORV_ENTITY(VlanTagToVsiMapperSm, "Hardware::ShoalTunnel::VlanTagToVsiMapperSm")

   Orv::Ptr<VlanDomainManager> const& vlanDomainManager() const { return vlanDomainManager_; }

 private:
   Orv::Ptr<VlanDomainManager> vlanDomainManager_ = Orv::make<VlanDomainManager>();
};

} // namespace Hardware::ShoalTunnel

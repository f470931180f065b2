// The VLAN-tag-to-VSI mapper: its tables, and the VLAN domains that it assigned to port-channels.
//
// The component that programs sub-interfaces owns the entries: it creates and removes them. Others
// may change an entry's in-LIF additional data. The hardware layer answers each write later, in the
// status.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Orv/Interned.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::ShoalTunnel {

// 0: no answer yet; 9: success; every other value is a failure.
enum class VlanTagToVsiMapperErrorType : uint32_t { none = 0, success = 9 };

enum class VlanTagType : uint32_t { dot1q = 0, encapKind4 = 3 };

struct VlanTagToVsiMapperKeyFields {
   Plexus::IntfId intfId;  // the port that carries the tags
   Shoal::Vsi outerVlan;   // the outer tag
   uint16_t innerVlan = 0; // the inner tag, 0 for none
   uint32_t auxValue = 0;  // always 0 for sub-interfaces
   VlanTagType tagType = VlanTagType::dot1q;
   Plexus::IntfId subIntfId; // the sub-interface itself
   bool auxFlag = false;     // always false for sub-interfaces

   ORV_VALUE(VlanTagToVsiMapperKeyFields, "Hardware::ShoalTunnel::VlanTagToVsiMapperKey", intfId,
             outerVlan, innerVlan, auxValue, tagType, subIntfId, auxFlag)
};

ORV_EXPORT extern Orv::Interner<VlanTagToVsiMapperKeyFields> vlanTagToVsiMapperKeyInterner;

// One mapper entry: the tags of a sub-interface on one port. Interned.
class VlanTagToVsiMapperKey
    : public Orv::Interned<VlanTagToVsiMapperKey, VlanTagToVsiMapperKeyFields,
                           vlanTagToVsiMapperKeyInterner> {
 public:
   constexpr VlanTagToVsiMapperKey() = default;
   explicit VlanTagToVsiMapperKey(VlanTagToVsiMapperKeyFields const& fields) : Interned(fields) {}
   VlanTagToVsiMapperKey(VlanTagToVsiMapperKeyFields const& fields, VlanTagToVsiMapperKey guess)
       : Interned(fields, guess) {}
   // A sub-interface's entry on one port. `encapKind` as in its status. `guess` is the key that it
   // probably is. Throws Orv::RangeException for an outer tag above 8192.
   static VlanTagToVsiMapperKey ofSubIntf(Plexus::IntfId port, Plexus::IntfId subIntf,
                                          Bridging::Dot1qEncap encap, uint32_t encapKind,
                                          VlanTagToVsiMapperKey guess = {}) {
      static constexpr uint32_t otherTagEncapKind = 4;
      VlanTagToVsiMapperKeyFields fields;
      fields.intfId = port;
      fields.outerVlan = Shoal::Vsi(encap.outer);
      fields.innerVlan = encap.inner;
      fields.tagType =
          encapKind == otherTagEncapKind ? VlanTagType::encapKind4 : VlanTagType::dot1q;
      fields.subIntfId = subIntf;
      return {fields, guess};
   }
};

struct VlanTagToVsiMapperResult {
   uint32_t lif = 0;                 // the logical interface, set by the owner
   uint64_t inLifAdditionalData = 0; // 0: none

   ORV_VALUE(VlanTagToVsiMapperResult, "Hardware::ShoalTunnel::VlanTagToVsiMapperResult", lif,
             inLifAdditionalData)
};

// The answer to a write: the data written, and the result.
struct VlanTagToVsiMapperStatusType {
   uint64_t inLifAdditionalData = 0;
   VlanTagToVsiMapperErrorType errorType = VlanTagToVsiMapperErrorType::none;

   ORV_VALUE(VlanTagToVsiMapperStatusType, "Hardware::ShoalTunnel::VlanTagToVsiMapperStatusType",
             inLifAdditionalData, errorType)
};

class ORV_EXPORT VlanTagToVsiMapperConfig : public Orv::Entity {
   ORV_ENTITY(VlanTagToVsiMapperConfig, "Hardware::ShoalTunnel::VlanTagToVsiMapperConfig")
   ORV_COLLECTION(config, VlanTagToVsiMapperKey, VlanTagToVsiMapperResult, Orv::KeyedByIndex)
};

class ORV_EXPORT VlanTagToVsiMapperStatus : public Orv::Entity {
   ORV_ENTITY(VlanTagToVsiMapperStatus, "Hardware::ShoalTunnel::VlanTagToVsiMapperStatus")
   // Every write is an answer, even of an equal value.
   ORV_EVENTS(status, VlanTagToVsiMapperKey, VlanTagToVsiMapperStatusType, Orv::PagedStorage)
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

// The tunnel-to-policy mapper: the in-LIF additional data of a tunnel on a unit. The hardware layer
// answers later, in the status: it writes a status to answer a write, and deletes the status to
// answer a deletion.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Orv/Interned.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::ShoalTunnel {

struct TunnelPolicyMapperKeyFields {
   Plexus::IntfId intfId;
   Shoal::FapId fapId;

   ORV_VALUE(TunnelPolicyMapperKeyFields, "Hardware::ShoalTunnel::TunnelPolicyMapperKey", intfId,
             fapId)
};

ORV_EXPORT extern Orv::Interner<TunnelPolicyMapperKeyFields> tunnelPolicyMapperKeyInterner;

// A tunnel's entry on one unit. Interned.
class TunnelPolicyMapperKey
    : public Orv::Interned<TunnelPolicyMapperKey, TunnelPolicyMapperKeyFields,
                           tunnelPolicyMapperKeyInterner> {
 public:
   constexpr TunnelPolicyMapperKey() = default;
   TunnelPolicyMapperKey(Plexus::IntfId intfId, Shoal::FapId fapId)
       : Interned(TunnelPolicyMapperKeyFields{intfId, fapId}) {}

   Plexus::IntfId intfId() const { return fields().intfId; }
   Shoal::FapId fapId() const { return fields().fapId; }
};

struct TunnelPolicyMapperResult {
   uint64_t inLifAdditionalData = 0; // 0: the key has no entry

   ORV_VALUE(TunnelPolicyMapperResult, "Hardware::ShoalTunnel::TunnelPolicyMapperResult",
             inLifAdditionalData)
};

// All zero: the key has no status. A code that is neither of these means that the write failed.
struct TunnelPolicyMapperStatusType {
   static constexpr uint32_t programmed = 2;
   static constexpr uint32_t inProgress = 3;

   uint32_t statusCode = 0;
   uint64_t inLifAdditionalData = 0; // as written to the chip

   ORV_VALUE(TunnelPolicyMapperStatusType, "Hardware::ShoalTunnel::TunnelPolicyMapperStatusType",
             statusCode, inLifAdditionalData)
};

class ORV_EXPORT TunnelPolicyMapperConfig : public Orv::Entity {
   ORV_ENTITY(TunnelPolicyMapperConfig, "Hardware::ShoalTunnel::TunnelPolicyMapperConfig")
   ORV_COLLECTION(config, TunnelPolicyMapperKey, TunnelPolicyMapperResult, Orv::KeyedByIndex)
};

class ORV_EXPORT TunnelPolicyMapperStatus : public Orv::Entity {
   ORV_ENTITY(TunnelPolicyMapperStatus, "Hardware::ShoalTunnel::TunnelPolicyMapperStatus")
   // Every write is an answer, even of an equal value.
   ORV_EVENTS(status, TunnelPolicyMapperKey, TunnelPolicyMapperStatusType, Orv::PagedStorage)
};

} // namespace Hardware::ShoalTunnel

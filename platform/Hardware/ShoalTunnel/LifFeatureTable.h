// The feature words that the chip holds: of the default in-LIF of each place (unit and port), and
// of each sub-interface on a TCAM. The hardware layer answers later, in the status: it writes a
// status to answer a write, and deletes the status to answer a deletion.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Orv/Interned.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::ShoalTunnel {

// 64 bits: data0, data1, eei from the lowest.
struct LifFeatureWord {
   uint64_t value = 0;

   static LifFeatureWord of(uint16_t data0, uint16_t data1, uint32_t eei) {
      return {static_cast<uint64_t>(eei) << 32 | static_cast<uint64_t>(data1) << 16 | data0};
   }
   ORV_VALUE(LifFeatureWord, "Hardware::ShoalTunnel::LifFeatureWord", value)
};

// All zero: there is no status. A code other than `programmed` means that the write failed.
struct LifFeatureStatusType {
   static constexpr uint32_t programmed = 1;

   uint32_t statusCode = 0;
   uint64_t word = 0; // that was written

   ORV_VALUE(LifFeatureStatusType, "Hardware::ShoalTunnel::LifFeatureStatusType", statusCode, word)
};

ORV_EXPORT extern Orv::Interner<Shoal::PortMap> defaultMappingKeyInterner;

// The default in-LIF of the port in a place. Interned.
class DefaultMappingKey
    : public Orv::Interned<DefaultMappingKey, Shoal::PortMap, defaultMappingKeyInterner> {
 public:
   constexpr DefaultMappingKey() = default;
   explicit DefaultMappingKey(Shoal::PortMap const& place) : Interned(place) {}

   Shoal::PortMap place() const { return fields(); }
};

class ORV_EXPORT DefaultMappingConfig : public Orv::Entity {
   ORV_ENTITY(DefaultMappingConfig, "Hardware::ShoalTunnel::DefaultMappingConfig")
   ORV_COLLECTION(config, DefaultMappingKey, LifFeatureWord, Orv::KeyedByIndex)
};

class ORV_EXPORT DefaultMappingStatus : public Orv::Entity {
   ORV_ENTITY(DefaultMappingStatus, "Hardware::ShoalTunnel::DefaultMappingStatus")
   // Every write is an answer, even of an equal value.
   ORV_EVENTS(status, DefaultMappingKey, LifFeatureStatusType, Orv::PagedStorage)
};

struct SubIntfMappingKeyFields {
   Plexus::IntfId subIntf;
   Shoal::SystemTcamId tcamId;

   ORV_VALUE(SubIntfMappingKeyFields, "Hardware::ShoalTunnel::SubIntfMappingKey", subIntf, tcamId)
};

ORV_EXPORT extern Orv::Interner<SubIntfMappingKeyFields> subIntfMappingKeyInterner;

// A sub-interface on one TCAM. Interned.
class SubIntfMappingKey
    : public Orv::Interned<SubIntfMappingKey, SubIntfMappingKeyFields, subIntfMappingKeyInterner> {
 public:
   constexpr SubIntfMappingKey() = default;
   SubIntfMappingKey(Plexus::IntfId subIntf, Shoal::SystemTcamId tcamId)
       : Interned(SubIntfMappingKeyFields{subIntf, tcamId}) {}

   Plexus::IntfId subIntf() const { return fields().subIntf; }
   Shoal::SystemTcamId tcamId() const { return fields().tcamId; }
};

class ORV_EXPORT SubIntfMappingConfig : public Orv::Entity {
   ORV_ENTITY(SubIntfMappingConfig, "Hardware::ShoalTunnel::SubIntfMappingConfig")
   ORV_COLLECTION(config, SubIntfMappingKey, LifFeatureWord, Orv::KeyedByIndex)
};

class ORV_EXPORT SubIntfMappingStatus : public Orv::Entity {
   ORV_ENTITY(SubIntfMappingStatus, "Hardware::ShoalTunnel::SubIntfMappingStatus")
   ORV_EVENTS(status, SubIntfMappingKey, LifFeatureStatusType, Orv::PagedStorage)
};

} // namespace Hardware::ShoalTunnel

// The feature words that the chip holds: of the default in-LIF of each place (unit and port), and
// of each sub-interface on a TCAM. The hardware layer answers later, in the status: it writes a
// status to answer a write, and deletes the status to answer a deletion.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::ShoalTunnel {

// 64 bits: data0, data1, eei from the lowest.
struct LifFeatureWord {
   uint64_t value = 0;

   ORV_VALUE(LifFeatureWord, "Hardware::ShoalTunnel::LifFeatureWord", value)
};

// All zero: there is no status. A code other than `programmed` means that the write failed.
struct LifFeatureStatusType {
   static constexpr uint32_t programmed = 1;

   uint32_t statusCode = 0;
   uint64_t word = 0; // that was written

   ORV_VALUE(LifFeatureStatusType, "Hardware::ShoalTunnel::LifFeatureStatusType", statusCode, word)
};

class ORV_EXPORT DefaultMappingConfig : public Orv::Entity {
   ORV_ENTITY(DefaultMappingConfig, "Hardware::ShoalTunnel::DefaultMappingConfig")
   ORV_COLLECTION(config, Shoal::PortMap, LifFeatureWord, Orv::Keyed)
};

class ORV_EXPORT DefaultMappingStatus : public Orv::Entity {
   ORV_ENTITY(DefaultMappingStatus, "Hardware::ShoalTunnel::DefaultMappingStatus")
   // Every write is an answer, even of an equal value.
   ORV_EVENTS(status, Shoal::PortMap, LifFeatureStatusType, Orv::SlabStorage)
};

struct SubIntfMappingKey {
   Plexus::IntfId subIntf;
   Shoal::SystemTcamId tcamId;

   ORV_VALUE(SubIntfMappingKey, "Hardware::ShoalTunnel::SubIntfMappingKey", subIntf, tcamId)
};

class ORV_EXPORT SubIntfMappingConfig : public Orv::Entity {
   ORV_ENTITY(SubIntfMappingConfig, "Hardware::ShoalTunnel::SubIntfMappingConfig")
   ORV_COLLECTION(config, SubIntfMappingKey, LifFeatureWord, Orv::Keyed)
};

class ORV_EXPORT SubIntfMappingStatus : public Orv::Entity {
   ORV_ENTITY(SubIntfMappingStatus, "Hardware::ShoalTunnel::SubIntfMappingStatus")
   ORV_EVENTS(status, SubIntfMappingKey, LifFeatureStatusType, Orv::SlabStorage)
};

} // namespace Hardware::ShoalTunnel

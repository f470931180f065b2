// The status of the chip family's units and ports. The chip's driver writes it.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

#include <string>

namespace Hardware::Shoal {

// Unit types; 0 when none is recorded.
using FapType = uint32_t;
inline constexpr FapType fapTypeArad = 1;
// Like Arad, this type has a VLAN domain per port-channel and unit.
inline constexpr FapType fapTypeLagDomain = 2;

// External look-up types; 0 when none is recorded.
using ExtLkupType = uint32_t;
inline constexpr ExtLkupType extLkupTypeLumen_ = 4;

class ORV_EXPORT Status : public Orv::Entity {
   ORV_ENTITY(Status, "Hardware::Shoal::Status")
   // A unit is available while it has a name.
   ORV_COLLECTION(fapName, FapId, std::string, Orv::KeyedByIndex)
   ORV_COLLECTION(fapType, FapId, FapType, Orv::KeyedByIndex)
   ORV_COLLECTION(fapExtLkupType, FapId, ExtLkupType, Orv::KeyedByIndex)
   // Interface -> its port, in interface order. An absent interface reads as the null port.
   ORV_COLLECTION(sysPhyPortId, Plexus::IntfId, SystemPhyPortId, Orv::OrderedCollection)
   ORV_COLLECTION(portMap, SystemPhyPortId, PortMap, Orv::KeyedByIndex)
   // Physical port -> the TCAM that serves it; an absent port reads as the unset TCAM.
   ORV_COLLECTION(sysTcamId, Plexus::IntfId, SystemTcamId, Orv::KeyedByIndex)
   // A new version means that offsets or masks in TCAM keys (ShoalTcam) have changed.
   ORV_ATTRIBUTE(tcamKeyVersion, uint32_t, 0)
   // False while the port map is being rewritten. A new version means that it is complete again.
   ORV_ATTRIBUTE(portMapValid, bool, true)
   ORV_ATTRIBUTE(portMapVersion, uint32_t, 0)

   bool fapAvailable(FapId fapId) const { return !fapName(fapId).empty(); }
};

// The TCAM that a core of a unit uses. Each unit has up to kCoresPerFap cores. The unset TCAM for a
// null status, the null unit and a core out of range.
inline constexpr uint32_t kCoresPerFap = 2;
ORV_EXPORT SystemTcamId fapLocalCoreIdToSystemTcamId(Orv::Ptr<Status const> const& status,
                                                     FapId fapId, uint32_t localCoreId);
// The unit of a TCAM; null for the unset one.
ORV_EXPORT FapId fapOf(SystemTcamId tcamId);

} // namespace Hardware::Shoal

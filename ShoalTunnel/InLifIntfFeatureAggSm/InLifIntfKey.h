// The key of collections per in-LIF interface.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Interned.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

struct InLifIntfKeyFields {
   Plexus::IntfId intfId;
   Shoal::SystemTcamId tcamId;

   ORV_VALUE(InLifIntfKeyFields, "Hardware::ShoalTunnel::InLifIntfKey", intfId, tcamId)
};

TCAM_SHARING_EXPORT extern Orv::Interner<InLifIntfKeyFields> inLifIntfKeyInterner;

// An interface (port, port-channel, VLAN interface, sub-interface) on a system TCAM. Interned: it
// is hashed once, when it is made from its fields, and is an index after that. The default key is
// the empty interface on the unset TCAM.
class InLifIntfKey : public Orv::Interned<InLifIntfKey, InLifIntfKeyFields, inLifIntfKeyInterner> {
 public:
   constexpr InLifIntfKey() = default;
   InLifIntfKey(Plexus::IntfId intfId, Shoal::SystemTcamId tcamId)
       : Interned(InLifIntfKeyFields{intfId, tcamId}) {}

   Plexus::IntfId intfId() const { return fields().intfId; }
   Shoal::SystemTcamId tcamId() const { return fields().tcamId; }

   static constexpr char const* blipForm = "<InLifIntfKey intfId=% tcamId=%>";
   auto blipFields() const { return std::tuple(intfId(), tcamId().value()); }
};

} // namespace Hardware::ShoalTunnel

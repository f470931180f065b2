// What a tag means on a physical interface. Written by VlanXlateStatusSm.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

struct VlanXlateKey {
   Plexus::IntfId phyIntf;
   uint16_t vlanTag = 0;

   static constexpr char const* blipForm = "(intfId:% vlanTag:%)";
   auto blipFields() const { return std::tuple(phyIntf, vlanTag); }
   ORV_VALUE(VlanXlateKey, "Hardware::ShoalTunnel::VlanXlateKey", phyIntf, vlanTag)
};

struct VlanXlate {
   Plexus::IntfId subIntf;      // whose outer tag it is; of several the one with the lowest id
   Bridging::VlanIdOrNone vlan; // carried on the port; 0: none
   Plexus::IntfId routedPort;   // whose internal VLAN it is: the port or its port-channel
   // More than one of these, or two sub-interfaces with the same tags.
   bool collision = false;

   bool empty() const { return *this == VlanXlate(); }
   ORV_VALUE(VlanXlate, "Hardware::ShoalTunnel::VlanXlate", subIntf, vlan, routedPort, collision)
};

class TCAM_SHARING_EXPORT VlanXlateStatus : public Orv::Entity {
   ORV_ENTITY(VlanXlateStatus, "Hardware::ShoalTunnel::VlanXlateStatus")
   ORV_COLLECTION(vlanXlate, VlanXlateKey, VlanXlate, Orv::Keyed)
};

} // namespace Hardware::ShoalTunnel

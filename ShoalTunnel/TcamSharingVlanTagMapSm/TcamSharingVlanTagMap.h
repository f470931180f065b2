// The VLAN tags and VLAN domains in use on each forwarding unit, with their users. Written by
// TcamSharingVlanTagMapSm.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatus.h"

namespace Hardware::ShoalTunnel {

struct VlanTagKey {
   Shoal::FapId fapId;
   uint16_t vlanTag = 0;
   Shoal::VlanDomain vlanDomain;

   static constexpr char const* blipForm = "(fapId:% vlanTag:% vlanDomain:%)";
   auto blipFields() const { return std::tuple(fapId.value(), vlanTag, vlanDomain.value()); }
   ORV_VALUE(VlanTagKey, "Hardware::ShoalTunnel::VlanTagKey", fapId, vlanTag, vlanDomain)
};

class TCAM_SHARING_EXPORT VlanTagUsers : public Orv::Entity {
   ORV_ENTITY(VlanTagUsers, "Hardware::ShoalTunnel::VlanTagUsers")

   explicit VlanTagUsers(VlanTagKey key) : key_(key) {}
   VlanTagKey key() const { return key_; }
   // The requests of the shared entry.
   ORV_SET(request, TcamSharingRequest, Orv::Small)
   // The ports in this domain that carry the tag.
   ORV_SET(xlate, VlanXlateKey, Orv::Small)

   // How many of the requests are those of sub-interfaces, and on how many of the ports it is the
   // tag of a sub-interface of the port.
   ORV_COUNTER(subIntf)
   // On how many of the ports it is a VLAN that is carried.
   ORV_COUNTER(vlan)

   bool collide() const { return subIntf() != 0 && vlan() != 0; }
   bool empty() const { return requests() == 0 && xlates() == 0; }

 private:
   VlanTagKey key_;
};

class TCAM_SHARING_EXPORT TcamSharingVlanTagMap : public Orv::Entity {
   ORV_ENTITY(TcamSharingVlanTagMap, "Hardware::ShoalTunnel::TcamSharingVlanTagMap")
   ORV_OWNED_COLLECTION(vlanTag, VlanTagKey, VlanTagUsers, Orv::Keyed)
   // Those that are the tag of a sub-interface, and a VLAN that is carried, in one domain.
   ORV_SET(collision, VlanTagKey, Orv::Keyed)
};

} // namespace Hardware::ShoalTunnel

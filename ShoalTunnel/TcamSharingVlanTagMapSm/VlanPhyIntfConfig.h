// The physical interfaces that carry each tag. VlanPhyIntfConfigSm writes two: of the VLANs, and of
// the outer tags of routed sub-interfaces.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Orv/SetReactors.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

// Those of one tag.
class TCAM_SHARING_EXPORT VlanPhyIntfs : public Orv::Entity {
   ORV_ENTITY(VlanPhyIntfs, "Hardware::ShoalTunnel::VlanPhyIntfs")

   explicit VlanPhyIntfs(uint16_t vlanTag) : vlanTag_(vlanTag) {}
   uint16_t vlanTag() const { return vlanTag_; }
   ORV_SET(phyIntf, Plexus::IntfId, Orv::Keyed)

 private:
   uint16_t vlanTag_;
};

class TCAM_SHARING_EXPORT VlanPhyIntfConfig : public Orv::Entity {
   ORV_ENTITY(VlanPhyIntfConfig, "Hardware::ShoalTunnel::VlanPhyIntfConfig")
   // Tag -> the ports that carry it.
   ORV_OWNED_COLLECTION(vlanTag, uint16_t, VlanPhyIntfs, Orv::Keyed)

   bool carries(Plexus::IntfId phyIntf, uint16_t tag) const {
      auto ports = vlanTag(tag);
      return ports && ports->phyIntf(phyIntf);
   }
};

// Calls handler(tag, port) for each port that is added to the ports of a tag or removed.
template<auto handler>
using VlanPhyIntfReactors =
    Orv::SetReactors<Orv::Keyed, VlanPhyIntfs, &VlanPhyIntfs::phyIntfCollection, handler>;

} // namespace Hardware::ShoalTunnel

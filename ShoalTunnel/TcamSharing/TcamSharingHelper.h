// Looks up what programming a request needs: unit, VLAN domain, encapsulation and mapper key of its
// interface.
//
// Each call reads the current content of the entities; nothing is written. "Not found" is an
// ordinary result, traced at level 0. The programming machines retry such a request.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "platform/Hardware/Shoal/VlanDomainStatus.h"
#include "platform/Hardware/ShoalTunnel/PortMapTables.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Interface/EthLagIntfStatus.h"
#include "platform/Interface/SubIntf.h"
#include "platform/IntfVlanId/Table.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

#include <optional>

namespace Hardware::ShoalTunnel {

// The result of getDot1qEncapForIntf: all zero and not valid if there is no encapsulation now.
struct TcamSharingDot1qEncapResponse {
   Bridging::Dot1qEncap dot1qEncap;
   bool valid = false;

   ORV_VALUE(TcamSharingDot1qEncapResponse, "Hardware::ShoalTunnel::TcamSharingDot1qEncapResponse",
             dot1qEncap, valid)
};

class TCAM_SHARING_EXPORT TcamSharingHelper : public Orv::Entity {
   ORV_ENTITY(TcamSharingHelper, "Hardware::ShoalTunnel::TcamSharingHelper")

   TcamSharingHelper(Orv::Ptr<ShoalTunnelCommonSmData const> scsd,
                     Orv::Ptr<Shoal::Status const> shoalStatus,
                     Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus,
                     Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
                     Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable,
                     Orv::Ptr<Interface::EthLagIntfStatusDir const> ethIntfStatusDir,
                     Orv::Ptr<ShoalTunnelPortMapHelper const> portMapHelper,
                     Orv::Ptr<VlanTagToVsiMapperSm const> vlanTagToVsiMapperSm,
                     Orv::Ptr<Interface::SubIntfStatusDir const> subIntfStatusDir,
                     Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap);

   // The port map of the interface's port; (2048, 256) if unknown.
   Shoal::PortMap intfToPortMap(Plexus::IntfId intf) const;
   // The unit of the interface, 2048 if unknown: from the port map, from the port-map helper's
   // current table, and from its table of changed mappings.
   Shoal::FapId getFapIdForIntf(Plexus::IntfId intf) const;
   Shoal::FapId getHelperFapIdForIntf(Plexus::IntfId intf) const;
   Shoal::FapId getHelperChangedFapIdForIntf(Plexus::IntfId intf) const;
   // The first of these three that is known, in this order.
   Shoal::FapId getParentFapId(Plexus::IntfId intf) const;
   // The interface on a unit port; the empty id if there is none.
   Plexus::IntfId getIntfIdForFapPort(Shoal::FapId fapId, uint16_t fapPortId) const;

   // null if the unit's type has no such entries, or none for this port-channel.
   Orv::Ptr<VlanDomainPerLagFap const> getVlanDomainForLagFap(Plexus::IntfId lag,
                                                              Shoal::FapId fapId) const;
   // Nothing if there is no domain now. 255 for flood entries; 0 for other interfaces that are not
   // sub-interfaces.
   std::optional<Shoal::VlanDomain> getVlanDomainForIntf(Plexus::IntfId intf,
                                                         Shoal::FapId fapId) const;
   // Hints that this interface is looked up soon. The second needs what the first has hinted at.
   void prefetchIntf(Plexus::IntfId intf) const;
   void prefetchEncap(Plexus::IntfId intf) const;
   // A flood entry without its VLAN is an invariant failure.
   TcamSharingDot1qEncapResponse
   getDot1qEncapForIntf(Plexus::IntfId intfId, Bridging::VlanIdOrNone l3FloodPortVlanId) const;
   // Throws Orv::RangeException for an outer tag above 8192. `guess` is the key that it probably
   // is.
   VlanTagToVsiMapperKey getVlanTagToVsiMapperKeyForSubIntf(Plexus::IntfId parentIntf,
                                                            TcamSharingRequest request,
                                                            Bridging::Dot1qEncap dot1qEncap,
                                                            VlanTagToVsiMapperKey guess = {}) const;

 private:
   std::optional<Shoal::VlanDomain> domainOfLagSubIntf(Plexus::IntfId intf, Plexus::IntfId parent,
                                                       Shoal::FapId fapId) const;
   std::optional<Shoal::VlanDomain> domainOfPortSubIntf(Plexus::IntfId intf,
                                                        Plexus::IntfId parent) const;
   TcamSharingDot1qEncapResponse encapOfSubIntf(Plexus::IntfId intfId) const;

   Orv::Ptr<ShoalTunnelCommonSmData const> scsd_;
   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus_;
   Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir_;
   Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable_;
   Orv::Ptr<Interface::EthLagIntfStatusDir const> ethIntfStatusDir_;
   Orv::Ptr<ShoalTunnelPortMapHelper const> portMapHelper_;
   Orv::Ptr<VlanTagToVsiMapperSm const> vlanTagToVsiMapperSm_;
   Orv::Ptr<Interface::SubIntfStatusDir const> subIntfStatusDir_;
   Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap_;
};

} // namespace Hardware::ShoalTunnel

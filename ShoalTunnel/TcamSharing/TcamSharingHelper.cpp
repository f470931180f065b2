#include "ShoalTunnel/TcamSharing/TcamSharingHelper.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Bridging::Dot1qEncap;
using Plexus::IntfId;
using Shoal::FapId;
using Shoal::PortMap;
using Shoal::VlanDomain;

TcamSharingHelper::TcamSharingHelper(
    Orv::Ptr<ShoalTunnelCommonSmData const> scsd, Orv::Ptr<Shoal::Status const> shoalStatus,
    Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus,
    Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
    Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable,
    Orv::Ptr<Interface::EthLagIntfStatusDir const> ethIntfStatusDir,
    Orv::Ptr<ShoalTunnelPortMapHelper const> portMapHelper,
    Orv::Ptr<VlanTagToVsiMapperSm const> vlanTagToVsiMapperSm,
    Orv::Ptr<Interface::SubIntfStatusDir const> subIntfStatusDir,
    Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap)
    : scsd_(ORV_NOT_NULL(scsd)), shoalStatus_(ORV_NOT_NULL(shoalStatus)),
      vlanDomainStatus_(ORV_NOT_NULL(vlanDomainStatus)),
      subIntfConfigDir_(ORV_NOT_NULL(subIntfConfigDir)),
      intfVlanIdTable_(ORV_NOT_NULL(intfVlanIdTable)),
      ethIntfStatusDir_(ORV_NOT_NULL(ethIntfStatusDir)),
      portMapHelper_(ORV_NOT_NULL(portMapHelper)),
      vlanTagToVsiMapperSm_(ORV_NOT_NULL(vlanTagToVsiMapperSm)),
      subIntfStatusDir_(ORV_NOT_NULL(subIntfStatusDir)),
      dynSubIntfEncap_(ORV_NOT_NULL(dynSubIntfEncap)) {}

PortMap TcamSharingHelper::intfToPortMap(IntfId intf) const {
   // An unknown interface reads as the null port, and the null port as the null port map.
   return shoalStatus_->portMap(shoalStatus_->sysPhyPortId(intf));
}

FapId TcamSharingHelper::getFapIdForIntf(IntfId intf) const {
   return intfToPortMap(intf).fapId;
}

FapId TcamSharingHelper::getHelperFapIdForIntf(IntfId intf) const {
   return portMapHelper_->intfToFap(intf);
}

FapId TcamSharingHelper::getHelperChangedFapIdForIntf(IntfId intf) const {
   return portMapHelper_->changedIntfToFap(intf);
}

FapId TcamSharingHelper::getParentFapId(IntfId intf) const {
   FapId fap = getFapIdForIntf(intf);
   SHOAL_TRACE(7, __func__, ": parentFap1: ", fap);
   if (fap.isNull()) {
      fap = getHelperFapIdForIntf(intf);
      SHOAL_TRACE(7, __func__, ": parentFap2: ", fap);
   }
   if (fap.isNull()) {
      fap = getHelperChangedFapIdForIntf(intf);
      SHOAL_TRACE(7, __func__, ": parentFap3: ", fap);
   }
   return fap;
}

IntfId TcamSharingHelper::getIntfIdForFapPort(FapId fapId, uint16_t fapPortId) const {
   return scsd_->portMapToIntf(PortMap{fapId, fapPortId});
}

Orv::Ptr<VlanDomainPerLagFap const> TcamSharingHelper::getVlanDomainForLagFap(IntfId lag,
                                                                              FapId fapId) const {
   Shoal::FapType type = shoalStatus_->fapType(fapId);
   if (type != Shoal::fapTypeArad && type != Shoal::fapTypeLagDomain) {
      return nullptr;
   }
   Shoal::SystemTcamId tcamId = Shoal::fapLocalCoreIdToSystemTcamId(shoalStatus_, fapId, 0);
   return vlanTagToVsiMapperSm_->vlanDomainManager()->vlanDomainPerLagFap(LagFapKey{lag, tcamId});
}

std::optional<VlanDomain> TcamSharingHelper::getVlanDomainForIntf(IntfId intf, FapId fapId) const {
   if (!Plexus::SubIntfId::isSubIntfId(intf)) {
      return VlanDomain(intf.l3Flood() ? VlanDomain::l3Flood : 0);
   }
   IntfId parent = Plexus::SubIntfId::parentIntfId(intf);
   auto domain = Plexus::PortChannelIntfId::isPortChannelIntfId(intf)
                     ? domainOfLagSubIntf(intf, parent, fapId)
                     : domainOfPortSubIntf(intf, parent);
   // The value of the domain does not matter for a flood entry, but a domain has to exist.
   return domain && intf.l3Flood() ? VlanDomain(VlanDomain::l3Flood) : domain;
}

std::optional<VlanDomain> TcamSharingHelper::domainOfLagSubIntf(IntfId intf, IntfId parent,
                                                                FapId fapId) const {
   static constexpr char const* operation = "getVlanDomainForIntf";
   SHOAL_TRACE(7, operation, ": port-channel subintf: ", intf);
   auto lagStatus = ethIntfStatusDir_->ethLagIntfStatus(parent);
   if (!lagStatus) {
      SHOAL_TRACE(0, operation, ": parentPortChanStatus not found");
      return std::nullopt;
   }
   auto memberCount = static_cast<uint64_t>(lagStatus->members());
   SHOAL_TRACE(7, operation, ": memberId size: ", memberCount);
   if (memberCount == 0) {
      SHOAL_TRACE(0, operation, ": portChan ", parent, " has no members. ");
      return std::nullopt;
   }
   auto entry = getVlanDomainForLagFap(parent, fapId);
   if (!entry) {
      SHOAL_TRACE(0, operation, ": no vlanDomainPerLagFap entry found for lag: ", parent,
                  ", on fap: ", fapId);
      return std::nullopt;
   }
   return entry->vlanDomain();
}

std::optional<VlanDomain> TcamSharingHelper::domainOfPortSubIntf(IntfId intf, IntfId parent) const {
   static constexpr char const* operation = "getVlanDomainForIntf";
   PortMap portMap = intfToPortMap(parent);
   SHOAL_TRACE(7, operation, ": portMap: ", portMap);
   if (portMap.isNull()) {
      SHOAL_TRACE(0, operation, ": portMap not found for port-subintf: ", intf);
      return std::nullopt;
   }
   auto data = vlanDomainStatus_->portTunnelDataCollection().find(portMap);
   if (!data) {
      SHOAL_TRACE(0, operation, ": vlanDomain not found for subintf:", intf);
      return std::nullopt;
   }
   return data->vlanDomain;
}

void TcamSharingHelper::prefetchIntf(IntfId intf) const {
   intf.prefetch();
   subIntfConfigDir_->subIntfConfigCollection().prefetch(intf);
   subIntfStatusDir_->subIntfStatusCollection().prefetch(intf);
}

void TcamSharingHelper::prefetchEncap(IntfId intf) const {
   if (auto config = subIntfConfigDir_->subIntfConfigCollection().peek(intf)) {
      __builtin_prefetch(config->get());
   }
   if (auto status = subIntfStatusDir_->subIntfStatusCollection().peek(intf)) {
      __builtin_prefetch(status->get());
   }
}

TcamSharingDot1qEncapResponse
TcamSharingHelper::getDot1qEncapForIntf(IntfId intfId,
                                        Bridging::VlanIdOrNone l3FloodPortVlanId) const {
   if (Plexus::SubIntfId::isSubIntfId(intfId)) {
      return encapOfSubIntf(intfId);
   }
   if (Plexus::VlanIntfId::isVlanIntfId(intfId)) {
      SHOAL_TRACE(7, __func__, ": SVI: ", intfId);
      return {Dot1qEncap{Plexus::VlanIntfId::vlanId(intfId), 0}, true};
   }
   if (intfId.l3Flood()) {
      ORV_ASSERT(l3FloodPortVlanId.value() != 0, "l3FloodPortVlanId.value()");
      return {Dot1qEncap{l3FloodPortVlanId.value(), 0}, true};
   }
   Bridging::VlanIdOrNone internalVlanId = intfVlanIdTable_->internalVlanId(intfId);
   if (internalVlanId.value() == 0) {
      SHOAL_TRACE(0, __func__, ": no internalVlanId for routed port ", intfId);
      return {};
   }
   return {Dot1qEncap{internalVlanId.value(), 0}, true};
}

TcamSharingDot1qEncapResponse TcamSharingHelper::encapOfSubIntf(IntfId intfId) const {
   static constexpr char const* operation = "getDot1qEncapForIntf";
   auto config = subIntfConfigDir_->subIntfConfig(intfId);
   if (!config) {
      SHOAL_TRACE(0, operation, ": subinterface does not exist: ", intfId);
      return {};
   }
   Dot1qEncap encap = dynSubIntfEncap_->dot1qEncap(intfId);
   if (encap.isZero()) {
      encap = config->dot1qEncap();
   }
   SHOAL_TRACE(7, operation, ": final subintf dot1qEncap: <", encap.outer, ",", encap.inner, ">");
   if (encap.isZero()) {
      SHOAL_TRACE(0, operation, ": dot1qEncap not found for subintf: ", intfId);
      return {};
   }
   return {encap, true};
}

VlanTagToVsiMapperKey
TcamSharingHelper::getVlanTagToVsiMapperKeyForSubIntf(IntfId parentIntf, TcamSharingRequest request,
                                                      Dot1qEncap dot1qEncap,
                                                      VlanTagToVsiMapperKey guess) const {
   SHOAL_TRACE(8, "TcamSharingHelper::", __func__, " parentIntf: ", parentIntf,
               " TcamSharing request: ", request, " Dot1Q encap is: ", dot1qEncap);
   auto status = subIntfStatusDir_->subIntfStatus(request.intfId());
   return VlanTagToVsiMapperKey::ofSubIntf(parentIntf, request.intfId(), dot1qEncap,
                                           status ? status->encapKind() : 0, guess);
}

} // namespace Hardware::ShoalTunnel

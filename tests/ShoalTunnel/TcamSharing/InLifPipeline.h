// The mapper pipeline with a chip whose answers the test gives.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingTunnelInLifSm.h"
#include "tests/ShoalTunnel/TcamSharing/Switch.h"

namespace Hardware::ShoalTunnel {

constexpr auto mapperSuccess = VlanTagToVsiMapperErrorType::success;
constexpr auto mapperFailure = VlanTagToVsiMapperErrorType(4);

// The switch with units of the other type. Ethernet1.10 and Ethernet1.20 have their mapper entries;
// PortChannel7 has the members Ethernet1, Ethernet2 and Ethernet4, all on unit 1, and its
// sub-interface PortChannel7.70 an entry on each.
class InLifPipeline : public Switch {
 public:
   InLifPipeline() : Switch(Shoal::fapTypeLagDomain) {
      addPort("Ethernet4", 1, 4, 14);
      addSubIntf("PortChannel7.70", 70);
      for (uint16_t tag : {uint16_t(10), uint16_t(20)}) {
         mapperConfig->configIs(port(tag), {tag, 0});
      }
      for (auto const* member : {"Ethernet1", "Ethernet2", "Ethernet4"}) {
         addLag("PortChannel7", 1, 17, member);
         mapperConfig->configIs(member70(member), {70, 0});
      }
      LagFapKey lag{IntfId("PortChannel7"),
                    Shoal::fapLocalCoreIdToSystemTcamId(status, FapId(1), 0)};
      for (uint16_t unitPort : {uint16_t(1), uint16_t(2), uint16_t(4)}) {
         mapper->vlanDomainManager()->vlanDomainPerLagFap(lag)->memberPortIs(unitPort);
      }
      start();
   }

   void start() {
      merge = Orv::make<TcamSharingMergeSm>(acl, lumen, rampart, merged, aclStatus, lumenStatus,
                                            rampartStatus, mergedStatus, status);
      codef = tcamSharingCodefFactory(
          Orv::make<Orv::Clock>(timers), merged, Orv::make<Orv::Clock>(timers), vlans, common,
          encapChange, status, configDir, statusDir, helper,
          Orv::make<TcamSharingInLifSelector>(tagOutput, tunnelOutput), mergedStatus);
      inLif = tcamSharingInLifSmFactory(status, tagOutput, mergedStatus, helper, mapperConfig,
                                        mapperStatus, common);
      tunnel = tcamSharingTunnelInLifSmFactory(status, tunnelOutput, mergedStatus, helper,
                                               tunnelConfig, tunnelStatus, common);
      merge->handleInitialized();
   }

   // The key of a sub-interface whose number is its tag.
   static VlanTagToVsiMapperKey keyOf(std::string const& portName, std::string const& subIntf,
                                      uint16_t tag) {
      return VlanTagToVsiMapperKey(
          {IntfId(portName), Shoal::Vsi(tag), 0, 0, VlanTagType::dot1q, IntfId(subIntf), false});
   }
   static VlanTagToVsiMapperKey port(uint16_t tag) {
      return keyOf("Ethernet1", "Ethernet1." + std::to_string(tag), tag);
   }
   static VlanTagToVsiMapperKey member70(std::string const& member) {
      return keyOf(member, "PortChannel7.70", 70);
   }
   uint64_t data(VlanTagToVsiMapperKey key) const {
      return mapperConfig->config(key).inLifAdditionalData;
   }
   // The chip answers a write of these data (by default the latest).
   void answers(VlanTagToVsiMapperKey key, VlanTagToVsiMapperErrorType error = mapperSuccess) {
      answers(key, error, data(key));
   }
   void answers(VlanTagToVsiMapperKey key, VlanTagToVsiMapperErrorType error, uint64_t of) {
      mapperStatus->statusIs(key, {of, error});
   }

   Orv::Ptr<TcamSharingConfig> tagOutput = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingConfig> tunnelOutput = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingInLifCommon> common = Orv::make<TcamSharingInLifCommon>("inLif");
   Orv::Ptr<VlanTagToVsiMapperConfig> mapperConfig = Orv::make<VlanTagToVsiMapperConfig>();
   Orv::Ptr<VlanTagToVsiMapperStatus> mapperStatus = Orv::make<VlanTagToVsiMapperStatus>();
   Orv::Ptr<TunnelPolicyMapperConfig> tunnelConfig = Orv::make<TunnelPolicyMapperConfig>();
   Orv::Ptr<TunnelPolicyMapperStatus> tunnelStatus = Orv::make<TunnelPolicyMapperStatus>();

   Orv::Ptr<TcamSharingMergeSm> merge;
   Orv::Ptr<TcamSharingCodef> codef;
   Orv::Ptr<TcamSharingInLifSm> inLif;
   Orv::Ptr<TcamSharingTunnelInLifSm> tunnel;
};

} // namespace Hardware::ShoalTunnel

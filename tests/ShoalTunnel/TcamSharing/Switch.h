// A switch on virtual time, for the tests of the machines.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"
#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"
#include "ShoalTunnel/TcamSharing/TcamSharingHelper.h"
#include "tests/ShoalTunnel/Traced.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware::ShoalTunnel {

using Bridging::Dot1qEncap;
using Bridging::VlanIdOrNone;
using Plexus::IntfId;
using Shoal::FapId;
using Shoal::PortMap;
using Shoal::SystemPhyPortId;
using Shoal::VlanDomain;

inline TcamSharingPolicyId policy(uint64_t value) {
   return TcamSharingPolicyId(value);
}
inline TcamSharingResponse response(TcamSharingResponseStatus status, uint64_t value) {
   return {status, policy(value)};
}

// Units 1 and 2, available, unit 2 with the Lumen look-up. Ethernet1 and Ethernet2 on unit 1 with
// domains 11 and 12, Ethernet3 on unit 2 with domain 13; sub-interfaces .10 and .20 on each, with
// their number as tag; Ethernet1.11 with the tag of Ethernet1.10.
class Switch : public testing::Test {
 public:
   explicit Switch(Shoal::FapType type) {
      Orv::System::timeSourceIs(&time);
      for (uint32_t unit : {1U, 2U}) {
         status->fapNameIs(FapId(unit), "unit");
         status->fapTypeIs(FapId(unit), type);
      }
      status->fapExtLkupTypeIs(FapId(2), Shoal::extLkupTypeLumen_);
      addPort("Ethernet1", 1, 1, 11);
      addPort("Ethernet2", 1, 2, 12);
      addPort("Ethernet3", 2, 1, 13);
      addSubIntf("Ethernet1.11", 10);
   }
   ~Switch() override {
      for (unsigned level = 0; level < Trace::kLevels; ++level) {
         Trace::textLevelIs(level, false);
      }
      Trace::textSinkIs(nullptr);
      Orv::System::timeSourceIs(nullptr);
   }

   void addPort(std::string const& name, uint32_t unit, uint16_t port, uint8_t domain) {
      SystemPhyPortId systemPort(unit * 100 + port);
      PortMap place{FapId(unit), port};
      status->sysPhyPortIdIs(IntfId(name), systemPort);
      status->portMapIs(systemPort, place);
      scsd->portMapToIntfIs(place, IntfId(name));
      domains->portTunnelDataIs(place, {VlanDomain(domain)});
      addSubIntf(name + ".10", 10);
      addSubIntf(name + ".20", 20);
   }
   void addSubIntf(std::string const& name, uint16_t outer, uint16_t inner = 0) {
      auto config = Orv::make<Interface::SubIntfConfig>();
      config->dot1qEncapIs({outer, inner});
      configDir->subIntfConfigIs(IntfId(name), config);
      statusDir->subIntfStatusIs(IntfId(name));
   }
   void addLag(std::string const& name, uint32_t unit, uint8_t domain, std::string const& member) {
      lagDir->ethLagIntfStatusIs(IntfId(name))->memberIs(IntfId(member));
      LagFapKey key{IntfId(name), Shoal::fapLocalCoreIdToSystemTcamId(status, FapId(unit), 0)};
      mapper->vlanDomainManager()->vlanDomainPerLagFapIs(key)->vlanDomainIs(VlanDomain(domain));
   }

   static TcamSharingRequest request(std::string const& intf, uint32_t unit = 1,
                                     uint32_t flood = 0) {
      return {IntfId(intf), FapId(unit), VlanIdOrNone(flood)};
   }
   void ask(std::string const& intf, uint64_t value, uint32_t unit = 1) {
      acl->requestIs(request(intf, unit), policy(value));
   }
   void withdraw(std::string const& intf, uint32_t unit = 1) {
      acl->requestDel(request(intf, unit));
   }
   TcamSharingResponse answer(std::string const& intf, uint32_t unit = 1) {
      return mergedStatus->response(request(intf, unit));
   }

   // Runs what is due until `time`.
   void runTo(Seconds end) {
      while (!timers.idle() && timers.next() <= end) {
         time.advanceTo(timers.next());
         timers.runDue();
      }
      time.advanceTo(end);
   }
   // Runs the slices that are due now, not the next retry pass.
   void run() { runTo(time.peek()); }

   template<class Action>
   static std::string traced(Action&& action) {
      return Trace::traced(std::forward<Action>(action));
   }

   Orv::VirtualTime time;
   Orv::Timers timers;
   Orv::Ptr<Shoal::Status> status = Orv::make<Shoal::Status>();
   Orv::Ptr<ShoalTunnelCommonSmData> scsd = Orv::make<ShoalTunnelCommonSmData>();
   Orv::Ptr<Shoal::VlanDomainStatus> domains = Orv::make<Shoal::VlanDomainStatus>();
   Orv::Ptr<Interface::SubIntfConfigDir> configDir = Orv::make<Interface::SubIntfConfigDir>();
   Orv::Ptr<IntfVlanId::Table> vlans = Orv::make<IntfVlanId::Table>();
   Orv::Ptr<Interface::EthLagIntfStatusDir> lagDir = Orv::make<Interface::EthLagIntfStatusDir>();
   Orv::Ptr<ShoalTunnelPortMapHelper> portMapHelper = Orv::make<ShoalTunnelPortMapHelper>();
   Orv::Ptr<VlanTagToVsiMapperSm> mapper = Orv::make<VlanTagToVsiMapperSm>();
   Orv::Ptr<Interface::SubIntfStatusDir> statusDir = Orv::make<Interface::SubIntfStatusDir>();
   Orv::Ptr<Interface::SubIntfDynDot1qEncap> dynamic = Orv::make<Interface::SubIntfDynDot1qEncap>();
   Orv::Ptr<SubIntfDot1qEncapChange> encapChange = Orv::make<SubIntfDot1qEncapChange>();
   Orv::Ptr<TcamSharingHelper> helper = Orv::make<TcamSharingHelper>(
       scsd, status, domains, configDir, vlans, lagDir, portMapHelper, mapper, statusDir, dynamic);

   Orv::Ptr<TcamSharingConfig> acl = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingConfig> lumen = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingConfig> rampart = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingConfig> merged = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingStatus> aclStatus = Orv::make<TcamSharingStatus>();
   Orv::Ptr<TcamSharingStatus> lumenStatus = Orv::make<TcamSharingStatus>();
   Orv::Ptr<TcamSharingStatus> rampartStatus = Orv::make<TcamSharingStatus>();
   Orv::Ptr<TcamSharingStatus> mergedStatus = Orv::make<TcamSharingStatus>();
};

} // namespace Hardware::ShoalTunnel

// The library's pipeline over a chip that answers at once.
#pragma once

#include "bench/support/World.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"

namespace Bench {

using namespace Hardware::ShoalTunnel;

class Pipeline {
 public:
   explicit Pipeline(World const& world) : world_(world) {
      for (auto const& port : world.ports) {
         Hardware::Shoal::SystemPhyPortId systemPort(
             static_cast<uint32_t>(&port - world.ports.data()));
         Hardware::Shoal::PortMap place{FapId(port.unit), port.unitPort};
         status_->fapNameIs(FapId(port.unit), "unit");
         status_->fapTypeIs(FapId(port.unit), Hardware::Shoal::fapTypeArad);
         status_->sysPhyPortIdIs(port.intf, systemPort);
         status_->portMapIs(systemPort, place);
         domains_->portTunnelDataIs(place, {Hardware::Shoal::VlanDomain(port.domain)});
      }
      for (auto const& sub : world.subInterfaces) {
         auto config = Orv::make<Interface::SubIntfConfig>();
         config->dot1qEncapIs({sub.tag, 0});
         configDir_->subIntfConfigIs(sub.intf, config);
      }
      table_->configCollection().watch(chip_);
      merge_->handleInitialized();
   }

   // Asks for a policy, 0 to withdraw; the request waits in the backlog.
   void ask(std::size_t which, uint64_t policy) {
      TcamSharingRequest request = requestOf(which);
      if (policy == 0) {
         acl_->requestDel(request);
      } else {
         acl_->requestIs(request, TcamSharingPolicyId(policy));
      }
   }
   // Works off the backlog.
   void drain() {
      while (codef_->backlogSize() > 0) {
         timers_.runDue();
      }
   }
   // One slice; the requests that it worked.
   uint32_t slice() { return codef_->processBacklog(Orv::System::currentTime()); }
   TcamSharingCodef& codef() { return *codef_; }

   bool isAnswered(std::size_t which, uint64_t policy) const {
      return aclStatus_->response(requestOf(which)) ==
             TcamSharingResponse{tcamSharingSuccess, TcamSharingPolicyId(policy)};
   }
   std::size_t entries() const { return table_->configs(); }
   std::size_t leftOver() const {
      return acl_->requests() + merged_->requests() + output_->requests() + table_->configs() +
             tableStatus_->statuss() + mergedStatus_->responses() + aclStatus_->responses() +
             common_->semToRequests() + common_->pendingSemWrites() +
             common_->tcamRequestToIsemKeyMappings();
   }

 private:
   TcamSharingRequest requestOf(std::size_t which) const {
      auto const& sub = world_.subInterfaces[which];
      return {sub.intf, FapId(world_.ports[sub.port].unit)};
   }
   struct Chip : Orv::Reactor<AradSemKeyAndFap> {
      Chip(SemTableConfig& config, SemTableStatus& status) : config_(config), status_(status) {}
      void handle(AradSemKeyAndFap const& key) override {
         if (auto written = config_.configCollection().find(key)) {
            status_.statusIs(key, {SemTableStatusEntry::success, *written});
         } else {
            status_.statusDel(key);
         }
      }
      SemTableConfig& config_;
      SemTableStatus& status_;
   };
   template<class T>
   using Made = Orv::Ptr<T>;

   World const& world_;
   Orv::Timers timers_;
   Made<Hardware::Shoal::Status> status_ = Orv::make<Hardware::Shoal::Status>();
   Made<Hardware::Shoal::VlanDomainStatus> domains_ =
       Orv::make<Hardware::Shoal::VlanDomainStatus>();
   Made<Interface::SubIntfConfigDir> configDir_ = Orv::make<Interface::SubIntfConfigDir>();
   Made<Interface::SubIntfStatusDir> statusDir_ = Orv::make<Interface::SubIntfStatusDir>();
   Made<IntfVlanId::Table> vlans_ = Orv::make<IntfVlanId::Table>();
   Made<TcamSharingConfig> acl_ = Orv::make<TcamSharingConfig>();
   Made<TcamSharingConfig> merged_ = Orv::make<TcamSharingConfig>();
   Made<TcamSharingConfig> output_ = Orv::make<TcamSharingConfig>();
   Made<TcamSharingStatus> aclStatus_ = Orv::make<TcamSharingStatus>();
   Made<TcamSharingStatus> mergedStatus_ = Orv::make<TcamSharingStatus>();
   Made<TcamSharingSemCommon> common_ = Orv::make<TcamSharingSemCommon>("bench");
   Made<SemTableConfig> table_ = Orv::make<SemTableConfig>();
   Made<SemTableStatus> tableStatus_ = Orv::make<SemTableStatus>();
   Made<TcamSharingHelper> helper_ = Orv::make<TcamSharingHelper>(
       Orv::make<ShoalTunnelCommonSmData>(), status_, domains_, configDir_, vlans_,
       Orv::make<Interface::EthLagIntfStatusDir>(), Orv::make<ShoalTunnelPortMapHelper>(),
       Orv::make<VlanTagToVsiMapperSm>(), statusDir_, Orv::make<Interface::SubIntfDynDot1qEncap>());
   Made<TcamSharingMergeSm> merge_ = Orv::make<TcamSharingMergeSm>(
       acl_, Orv::make<TcamSharingConfig>(), Orv::make<TcamSharingConfig>(), merged_, aclStatus_,
       Orv::make<TcamSharingStatus>(), Orv::make<TcamSharingStatus>(), mergedStatus_, status_);
   Made<TcamSharingCodef> codef_ = tcamSharingCodefFactory(
       Orv::make<Orv::Clock>(timers_), merged_, Orv::make<Orv::Clock>(timers_), vlans_, common_,
       Orv::make<SubIntfDot1qEncapChange>(), status_, configDir_, statusDir_, helper_,
       Orv::make<TcamSharingSemSelector>(output_), mergedStatus_);
   Made<TcamSharingSemSm> sem_ = Orv::make<TcamSharingSemSm>(
       status_, output_, mergedStatus_, helper_, table_, tableStatus_, common_);
   Chip chip_{*table_, *tableStatus_};
};

} // namespace Bench

// Common part of the library's sharing pipelines: the switch that they read, the tables of the
// requesters, the merge and the intake.
#pragma once

#include "bench/support/World.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"

namespace Bench {

using namespace Hardware::ShoalTunnel;

// The chip behind a table: answers each write with success at once.
template<class Config, class Status>
class Chip
    : public Orv::Reactor<
          typename std::remove_cvref_t<decltype(std::declval<Config>().configCollection())>::Key> {
   using Key =
       typename std::remove_cvref_t<decltype(std::declval<Config>().configCollection())>::Key;

 public:
   Chip(Config& config, Status& status) : config_(config), status_(status) {
      config_.configCollection().watch(*this);
   }
   void handle(Key const& key) override {
      if (auto written = config_.configCollection().find(key)) {
         status_.statusIs(key, success(*written));
      } else {
         status_.statusDel(key);
      }
   }

 private:
   static SemTableStatusEntry success(AradSemPayload payload) {
      return {SemTableStatusEntry::success, payload};
   }
   static VlanTagToVsiMapperStatusType success(VlanTagToVsiMapperResult const& result) {
      return {result.inLifAdditionalData, VlanTagToVsiMapperErrorType::success};
   }
   static TunnelPolicyMapperStatusType success(TunnelPolicyMapperResult const& result) {
      return {TunnelPolicyMapperStatusType::programmed, result.inLifAdditionalData};
   }
   Config& config_;
   Status& status_;
};

class PipelineFront {
 public:
   // Requests a policy; 0 withdraws. The request waits in the backlog.
   void ask(std::size_t which, uint64_t policy) {
      TcamSharingRequest request = requestOf(which);
      if (policy == 0) {
         acl_->requestDel(request);
      } else {
         acl_->requestIs(request, TcamSharingPolicyId(policy));
      }
   }
   // Runs slices until the backlog is empty.
   void drain() {
      while (codef_->backlogSize() > 0) {
         timers_.runDue();
      }
   }
   // Runs one slice; returns how many requests it processed.
   uint32_t slice() { return codef_->processBacklog(Orv::System::currentTime()); }
   TcamSharingCodef& codef() { return *codef_; }

   // Whether acl's status reports success for `policy`, or nothing if it is 0.
   bool isAnswered(std::size_t which, uint64_t policy) const {
      return aclStatus_->response(requestOf(which)) ==
             (policy == 0 ? TcamSharingResponse()
                          : TcamSharingResponse{tcamSharingSuccess, TcamSharingPolicyId(policy)});
   }

 protected:
   template<class T>
   using Made = Orv::Ptr<T>;

   PipelineFront(World const& world, Hardware::Shoal::FapType unitType,
                 Made<TcamSharingCommonBase> common, Made<TcamSharingSelector> selector)
       : world_(world), common_(std::move(common)) {
      for (auto const& target : world.targets) {
         status_->fapNameIs(FapId(target.unit), "unit");
         status_->fapTypeIs(FapId(target.unit), unitType);
         if (Plexus::SubIntfId::isSubIntfId(target.intf)) {
            auto config = Orv::make<Interface::SubIntfConfig>();
            config->dot1qEncapIs({target.tag, 0});
            configDir_->subIntfConfigIs(target.intf, config);
            statusDir_->subIntfStatusIs(target.intf);
         }
      }
      for (auto const& port : world.ports) {
         Hardware::Shoal::SystemPhyPortId systemPort(
             static_cast<uint32_t>(&port - world.ports.data()));
         Hardware::Shoal::PortMap place{FapId(port.unit), port.unitPort};
         status_->sysPhyPortIdIs(port.intf, systemPort);
         status_->portMapIs(systemPort, place);
         domains_->portTunnelDataIs(place, {Hardware::Shoal::VlanDomain(port.domain)});
      }
      codef_ = tcamSharingCodefFactory(Orv::make<Orv::Clock>(timers_), merged_,
                                       Orv::make<Orv::Clock>(timers_), vlans_, common_,
                                       Orv::make<SubIntfDot1qEncapChange>(), status_, configDir_,
                                       statusDir_, helper_, std::move(selector), mergedStatus_);
      merge_->handleInitialized();
   }

   std::size_t leftInFront() const {
      return acl_->requests() + merged_->requests() + codef_->backlogSize() +
             common_->retryLists() + mergedStatus_->responses() + aclStatus_->responses();
   }
   Target const& target(std::size_t which) const { return world_.targets[which]; }

   Made<Hardware::Shoal::Status> status_ = Orv::make<Hardware::Shoal::Status>();
   Made<Interface::SubIntfStatusDir> statusDir_ = Orv::make<Interface::SubIntfStatusDir>();
   Made<TcamSharingStatus> mergedStatus_ = Orv::make<TcamSharingStatus>();

 private:
   TcamSharingRequest requestOf(std::size_t which) const {
      return {target(which).intf, FapId(target(which).unit)};
   }

   World const& world_;
   Orv::Timers timers_;
   Made<TcamSharingCommonBase> common_;
   Made<Hardware::Shoal::VlanDomainStatus> domains_ =
       Orv::make<Hardware::Shoal::VlanDomainStatus>();
   Made<Interface::SubIntfConfigDir> configDir_ = Orv::make<Interface::SubIntfConfigDir>();
   Made<IntfVlanId::Table> vlans_ = Orv::make<IntfVlanId::Table>();
   Made<TcamSharingConfig> acl_ = Orv::make<TcamSharingConfig>();
   Made<TcamSharingConfig> merged_ = Orv::make<TcamSharingConfig>();
   Made<TcamSharingStatus> aclStatus_ = Orv::make<TcamSharingStatus>();
   Made<TcamSharingMergeSm> merge_ = Orv::make<TcamSharingMergeSm>(
       acl_, Orv::make<TcamSharingConfig>(), Orv::make<TcamSharingConfig>(), merged_, aclStatus_,
       Orv::make<TcamSharingStatus>(), Orv::make<TcamSharingStatus>(), mergedStatus_, status_);
   Made<TcamSharingCodef> codef_;

 protected:
   Made<TcamSharingHelper> helper_ = Orv::make<TcamSharingHelper>(
       Orv::make<ShoalTunnelCommonSmData>(), status_, domains_, configDir_, vlans_,
       Orv::make<Interface::EthLagIntfStatusDir>(), Orv::make<ShoalTunnelPortMapHelper>(),
       Orv::make<VlanTagToVsiMapperSm>(), statusDir_, Orv::make<Interface::SubIntfDynDot1qEncap>());
};

} // namespace Bench

// The in-LIF feature pipeline of the library, from request directories to words and responses.
#pragma once

#include "bench/support/FeatureWorld.h"
#include "platform/ShoalTcam/TcamDbStatusInterface.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestInputDirSm.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureResponseSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureMergeSm.h"
#include "ShoalTunnel/InLifIntfSm/PortInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/SubIntfInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/VlanInLifIntfSm.h"

namespace Bench {

using namespace Hardware::ShoalTunnel;
using Hardware::Shoal::SystemTcamId;

class FeaturePipeline {
 public:
   explicit FeaturePipeline(FeatureWorld const& world) : world_(world) {
      for (std::size_t number = 0; number < FeatureWorld::directories; ++number) {
         std::string name = "directory" + std::to_string(number);
         directories_.push_back(Orv::make<InLifFeatureRequestDir>(name));
         input_->entryIs(name, directories_.back());
      }
      layoutIs(0);
      portSm_->handleInitialized();
      subIntfSm_->handleInitialized();
      vlanSm_->handleInitialized();
   }

   // Requests a value; 0 withdraws.
   void ask(std::size_t which, uint64_t value) {
      auto const& request = world_.requests[which];
      auto& directory = *directories_[request.directory()];
      InLifFeatureKey key = keyOf(request);
      if (value == 0) {
         directory.requestDel(key);
      } else {
         directory.requestIs({key, static_cast<InLifFeatureValue>(value)});
      }
   }
   void drain() {} // there is no backlog

   // The value in the word of the request's interface.
   uint64_t programmed(std::size_t which) const {
      auto const& request = world_.requests[which];
      auto word = Plexus::SubIntfId::isSubIntfId(request.intf)
                      ? subIntfWords_->lifFeatureAttr(keyOf(request).intfKey())
                      : mergedWords_->lifFeatureAttr(request.intf);
      uint64_t bits = word.data0 | static_cast<uint64_t>(word.data1) << 16 |
                      static_cast<uint64_t>(word.eei) << 32;
      return bits >> (FeatureWorld::offsetOf(request.type) + shift_) & FeatureWorld::mask;
   }
   bool isAnswered(std::size_t which, uint64_t value) const {
      InLifFeatureKey key = keyOf(world_.requests[which]);
      return status_->response(key) ==
             (value == 0 ? InLifFeatureResponse()
                         : InLifFeatureResponse{key, static_cast<InLifFeatureValue>(value),
                                                InLifFeatureResponseStatus::success});
   }
   std::size_t leftOver() const {
      std::size_t left = 0;
      for (auto const& directory : directories_) {
         left += directory->requests();
      }
      return left + config_->requests() + expanded_->requests() + handled_->responses() +
             status_->responses() + portWords_->lifFeatureAttrs() + vlanWords_->lifFeatureAttrs() +
             mergedWords_->lifFeatureAttrs() + subIntfWords_->lifFeatureAttrs() +
             portSm_->lifIntfCfgs() + responseSm_->lifStatusResponses();
   }

   // Moves every field up by `shift` bits. The words follow at the next TCAM key version.
   void layoutIs(uint16_t shift) {
      shift_ = shift;
      for (uint16_t tcam = 0; tcam < FeatureWorld::tcams; ++tcam) {
         auto layout = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->inLifDataIs(
             SystemTcamId(tcam));
         for (InLifFeatureType type : inLifFeatureTypes) {
            auto offset = FeatureWorld::offsetOf(static_cast<unsigned>(type));
            layout->tcamShareQualInfoIs(
                type, {static_cast<uint16_t>(offset + shift), FeatureWorld::mask});
         }
      }
   }
   void tcamKeyVersionInc() { shoal_->tcamKeyVersionIs(shoal_->tcamKeyVersion() + 1); }

   void portOnTcam(IntfId port, uint16_t tcam) { shoal_->sysTcamIdIs(port, SystemTcamId(tcam)); }
   // In the order that every writer of the mapping keeps: the port's own entry first.
   void join(IntfId lag, IntfId port) {
      mapping_->phyIntfLagIs(port, lag);
      mapping_->lagPhyIntfConfigIs(lag)->phyIntfIs(port);
   }
   void leave(IntfId lag, IntfId port) {
      mapping_->phyIntfLagDel(port);
      mapping_->lagPhyIntfConfig(lag)->phyIntfDel(port);
   }
   bool hasWord(IntfId port) const { return mergedWords_->lifFeatureAttrHas(port); }

 private:
   template<class T>
   using Made = Orv::Ptr<T>;

   static InLifFeatureKey keyOf(FeatureWorld::Request const& request) {
      return {request.intf, SystemTcamId(request.tcam),
              static_cast<InLifFeatureType>(request.type)};
   }

   FeatureWorld const& world_;
   uint16_t shift_ = 0;
   std::vector<Made<InLifFeatureRequestDir>> directories_;
   Made<Orv::Dir> input_ = Orv::make<Orv::Dir>();
   Made<Hardware::Shoal::Status> shoal_ = Orv::make<Hardware::Shoal::Status>();
   Made<Lag::LagPhyIntfMapping> mapping_ = Orv::make<Lag::LagPhyIntfMapping>();
   Made<InLifIntfConfig> config_ = Orv::make<InLifIntfConfig>();
   Made<InLifIntfConfig> expanded_ = Orv::make<InLifIntfConfig>();
   Made<InLifIntfStatus> handled_ = Orv::make<InLifIntfStatus>();
   Made<InLifFeatureStatus> status_ = Orv::make<InLifFeatureStatus>();
   Made<DefaultLifFeatureConfig> portWords_ = Orv::make<DefaultLifFeatureConfig>();
   Made<DefaultLifFeatureConfig> vlanWords_ = Orv::make<DefaultLifFeatureConfig>();
   Made<DefaultLifFeatureConfig> mergedWords_ = Orv::make<DefaultLifFeatureConfig>();
   Made<SubIntfLifFeatureConfig> subIntfWords_ = Orv::make<SubIntfLifFeatureConfig>();

   // Wired as in the agent.
   Made<InLifFeatureRequestInputDirSm> inputSm_ =
       inLifFeatureRequestInputDirSmFactory(input_, config_);
   Made<InLifFeatureResponseSm> responseSm_ =
       inLifFeatureResponseSmFactory(handled_, config_, status_);
   Made<DefaultLifFeatureMergeSm> mergeSm_ =
       DefaultLifFeatureMergeSmIs(portWords_, vlanWords_, mergedWords_);
   Made<PortInLifIntfSm> portSm_ = portInLifIntfSmFactory(
       config_, handled_, shoal_, portWords_, expanded_, mapping_, Orv::make<Lag::Config>(),
       Orv::make<Hardware::Shoal::LocalPortMapStatus>());
   Made<SubIntfInLifIntfSm> subIntfSm_ =
       subIntfInLifIntfSmFactory(config_, handled_, shoal_, subIntfWords_);
   Made<VlanInLifIntfSm> vlanSm_ =
       vlanInLifIntfSmFactory(config_, handled_, shoal_, vlanWords_, expanded_, mapping_,
                              Orv::make<Bridging::UntaggedVlanDir>());
};

} // namespace Bench

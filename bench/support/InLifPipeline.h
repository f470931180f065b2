// The pipeline of the library for units that are not arad: in-LIFs of sub-interfaces and tunnels.
#pragma once

#include "bench/support/PipelineFront.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingTunnelInLifSm.h"

namespace Bench {

class InLifPipeline : public PipelineFront {
 public:
   explicit InLifPipeline(World const& world)
       : InLifPipeline(world, Orv::make<TcamSharingConfig>(), Orv::make<TcamSharingConfig>(),
                       Orv::make<TcamSharingInLifCommon>("bench")) {}

   // The policy that the chip holds for the request; 0 if none.
   uint64_t programmed(std::size_t which) const {
      auto const& of = target(which);
      return Plexus::TunnelIntfId::isTunnelIntfId(of.intf)
                 ? tunnels_->config({of.intf, FapId(of.unit)}).inLifAdditionalData
                 : mapper_->config(mapperKey(of)).inLifAdditionalData;
   }
   // Mapper entries are not counted: their owner keeps them.
   std::size_t leftOver() const {
      return leftInFront() + tagOutput_->requests() + tunnelOutput_->requests() +
             tunnels_->configs() + tunnelsStatus_->statuss() +
             common_->tcamSharingEntryRefCounts() + common_->vtagToVsiStatusErrorTypes() +
             common_->pendingLifEntriess() + common_->pendingTunnelLifEntriess() +
             common_->tcamRequestToVlanTagToVsiKeyMappings();
   }

 private:
   InLifPipeline(World const& world, Made<TcamSharingConfig> const& tagOutput,
                 Made<TcamSharingConfig> const& tunnelOutput,
                 Made<TcamSharingInLifCommon> const& common)
       : PipelineFront(world, otherThanArad, common,
                       Orv::make<TcamSharingInLifSelector>(tagOutput, tunnelOutput)),
         tagOutput_(tagOutput), tunnelOutput_(tunnelOutput), common_(common) {
      // The mapper entries of the sub-interfaces exist already.
      for (auto const& of : world.targets) {
         if (Plexus::SubIntfId::isSubIntfId(of.intf)) {
            mapper_->configIs(mapperKey(of), {of.tag, 0});
         }
      }
   }
   static VlanTagToVsiMapperKey mapperKey(Target const& of) {
      return VlanTagToVsiMapperKey::ofSubIntf(of.port, of.intf, {of.tag, 0}, 0);
   }
   static constexpr Hardware::Shoal::FapType otherThanArad = Hardware::Shoal::fapTypeArad + 2;

   Made<TcamSharingConfig> tagOutput_;
   Made<TcamSharingConfig> tunnelOutput_;
   Made<TcamSharingInLifCommon> common_;
   Made<VlanTagToVsiMapperConfig> mapper_ = Orv::make<VlanTagToVsiMapperConfig>();
   Made<VlanTagToVsiMapperStatus> mapperStatus_ = Orv::make<VlanTagToVsiMapperStatus>();
   Made<TunnelPolicyMapperConfig> tunnels_ = Orv::make<TunnelPolicyMapperConfig>();
   Made<TunnelPolicyMapperStatus> tunnelsStatus_ = Orv::make<TunnelPolicyMapperStatus>();
   Made<TcamSharingInLifSm> inLif_ = Orv::make<TcamSharingInLifSm>(
       status_, tagOutput_, mergedStatus_, helper_, mapper_, mapperStatus_, common_);
   Made<TcamSharingTunnelInLifSm> tunnelInLif_ = Orv::make<TcamSharingTunnelInLifSm>(
       status_, tunnelOutput_, mergedStatus_, helper_, tunnels_, tunnelsStatus_, common_);
   Chip<VlanTagToVsiMapperConfig, VlanTagToVsiMapperStatus> mapperChip_{*mapper_, *mapperStatus_};
   Chip<TunnelPolicyMapperConfig, TunnelPolicyMapperStatus> tunnelChip_{*tunnels_, *tunnelsStatus_};
};

} // namespace Bench

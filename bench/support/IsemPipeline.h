// The pipeline of the library for arad units, down to the ISEM.
#pragma once

#include "bench/support/PipelineFront.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"

namespace Bench {

class IsemPipeline : public PipelineFront {
 public:
   explicit IsemPipeline(World const& world)
       : IsemPipeline(world, Orv::make<TcamSharingConfig>(),
                      Orv::make<TcamSharingSemCommon>("bench")) {}

   // The policy that the chip holds for the request; 0 if none.
   uint64_t programmed(std::size_t which) const {
      AradISemKeyTcamSharing key(Bridging::VlanId(target(which).tag), domainOf(which));
      return table_->config({key.key(), FapId(target(which).unit)}).value >> 3;
   }
   std::size_t leftOver() const {
      return leftInFront() + output_->requests() + table_->configs() + tableStatus_->statuss() +
             common_->semToRequests() + common_->pendingSemWrites() +
             common_->tcamRequestToIsemKeyMappings();
   }

 private:
   IsemPipeline(World const& world, Made<TcamSharingConfig> const& output,
                Made<TcamSharingSemCommon> const& common)
       : PipelineFront(world, Hardware::Shoal::fapTypeArad, common,
                       Orv::make<TcamSharingSemSelector>(output)),
         output_(output), common_(common) {}

   Hardware::Shoal::VlanDomain domainOf(std::size_t which) const {
      return helper_->getVlanDomainForIntf(target(which).intf, FapId(target(which).unit)).value();
   }

   Made<TcamSharingConfig> output_;
   Made<TcamSharingSemCommon> common_;
   Made<SemTableConfig> table_ = Orv::make<SemTableConfig>();
   Made<SemTableStatus> tableStatus_ = Orv::make<SemTableStatus>();
   Made<TcamSharingSemSm> sem_ = Orv::make<TcamSharingSemSm>(
       status_, output_, mergedStatus_, helper_, table_, tableStatus_, common_);
   Chip<SemTableConfig, SemTableStatus> chip_{*table_, *tableStatus_};
};

} // namespace Bench

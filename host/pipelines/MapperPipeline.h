// The pipeline of all other units, which share through in-LIFs: sub-interfaces through the
// VLAN-tag-to-VSI mapper, tunnels through the tunnel policy mapper.
#pragma once

#include "host/pipelines/SharingPipeline.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingTunnelInLifSm.h"

namespace ShoalHost {

class MapperPipeline : public SharingPipeline {
 public:
   MapperPipeline(World& world, Orv::Timers& timers,
                  Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> const& helper);

   void rebuild(Machine machine, Observer* observer) override;

   Orv::Ptr<TcamSharingConfig> tagOutput;
   Orv::Ptr<TcamSharingConfig> tunnelOutput;
   // Both machines' bookkeeping.
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingInLifCommon> common;
   // The configuration is the world's: the entries are not made here.
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagToVsiMapperConfig> mapperConfig;
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagToVsiMapperStatus> mapperStatus;
   Orv::Ptr<Hardware::ShoalTunnel::TunnelPolicyMapperConfig> tunnelConfig;
   Orv::Ptr<Hardware::ShoalTunnel::TunnelPolicyMapperStatus> tunnelStatus;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingInLifSm> mapperSm;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingTunnelInLifSm> tunnelSm;

 private:
   void buildMapperSm();
   void buildTunnelSm();
};

} // namespace ShoalHost

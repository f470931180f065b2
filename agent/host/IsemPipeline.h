// The pipeline of the units that share through the ISEM: the library's machines, wired and started
// in the order that they rely on, and the entities between them, mounted in Corestate.
#pragma once

#include "agent/chip/SimulatedChip.h"
#include "agent/world/World.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"

#include <array>
#include <string_view>

namespace Agent {

using Hardware::ShoalTunnel::TcamSharingPolicyId;
using Hardware::ShoalTunnel::TcamSharingRequest;

enum class Feature { acl, lumen, rampart };
inline constexpr std::size_t kFeatures = 3;
inline constexpr std::array<std::string_view, kFeatures> featureNames{"acl", "lumen", "rampart"};

class IsemPipeline {
 public:
   IsemPipeline(World& world, Orv::Timers& timers);

   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingConfig> const& config(Feature feature) const {
      return featureConfig_[static_cast<std::size_t>(feature)];
   }
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingStatus> const& status(Feature feature) const {
      return featureStatus_[static_cast<std::size_t>(feature)];
   }

   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingConfig> merged;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingStatus> mergedStatus;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingConfig> output;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingSemCommon> common;
   Orv::Ptr<Hardware::ShoalTunnel::SemTableConfig> table;
   Orv::Ptr<Hardware::ShoalTunnel::SemTableStatus> tableStatus;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> helper;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingMergeSm> merge;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingCodef> codef;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingSemSm> semSm;

 private:
   std::array<Orv::Ptr<Hardware::ShoalTunnel::TcamSharingConfig>, kFeatures> featureConfig_;
   std::array<Orv::Ptr<Hardware::ShoalTunnel::TcamSharingStatus>, kFeatures> featureStatus_;
};

} // namespace Agent

// What the pipelines of both chip generations have in common: the features' tables of the
// generation, the merge, the intake, and the entities between them, mounted in Corestate.
#pragma once

#include "agent/host/Follower.h"
#include "agent/world/World.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"

#include <array>
#include <string_view>

namespace Agent {

using Hardware::ShoalTunnel::TcamSharingConfig;
using Hardware::ShoalTunnel::TcamSharingEntry;
using Hardware::ShoalTunnel::TcamSharingPolicyId;
using Hardware::ShoalTunnel::TcamSharingRequest;
using Hardware::ShoalTunnel::TcamSharingStatus;
using Orv::Seconds;

enum class Feature { acl, lumen, rampart };
inline constexpr std::size_t kFeatures = 3;
inline constexpr std::array<std::string_view, kFeatures> featureNames{"acl", "lumen", "rampart"};

// One configuration and one status per feature.
class FeatureTables {
 public:
   // Mounted below `folder`.
   FeatureTables(World& world, std::string const& folder);

   Orv::Ptr<TcamSharingConfig> const& config(Feature feature) const {
      return config_[static_cast<std::size_t>(feature)];
   }
   Orv::Ptr<TcamSharingStatus> const& status(Feature feature) const {
      return status_[static_cast<std::size_t>(feature)];
   }

 private:
   std::array<Orv::Ptr<TcamSharingConfig>, kFeatures> config_;
   std::array<Orv::Ptr<TcamSharingStatus>, kFeatures> status_;
};

class SharingPipeline {
 public:
   virtual ~SharingPipeline();

   // What the programming machine of the request's kind was handed.
   TcamSharingPolicyId output(TcamSharingRequest request) const {
      return selector->getRequest(request);
   }

   // Destroys the machine and builds it again on the same entities, as after a restart of its
   // process; does nothing when the pipeline has none of this kind. `follower` may be null.
   virtual void rebuild(Machine machine, Follower* follower);

   std::string const name; // as its folder in Corestate: "isem", "inlif"
   FeatureTables features;
   Orv::Ptr<TcamSharingConfig> merged;
   Orv::Ptr<TcamSharingStatus> mergedStatus;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingMergeSm> merge;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingSelector> selector;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingCommonBase> commonBase;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingCodef> codef;

 protected:
   SharingPipeline(World& world, Orv::Timers& timers,
                   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> helper, std::string folder);
   void buildMerge();
   // When selector and bookkeeping are there.
   void buildIntake();
   // `machine` again, through `build`.
   template<class T, class Build>
   void rebuildOne(Orv::Ptr<T>& present, Machine machine, Follower* follower, Build build) {
      present = nullptr;
      if (follower != nullptr) {
         follower->handleGone(machine, this);
      }
      build();
      if (follower != nullptr) {
         follower->handleBuilt(machine, this);
      }
   }

   template<class T, class... Args>
   Orv::Ptr<T> mounted(World& world, std::string const& entityName, Args&&... args) const {
      auto entity = Orv::make<T>(std::forward<Args>(args)...);
      world.corestate().mount(name + "/" + entityName, entity);
      return entity;
   }

   World& world_;
   Orv::Timers& timers_;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> helper_;
};

} // namespace Agent

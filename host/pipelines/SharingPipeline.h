// What the sharing pipelines of both chip generations have in common: the requesters' tables of the
// generation, the merge, the intake, and the entities between them, mounted in Corestate.
#pragma once

#include "host/pipelines/Observer.h"
#include "host/world/World.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"

#include <array>
#include <string_view>

namespace ShoalHost {

using Hardware::ShoalTunnel::TcamSharingConfig;
using Hardware::ShoalTunnel::TcamSharingEntry;
using Hardware::ShoalTunnel::TcamSharingPolicyId;
using Hardware::ShoalTunnel::TcamSharingRequest;
using Hardware::ShoalTunnel::TcamSharingStatus;
using Orv::Seconds;

// A response that nothing follows by itself.
inline bool isFinal(Hardware::ShoalTunnel::TcamSharingResponse const& response) {
   return response.status == Hardware::ShoalTunnel::tcamSharingSuccess ||
          response.status == Hardware::ShoalTunnel::tcamSharingFailed;
}

// Who asks for policies: the parts of the switch that share TCAM space.
enum class Requester { acl, lumen, rampart };
inline constexpr std::size_t kRequesters = 3;
inline constexpr std::array<std::string_view, kRequesters> requesterNames{"acl", "lumen",
                                                                          "rampart"};

inline constexpr std::array<Requester, kRequesters> requesters{Requester::acl, Requester::lumen,
                                                               Requester::rampart};
inline std::string_view requesterName(Requester requester) {
   return requesterNames[static_cast<std::size_t>(requester)];
}

// One configuration and one status per requester: request -> policy, request -> response.
class SharingTables {
 public:
   // Mounted below `folder`.
   SharingTables(World& world, std::string const& folder);

   Orv::Ptr<TcamSharingConfig> const& config(Requester requester) const {
      return config_[static_cast<std::size_t>(requester)];
   }
   Orv::Ptr<TcamSharingStatus> const& status(Requester requester) const {
      return status_[static_cast<std::size_t>(requester)];
   }

 private:
   std::array<Orv::Ptr<TcamSharingConfig>, kRequesters> config_;
   std::array<Orv::Ptr<TcamSharingStatus>, kRequesters> status_;
};

class SharingPipeline {
 public:
   virtual ~SharingPipeline();

   // What the programming machine of the request's kind was handed.
   TcamSharingPolicyId output(TcamSharingRequest request) const {
      return selector->getRequest(request);
   }

   // Destroys the machine and builds it again on the same entities, as after a restart of its
   // process; does nothing when the pipeline has none of this kind. `observer` may be null.
   virtual void rebuild(Machine machine, Observer* observer);

   std::string const name; // as its folder in Corestate: "isem", "mapper"
   SharingTables sharing;
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
   void rebuildOne(Orv::Ptr<T>& present, Machine machine, Observer* observer, Build build) {
      present = nullptr;
      if (observer != nullptr) {
         observer->handleGone(machine, this);
      }
      build();
      if (observer != nullptr) {
         observer->handleBuilt(machine, this);
      }
   }

   template<class T, class... Args>
   Orv::Ptr<T> mounted(World& world, std::string const& entityName, Args&&... args) const {
      auto entity = Orv::make<T>(std::forward<Args>(args)...);
      world.corestate.mount(name + "/" + entityName, entity);
      return entity;
   }

   World& world_;
   Orv::Timers& timers_;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> helper_;
};

} // namespace ShoalHost

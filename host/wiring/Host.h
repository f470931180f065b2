// A host of the library: the world around it, the pipelines of both chip generations, the seam to a
// chip and the event loop, wired together and started.
//
// Nothing moves by itself. The program changes the world and the requests, and runs the event loop:
// with next() and runDue() from a loop of its own, or with advance() and settle() on virtual time,
// where the same calls give the same result each time. Everything happens on the thread that calls.
#pragma once

#include "host/admission/Changes.h"
#include "host/chronicle/Chronicle.h"
#include "host/driver/ChipSeam.h"
#include "host/pipelines/FeaturePipeline.h"
#include "host/pipelines/SharingRouter.h"
#include "host/pipelines/VlanTags.h"
#include "host/problems/Suspects.h"
#include "host/wiring/Loop.h"
#include "host/wiring/Settling.h"
#include "host/world/World.h"

#include <memory>

namespace ShoalHost {

class Host {
 public:
   // Starts on what the inventory describes. The driver is there at least as long.
   Host(Inventory inventory, ChipDriver& driver, Time time = Time::system);
   ~Host();
   Host(Host const&) = delete;
   Host& operator=(Host const&) = delete;

   // What a switch does to the library: changes of the world and of requests, each judged first.
   Changes& changes() { return *changes_; }
   Changes const& changes() const { return *changes_; }
   World& world() { return *world_; }
   World const& world() const { return *world_; }
   // The tables of the requesters, on units of both generations.
   SharingTables const& sharing() const { return router_->tables(); }
   std::vector<TcamSharingRequest> asked(Requester requester, IntfId intf) const {
      return router_->asked(requester, intf);
   }
   IsemPipeline& isem() const { return *isem_; }
   MapperPipeline& mapper() const { return *mapper_; }
   // Both, in the order above.
   std::vector<SharingPipeline*> const& pipelines() const { return pipelines_; }
   SharingPipeline& pipelineOf(TcamSharingRequest request) const {
      return router_->pipelineOf(request.fapId());
   }
   // The pipeline does not have what the requester asks for.
   bool isHeldBack(Requester requester, TcamSharingRequest request) const {
      return router_->held(requester, request);
   }
   FeaturePipeline& inLifFeatures() const { return *inLifFeatures_; }
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> const& helper() const { return helper_; }
   VlanTags const& vlanTags() const { return *vlanTags_; }
   // The chip, as far as the host knows it.
   ChipSeam& seam() { return *seam_; }
   ChipSeam const& seam() const { return *seam_; }
   Chronicle const& chronicle() const { return *chronicle_; }
   // The requests that may be a problem.
   Suspects& suspects() { return *suspects_; }
   Suspects const& suspects() const { return *suspects_; }
   // What is looked up of the requests that a pipeline was asked for.
   RequestIndex const& requestsOf(SharingPipeline const& pipeline) const {
      return changes_->indexOf(pipeline);
   }
   Orv::VirtualTime& time() { return loop_.time(); }
   Orv::VirtualTime const& time() const { return loop_.time(); }

   // When something is due, on the clock of Orv::System; none: nothing is.
   std::optional<Seconds> next() const {
      return loop_.timers().idle() ? std::nullopt : std::optional(loop_.timers().next());
   }
   // Does what is due now.
   void runDue() { loop_.timers().runDue(); }
   // On virtual time; see Loop and Settling.
   void advance(Seconds seconds) { loop_.advance(seconds); }
   bool settle(Seconds limit = 3600.0) { return settling_->settle(limit); }
   // Nothing is queued or unanswered: only retries are left.
   bool quiet() const { return !settling_->busy(); }

   // Destroys a machine (in every pipeline that has it) and builds it again on the same entities.
   // ChangeRefused when that would stop the library.
   void rebuild(Machine machine);
   // Builds all machines of in-LIF features again on empty tables, as in a host that starts now.
   void startFeaturesFresh();
   // Is told of machines that are built again; ends with the host. At most one.
   void observerIs(std::unique_ptr<Observer> observer) { observer_ = std::move(observer); }
   Observer* observer() const { return observer_.get(); }

   // Makes this host's virtual time that of the process; another host that was made since is gone.
   void activate() { loop_.activate(); }

 private:
   Loop loop_;
   std::unique_ptr<World> world_;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> helper_;
   std::unique_ptr<IsemPipeline> isem_;
   std::unique_ptr<MapperPipeline> mapper_;
   std::vector<SharingPipeline*> pipelines_;
   std::unique_ptr<SharingRouter> router_;
   std::unique_ptr<VlanTags> vlanTags_;
   std::unique_ptr<FeaturePipeline> inLifFeatures_;
   std::unique_ptr<ChipSeam> seam_;
   std::unique_ptr<Chronicle> chronicle_;
   std::unique_ptr<Changes> changes_;
   std::unique_ptr<Settling> settling_;
   std::unique_ptr<Suspects> suspects_;
   std::unique_ptr<Observer> observer_; // destroyed before what it watches
};

} // namespace ShoalHost

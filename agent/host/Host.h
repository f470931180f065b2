// The agent itself: the world, the pipelines of both chip generations, the simulated chip and the
// event loop, wired together.
//
// Nothing moves by itself: commands change the world and the requests, advance() and settle() run
// the event loop. The same commands give the same result each time.
#pragma once

#include "agent/chip/SimulatedChip.h"
#include "agent/host/Chronicle.h"
#include "agent/host/FeaturePipeline.h"
#include "agent/host/Loop.h"
#include "agent/host/Settling.h"
#include "agent/host/SharingRouter.h"
#include "agent/host/TraceFile.h"
#include "agent/world/World.h"
#include "ShoalTunnel/VlanDomainSm/VlanDomainSm.h"

#include <memory>

namespace Agent {

class Host {
 public:
   explicit Host(Inventory inventory);
   ~Host();
   Host(Host const&) = delete;
   Host& operator=(Host const&) = delete;

   World& world() { return *world_; }
   World const& world() const { return *world_; }
   // The tables of the requesters, on units of both generations.
   SharingTables const& sharing() const { return router_->tables(); }
   IsemPipeline& isem() const { return *isem_; }
   MapperPipeline& mapper() const { return *mapper_; }
   // Both, in the order above.
   std::vector<SharingPipeline*> const& pipelines() const { return pipelines_; }
   SharingPipeline& pipelineOf(TcamSharingRequest request) const {
      return router_->pipelineOf(request.fapId());
   }
   FeaturePipeline& inLifFeatures() const { return *inLifFeatures_; }
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> const& helper() const { return helper_; }
   // Interface -> its unit, and its VLAN domain. Written by the library's VlanDomainSm.
   Orv::Ptr<Hardware::ShoalTunnel::IntfToFapIdStatus> const& intfToFapIdStatus() const {
      return intfToFapIdStatus_;
   }
   Orv::Ptr<Hardware::ShoalTunnel::IntfToVlanDomainStatus> const& intfToVlanDomainStatus() const {
      return intfToVlanDomainStatus_;
   }
   SimulatedChip& chip() { return *chip_; }
   SimulatedChip const& chip() const { return *chip_; }
   Chronicle const& chronicle() const { return *chronicle_; }
   Orv::VirtualTime& time() { return loop_.time(); }
   Orv::VirtualTime const& time() const { return loop_.time(); }
   TraceFile& traceFile() { return traceFile_; }

   // See Loop and Settling.
   void advance(Seconds seconds) { loop_.advance(seconds); }
   bool settle(Seconds limit = 3600.0) { return settling_->settle(limit); }
   // Nothing is queued or unanswered: only retries are left.
   bool quiet() const { return !settling_->busy(); }

   // Destroys a machine (in every pipeline that has it) and builds it again on the same entities.
   void rebuild(Machine machine);
   // Builds all machines of in-LIF features again on empty tables, as in an agent that starts now.
   void startFeaturesFresh();
   // Is told of machines that are built again; ends with the agent. At most one.
   void observerIs(std::unique_ptr<Observer> observer) { observer_ = std::move(observer); }
   Observer* observer() const { return observer_.get(); }

   // Makes this agent the one that reads the time and traces; another one that was made since must
   // be gone.
   void activate();

 private:
   void buildVlanDomainSm();

   Loop loop_;
   std::unique_ptr<World> world_;
   Orv::Ptr<Hardware::ShoalTunnel::TcamSharingHelper> helper_;
   std::unique_ptr<IsemPipeline> isem_;
   std::unique_ptr<MapperPipeline> mapper_;
   std::vector<SharingPipeline*> pipelines_;
   std::unique_ptr<SharingRouter> router_;
   Orv::Ptr<Hardware::ShoalTunnel::IntfToFapIdStatus> intfToFapIdStatus_;
   Orv::Ptr<Hardware::ShoalTunnel::IntfToVlanDomainStatus> intfToVlanDomainStatus_;
   Orv::Ptr<Hardware::ShoalTunnel::VlanDomainSm> vlanDomainSm_;
   std::unique_ptr<FeaturePipeline> inLifFeatures_;
   std::unique_ptr<SimulatedChip> chip_;
   std::unique_ptr<Chronicle> chronicle_;
   std::unique_ptr<Settling> settling_;
   std::unique_ptr<Observer> observer_; // destroyed before what it watches
   TraceFile traceFile_;                // destroyed first: the destructors above are not traced
};

} // namespace Agent

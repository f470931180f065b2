// The agent itself: the world, the pipelines of both chip generations, the simulated chip and the
// event loop, on virtual time.
//
// Nothing moves by itself: commands change the world and the features' requests, advance() and
// settle() run the event loop. The same commands give the same result each time.
#pragma once

#include "agent/chip/SimulatedChip.h"
#include "agent/host/Chronicle.h"
#include "agent/host/FeaturePipeline.h"
#include "agent/host/SharingRouter.h"
#include "agent/world/World.h"
#include "ShoalTunnel/VlanDomainSm/VlanDomainSm.h"

#include <fstream>
#include <memory>
#include <ostream>

namespace Agent {

class Host {
 public:
   explicit Host(Inventory inventory);
   ~Host();
   Host(Host const&) = delete;
   Host& operator=(Host const&) = delete;

   World& world() { return *world_; }
   World const& world() const { return *world_; }
   // What the features ask for and are answered, on units of both generations.
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
   Orv::Ptr<Hardware::ShoalTunnel::IntfToFapIdStatus> const& intfToFapIdStatus() const {
      return intfToFapIdStatus_;
   }
   Orv::Ptr<Hardware::ShoalTunnel::IntfToVlanDomainStatus> const& intfToVlanDomainStatus() const {
      return intfToVlanDomainStatus_;
   }
   SimulatedChip& chip() { return *chip_; }
   SimulatedChip const& chip() const { return *chip_; }
   Chronicle const& chronicle() const { return *chronicle_; }
   Orv::VirtualTime& time() { return time_; }
   Orv::VirtualTime const& time() const { return time_; }

   // Runs the event loop for so many seconds.
   void advance(Seconds seconds);
   // Runs it until only retries are left that change nothing: no slice is due, no answer is out,
   // and two retry passes left every status as it was. At most `limit` seconds, but as long as
   // three retry passes take; false when the system was still moving then.
   bool settle(Seconds limit = 3600.0);

   // Nothing is queued or unanswered: only retries are left.
   bool quiet() const { return !busy(); }

   // Destroys a machine (in every pipeline that has it) and builds it again on the same entities.
   void rebuild(Machine machine);
   // All machines of in-LIF features anew, on empty tables, as in an agent that starts now.
   void startFeaturesFresh();
   // Hears of machines that are built again; goes with the agent. At most one.
   void observerIs(std::unique_ptr<Observer> observer) { observer_ = std::move(observer); }
   Observer* observer() const { return observer_.get(); }

   // Makes this agent the one that reads the time and traces; another one that was made since must
   // be gone.
   void activate();
   // Text traces go here instead of to standard error. CommandError when the file cannot be
   // written, or, with the new file in force, when the one before could not.
   void traceFileIs(std::string const& path);
   // Whether this file, by whatever name, is where they go.
   bool traceFileIsOpen(std::string const& path) const;
   // What was traced so far survives whatever ends the process.
   void flushTraceFile();
   // Throws CommandError when text traces were lost, as on a full disk.
   void checkTraceFile();

 private:
   void runUntil(Seconds end);
   bool busy() const;
   void buildVlanDomainSm();

   Orv::VirtualTime time_;
   Orv::Timers timers_;
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
   std::unique_ptr<std::ofstream> traceFile_;
   std::string traceFilePath_;

   // Counts what settle() has to see at rest.
   void handleStatus(TcamSharingRequest const& request);
   uint64_t statusChanges_ = 0;
   Orv::ReactorFor<&Host::handleStatus> orvIsemStatus_;
   Orv::ReactorFor<&Host::handleStatus> orvMapperStatus_;
   std::unique_ptr<Observer> observer_; // goes first: it watches what is above
};

} // namespace Agent

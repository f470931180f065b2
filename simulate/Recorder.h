// Tells a model what happens around the library: what requesters and directories ask, what changes
// in the world, what the chip answers, and what the slices choose.
//
// Made for an agent that was asked for nothing yet. It has to hear of a change before the machines
// do, so it has every machine built again behind it.
#pragma once

#include "simulate/Model.h"
#include "simulate/Watcher.h"

namespace Simulate {

class Recorder {
 public:
   Recorder(AgentHost& host, Model& model);
   // A machine goes and is built again; of that pipeline, or null.
   void machineGone(Machine machine, SharingPipeline* pipeline);
   void machineBuilt(Machine machine, SharingPipeline* pipeline);

 private:
   SharingModel& modelOf(SharingPipeline const* pipeline) {
      return pipeline == &host_.isem() ? static_cast<SharingModel&>(model_.isem) : model_.mapper;
   }
   void watchRequesters();
   void watchSlices();
   void watchBacklog(SharingPipeline& pipeline);
   void watchChip();
   void watchWorld();
   void watchFlag(IntfId subIntf);
   void watchFeatures();
   void watchDirectory(Orv::Name const& name);
   void watchMembers(IntfId lag);
   void watchVlanTags();
   void watchTags(IntfId subIntf);
   void watchPlaces();

   AgentHost& host_;
   Model& model_;
   std::map<SharingPipeline*, std::unique_ptr<Orv::ReactorBase>> backlogs_;
   std::map<IntfId, std::unique_ptr<Orv::ReactorBase>> flags_;
   std::map<IntfId, std::unique_ptr<Orv::ReactorBase>> tags_;
   std::map<IntfId, std::unique_ptr<Orv::ReactorBase>> members_;
   std::map<Orv::Name, std::unique_ptr<Orv::ReactorBase>> directories_;
   Watchers watchers_;
};

} // namespace Simulate

// Compares the tables of the library with the model's, both ways.
//
// Both sides tell which rows they write, so that a comparison of what was touched costs no more
// than that. A write that nobody told of is found by the next comparison of all rows.
#pragma once

#include "simulate/ComparedTable.h"
#include "simulate/Model.h"

#include <memory>
#include <vector>

namespace Simulate {

class Comparison {
 public:
   // Follows the host from now on; both live longer.
   Comparison(AgentHost& host, Model const& model);
   Comparison(Comparison const&) = delete;
   Comparison& operator=(Comparison const&) = delete;

   // Adds what differs: of the rows that were written since the last comparison, or of all.
   void compare(Findings& findings, Extent extent);
   // The pipeline's intake was built again, with another backlog.
   void intakeBuilt(SharingPipeline const& pipeline);

 private:
   void addSharing(SharingPipeline const& pipeline, SharingModel const& model);
   void addIsem(IsemPipeline const& pipeline);
   void addMapper(MapperPipeline const& pipeline);
   void addRouter();
   void addPublished();
   void addVlanTags(VlanTags const& tags);
   void addChipWords(FeaturePipeline const& pipeline);
   void addFeatures(FeaturePipeline const& pipeline);
   template<class K, class V>
   ComparedTable<K, V>& add(char const* check);
   void addCondition(std::function<void(Findings&, Extent)> check);

   AgentHost& host_;
   Model const& model_;
   std::vector<std::unique_ptr<Compared>> parts_; // in the order in which findings are told
   std::map<SharingPipeline const*, ComparedTable<TcamSharingRequest, bool>*> backlogs_;
};

} // namespace Simulate

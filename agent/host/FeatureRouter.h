// Makes the pipelines of both chip generations one table to each feature: a request goes to the
// pipeline of its unit's type, and the statuses of both come back into one.
//
// A unit changes its type only while no feature asks for anything there (the commands see to it),
// so a request never has to move between pipelines. What withdrawn requests left in the pipeline
// that served the unit before is shown no more.
#pragma once

#include "agent/host/InLifPipeline.h"
#include "agent/host/IsemPipeline.h"

#include <memory>
#include <vector>

namespace Agent {

class FeatureRouter {
 public:
   FeatureRouter(World& world, IsemPipeline& isem, InLifPipeline& inLif);
   ~FeatureRouter();

   // What the features read and write.
   FeatureTables const& tables() const { return tables_; }
   SharingPipeline& pipelineOf(FapId unit) const;

 private:
   struct Road; // one feature's
   void handleConfig(Feature feature, TcamSharingRequest const& request);
   void handleStatus(Feature feature, TcamSharingRequest const& request);
   void handleFapType(FapId const& unit);

   World& world_;
   IsemPipeline& isem_;
   InLifPipeline& inLif_;
   FeatureTables tables_;
   std::vector<std::unique_ptr<Road>> roads_;
   Orv::ReactorFor<&FeatureRouter::handleFapType> orvFapType_;
};

} // namespace Agent

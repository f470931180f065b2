// Makes the pipelines of both chip generations one table to each requester: a request goes to the
// pipeline of its unit's type, and the statuses of both come back into one.
//
// What a requester asks for can be held back: it stays in the requester's table, and the pipeline
// does not have it.
//
// A unit changes its type only while the pipelines have no request of it, so that none has to move
// between them. What withdrawn requests left in the pipeline that served the unit before is not
// shown.
#pragma once

#include "host/pipelines/IsemPipeline.h"
#include "host/pipelines/MapperPipeline.h"

#include <memory>
#include <vector>

namespace ShoalHost {

class SharingRouter {
 public:
   SharingRouter(World& world, IsemPipeline& isem, MapperPipeline& mapper);
   ~SharingRouter();

   // What the requesters read and write.
   SharingTables const& tables() const { return tables_; }
   SharingPipeline& pipelineOf(FapId unit) const;
   // The requests of an interface that a requester asks for, in the order in which they came.
   std::vector<TcamSharingRequest> asked(Requester requester, IntfId intf) const;

   // Withdraws what the requester asks for, or will, from the pipeline; hands it over again.
   void heldIs(Requester requester, TcamSharingRequest request, bool held);
   bool held(Requester requester, TcamSharingRequest request) const {
      return held_[static_cast<std::size_t>(requester)].get(request);
   }

 private:
   struct Path; // one requester's
   void handleConfig(Requester requester, TcamSharingRequest const& request);
   void handleStatus(Requester requester, TcamSharingRequest const& request);
   void handleFapType(FapId const& unit);

   World& world_;
   IsemPipeline& isem_;
   MapperPipeline& mapper_;
   SharingTables tables_;
   std::array<Orv::KeyedByIndex<TcamSharingRequest, bool>, kRequesters> held_;
   std::vector<std::unique_ptr<Path>> paths_;
   Orv::ReactorFor<&SharingRouter::handleFapType> orvFapType_;
};

} // namespace ShoalHost

// Judges changes before they are made: whether one would stop the library, at once or when its
// queue reaches it.
//
// Decides from the tables as they are, with what waits in the queues, and touches only what shares
// an entry with the change.
#pragma once

#include "host/admission/IsemForesight.h"
#include "host/admission/Objection.h"
#include "host/pipelines/FeaturePipeline.h"
#include "host/pipelines/SharingRouter.h"

namespace ShoalHost {

// What a change does to the requests of both pipelines; see IsemForesight::Effect.
struct Effects {
   IsemForesight::Effect isem;
   IsemForesight::Effect mapper;
   FactChange facts;
};

// Is told of the facts that changes made here changed.
class FactWatcher {
 public:
   // Where a request of the interface leads may have changed.
   virtual void interfaceChanged(IntfId intf) = 0;
   // The type of a unit changed, or its look-up.
   virtual void unitChanged(FapId unit) = 0;
   // What is asked for in a request is kept from the pipeline.
   virtual void requestHeld(TcamSharingRequest request) = 0;

 protected:
   ~FactWatcher() = default;
};

class Judge {
 public:
   Judge(World const& world, IsemPipeline const& isem, MapperPipeline const& mapper,
         SharingRouter const& router, FeaturePipeline const& features, VlanTags const& tags,
         ChipSeam const& seam);

   // None: the library can take it.
   std::optional<Objection> judge(Effects const& effects) const;
   // The merge's, to what a requester asks for.
   std::optional<Objection> judgePolicy(Requester requester, TcamSharingRequest request,
                                        TcamSharingPolicyId policy) const;
   std::optional<Objection> judgePortMapVersion() const;
   // A lookup of this type for the unit.
   std::optional<Objection> judgeLookup(FapId unit, Hardware::Shoal::ExtLkupType type) const;
   // A type of the other generation for the unit.
   std::optional<Objection> judgeGeneration(FapId unit) const;
   // The merge, built again. Adds what it would merge otherwise.
   std::optional<Objection> judgeMerge(Effects& effects) const;

   // Adds what a requester's policy does to the merged one.
   void addRequest(Effects& effects, Requester requester, TcamSharingRequest request,
                   TcamSharingPolicyId policy) const;
   // Adds that the request is worked again.
   void addRequeued(Effects& effects, TcamSharingRequest request) const;
   // Adds the requests of interfaces, or of a unit, whose facts change.
   void affect(Effects& effects, std::vector<IntfId> const& interfaces) const;
   void affectUnit(Effects& effects, FapId unit) const;

   // What requesters ask for on a unit and the pipelines were given.
   struct Asked {
      Requester requester;
      TcamSharingRequest request;
   };
   std::vector<Asked> askedOn(FapId unit, std::vector<Requester> const& of) const;

   RequestIndex const& isemIndex() const { return isemIndex_; }
   RequestIndex const& mapperIndex() const { return mapperIndex_; }
   RequestIndex const& indexOf(SharingPipeline const& pipeline) const {
      return &pipeline == &isem_ ? isemIndex_ : mapperIndex_;
   }

   // The facts of interfaces have changed; the type of a unit; its look-up.
   void refresh(std::vector<IntfId> const& interfaces);
   void refresh(FapId unit);
   void lookupChanged(FapId unit);
   void requestHeld(TcamSharingRequest request) {
      if (watcher_ != nullptr) {
         watcher_->requestHeld(request);
      }
   }
   // Null: nobody.
   void watcherIs(FactWatcher* watcher) { watcher_ = watcher; }
   void intakesRebuilt();

 private:
   std::optional<Objection> judgeMapper(IsemForesight::Effect const& effect,
                                        WorldFacts const& facts) const;
   // What the merge makes of a requester's policy beside the present merged one.
   TcamSharingPolicyId merged(Requester requester, TcamSharingRequest request,
                              TcamSharingPolicyId policy, TcamSharingPolicyId present) const;

   World const& world_;
   IsemPipeline const& isem_;
   MapperPipeline const& mapper_;
   SharingRouter const& router_;
   FeaturePipeline const& features_;
   VlanTags const& tags_;
   ChipSeam const& seam_;
   RequestIndex isemIndex_;
   RequestIndex mapperIndex_;
   FactWatcher* watcher_ = nullptr;
};

// The policies' bits that a requester owns on a unit, as the merge takes them.
uint64_t ownFields(World const& world, Requester requester, FapId unit);

} // namespace ShoalHost

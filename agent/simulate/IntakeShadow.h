// What the merge and the intake of one pipeline should have done so far: the merged policies, the
// features' parts of each answer, what has to be queued, and what stands in the output.
//
// Hears of each change before the machines do. What is queued follows from it (`due`); when a
// request is worked is the intake's to choose, and is taken from its backlog.
#pragma once

#include "agent/simulate/IsemShadow.h"

namespace Agent {

// Why a request that is asked for is not in the output. The last: its tags came back when its
// sub-interface was on another unit, where nobody looks for it.
enum class TakenOut { flag, tags, vlan, tagsElsewhere };

class IntakeShadow {
 public:
   IntakeShadow(SharingPipeline const& pipeline, Facts const& facts, Answers& answers,
                Probes& probes)
       : pipeline_(pipeline), facts_(facts), answers_(answers), probes_(probes) {}

   void handleFeature(Requester feature, TcamSharingRequest request);
   void handleMerged(TcamSharingRequest request);
   void handleMergedStatus(TcamSharingRequest request);
   void handleBacklog(TcamSharingRequest request);
   void handleRetryList(TcamSharingEntry const& entry);
   void handleOutput(TcamSharingRequest request);
   void handleProgramInHw(IntfId subIntf);
   void handleInternalVlan(IntfId intf);
   void handleTags(IntfId subIntf);
   void handleMergeGone();
   void handleIntakeGone();
   // `settled`: nothing is queued or unanswered.
   void compare(Findings& findings, bool settled) const;

   std::optional<Requester> labelWinner(TcamSharingRequest request) const;
   // In spite of being asked for, it is not in the output.
   bool isTakenOut(TcamSharingRequest request) const { return takenOut_.contains(request); }
   // What the features ask for now gives this merged policy, in whatever order they came.
   bool folds(TcamSharingRequest request) const;

 private:
   using Policies = std::map<TcamSharingRequest, TcamSharingPolicyId>;
   std::vector<TcamSharingRequest> asked(IntfId intf) const;
   bool isAsked(TcamSharingRequest request) const;
   void work(TcamSharingRequest request);
   void foreignIs(TcamSharingRequest request, uint64_t bits);
   void takeOut(TcamSharingRequest request, TakenOut why);
   bool outHolds(TcamSharingRequest request, TakenOut why) const;
   void compareFold(Findings& findings) const;
   void compareOutput(Findings& findings, bool settled) const;

   SharingPipeline const& pipeline_;
   Facts const& facts_;
   Answers& answers_;
   Probes& probes_;

   Policies merged_;
   // The unit's lookup was the lumen one when the request was merged last.
   std::map<TcamSharingRequest, bool> mergedAsLumen_;
   // Bits beyond its own that the acl feature asked for on a unit without the lumen lookup.
   std::map<TcamSharingRequest, uint64_t> foreign_;
   // Asked for by lumen and rampart at once: the last one that ran wins, also when it withdraws.
   std::set<TcamSharingRequest> twoLabels_;
   std::map<TcamSharingRequest, TcamSharingResponse> aclStatus_;
   std::map<TcamSharingRequest, TcamSharingResponse> lumenStatus_;
   std::map<TcamSharingRequest, TcamSharingResponse> rampartStatus_; // stays empty
   Policies output_;
   std::set<TcamSharingRequest> due_;       // has to be in the backlog
   std::set<TcamSharingRequest> reprogram_; // worked, and has to be handed over again
   std::map<TcamSharingRequest, TakenOut> takenOut_;
   std::set<TcamSharingRequest> leftBehind_;
};

} // namespace Agent

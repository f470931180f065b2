// What the machine of shared entries will do with the changes that wait in its queue and with one
// more: whether one of its invariants breaks.
//
// Follows the machine's rules on a copy of those few tables' rows that the change concerns: the
// requests that it touches, the entries that they have or lead to, and whoever is queued for one of
// these. Where requests go is certain, since it follows from the order of the queue. How a request
// was answered may depend on answers of the chip that are still out; then both ends are possible.
#pragma once

#include "host/admission/RequestIndex.h"
#include "host/driver/ChipSeam.h"
#include "host/pipelines/IsemPipeline.h"
#include "host/pipelines/VlanTags.h"

#include <set>

namespace ShoalHost {

class IsemForesight {
 public:
   // What a change does to requests of the pipeline, in this order.
   struct Effect {
      std::vector<TcamSharingRequest> takenOut; // withdrawn at once
      // Wanted otherwise: queued, unless that is what they have.
      std::vector<std::pair<TcamSharingRequest, TcamSharingPolicyId>> merged;
      std::vector<TcamSharingRequest> requeued;
      std::vector<TcamSharingRequest> affected; // whose facts change; worked if they are pending
      bool programsAll = false;                 // the machine is built again
      bool restartsIntake = false;              // the intake is
   };
   enum class Break {
      none,
      unmapped, // a request is withdrawn that was answered without an entry of its own
      moved     // a request leaves an entry that others still use
   };
   struct Verdict {
      Break what = Break::none;
      bool open = false; // only one of the answers that are out brings it about
      TcamSharingRequest request;
      std::optional<AradSemKeyAndFap> key;   // the entry that it leads to, or that it leaves
      std::vector<TcamSharingRequest> users; // of that entry, besides the request
   };

   IsemForesight(IsemPipeline const& pipeline, VlanTags const& tags, ChipSeam const& seam,
                 RequestIndex const& index, WorldFacts facts)
       : pipeline_(pipeline), tags_(tags), seam_(seam), index_(index), facts_(std::move(facts)) {}
   Verdict judge(Effect const& effect);

 private:
   // How a request may have been answered; several where answers are out.
   enum Answer : unsigned { none = 1, inProgress = 2, final = 4 };
   struct Request {
      TcamSharingPolicyId merged;
      TcamSharingPolicyId output;
      std::optional<AradSemKeyAndFap> mapped;
      unsigned answers = none;
      std::optional<uint64_t> place; // in the queue
   };
   struct Entry {
      std::optional<AradSemPayload> payload;
      std::set<TcamSharingRequest> users;
      std::array<std::vector<TcamSharingRequest>, 2> pending; // removals, writes: oldest first
      std::array<std::size_t, 2> answersOut{};                // to those
   };
   Request& request(TcamSharingRequest request);
   Entry& entry(AradSemKeyAndFap key);
   void gather(Effect const& effect);
   void gatherRequest(TcamSharingRequest request);
   void gatherEntry(AradSemKeyAndFap key);
   void restartIntake();
   void work(TcamSharingRequest request);
   void remove(TcamSharingRequest request);
   void program(TcamSharingRequest request);
   // The answers that a request may have by now.
   unsigned possibleAnswers(TcamSharingRequest request);
   void fail(Break what, bool open, TcamSharingRequest request,
             std::optional<AradSemKeyAndFap> key);

   IsemPipeline const& pipeline_;
   VlanTags const& tags_;
   ChipSeam const& seam_;
   RequestIndex const& index_;
   WorldFacts facts_;
   std::map<TcamSharingRequest, Request> requests_;
   std::map<AradSemKeyAndFap, Entry> entries_;
   std::set<AradSemKeyAndFap> gathered_;
   std::vector<AradSemKeyAndFap> entriesToGather_;
   Verdict verdict_;
};

} // namespace ShoalHost

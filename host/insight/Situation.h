// The state of one request, decided from the tables, the chip and the chronicle. Every view of
// requests is made from it, so that no two of them differ.
#pragma once

#include "host/admission/Detours.h"
#include "host/insight/Resolution.h"

#include <map>
#include <utility>

namespace ShoalHost {

using Hardware::ShoalTunnel::TcamSharingResponse;

// An answer of the chip that is expected for a write or removal of the request.
struct Awaited {
   bool removal = false;
   bool unknown = false;                     // whether and when it comes
   bool heldBack = false;                    // to be given out of order
   std::optional<Seconds> due;               // none, and not held back: no answer is on its way
   std::optional<TcamSharingRequest> writer; // of the write that it answers; none: the request
};

// One hardware entry that the request concerns.
struct EntrySituation {
   PolicyKey key;
   std::string name;
   enum class Role {
      current,    // the request leads to it now
      leftBehind, // it carries the policy or is recorded, but the request no longer leads to it
      other       // only an answer for it matters: one that gave the response, or one to come
   };
   Role role = Role::current;
   std::optional<std::string> configured;    // what the table holds there, in words; none: no entry
   std::optional<std::string> held;          // what the chip holds there
   bool configuredRight = false;             // the table holds the merged policy's part
   bool carries = false;                     // the chip holds it
   std::optional<EntryChange> change;        // of the table
   EntryMemory chip;                         // what the chip did
   std::optional<Awaited> awaited;           // for the request's newest write of this entry
   std::vector<TcamSharingRequest> shared;   // who else leads to it, or is recorded for it
   std::vector<TcamSharingRequest> recorded; // of `shared`: those recorded for it
   std::vector<TcamSharingRequest> writes;   // unanswered, oldest first
   std::vector<TcamSharingRequest> removals;
};

struct Situation {
   TcamSharingRequest request;
   SharingPipeline const* pipeline = nullptr;
   TcamSharingPolicyId merged;
   TcamSharingPolicyId output;
   TcamSharingResponse response;
   RequestTimes times;
   bool queued = false;
   std::optional<Seconds> nextSlice;         // while it is queued
   std::vector<TcamSharingPolicyId> retried; // policies under which the retry list holds it
   Resolution resolution;
   std::vector<EntrySituation> entries; // the current ones, then those left behind
   uint64_t carried = 0;                // the policy's bits that an entry of its kind carries
   uint32_t answersAwaited = 0;         // of the sub-interface's entries

   // A unit without room for all entries that are missing: of the request; of all that a replay
   // writes.
   std::optional<FapId> crowded;
   std::optional<FapId> crowdedForReplay;

   // The chip holds the policy, as far as entries carry it, in every entry that the request leads
   // to now.
   bool inHardware = false;
   // Entries that it had before are still there.
   bool leftBehind = false;

   bool answeredSuccess() const {
      return response.status == Hardware::ShoalTunnel::tcamSharingSuccess &&
             response.policyId == merged;
   }
   // A requester asks for something here that is not held back, even if none of it counts.
   bool asked = false;
   // A requester that asks for what the merged policy does not have: it asks for bits that are not
   // its own on the unit, or another requester wrote or withdrew them last.
   struct Overruled {
      Requester requester;
      TcamSharingPolicyId asks;
      TcamSharingPolicyId there; // in the merged policy
   };
   std::vector<Overruled> overruled;
   // What the merged policy keeps in fields that nobody asks for: their owner changed.
   TcamSharingPolicyId unasked;
   // What is asked for and the pipeline does not get.
   std::vector<Detours::HeldBack> held;
   // It is not a problem.
   bool sound() const {
      bool over =
          merged.empty() && !asked && response.status == Hardware::ShoalTunnel::tcamSharingNone;
      return (over || (inHardware && answeredSuccess())) && !leftBehind && overruled.empty() &&
             unasked.empty() && held.empty();
   }
};

// The state of one requester's part of a request.
struct RequesterPart {
   TcamSharingPolicyId asked; // in the fields that the requester owns on the unit
   // What it is told: rampart's label is answered in lumen's status, for both.
   TcamSharingResponse answer;
   enum class InHardware {
      no,
      entryOnly, // the entries are there, and cannot carry any of it
      partly,    // they cannot carry all of it
      yes
   };
   InHardware inHardware = InHardware::no;

   bool answeredOlder() const {
      return answer.status == Hardware::ShoalTunnel::tcamSharingSuccess && answer.policyId != asked;
   }
};
RequesterPart requesterPart(Host const& host, Situation const& situation, Requester requester);

// Decides for many requests: what is counted for one of them is kept for the next. The cost of one
// follows from the entries that it concerns and from who shares them.
class Situations {
 public:
   explicit Situations(Host const& host) : host_(host) {}
   Situation of(TcamSharingRequest request) const;
   // The same for requesterPart(): of a request that is no suspect, only what that reads.
   Situation forParts(TcamSharingRequest request) const;

 private:
   friend class Gathering;
   // The wanted requests that lead to the entry, in the order in which they came.
   std::vector<TcamSharingRequest> leadingTo(PolicyKey const& key) const;
   // The entries of a sub-interface that have data in the chip, then those that wait for an answer.
   std::vector<VlanTagToVsiMapperKey> mapperKeys(IntfId subIntf) const;
   // The entries of a unit that are configured, and not in the chip.
   template<class T>
   uint64_t missing(SeamTable<T> const& table, FapId unit) const {
      auto [count, fresh] = missing_.try_emplace({T::kind, unit});
      if (fresh) {
         count->second = table.missing(unit);
      }
      return count->second;
   }

   Host const& host_;
   mutable std::map<std::pair<ChipTableKind, FapId>, uint64_t> missing_;
};

} // namespace ShoalHost

// The state of one request, decided from the tables, the chip and the chronicle. Every view of
// requests is made from it, so that no two of them differ.
#pragma once

#include "host/admission/Detours.h"
#include "host/insight/Resolution.h"

#include <map>
#include <unordered_map>

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
   EntryKey key;
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
   // What is asked for and the pipeline does not get.
   std::vector<Detours::HeldBack> held;
   // It is not a problem.
   bool sound() const {
      bool over =
          merged.empty() && !asked && response.status == Hardware::ShoalTunnel::tcamSharingNone;
      return (over || (inHardware && answeredSuccess())) && !leftBehind && overruled.empty() &&
             held.empty();
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

// Decides for many requests: what is looked up for one of them is kept for the next.
class Situations {
 public:
   explicit Situations(Host const& host);
   Situation of(TcamSharingRequest request) const;

 private:
   Host const& host_;
   std::unordered_map<uint32_t, std::vector<TcamSharingPolicyId>> retried_; // by request
   // The wanted requests of its pipeline that lead to the entry.
   std::vector<TcamSharingRequest> const& leadingTo(EntryKey const& key) const;

   friend class Gathering;
   mutable std::map<EntryKey, std::vector<TcamSharingRequest>> leading_;
   mutable bool leadingKnown_ = false;
   // By sub-interface: entries of the chip with data, and those that wait for an answer.
   std::unordered_map<uint32_t, std::vector<VlanTagToVsiMapperKey>> mapperKeys_;
};

} // namespace ShoalHost

// What is so of one request, decided from the tables, the chip and the chronicle. Every view of
// requests takes it from here, so that no two of them differ.
#pragma once

#include "agent/command/Resolution.h"

#include <unordered_map>

namespace Agent {

using Hardware::ShoalTunnel::TcamSharingResponse;

// An answer of the chip that a write or removal of the request's waits for.
struct Awaited {
   bool removal = false;
   bool heldBack = false;      // to be given out of order
   std::optional<Seconds> due; // none, and not held back: no answer is on its way
};

// One hardware entry that the request concerns.
struct EntrySituation {
   EntryKey key;
   std::string name;
   enum class Role {
      current,    // the request leads to it now
      leftBehind, // the request led to it, and is still known there
      answered    // nothing is asked for any more, and the response is of this one
   };
   Role role = Role::current;
   std::optional<std::string> configured;  // what the table holds there, in words; none: no entry
   std::optional<std::string> held;        // what the chip holds there
   bool configuredRight = false;           // the table holds the merged policy's part
   bool carries = false;                   // the chip does
   std::optional<EntryChange> change;      // of the table
   EntryMemory chip;                       // what the chip did
   std::optional<Awaited> awaited;         // for the request's newest write of this entry
   std::vector<TcamSharingRequest> shared; // who else uses it
   std::vector<TcamSharingRequest> writes; // unanswered, oldest first
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

   // The chip holds the policy, as far as entries carry it, in every entry that the request leads
   // to now.
   bool inHardware = false;
   // Entries that it had before stand still.
   bool leftBehind = false;

   bool answeredSuccess() const {
      return response.status == Hardware::ShoalTunnel::tcamSharingSuccess &&
             response.policyId == merged;
   }
   // Nothing is to be said of it.
   bool sound() const { return inHardware && answeredSuccess() && !leftBehind; }
};

// Decides for many requests: what is looked up for one of them serves the next.
class Situations {
 public:
   explicit Situations(Host const& host);
   Situation of(TcamSharingRequest request) const;

 private:
   Host const& host_;
   std::unordered_map<uint32_t, std::vector<TcamSharingPolicyId>> retried_; // by request
};

// The policies' bits that an entry carries.
uint64_t carriedBits(EntryKey const& key);

} // namespace Agent

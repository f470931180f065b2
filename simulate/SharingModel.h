// What the tables of one sharing pipeline should hold: merged policies, the queue of the intake,
// the retry list, the output, and the answers with each requester's part of them.
//
// Plain maps, moved by events: what requesters ask, what changes in the world, and what the
// pipeline chose (the request that a slice processed, the retry pass that ran). Reads the world's
// entities and nothing of the library.
#pragma once

#include "simulate/Coverage.h"
#include "simulate/Facts.h"
#include "simulate/Table.h"

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Simulate {

// What all models share. The failures are conditions that the event under way must violate.
struct Context {
   explicit Context(World const& of) : world(of), facts(of) {}
   World const& world;
   Facts facts;
   std::set<std::string, std::less<>> failuresDue;
};

class SharingModel {
 public:
   using Policies = Table<TcamSharingRequest, TcamSharingPolicyId>;
   using Responses = Table<TcamSharingRequest, TcamSharingResponse>;
   struct Output {
      TcamSharingPolicyId policy;
      uint64_t place = 0; // in the order of insertion
   };

   explicit SharingModel(Context& context) : context_(context) {}
   virtual ~SharingModel() = default;
   SharingModel(SharingModel const&) = delete;
   SharingModel& operator=(SharingModel const&) = delete;

   // A requester asks for a policy; the empty policy withdraws.
   void asked(Requester requester, TcamSharingRequest request, TcamSharingPolicyId policy);
   // A slice took the request from the backlog.
   void processed(TcamSharingRequest request);
   // The intake took the entry from the retry list: a retry pass, unless the model took it first.
   void retryTaken(TcamSharingEntry const& entry);
   // The host queued a request, or took an entry off the retry list, for the sake of a change.
   void queuedByHost(TcamSharingRequest request) { queued_[request] = true; }
   void retryDropped(TcamSharingEntry const& entry) { retries_.erase(entry); }
   void programInHwChanged(IntfId subIntf);
   void internalVlanChanged(IntfId intf);
   // A sub-interface's record of changed tags was added, changed or removed.
   void tagsChanged(IntfId subIntf);
   // A machine is built again on the tables as they are.
   void mergeRestarts();
   void intakeRestarts();

   Policies const& merged() const { return merged_; }
   Table<TcamSharingRequest, Output> const& output() const { return output_; }
   Responses const& responses() const { return responses_; }
   Responses const& part(Requester requester) const {
      return parts_[static_cast<std::size_t>(requester)];
   }
   Table<TcamSharingRequest, bool> const& queued() const { return queued_; }
   Table<TcamSharingEntry, bool> const& retries() const { return retries_; }
   // A request that a slice processed and that was not queued; empty: none.
   std::string const& processedUnqueued() const { return processedUnqueued_; }

 protected:
   // The programming machine gets a request from the output. The empty policy: it was taken out.
   virtual void program(TcamSharingRequest request, TcamSharingPolicyId policy) = 0;
   // The requests of an interface that the machine recorded as programmed.
   virtual std::vector<TcamSharingRequest> programmed(IntfId intf) const = 0;

   Facts const& facts() const { return context_.facts; }
   World const& world() const { return context_.world; }
   Context& context() { return context_; }
   TcamSharingPolicyId wanted(TcamSharingRequest request) const;
   TcamSharingPolicyId handedOver(TcamSharingRequest request) const;
   // The output in the order in which a new machine walks it.
   std::vector<TcamSharingRequest> inOrder() const;
   void retry(TcamSharingRequest request, TcamSharingPolicyId policy) {
      retries_[{request, policy}] = true;
   }
   std::optional<TcamSharingResponse> response(TcamSharingRequest request) const;
   // None: no answer.
   void answer(TcamSharingRequest request, std::optional<TcamSharingResponse> response);

 private:
   void merge(TcamSharingRequest request, uint64_t merged);
   void requeue(TcamSharingRequest request);
   void handOver(TcamSharingRequest request, TcamSharingPolicyId policy);
   // In the order in which they came.
   std::vector<TcamSharingRequest> wantedOn(IntfId intf) const;
   void takeOut(TcamSharingRequest request);

   Context& context_;
   std::array<Policies, kRequesters> asked_;
   Policies merged_;
   std::map<TcamSharingRequest, uint64_t> wantedSince_; // the order in which they came
   uint64_t wantedCount_ = 0;
   Table<TcamSharingRequest, bool> queued_;
   Table<TcamSharingEntry, bool> retries_;
   std::optional<TcamSharingEntry> takenByWork_; // off the retry list, by the event under way
   Table<TcamSharingRequest, Output> output_;
   uint64_t places_ = 0;
   Responses responses_;
   std::array<Responses, kRequesters> parts_;
   std::string processedUnqueued_;
};

} // namespace Simulate

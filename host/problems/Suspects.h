// The requests that may be a problem, so that who lists problems need not judge every request.
//
// A request becomes a suspect with any change after which it may be a problem: of a requester's
// policy, a response, an entry that it leads to or is recorded for, or the facts of its interface.
// It stays one until it is found sound: by a plain check here, after such a change, or by whoever
// judged it in full. So every problem is a suspect, and a system at rest without problems has few.
//
// The plain check takes the driver's word for what the chip accepted, and does not read it back.
#pragma once

#include "host/admission/Changes.h"
#include "host/chronicle/Chronicle.h"
#include "platform/Orv/InsertionOrder.h"

#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace ShoalHost {

class Suspects final : private FactWatcher {
 public:
   Suspects(World const& world, IsemPipeline const& isem, MapperPipeline const& mapper,
            SharingRouter const& router, ChipSeam& chip, Chronicle const& chronicle,
            Changes& changes);
   ~Suspects();
   Suspects(Suspects const&) = delete;
   Suspects& operator=(Suspects const&) = delete;

   bool has(TcamSharingRequest request) const {
      return suspects_.contains(request) || units_.contains(request.fapId());
   }
   // Those that a table or the chip still knows, and those held back, in the order of
   // knownRequests() (host/insight).
   std::vector<TcamSharingRequest> list();
   // It was judged in full, and is no problem.
   void soundIs(TcamSharingRequest request) { suspects_.erase(request); }

 private:
   struct Rank;
   void interfaceChanged(IntfId intf) override;
   // Each of its requests is one, until somebody asks for the list.
   void unitChanged(FapId unit) override { units_.insert(unit); }
   void reviewUnits();
   void requestHeld(TcamSharingRequest request) override { suspect(request); }
   // What is asked for; it is not in hardware yet.
   void handleAsked(TcamSharingRequest const& request) { suspect(request); }
   // What was answered, or is recorded.
   void handleDone(TcamSharingRequest const& request) { review(request); }
   void entryChanged(AradSemKeyAndFap key, std::optional<uint32_t> writer);
   void entryChanged(VlanTagToVsiMapperKey key, std::optional<uint32_t> writer);
   void entryChanged(TunnelPolicyMapperKey key, std::optional<uint32_t> writer);
   void suspect(TcamSharingRequest request) { suspects_[request]; }
   void suspectWriter(std::optional<uint32_t> writer);
   void reviewRequestsOf(IntfId intf);
   void review(TcamSharingRequest request);

   // The plain check. It may miss that a request is sound, but never that it is a problem.
   bool isPlainlySound(TcamSharingRequest request) const;
   bool isHeldBack(TcamSharingRequest request) const;
   // Nobody asks for it any more, and nothing of it is left.
   bool isOver(TcamSharingRequest request) const;
   // All that is asked for, and nothing else.
   bool hasWhatWasAsked(TcamSharingRequest request, TcamSharingPolicyId merged) const;
   bool standsInIsem(TcamSharingRequest request, TcamSharingPolicyId merged) const;
   bool standsInMapper(TcamSharingRequest request, TcamSharingPolicyId merged) const;
   // The mapper entries that the request leads to; none: it lacks something.
   std::optional<std::vector<VlanTagToVsiMapperKey>> mapperKeys(TcamSharingRequest request) const;
   // No entry but `current` was written for the request and has data.
   bool leftNothing(TcamSharingRequest request,
                    std::vector<VlanTagToVsiMapperKey> const& current) const;
   // Where it is in list(); none: nobody knows it any more.
   std::optional<Rank> rank(TcamSharingRequest request) const;

   World const& world_;
   IsemPipeline const& isem_;
   MapperPipeline const& mapper_;
   SharingRouter const& router_;
   ChipSeam& chip_;
   Chronicle const& chronicle_;
   Changes& changes_;
   struct Nothing {};
   Orv::IndexedMap<TcamSharingRequest, Nothing> suspects_;
   std::set<FapId> units_; // that changed, and whose requests were not looked at since
   std::vector<std::unique_ptr<Orv::InsertionOrder<TcamSharingRequest>>> orders_;
   std::vector<std::unique_ptr<Orv::Reactor<TcamSharingRequest>>> reactors_;
};

} // namespace ShoalHost

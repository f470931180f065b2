// What happened to each request and to each hardware entry, and when, to explain the state of a
// request. It only watches: nothing here changes what happens.
#pragma once

#include "host/driver/ChipSeam.h"
#include "host/pipelines/IsemPipeline.h"
#include "host/pipelines/MapperPipeline.h"
#include "platform/Orv/IndexedMap.h"
#include "platform/Orv/InsertionOrder.h"

#include <memory>
#include <optional>
#include <tuple>
#include <variant>
#include <vector>

namespace ShoalHost {

// What gave a request its present response.
struct ResponseCause {
   enum class Kind { processed, answered, restarted };
   Kind kind = Kind::processed; // in a slice; by an answer of the chip; by its restart
   // The answer. Of several that count together: of a failure one that failed, else the last.
   std::optional<PolicyKey> key;
   EntryMemory::Event answer{};

   friend bool operator==(ResponseCause const&, ResponseCause const&) = default;
};

// Seconds of virtual time; none: not (or no longer) so.
struct RequestTimes {
   std::optional<Seconds> asked;  // the merged policy took its present value
   std::optional<Seconds> queued; // in the backlog since
   std::optional<Seconds> status; // the merged response took its present value
   ResponseCause cause;           // of that response

   friend bool operator==(RequestTimes const&, RequestTimes const&) = default;
};

// The last change of an entry's configuration.
struct EntryChange {
   enum class Kind {
      written, // with a request's policy, or without data for one that was withdrawn
      made,    // by the owner of sub-interfaces' entries, without data
      removed, // for a request that was withdrawn or taken out of the output; or by the owner
      left     // for a request that moved to another entry
   };
   Kind kind = Kind::made;
   Seconds at = 0.0;
   std::optional<TcamSharingRequest> by; // none: the owner
};

class Chronicle {
 public:
   // The chip is told whose writes it gets.
   Chronicle(IsemPipeline const& isem, MapperPipeline const& mapper, ChipSeam& chip);
   ~Chronicle();
   // The pipelines' intakes were built again: follows the new backlogs.
   void intakesRebuilt();
   // In that pipeline: a unit that changes its generation may leave a request in both.
   RequestTimes of(SharingPipeline const& pipeline, TcamSharingRequest request) const;
   // The policies under which the pipeline's retry list has the request.
   std::vector<TcamSharingPolicyId> const& retried(SharingPipeline const& pipeline,
                                                   TcamSharingRequest request) const;
   // When the request came to be wanted in the pipeline, as a place among all; 0: it is not.
   uint64_t placeOf(SharingPipeline const& pipeline, TcamSharingRequest request) const;
   // When the entry came to wait for its answer; 0: it does not.
   uint64_t placeOfPending(VlanTagToVsiMapperKey key) const { return pendingLifs_.place(key); }
   // None: never configured.
   std::optional<EntryChange> lastChange(PolicyKey const& key) const;

 private:
   struct Watch; // one pipeline's
   Watch const& watch(SharingPipeline const& pipeline) const;
   ResponseCause causeNow(TcamSharingRequest request) const;
   template<class Key>
   void change(Key key, EntryChange::Kind kind, std::optional<TcamSharingRequest> by) {
      std::get<Orv::IndexedMap<Key, EntryChange>>(changes_)[key] =
          EntryChange{kind, Orv::System::peekTime(), by};
   }

   // For whom the entry was written or removed just now, as far as the machines recorded it.
   std::optional<TcamSharingRequest> writerOf(AradSemKeyAndFap key) const;
   std::optional<TcamSharingRequest> writerOf(VlanTagToVsiMapperKey key) const;
   std::optional<TcamSharingRequest> writerOf(TunnelPolicyMapperKey key) const;
   // Whether the owner made the entry: its logical interface differs from the one known so far.
   bool isMade(VlanTagToVsiMapperKey key) const;
   void handleIsemConfig(AradSemKeyAndFap const& key);
   void handleMapperConfig(VlanTagToVsiMapperKey const& key);
   void handleTunnelConfig(TunnelPolicyMapperKey const& key);

   IsemPipeline const& isem_;
   MapperPipeline const& mapper_;
   ChipSeam& chip_;
   // Last changes, by the kind of the key.
   std::tuple<Orv::IndexedMap<AradSemKeyAndFap, EntryChange>,
              Orv::IndexedMap<VlanTagToVsiMapperKey, EntryChange>,
              Orv::IndexedMap<TunnelPolicyMapperKey, EntryChange>>
       changes_;
   Orv::IndexedMap<VlanTagToVsiMapperKey, uint32_t> lifs_; // which one the owner made last
   std::vector<std::unique_ptr<Watch>> watches_;
   Orv::InsertionOrder<VlanTagToVsiMapperKey> pendingLifs_;
   Orv::ReactorFor<&Chronicle::handleIsemConfig> orvIsemConfig_;
   Orv::ReactorFor<&Chronicle::handleMapperConfig> orvMapperConfig_;
   Orv::ReactorFor<&Chronicle::handleTunnelConfig> orvTunnelConfig_;
};

} // namespace ShoalHost

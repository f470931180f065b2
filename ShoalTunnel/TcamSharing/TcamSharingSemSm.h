// Programs requests into the ISEM B table and turns the table's answers into responses.
//
// Requests that resolve to the same (VLAN, VLAN domain, unit) share one entry; `semToRequest` has
// the users of each key. Hardware answers asynchronously and per key. So every write is queued per
// key and kind, and each answer completes the oldest write of its queue. A write is answered at
// once only if the table has the same payload already.
//
// Reads the output table, the helper and the table's status; writes the table's configuration, the
// merged status, and the bookkeeping in TcamSharingSemCommon (which survives this machine). A
// machine that starts on a filled output table handles every request in it once; it does not replay
// hardware status. Event thread only.
#pragma once

#include "platform/Hardware/ShoalTunnel/SemTable.h"
#include "ShoalTunnel/TcamSharing/TcamSharingBaseSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingSemSm : public TcamSharingBaseSm {
 public:
   TcamSharingSemSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                    Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                    Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                    Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
                    Orv::Ptr<SemTableConfig> isemBTableConfig,
                    Orv::Ptr<SemTableStatus const> isemBTableStatus,
                    Orv::Ptr<TcamSharingSemCommon> tcamSharingCommon);

   // Throws Orv::RangeException for an outer tag that is not a VLAN id and for a unit above 128.
   // Invariant failures: the withdrawal of an answered request that has no mapping, and the move of
   // a request from a key that another request uses.
   void handleTcamSharingConfig(TcamSharingRequest const& request) override;
   // The status entry of the key was written or removed.
   void handleIsemBTableStatus(AradSemKeyAndFap const& keyAndFap);
   void orvDoZombieReactors(bool zombie) override;

   // While true, answers are ignored. For tests that only fill the table.
   ORV_ATTRIBUTE(ignoreIsemStatus, bool, false)
   ORV_COUNTER(numOfIsemBStatusHandled)

 private:
   using OrvIsemBTableStatus = Orv::ReactorFor<&TcamSharingSemSm::handleIsemBTableStatus>;

   void doRemove(TcamSharingRequest const& request);
   void doProgram(TcamSharingRequest const& request, TcamSharingPolicyId policyId);
   // A hint that the tables are read at this key soon.
   void doPrefetch(AradSemKeyAndFap key) const;
   void doLeavePrevKey(TcamSharingRequest const& request, AradSemKeyAndFap prevKey);
   void doEnqueuePending(AradSemKeyAndFap key, bool isInsert, TcamSharingEntry const& entry);
   // Removes the request from the users of the key, and the key with its last user.
   void doDropUser(AradSemKeyAndFap key, TcamSharingRequest const& request);

   Orv::Ptr<SemTableConfig> isemBTableConfig_;
   Orv::Ptr<SemTableStatus const> isemBTableStatus_;
   Orv::Ptr<TcamSharingSemCommon> tcamSharingCommon_;
   OrvIsemBTableStatus orvIsemBTableStatus_;
};

} // namespace Hardware::ShoalTunnel

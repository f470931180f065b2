// Programs requests into the ISEM B table and turns the table's answers into responses.
//
// Requests that resolve to one (VLAN, VLAN domain, unit) share one entry; `semToRequest` records
// who uses a key. Hardware answers asynchronously and per key, so every write is remembered in a
// queue per key and kind, and each answer completes the oldest. Nothing is answered at the write,
// except when the table holds the very payload already.
//
// Reads the output table, the helper and the table's status; writes the table's configuration, the
// merged status, and the bookkeeping in TcamSharingSemCommon (which survives this machine). Started
// on a filled output table it handles every request in it once; it replays no hardware status.
// Event thread only.
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

   // Throws Orv::RangeException for an outer tag that is no VLAN id and for a unit above 128.
   // Withdrawing an answered request without a mapping, and moving a request off a key that
   // another one uses, are invariant failures.
   void handleTcamSharingConfig(TcamSharingRequest const& request) override;
   // The status entry of the key was written or removed.
   void handleIsemBTableStatus(AradSemKeyAndFap const& keyAndFap);
   void orvDoZombieReactors(bool zombie) override;

   // While set, answers are ignored: for tests of the breadth of the table alone.
   ORV_ATTRIBUTE(ignoreIsemStatus, bool, false)
   ORV_COUNTER(numOfIsemBStatusHandled)

 private:
   using OrvIsemBTableStatus = Orv::ReactorFor<&TcamSharingSemSm::handleIsemBTableStatus>;

   void doRemove(TcamSharingRequest const& request);
   void doProgram(TcamSharingRequest const& request, TcamSharingPolicyId policyId);
   void doLeavePrevKey(TcamSharingRequest const& request, AradSemKeyAndFap prevKey);
   void doEnqueuePending(AradSemKeyAndFap key, bool isInsert, TcamSharingEntry const& entry);
   // Takes the request out of the key's users, and the key out of the table of users with its last.
   void doDropUser(AradSemKeyAndFap key, TcamSharingRequest const& request);

   Orv::Ptr<SemTableConfig> isemBTableConfig_;
   Orv::Ptr<SemTableStatus const> isemBTableStatus_;
   Orv::Ptr<TcamSharingSemCommon> tcamSharingCommon_;
   OrvIsemBTableStatus orvIsemBTableStatus_;
};

} // namespace Hardware::ShoalTunnel

// Merges the requests of the three requesters into one table and splits the merged responses.
//
// Each requester owns bit fields of the policy. A merge overwrites the fields of that requester in
// the merged policy and keeps the others. A merged request exists exactly while a bit of its policy
// is set. On units without the Lumen look-up acl owns the whole policy.
//
// Reads the three requester configurations and the merged status; writes the merged configuration
// and the requester statuses. Does nothing until the owner has mounted everything that the machine
// reads and calls handleInitialized(). A null configuration reads as empty. Event thread only.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingMergeSm : public Orv::RefCounted {
 public:
   TcamSharingMergeSm(Orv::Ptr<TcamSharingConfig const> tcamSharingShoalAclConfig,
                      Orv::Ptr<TcamSharingConfig const> tcamSharingShoalLumenConfig,
                      Orv::Ptr<TcamSharingConfig const> tcamSharingShoalRampartConfig,
                      Orv::Ptr<TcamSharingConfig> tcamSharingMergedConfig,
                      Orv::Ptr<TcamSharingStatus> tcamSharingShoalAclStatus,
                      Orv::Ptr<TcamSharingStatus> tcamSharingShoalLumenStatus,
                      Orv::Ptr<TcamSharingStatus> tcamSharingShoalRampartStatus,
                      Orv::Ptr<TcamSharingStatus const> tcamSharingMergedStatus,
                      Orv::Ptr<Shoal::Status const> shoalStatus);

   // Starts the machine: clears the requester statuses and merges every request. The merged
   // configuration is not cleared and merged responses are not replayed.
   void handleInitialized();
   bool initialized() const { return initialized_; }

   // Asserted: on a Lumen unit an ACL policy has no lumenAclLabel; requests of Lumen and Rampart
   // are on Lumen units and have no pbrPolicy or qosPolicy.
   void handleTcamSharingShoalAclConfig(TcamSharingRequest const& request);
   void handleTcamSharingShoalLumenConfig(TcamSharingRequest const& request);
   void handleTcamSharingShoalRampartConfig(TcamSharingRequest const& request);
   void handleTcamSharingStatus(TcamSharingRequest const& request);

 private:
   using OrvTcamSharingShoalAclConfig =
       Orv::ReactorFor<&TcamSharingMergeSm::handleTcamSharingShoalAclConfig>;
   using OrvTcamSharingShoalLumenConfig =
       Orv::ReactorFor<&TcamSharingMergeSm::handleTcamSharingShoalLumenConfig>;
   using OrvTcamSharingShoalRampartConfig =
       Orv::ReactorFor<&TcamSharingMergeSm::handleTcamSharingShoalRampartConfig>;
   using OrvTcamSharingMergedStatus = Orv::ReactorFor<&TcamSharingMergeSm::handleTcamSharingStatus>;

   // `handler`: the function that a failed assertion names.
   void doMergeLumenAclLabel(char const* handler, Orv::Ptr<TcamSharingConfig const> const& config,
                             TcamSharingRequest const& request);
   void doPublish(TcamSharingRequest const& request, TcamSharingPolicyId policyId);

   Orv::Ptr<TcamSharingConfig const> tcamSharingShoalAclConfig_;
   Orv::Ptr<TcamSharingConfig const> tcamSharingShoalLumenConfig_;
   Orv::Ptr<TcamSharingConfig const> tcamSharingShoalRampartConfig_;
   Orv::Ptr<TcamSharingConfig> tcamSharingMergedConfig_;
   Orv::Ptr<TcamSharingStatus> tcamSharingShoalAclStatus_;
   Orv::Ptr<TcamSharingStatus> tcamSharingShoalLumenStatus_;
   Orv::Ptr<TcamSharingStatus> tcamSharingShoalRampartStatus_;
   Orv::Ptr<TcamSharingStatus const> tcamSharingMergedStatus_;
   Orv::Ptr<Shoal::Status const> shoalStatus_;
   bool initialized_ = false;

   OrvTcamSharingShoalAclConfig orvTcamSharingShoalAclConfig_;
   OrvTcamSharingShoalLumenConfig orvTcamSharingShoalLumenConfig_;
   OrvTcamSharingShoalRampartConfig orvTcamSharingShoalRampartConfig_;
   OrvTcamSharingMergedStatus orvTcamSharingMergedStatus_;
};

} // namespace Hardware::ShoalTunnel

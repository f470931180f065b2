// What the machines of sub-interfaces and of tunnels should have done so far; as IsemShadow.
#pragma once

#include "agent/simulate/IsemShadow.h"

namespace Agent {

class MapperShadow {
 public:
   MapperShadow(Host const& host, Facts const& facts, Answers& answers, Probes& probes);

   void handleOutput(TcamSharingRequest request);
   void handleStatus(VlanTagToVsiMapperKey key);
   // The entries are the world's: it makes and removes them; the machine writes their data.
   void handleConfig(VlanTagToVsiMapperKey key);
   void handleGone();
   void compare(Findings& findings) const;
   // What holds once nothing is queued or unanswered, or the rule by which it does not.
   void checkSettled(Findings& findings) const;
   // Nothing but plain programming happened to the request.
   bool plain(TcamSharingRequest request) const;
   // The entries that a request has to carry its policy in, by the world as it is.
   std::vector<VlanTagToVsiMapperKey> entriesOf(TcamSharingRequest request) const;

 private:
   void programPortChannel(TcamSharingEntry const& entry, IntfId lag);
   // False when the sub-interface has no entry on the port.
   bool programMember(TcamSharingEntry const& entry, IntfId port, bool countFromZero);
   void countDown(TcamSharingEntry const& entry);
   void answer(TcamSharingEntry const& entry, uint64_t data);

   void checkSuccess(Findings& findings, TcamSharingRequest request,
                     TcamSharingPolicyId policy) const;
   void checkWaiting(Findings& findings, TcamSharingRequest request) const;
   char const* whyUnanswered(TcamSharingRequest request) const;
   void checkLeft(Findings& findings) const;
   bool sharedByUnits(TcamSharingRequest request) const;
   // The entry of an unanswered write of the request's policy.
   std::optional<VlanTagToVsiMapperKey> pendingFor(TcamSharingRequest request) const;

   MapperPipeline const& pipeline_;
   ChipTable<MapperTable> const& chip_;
   Facts const& facts_;
   Answers& answers_;
   Probes& probes_;

   std::map<VlanTagToVsiMapperKey, uint64_t> data_; // of every entry
   Calm<MapperTable> calm_{chip_};
   // A write of theirs was answered after they were withdrawn.
   std::set<TcamSharingRequest> late_;
   // Handed over last when something was missing.
   std::set<TcamSharingRequest> waiting_;
   // The entries that a request was handed over to last, and whether they were there.
   std::map<TcamSharingRequest, std::map<VlanTagToVsiMapperKey, bool>> handedOver_;
   // Entries whose data stay, since their writer went elsewhere or could not find them.
   std::set<VlanTagToVsiMapperKey> left_;
   // Answered last for an older policy of the same data.
   std::set<TcamSharingRequest> older_;
   // Another request wrote their entry before it was answered.
   std::set<TcamSharingRequest> displaced_;
   // An older clearing's answer took theirs.
   std::set<TcamSharingRequest> robbed_;
   // Who changed an entry's data last; nobody while it is as the world made it.
   std::map<VlanTagToVsiMapperKey, TcamSharingRequest> lastWriter_;
   std::map<VlanTagToVsiMapperKey, TcamSharingEntry> pending_;
   std::map<TcamSharingEntry, uint32_t> awaited_;
   std::map<TcamSharingEntry, uint32_t> errors_; // 9: success
   std::map<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>> confirmed_;
};

class TunnelShadow {
 public:
   TunnelShadow(Host const& host, Answers& answers, Probes& probes)
       : pipeline_(host.mapper()), chip_(host.chip().tunnels()), answers_(answers),
         probes_(probes) {}

   void handleOutput(TcamSharingRequest request);
   void handleStatus(TunnelPolicyMapperKey key);
   void handleGone();
   void compare(Findings& findings) const;
   void checkSettled(Findings& findings) const;
   bool plain(TcamSharingRequest request) const;

 private:
   void checkSuccess(Findings& findings, TcamSharingRequest request,
                     TcamSharingPolicyId policy) const;
   void checkWaiting(Findings& findings, TcamSharingRequest request) const;

   MapperPipeline const& pipeline_;
   ChipTable<TunnelTable> const& chip_;
   Answers& answers_;
   Probes& probes_;

   Calm<TunnelTable> calm_{chip_};
   // Handed over last with the data that stood: nothing was written, so the older answer stays.
   std::set<TcamSharingRequest> unwritten_;
   std::map<TunnelPolicyMapperKey, Hardware::ShoalTunnel::TunnelPolicyMapperResult> config_;
   std::map<TunnelPolicyMapperKey, TcamSharingEntry> pending_;
};

} // namespace Agent

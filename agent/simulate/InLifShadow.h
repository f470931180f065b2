// What the machines of sub-interfaces and of tunnels should have done so far; as IsemShadow.
#pragma once

#include "agent/host/InLifPipeline.h"
#include "agent/simulate/IsemShadow.h"

namespace Agent {

class MapperShadow {
 public:
   MapperShadow(InLifPipeline const& pipeline, Facts const& facts, Answers& answers,
                Probes& probes);

   void handleOutput(TcamSharingRequest request);
   void handleStatus(VlanTagToVsiMapperKey key);
   // The entries are the world's: it makes and removes them; the machine writes their data.
   void handleConfig(VlanTagToVsiMapperKey key);
   void handleGone();
   void compare(Findings& findings) const;

   // Mapper keys that hardware confirmed for a request.
   std::map<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>> const& confirmed() const {
      return confirmed_;
   }

 private:
   void programPortChannel(TcamSharingEntry const& entry, IntfId lag);
   // False when the sub-interface has no entry on the port.
   bool programMember(TcamSharingEntry const& entry, IntfId port, bool countFromZero);
   void countDown(TcamSharingEntry const& entry);
   void answer(TcamSharingEntry const& entry, uint64_t data);

   InLifPipeline const& pipeline_;
   Facts const& facts_;
   Answers& answers_;
   Probes& probes_;

   std::map<VlanTagToVsiMapperKey, uint64_t> data_; // of every entry
   std::map<VlanTagToVsiMapperKey, TcamSharingEntry> pending_;
   std::map<TcamSharingEntry, uint32_t> awaited_;
   std::map<TcamSharingEntry, uint32_t> errors_; // 9: success
   std::map<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>> confirmed_;
};

class TunnelShadow {
 public:
   TunnelShadow(InLifPipeline const& pipeline, Answers& answers, Probes& probes)
       : pipeline_(pipeline), answers_(answers), probes_(probes) {}

   void handleOutput(TcamSharingRequest request);
   void handleStatus(TunnelPolicyMapperKey key);
   void handleGone();
   void compare(Findings& findings) const;

 private:
   InLifPipeline const& pipeline_;
   Answers& answers_;
   Probes& probes_;

   std::map<TunnelPolicyMapperKey, Hardware::ShoalTunnel::TunnelPolicyMapperResult> config_;
   std::map<TunnelPolicyMapperKey, TcamSharingEntry> pending_;
};

} // namespace Agent

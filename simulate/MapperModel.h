// What the machines of sub-interfaces and of tunnels should have made of their outputs and of the
// chip's answers.
#pragma once

#include "simulate/SharingModel.h"

namespace Simulate {

class MapperModel : public SharingModel {
 public:
   using Mapped = Table<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>>;

   // Starts on the mapper entries as they are.
   explicit MapperModel(Context& context);
   // A mapper entry came or went: the world owns the entries, the machine writes their data.
   void entryChanged(VlanTagToVsiMapperKey key);
   // The chip wrote a status; the default status: removed it.
   void answered(VlanTagToVsiMapperKey key,
                 Hardware::ShoalTunnel::VlanTagToVsiMapperStatusType const& status);
   void answered(TunnelPolicyMapperKey key,
                 Hardware::ShoalTunnel::TunnelPolicyMapperStatusType const& status);
   void mapperRestarts() { restart(false); }
   void tunnelRestarts() { restart(true); }

   static bool isTunnel(TcamSharingRequest request) {
      return request.intfId().fields().kind == Plexus::IntfKind::tunnel;
   }
   // The data of every mapper entry.
   Table<VlanTagToVsiMapperKey, uint64_t> const& data() const { return data_; }
   Table<VlanTagToVsiMapperKey, TcamSharingEntry> const& pending() const { return pending_; }
   Table<TcamSharingEntry, uint32_t> const& awaited() const { return awaited_; }
   Table<TcamSharingEntry, uint32_t> const& errors() const { return errors_; }
   Mapped const& confirmed() const { return confirmed_; }
   Table<TunnelPolicyMapperKey, uint64_t> const& tunnels() const { return tunnels_; }
   Table<TunnelPolicyMapperKey, TcamSharingEntry> const& pendingTunnels() const {
      return pendingTunnels_;
   }

 private:
   void restart(bool tunnels);
   void program(TcamSharingRequest request, TcamSharingPolicyId policy) override;
   std::vector<TcamSharingRequest> programmed(IntfId intf) const override;
   void programTunnel(TcamSharingRequest request, TcamSharingPolicyId policy);
   // False when the sub-interface has no entry on the port.
   bool programMember(TcamSharingEntry const& entry, IntfId port, bool countFromZero);
   void countDown(TcamSharingEntry const& entry);
   void finish(TcamSharingEntry const& entry, uint64_t data);

   Table<VlanTagToVsiMapperKey, uint64_t> data_;
   Table<VlanTagToVsiMapperKey, TcamSharingEntry> pending_;
   Table<TcamSharingEntry, uint32_t> awaited_; // answers
   Table<TcamSharingEntry, uint32_t> errors_;  // 9: success
   Mapped confirmed_;
   Table<TunnelPolicyMapperKey, uint64_t> tunnels_;
   Table<TunnelPolicyMapperKey, TcamSharingEntry> pendingTunnels_;
};

} // namespace Simulate

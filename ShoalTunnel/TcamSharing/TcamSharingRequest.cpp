#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<TcamSharingRequestFields> tcamSharingRequestInterner;

namespace {
// The four fields in the order in which they are printed.
struct PrintedEntry {
   Plexus::IntfId intfId;
   Shoal::FapId fapId;
   Bridging::VlanIdOrNone l3FloodPortVlanId;
   TcamSharingPolicyId policyId;

   ORV_VALUE(PrintedEntry, "Hardware::ShoalTunnel::TcamSharingEntry", intfId, fapId,
             l3FloodPortVlanId, policyId)
};
} // namespace

std::ostream& operator<<(std::ostream& out, TcamSharingEntry const& entry) {
   return out << PrintedEntry{entry.intfId(), entry.fapId(), entry.l3FloodPortVlanId(),
                              entry.policyId()};
}

} // namespace Hardware::ShoalTunnel

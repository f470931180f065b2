// The values that all stages of a pipeline use: request, policy, and entry (both together).
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Interned.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

struct TcamSharingRequestFields {
   Plexus::IntfId intfId;
   Shoal::FapId fapId;
   Bridging::VlanIdOrNone l3FloodPortVlanId;

   ORV_VALUE(TcamSharingRequestFields, "Hardware::ShoalTunnel::TcamSharingRequest", intfId, fapId,
             l3FloodPortVlanId)
};

TCAM_SHARING_EXPORT extern Orv::Interner<TcamSharingRequestFields> tcamSharingRequestInterner;

// The key of every collection per request: an interface for which a policy is requested on a unit.
// Interned: a request is hashed once, when it is made from its fields, and is an index after that.
class TcamSharingRequest : public Orv::Interned<TcamSharingRequest, TcamSharingRequestFields,
                                                tcamSharingRequestInterner> {
 public:
   constexpr TcamSharingRequest() = default;
   // `l3FloodPortVlanId`: the internal VLAN of the port, for the flood entry of a routed port.
   TcamSharingRequest(Plexus::IntfId intfId, Shoal::FapId fapId,
                      Bridging::VlanIdOrNone l3FloodPortVlanId = {})
       : Interned(Fields{intfId, fapId, l3FloodPortVlanId}) {}

   Plexus::IntfId intfId() const { return fields().intfId; }
   Shoal::FapId fapId() const { return fields().fapId; }
   Bridging::VlanIdOrNone l3FloodPortVlanId() const { return fields().l3FloodPortVlanId; }

   static constexpr char const* blipForm = "request( intfId:% fapId:% l3FloodPortVlanId:% )";
   auto blipFields() const {
      return std::tuple(intfId(), fapId().value(), l3FloodPortVlanId().value());
   }

 private:
   using Fields = TcamSharingRequestFields;
};

// The policies of a request, packed into bit fields; 0 means no policy.
//
//    bits 0-4 qosPolicy   5-9 pbrPolicy   10-16 aclLabel   17-23 lumenAclLabel
class TcamSharingPolicyId {
 public:
   static constexpr uint64_t qosPolicyMask = 0x1f;
   static constexpr uint64_t pbrPolicyMask = 0x3e0;
   static constexpr uint64_t aclLabelMask = 0x1fc00;
   static constexpr uint64_t lumenAclLabelMask = 0xfe0000;

   constexpr TcamSharingPolicyId() = default;
   constexpr explicit TcamSharingPolicyId(uint64_t value)
       : low_(static_cast<uint32_t>(value)), high_(static_cast<uint32_t>(value >> 32)) {}

   constexpr uint64_t value() const { return uint64_t{high_} << 32 | low_; }
   void valueIs(uint64_t value) { *this = TcamSharingPolicyId(value); }
   uint64_t qosPolicy() const { return value() & qosPolicyMask; }
   uint64_t pbrPolicy() const { return (value() & pbrPolicyMask) >> 5; }
   uint64_t aclLabel() const { return (value() & aclLabelMask) >> 10; }
   uint64_t lumenAclLabel() const { return (value() & lumenAclLabelMask) >> 17; }
   bool empty() const { return value() == 0; }

   uint64_t hash() const { return Orv::mixHash(value()); }
   friend bool operator==(TcamSharingPolicyId a, TcamSharingPolicyId b) {
      return a.value() == b.value();
   }
   friend auto operator<=>(TcamSharingPolicyId a, TcamSharingPolicyId b) {
      return a.value() <=> b.value();
   }
   friend std::ostream& operator<<(std::ostream& out, TcamSharingPolicyId id) {
      return out << id.value();
   }

 private:
   // Halves, to be aligned as its neighbours in tables: a request and its policy, or its response,
   // take 12 bytes.
   uint32_t low_ = 0;
   uint32_t high_ = 0;
};

// A request and the policy that was, or is to be, programmed for it. As a key, entries of one
// request with different policies differ.
class TcamSharingEntry {
 public:
   constexpr TcamSharingEntry() = default;
   TcamSharingEntry(TcamSharingRequest request, TcamSharingPolicyId policyId)
       : request_(request), policyId_(policyId) {}

   TcamSharingRequest request() const { return request_; }
   Plexus::IntfId intfId() const { return request_.intfId(); }
   Shoal::FapId fapId() const { return request_.fapId(); }
   Bridging::VlanIdOrNone l3FloodPortVlanId() const { return request_.l3FloodPortVlanId(); }
   TcamSharingPolicyId policyId() const { return policyId_; }

   uint64_t hash() const {
      return Orv::mixHash(policyId_.value() * 0x9e3779b97f4a7c15ULL + request_.index());
   }
   friend auto operator<=>(TcamSharingEntry const&, TcamSharingEntry const&) = default;
   TCAM_SHARING_EXPORT friend std::ostream& operator<<(std::ostream& out,
                                                       TcamSharingEntry const& entry);

   static constexpr char const* blipForm = "pendingEntry(%, fap %, pol %)";
   auto blipFields() const { return std::tuple(intfId(), fapId().value(), policyId_.value()); }

 private:
   TcamSharingRequest request_;
   TcamSharingPolicyId policyId_;
};

} // namespace Hardware::ShoalTunnel

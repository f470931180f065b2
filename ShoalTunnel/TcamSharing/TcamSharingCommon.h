// Bookkeeping shared between the intake (TcamSharingCodef) and the programming machines.
//
// The host makes one TcamSharingSemCommon for the ISEM pipeline and one TcamSharingInLifCommon for
// the mapper pipeline before the machines. They outlive the machines, so a machine that is built
// again continues from the state of the one before.
#pragma once

#include "platform/Hardware/ShoalTunnel/SemTable.h"
#include "platform/Hardware/ShoalTunnel/TunnelPolicyMapper.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Orv/Entity.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

#include <algorithm>

namespace Hardware::ShoalTunnel {

// The mapper keys of one request whose writes were answered.
class TCAM_SHARING_EXPORT TcamRequestToVlanTagToVsiKeyMapping : public Orv::Entity {
   TcamSharingRequest request_; // first: it fits behind the reference count

   ORV_ENTITY(TcamRequestToVlanTagToVsiKeyMapping,
              "Hardware::ShoalTunnel::TcamRequestToVlanTagToVsiKeyMapping")

   explicit TcamRequestToVlanTagToVsiKeyMapping(TcamSharingRequest request) : request_(request) {}
   TcamSharingRequest request() const { return request_; }
   ORV_SET(vtagToVsiMapperKey, VlanTagToVsiMapperKey, Orv::Small)
};

// The requests that share one ISEM entry. There is one per entry, so its size counts.
class TCAM_SHARING_EXPORT SemToRequestMapping : public Orv::Entity {
   AradSemKeyAndFap key_; // first: it fits behind the reference count

   ORV_ENTITY(SemToRequestMapping, "Hardware::ShoalTunnel::SemToRequestMapping")

   explicit SemToRequestMapping(AradSemKeyAndFap key) : key_(key) {}
   AradSemKeyAndFap key() const { return key_; }
   ORV_SET(request, TcamSharingRequest, Orv::Small)
};

struct PendingSemWriteKey {
   AradSemKeyAndFap semKeyAndFap;
   bool isInsert = false; // true: a write of the entry, false: its removal

   uint32_t index() const { return semKeyAndFap.index() * 2 + (isInsert ? 1 : 0); }
   static PendingSemWriteKey fromIndex(uint32_t index) {
      return {AradSemKeyAndFap::fromIndex(index / 2), index % 2 != 0};
   }
   ORV_VALUE(PendingSemWriteKey, "Hardware::ShoalTunnel::PendingSemWriteKey", semKeyAndFap,
             isInsert)
};

// Unanswered writes of one kind to one key, oldest first.
class TCAM_SHARING_EXPORT TcamSharingPendingSemWrite : public Orv::Entity {
   ORV_ENTITY(TcamSharingPendingSemWrite, "Hardware::ShoalTunnel::TcamSharingPendingSemWrite")

   explicit TcamSharingPendingSemWrite(PendingSemWriteKey key) : key_(key) {}
   PendingSemWriteKey const& key() const { return key_; }
   ORV_QUEUE(pendingSharingEntry, TcamSharingEntry)

 private:
   PendingSemWriteKey key_;
};

class TCAM_SHARING_EXPORT TcamSharingCommonBase : public Orv::Entity {
   ORV_ENTITY(TcamSharingCommonBase, "Hardware::ShoalTunnel::TcamSharingCommonBase")

   explicit TcamSharingCommonBase(Orv::Name name) : name_(std::move(name)) {}
   Orv::Name const& name() const { return name_; }

   // Entries that wait for a retry: not resolved yet, or without a mapper entry. Set by the
   // programming machines, deleted by the intake.
   ORV_SET(retryList, TcamSharingEntry, Orv::Keyed)
   // Request -> the ISEM key that was written last for it. Written by TcamSharingSemSm.
   ORV_COLLECTION(tcamRequestToIsemKeyMapping, TcamSharingRequest, AradSemKeyAndFap,
                  Orv::KeyedByIndex)
   // Written by TcamSharingInLifSm.
   ORV_OWNED_COLLECTION(tcamRequestToVlanTagToVsiKeyMapping, TcamSharingRequest,
                        TcamRequestToVlanTagToVsiKeyMapping, Orv::KeyedByIndex)
   // True while the intake removes a request from the output in order to add it again at once. The
   // programming machines ignore that removal.
   ORV_ATTRIBUTE(notARealDelete, bool, false)

 private:
   Orv::Name name_;
};

class TCAM_SHARING_EXPORT TcamSharingSemCommon : public TcamSharingCommonBase {
   ORV_ENTITY(TcamSharingSemCommon, "Hardware::ShoalTunnel::TcamSharingSemCommon")
   using TcamSharingCommonBase::TcamSharingCommonBase;

   ORV_OWNED_COLLECTION(semToRequest, AradSemKeyAndFap, SemToRequestMapping, Orv::KeyedByIndex)
   ORV_OWNED_COLLECTION(pendingSemWrite, PendingSemWriteKey, TcamSharingPendingSemWrite,
                        Orv::KeyedByIndex)
};

class TCAM_SHARING_EXPORT TcamSharingInLifCommon : public TcamSharingCommonBase {
   ORV_ENTITY(TcamSharingInLifCommon, "Hardware::ShoalTunnel::TcamSharingInLifCommon")
   using TcamSharingCommonBase::TcamSharingCommonBase;

   // Entry -> the number of its mapper keys that are written and not answered.
   ORV_COLLECTION(tcamSharingEntryRefCount, TcamSharingEntry, uint32_t, Orv::Keyed)
   void tcamSharingEntryRefCountInc(TcamSharingEntry const& entry, uint32_t n) {
      tcamSharingEntryRefCountIs(entry, tcamSharingEntryRefCount(entry) + n);
   }
   // Stops at 0; does not create the entry.
   void tcamSharingEntryRefCountDec(TcamSharingEntry const& entry, uint32_t n) {
      if (tcamSharingEntryRefCountHas(entry)) {
         uint32_t count = tcamSharingEntryRefCount(entry);
         tcamSharingEntryRefCountIs(entry, count - std::min(n, count));
      }
   }
   // Entry -> the combined result of its answers so far; a failure is kept.
   ORV_COLLECTION(vtagToVsiStatusErrorType, TcamSharingEntry, VlanTagToVsiMapperErrorType,
                  Orv::Keyed)
   // Mapper key -> the entry that wrote it last and waits for the answer.
   ORV_COLLECTION(pendingLifEntries, VlanTagToVsiMapperKey, TcamSharingEntry, Orv::KeyedByIndex)
   // Tunnel key -> the entry that wrote it last. Kept after the answer, until the key is removed.
   ORV_COLLECTION(pendingTunnelLifEntries, TunnelPolicyMapperKey, TcamSharingEntry,
                  Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel

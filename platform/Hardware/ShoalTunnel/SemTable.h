// The chip's exact-match tables (SEM): keys, payloads, and the tables through which they are
// programmed.
//
// A machine writes SemTableConfig. The hardware layer answers later, in SemTableStatus: it writes
// an entry to answer a write of that key, and deletes the entry to answer a deletion.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"

namespace Hardware::ShoalTunnel {

enum class AradSemKeyType : uint8_t { none = 0, isemTcamSharing_ = 11 };

// A key as the chip matches it; what `value` holds depends on the key type.
class AradSemKey {
 public:
   constexpr AradSemKey() = default;
   constexpr AradSemKey(AradSemKeyType keyType, uint32_t value)
       : value_(value), keyType_(keyType) {}
   AradSemKeyType keyType() const { return keyType_; }
   uint32_t value() const { return value_; }

 private:
   uint32_t value_ = 0;
   AradSemKeyType keyType_ = AradSemKeyType::none;

 public:
   ORV_VALUE(AradSemKey, "Hardware::ShoalTunnel::AradSemKey", keyType_, value_)
};

// The key of shared entries: VLAN id in bits 8-19, VLAN domain in bits 0-7.
class AradISemKeyTcamSharing {
 public:
   AradISemKeyTcamSharing(Bridging::VlanId vlanId, Shoal::VlanDomain vlanDomain)
       : value_(static_cast<uint32_t>(vlanId.value()) << 8 | vlanDomain.value()) {}
   // From a key of this type.
   explicit AradISemKeyTcamSharing(AradSemKey key) : value_(key.value()) {}
   uint16_t vlanId() const { return (value_ >> 8) & 0xfff; }
   Shoal::VlanDomain vlanDomain() const { return Shoal::VlanDomain(value_ & 0xff); }
   AradSemKey key() const { return {AradSemKeyType::isemTcamSharing_, value_}; }

 private:
   uint32_t value_;
};

struct AradSemKeyAndFapFields {
   [[no_unique_address]] AradSemKey key; // whose last bytes the unit uses
   Shoal::FapId fapId;

   ORV_VALUE(AradSemKeyAndFapFields, "Hardware::ShoalTunnel::AradSemKeyAndFap", key, fapId)
};

ORV_EXPORT extern Orv::Interner<AradSemKeyAndFapFields> aradSemKeyAndFapInterner;

// A key and the unit that holds it; the default value stands for no key. Interned.
class AradSemKeyAndFap
    : public Orv::Interned<AradSemKeyAndFap, AradSemKeyAndFapFields, aradSemKeyAndFapInterner> {
 public:
   static constexpr uint16_t maxFapId = 128;

   constexpr AradSemKeyAndFap() = default;
   // Throws Orv::RangeException for a unit above maxFapId, which does not fit into the key.
   AradSemKeyAndFap(AradSemKey key, Shoal::FapId fapId) : Interned(checked(key, fapId)) {}
   // The same; `guess` is the key that it probably is.
   AradSemKeyAndFap(AradSemKey key, Shoal::FapId fapId, AradSemKeyAndFap guess)
       : Interned(checked(key, fapId), guess) {}

   AradSemKey key() const { return fields().key; }
   Shoal::FapId fapId() const { return fields().fapId; }
   static constexpr char const* blipForm = "(keyType:% key:% fapId:% )";
   auto blipFields() const {
      return std::tuple(static_cast<uint32_t>(key().keyType()), key().value(), fapId().value());
   }

 private:
   static AradSemKeyAndFapFields checked(AradSemKey key, Shoal::FapId fapId) {
      if (fapId.value() > maxFapId) {
         throw Shoal::FapId::rangeError();
      }
      return {key, fapId};
   }
};

// The payload of an entry: a policy value in bits 3-19. Bit 0 is set in every entry written.
struct AradSemPayload {
   uint32_t value = 0;

   static AradSemPayload basic(uint32_t policyValue) {
      return {((policyValue << 3) & 0xffff8) | 1};
   }
   ORV_VALUE(AradSemPayload, "Hardware::ShoalTunnel::AradSemPayload", value)
};

// An answer: code 1 means that the entry is programmed with this payload, any other code that the
// chip refused it. The default value means no answer.
struct SemTableStatusEntry {
   static constexpr uint32_t success = 1;

   uint32_t statusCode = 0;
   AradSemPayload payload;

   ORV_VALUE(SemTableStatusEntry, "Hardware::ShoalTunnel::SemTableStatusEntry", statusCode, payload)
};

class ORV_EXPORT SemTableConfig : public Orv::Entity {
   ORV_ENTITY(SemTableConfig, "Hardware::ShoalTunnel::SemTableConfig")
   ORV_COLLECTION(config, AradSemKeyAndFap, AradSemPayload, Orv::KeyedByIndex)
};

class ORV_EXPORT SemTableStatus : public Orv::Entity {
   ORV_ENTITY(SemTableStatus, "Hardware::ShoalTunnel::SemTableStatus")
   // Every write is an answer, even of an equal value.
   ORV_EVENTS(status, AradSemKeyAndFap, SemTableStatusEntry, Orv::PagedStorage)
};

} // namespace Hardware::ShoalTunnel

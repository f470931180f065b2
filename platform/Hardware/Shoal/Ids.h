// Ids of the chip family.
#pragma once

#include "platform/Orv/Exception.h"
#include "platform/Orv/Value.h"

#include <cstdint>

namespace Hardware::Shoal {

// A forwarding unit, 0 to 2047; 2048 (the default) means no unit. Larger values throw
// Orv::RangeException.
class FapId {
 public:
   static constexpr uint16_t min = 0;
   static constexpr uint16_t null = 2048;

   constexpr FapId() = default;
   explicit FapId(uint32_t value) : value_(static_cast<uint16_t>(value)) {
      if (value > null) {
         throw rangeError();
      }
   }
   static Orv::RangeException rangeError() {
      return Orv::RangeException("FapId::value < FapId::min or > FapId::null not allowed");
   }
   static FapId fromIndex(uint32_t index) { return FapId(index); }
   uint16_t value() const { return value_; }
   bool isNull() const { return value_ == null; }
   uint32_t index() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(FapId, FapId) = default;
   friend std::ostream& operator<<(std::ostream& out, FapId id) { return out << id.value_; }

 private:
   uint16_t value_ = null;
};

// A TCAM by its system-wide number: 16 bits, 2048 when unset.
class SystemTcamId {
 public:
   constexpr SystemTcamId() = default;
   constexpr explicit SystemTcamId(uint16_t value) : value_(value) {}
   static SystemTcamId fromIndex(uint32_t index) {
      return SystemTcamId(static_cast<uint16_t>(index));
   }
   uint16_t value() const { return value_; }
   uint32_t index() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(SystemTcamId, SystemTcamId) = default;
   friend std::ostream& operator<<(std::ostream& out, SystemTcamId id) { return out << id.value_; }

 private:
   uint16_t value_ = 2048;
};

// A port by its system-wide number; 16384 (the default) means none.
class SystemPhyPortId {
 public:
   static constexpr uint16_t null = 16384;

   constexpr SystemPhyPortId() = default;
   explicit SystemPhyPortId(uint32_t value) : value_(static_cast<uint16_t>(value)) {
      if (value > null) {
         throw Orv::RangeException("SystemPhyPortId::value > SystemPhyPortId::null not allowed");
      }
   }
   static SystemPhyPortId fromIndex(uint32_t index) { return SystemPhyPortId(index); }
   uint16_t value() const { return value_; }
   uint32_t index() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(SystemPhyPortId, SystemPhyPortId) = default;
   friend std::ostream& operator<<(std::ostream& out, SystemPhyPortId id) {
      return out << id.value_;
   }

 private:
   uint16_t value_ = null;
};

// The place of a port: its unit, and its number on the unit (0 to 255). (2048, 256) when unset.
struct PortMap {
   FapId fapId;
   uint16_t fapPortId = 256;

   bool isNull() const { return fapId.isNull() && fapPortId == 256; }
   ORV_VALUE(PortMap, "Hardware::Shoal::PortMap", fapId, fapPortId)
};

// A port's VLAN domain: 8 bits, 255 for flood entries.
class VlanDomain {
 public:
   static constexpr uint8_t l3Flood = 255;

   constexpr VlanDomain() = default;
   constexpr explicit VlanDomain(uint8_t value) : value_(value) {}
   uint8_t value() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(VlanDomain, VlanDomain) = default;
   friend std::ostream& operator<<(std::ostream& out, VlanDomain domain) {
      return out << +domain.value_;
   }

 private:
   uint8_t value_ = 0;
};

// A virtual switching instance, or a VLAN tag where the chip has one in its place: 0 to 8192, which
// marks an invalid one. Larger values throw Orv::RangeException.
class Vsi {
 public:
   static constexpr uint32_t min = 0;
   static constexpr uint32_t invalid = 8192;

   constexpr Vsi() = default;
   explicit Vsi(uint32_t value) : value_(value) {
      if (value > invalid) {
         throw Orv::RangeException("Vsi::value < Vsi::min or > Vsi::invalid not allowed");
      }
   }
   uint32_t value() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(Vsi, Vsi) = default;
   friend std::ostream& operator<<(std::ostream& out, Vsi vsi) { return out << vsi.value_; }

 private:
   uint32_t value_ = 0;
};

} // namespace Hardware::Shoal

// VLAN ids and 802.1Q encapsulations.
#pragma once

#include "platform/Orv/Exception.h"
#include "platform/Orv/Value.h"

#include <cstdint>

namespace Bridging {

// A configured VLAN, 1 to 4094; other values throw Orv::RangeException.
class VlanId {
 public:
   explicit VlanId(uint32_t value) : value_(static_cast<uint16_t>(value)) {
      if (value < 1 || value > 4094) {
         throw Orv::RangeException("VlanId::value < 1 or > 4094 not allowed");
      }
   }
   uint16_t value() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(VlanId, VlanId) = default;
   friend std::ostream& operator<<(std::ostream& out, VlanId id) { return out << id.value_; }

 private:
   uint16_t value_;
};

// 1 to 4094, or 0 for none; larger values throw Orv::RangeException.
class VlanIdOrNone {
 public:
   constexpr VlanIdOrNone() = default;
   explicit VlanIdOrNone(uint32_t value) : value_(static_cast<uint16_t>(value)) {
      if (value > 4094) {
         throw Orv::RangeException("VlanIdOrNone::value > 4094 not allowed");
      }
   }
   uint16_t value() const { return value_; }
   uint64_t hash() const { return Orv::mixHash(value_); }
   friend auto operator<=>(VlanIdOrNone, VlanIdOrNone) = default;
   friend std::ostream& operator<<(std::ostream& out, VlanIdOrNone id) { return out << id.value_; }

 private:
   uint16_t value_ = 0;
};

// Outer and inner VLAN tag, 16 bits each; 0 means no such tag.
struct Dot1qEncap {
   uint16_t outer = 0;
   uint16_t inner = 0;

   bool isZero() const { return outer == 0 && inner == 0; }
   static constexpr char const* blipForm = "<%,%>";
   auto blipFields() const { return std::tuple(outer, inner); }
   ORV_VALUE(Dot1qEncap, "Bridging::Dot1qEncap", outer, inner)
};

} // namespace Bridging

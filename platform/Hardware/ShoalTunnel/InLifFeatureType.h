// The features that an in-LIF can carry, and collections keyed by them.
#pragma once

#include "platform/Orv/Exception.h"
#include "platform/Orv/Walk.h"

#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <ostream>
#include <utility>

namespace Hardware::ShoalTunnel {

// The meaning of each type is agreed between the request directories and the TCAM layouts. `none`
// marks an unset type.
enum class InLifFeatureType : uint8_t {
   none = 0,
   feature1 = 1,
   feature2,
   feature3,
   feature4,
   feature5,
   feature6,
   feature7,
   feature8,
   feature9,
   feature10,
   feature11,
   feature12,
};

inline constexpr unsigned kInLifFeatureTypeBound = 13; // exclusive

// All types, ascending.
inline constexpr auto inLifFeatureTypes = [] {
   std::array<InLifFeatureType, kInLifFeatureTypeBound - 1> types{};
   for (unsigned at = 0; at < types.size(); ++at) {
      types[at] = static_cast<InLifFeatureType>(at + 1);
   }
   return types;
}();

inline std::ostream& operator<<(std::ostream& out, InLifFeatureType type) {
   return type == InLifFeatureType::none ? out << "none"
                                         : out << "feature" << static_cast<unsigned>(type);
}

// Throws Orv::RangeException for anything but the twelve types.
inline InLifFeatureType checkedInLifFeatureType(InLifFeatureType type) {
   if (static_cast<unsigned>(type) - 1 >= kInLifFeatureTypeBound - 1) {
      throw Orv::RangeException("InLifFeatureType < 1 or > 12 not allowed");
   }
   return type;
}

// A collection keyed by the twelve types, in order of type. It is stored in place, without
// allocation and without reactors. A walk goes through a copy, so the map may be changed meanwhile.
template<class V>
class InLifFeatureMap {
 public:
   using Key = InLifFeatureType;
   using Value = V;

   V get(Key type) const { return has(type) ? values_[slot(type)] : V{}; }
   bool has(Key type) const {
      return static_cast<unsigned>(type) < kInLifFeatureTypeBound && (present_ & bit(type)) != 0;
   }
   std::size_t size() const { return static_cast<std::size_t>(std::popcount(present_)); }
   // Throws Orv::RangeException for anything but the twelve types.
   void set(Key type, V value) {
      values_[slot(checkedInLifFeatureType(type))] = std::move(value);
      present_ |= bit(type);
   }
   void del(Key type) {
      if (has(type)) {
         present_ &= static_cast<uint16_t>(~bit(type));
      }
   }
   void delAll() { present_ = 0; }

   class Cursor {
    public:
      explicit Cursor(InLifFeatureMap const& map) : map_(map), left_(map.present_) {}
      void next(std::optional<Orv::Member<Key, V>>& member) {
         if (left_ == 0) {
            member.reset();
            return;
         }
         auto type = static_cast<Key>(std::countr_zero(left_));
         member.emplace(Orv::Member<Key, V>{type, map_.values_[slot(type)]});
         left_ &= static_cast<uint16_t>(left_ - 1);
      }

    private:
      InLifFeatureMap map_;
      uint16_t left_; // types still to come
   };
   Orv::Walk<Key, V, Cursor> walk() const { return Orv::Walk<Key, V, Cursor>(*this); }

 private:
   static std::size_t slot(Key type) { return static_cast<std::size_t>(type) - 1; }
   static uint16_t bit(Key type) {
      return static_cast<uint16_t>(1U << static_cast<unsigned>(type));
   }

   std::array<V, kInLifFeatureTypeBound - 1> values_{};
   uint16_t present_ = 0; // bit per type
};

} // namespace Hardware::ShoalTunnel

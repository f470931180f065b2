// The key of requests and responses: one feature type of one in-LIF interface.
#pragma once

#include "platform/Hardware/ShoalTunnel/InLifFeatureType.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfKey.h"

#include <array>
#include <deque>

namespace Hardware::ShoalTunnel {

// The requested value of a feature.
using InLifFeatureValue = uint32_t;

// Has the interned interface key, so that no look-up is needed to get from a feature to its
// interface.
struct InLifFeatureKeyFields {
   InLifIntfKey intfKey;
   InLifFeatureType featureType = InLifFeatureType::none;

   friend auto operator<=>(InLifFeatureKeyFields const&, InLifFeatureKeyFields const&) = default;
   TCAM_SHARING_EXPORT friend std::ostream& operator<<(std::ostream& out,
                                                       InLifFeatureKeyFields const& fields);
};

// The interner of these keys (Orv/Interned.h). It does not hash: it looks up the index of the
// interface key. An interface has one index to begin with, three more with its second feature type,
// and eight more with its fifth. So the features of an interface are next to each other in tables
// that are keyed by feature, and few indices are unused.
class TCAM_SHARING_EXPORT InLifFeatureKeyInterner {
 public:
   // The feature type must be one of the twelve.
   uint32_t intern(InLifFeatureKeyFields const& fields);
   // 0, the index of the default key, if the fields have no index.
   uint32_t find(InLifFeatureKeyFields const& fields) const {
      uint32_t intf = fields.intfKey.index();
      return intf < places_.size() ? places_[intf].find(fields.featureType) : 0;
   }
   InLifFeatureKeyFields const& operator[](uint32_t at) const { return fields_[at]; }

 private:
   // The indices of one interface, in three blocks.
   struct Places {
      // The numbers of the types, 4 bits each: first used, second used and so on; 0: not used.
      std::array<uint16_t, 3> numbers{};
      uint8_t used = 0;
      std::array<uint32_t, 3> blocks{}; // first index of each

      uint32_t find(InLifFeatureType type) const {
         unsigned at = static_cast<unsigned>(type) - 1;
         uint32_t number = numbers[at / 4] >> at % 4 * 4 & 15U;
         return number == 0 ? 0 : blocks[blockOf(number)] + number - firstNumber[blockOf(number)];
      }
   };
   // Block -> number of the type at its beginning.
   static constexpr std::array<uint32_t, 4> firstNumber{1, 2, 5, 13};
   static unsigned blockOf(uint32_t number) {
      return (number >= firstNumber[1] ? 1U : 0U) + (number >= firstNumber[2] ? 1U : 0U);
   }

   std::deque<Places> places_; // by index of the interface key
   std::deque<InLifFeatureKeyFields> fields_{InLifFeatureKeyFields{}};
};

TCAM_SHARING_EXPORT extern InLifFeatureKeyInterner inLifFeatureKeyInterner;

// Interned, like InLifIntfKey.
class InLifFeatureKey
    : public Orv::Interned<InLifFeatureKey, InLifFeatureKeyFields, inLifFeatureKeyInterner> {
 public:
   constexpr InLifFeatureKey() = default;
   // Throws Orv::RangeException unless `featureType` is one of the twelve feature types.
   InLifFeatureKey(InLifIntfKey intfKey, InLifFeatureType featureType)
       : Interned(InLifFeatureKeyFields{intfKey, checkedInLifFeatureType(featureType)}) {}
   InLifFeatureKey(Plexus::IntfId intfId, Shoal::SystemTcamId tcamId, InLifFeatureType featureType)
       : InLifFeatureKey(InLifIntfKey(intfId, tcamId), featureType) {}
   // The key if it was made before, otherwise the default key. For walks over all types, so that
   // they do not intern keys that nobody uses.
   static InLifFeatureKey existing(InLifIntfKey intfKey, InLifFeatureType featureType) {
      return fromIndex(
          inLifFeatureKeyInterner.find({intfKey, checkedInLifFeatureType(featureType)}));
   }

   InLifIntfKey intfKey() const { return fields().intfKey; }
   Plexus::IntfId intfId() const { return intfKey().intfId(); }
   Shoal::SystemTcamId tcamId() const { return intfKey().tcamId(); }
   InLifFeatureType featureType() const { return fields().featureType; }

   static constexpr char const* blipForm = "<InLifFeatureKey intfId=% tcamId=% featureType=%>";
   auto blipFields() const { return std::tuple(intfId(), tcamId().value(), featureType()); }
};

} // namespace Hardware::ShoalTunnel

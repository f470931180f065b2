// The key of requests and responses: one feature type of one in-LIF interface.
#pragma once

#include "platform/Hardware/ShoalTunnel/InLifFeatureType.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfKey.h"

namespace Hardware::ShoalTunnel {

// The requested value of a feature.
using InLifFeatureValue = uint32_t;

// Has the interned interface key, so that no look-up is needed to get from a feature to its
// interface.
struct InLifFeatureKeyFields {
   InLifIntfKey intfKey;
   InLifFeatureType featureType = InLifFeatureType::none;

   uint64_t hash() const {
      return Orv::mixHash(static_cast<uint64_t>(intfKey.index()) << 8 |
                          static_cast<uint8_t>(featureType));
   }
   friend auto operator<=>(InLifFeatureKeyFields const&, InLifFeatureKeyFields const&) = default;
   TCAM_SHARING_EXPORT friend std::ostream& operator<<(std::ostream& out,
                                                       InLifFeatureKeyFields const& fields);
};

TCAM_SHARING_EXPORT extern Orv::Interner<InLifFeatureKeyFields> inLifFeatureKeyInterner;

// Interned, like InLifIntfKey.
class InLifFeatureKey
    : public Orv::Interned<InLifFeatureKey, InLifFeatureKeyFields, inLifFeatureKeyInterner> {
 public:
   constexpr InLifFeatureKey() = default;
   // Throws Orv::RangeException unless `featureType` is one of the twelve feature types.
   TCAM_SHARING_EXPORT InLifFeatureKey(InLifIntfKey intfKey, InLifFeatureType featureType);
   InLifFeatureKey(Plexus::IntfId intfId, Shoal::SystemTcamId tcamId, InLifFeatureType featureType)
       : InLifFeatureKey(InLifIntfKey(intfId, tcamId), featureType) {}
   // The key if it was made before, otherwise the default key. For walks over all types, so that
   // they do not intern keys that nobody uses.
   TCAM_SHARING_EXPORT static InLifFeatureKey existing(InLifIntfKey intfKey,
                                                       InLifFeatureType featureType);

   InLifIntfKey intfKey() const { return fields().intfKey; }
   Plexus::IntfId intfId() const { return intfKey().intfId(); }
   Shoal::SystemTcamId tcamId() const { return intfKey().tcamId(); }
   InLifFeatureType featureType() const { return fields().featureType; }

   static constexpr char const* blipForm = "<InLifFeatureKey intfId=% tcamId=% featureType=%>";
   auto blipFields() const { return std::tuple(intfId(), tcamId().value(), featureType()); }
};

} // namespace Hardware::ShoalTunnel

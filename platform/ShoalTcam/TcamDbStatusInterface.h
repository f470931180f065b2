// The layout of TCAM keys: the position of each in-LIF feature in the feature word.
//
// The owner of the layouts may write it at any time. A change takes effect in feature words with
// the next TCAM key version (Hardware::Shoal::Status).
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Hardware/ShoalTunnel/InLifFeatureType.h"
#include "platform/Orv/Entity.h"

#include <optional>

namespace ShoalTcam {

// A feature's field in the 64-bit word: `mask` shifted left by `offset` bits.
class TcamShareQualInfo {
 public:
   constexpr TcamShareQualInfo() = default;
   constexpr TcamShareQualInfo(uint16_t offset, uint32_t mask) : offset_(offset), mask_(mask) {}
   uint16_t offset() const { return offset_; }
   uint32_t mask() const { return mask_; }

 private:
   uint16_t offset_ = 0;
   uint32_t mask_ = 0;

 public:
   ORV_VALUE(TcamShareQualInfo, "ShoalTcam::TcamShareQualInfo", offset_, mask_)
};

// The layout of one TCAM.
class ORV_EXPORT InLifData : public Orv::Entity {
   ORV_ENTITY(InLifData, "ShoalTcam::InLifData")

   explicit InLifData(Hardware::Shoal::SystemTcamId tcamId) : tcamId_(tcamId) {}
   Hardware::Shoal::SystemTcamId tcamId() const { return tcamId_; }
   ORV_COLLECTION_AS(tcamShareQualInfo, Hardware::ShoalTunnel::InLifFeatureType, TcamShareQualInfo,
                     Hardware::ShoalTunnel::InLifFeatureMap<TcamShareQualInfo>)

   // Nothing when this TCAM has no place for the feature.
   std::optional<TcamShareQualInfo>
   tcamShareQualInfoNoCheck(Hardware::ShoalTunnel::InLifFeatureType type) const {
      return tcamShareQualInfoHas(type) ? std::optional(tcamShareQualInfo(type)) : std::nullopt;
   }

 private:
   Hardware::Shoal::SystemTcamId tcamId_;
};

class ORV_EXPORT TcamDbStatusInterface : public Orv::Entity {
   ORV_ENTITY(TcamDbStatusInterface, "ShoalTcam::TcamDbStatusInterface")
   ORV_OWNED_COLLECTION(inLifData, Hardware::Shoal::SystemTcamId, InLifData, Orv::KeyedByIndex)

   // The instance of the process.
   static Orv::Ptr<TcamDbStatusInterface> const& tcamDbStatusInterface();

   // null for a TCAM without a layout: it has no place for any feature.
   Orv::Ptr<InLifData const> getInLifData(Hardware::Shoal::SystemTcamId tcamId) const {
      return inLifData(tcamId);
   }
};

} // namespace ShoalTcam

#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"

#include "platform/ShoalTcam/TcamDbStatusInterface.h"
#include "platform/Trace/Trace.h"

#include <ios>

namespace Hardware::ShoalTunnel {

namespace {

// Bits that a layout puts beyond the word are lost, as they are in hardware.
uint64_t shifted(uint64_t bits, uint16_t offset) {
   return offset < 64 ? bits << offset : 0;
}

InLifFeatureAttributes attributesOf(uint64_t word) {
   return {static_cast<uint16_t>(word), static_cast<uint16_t>(word >> 16),
           static_cast<uint32_t>(word >> 32)};
}

} // namespace

InLifFeatureAttributes getInLifFeatureAttr(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr) {
   auto inLifData = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->getInLifData(
       aggr->key().tcamId());
   uint64_t word = 0;
   for (auto const& [type, value] : aggr->featureAggIter()) {
      auto place = inLifData ? inLifData->tcamShareQualInfoNoCheck(type) : std::nullopt;
      if (!place) {
         SHOAL_TRACE_SPLIT(
             7, (" Invalid request found: ", " key: ", type, std::hex, " value: ", value),
             (" Invalid request found: ", " key: ", type, " value: ", value));
         continue;
      }
      uint16_t offset = place->offset();
      auto mask = static_cast<uint16_t>(place->mask());
      word &= ~shifted(mask, offset);
      // The value is not masked: whoever requests it has to keep it within the field.
      word |= shifted(value, offset);
      if (SHOAL_TRACE_ON(7)) [[unlikely]] {
         auto [data0, data1, eei] = attributesOf(word);
         SHOAL_TRACE_SPLIT(7,
                           (" key: ", type, std::hex, " value:", value, " data0:", data0,
                            " data1:", data1, " eei:", eei, " offset:", offset, " mask:", mask),
                           (" key: ", type, " value:", value, " data0:", data0, " data1:", data1,
                            " eei:", eei, " offset:", offset, " mask:", mask));
      }
   }
   return attributesOf(word);
}

} // namespace Hardware::ShoalTunnel

// The feature word of an interface: its features as 64 bits for the hardware.
#pragma once

#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"

namespace Hardware::ShoalTunnel {

//    bits 0-15 data0   16-31 data1   32-63 eei
struct InLifFeatureAttributes {
   uint16_t data0 = 0;
   uint16_t data1 = 0;
   uint32_t eei = 0;

   ORV_VALUE(InLifFeatureAttributes, "Hardware::ShoalTunnel::InLifFeatureAttributes", data0, data1,
             eei)
};

// The word of an aggregate. The layout of the aggregate's TCAM (ShoalTcam::TcamDbStatusInterface)
// gives each feature its field; features without a field are left out. Values are not masked to
// their field: a value that is too wide sets bits above it.
TCAM_SHARING_EXPORT InLifFeatureAttributes
getInLifFeatureAttr(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr);

} // namespace Hardware::ShoalTunnel

// Features as hardware reads them: one 64-bit word per interface.
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

// The word of an aggregate's features, each at the place that the layout of the aggregate's TCAM
// (ShoalTcam::TcamDbStatusInterface) gives it now; features without a place are left out. Values
// are not cut to their field: what is asked for must fit.
TCAM_SHARING_EXPORT InLifFeatureAttributes
getInLifFeatureAttr(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr);

} // namespace Hardware::ShoalTunnel

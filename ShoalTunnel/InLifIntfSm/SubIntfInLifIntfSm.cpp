#include "ShoalTunnel/InLifIntfSm/SubIntfInLifIntfSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

#include <string_view>

namespace Hardware::ShoalTunnel {

SubIntfInLifIntfSm::SubIntfInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                                       Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                                       Orv::Ptr<Shoal::Status const> shoalStatus,
                                       Orv::Ptr<SubIntfLifFeatureConfig> subIntfLifFeatureCfg)
    : BaseInLifIntfSm(std::move(inLifIntfCfg), std::move(inLifIntfStatus), std::move(shoalStatus)),
      subIntfLifFeatureCfg_(ORV_NOT_NULL(subIntfLifFeatureCfg)) {}

void SubIntfInLifIntfSm::doHandleRequest(InLifIntfKey const& key, bool isAdd) {
   SHOAL_TRACE(8, "SubIntfInLifIntfSm::", __func__, std::string_view(isAdd ? " add " : " del "),
               key);
   if (!Plexus::SubIntfId::isSubIntfId(key.intfId())) {
      SHOAL_TRACE(7, "SubIntfInLifIntfSm::", "  We only care about subinterfaces");
      return;
   }
   doUpdateSubIntfLifFeatureCfg(key, isAdd);
   doUpdateResponse(key);
}

void SubIntfInLifIntfSm::doUpdateSubIntfLifFeatureCfg(InLifIntfKey const& lifIntfKey, bool isAdd) {
   SHOAL_TRACE_BLIP(8, "SubIntfInLifIntfSm::", __func__,
                    std::string_view(isAdd ? " add " : " del "), lifIntfKey);
   if (!isAdd) {
      subIntfLifFeatureCfg_->lifFeatureAttrDel(lifIntfKey);
      return;
   }
   ORV_ASSERT(inLifIntfCfg()->requestHas(lifIntfKey), "inLifIntfCfg()->requestHas( lifIntfKey )");
   subIntfLifFeatureCfg_->lifFeatureAttrIs(
       lifIntfKey, getInLifFeatureAttr(inLifIntfCfg()->request(lifIntfKey)));
}

} // namespace Hardware::ShoalTunnel

// In-LIF features of sub-interfaces: one feature word per key.
//
// Writes SubIntfLifFeatureConfig. Keys of other interface kinds are ignored and not answered. Every
// version of the aggregate writes the whole word. Event thread only.
#pragma once

#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/SubIntfLifFeatureConfig.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT SubIntfInLifIntfSm : public BaseInLifIntfSm {
 public:
   SubIntfInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                      Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                      Orv::Ptr<Shoal::Status const> shoalStatus,
                      Orv::Ptr<SubIntfLifFeatureConfig> subIntfLifFeatureCfg);

   void doHandleRequest(InLifIntfKey const& key, bool isAdd) override;
   // Writes or deletes the word of the key. Adding a key without an aggregate is an invariant
   // failure.
   void doUpdateSubIntfLifFeatureCfg(InLifIntfKey const& lifIntfKey, bool isAdd);

 private:
   Orv::Ptr<SubIntfLifFeatureConfig> subIntfLifFeatureCfg_;
};

template<class... Args>
Orv::Ptr<SubIntfInLifIntfSm> subIntfInLifIntfSmFactory(Args&&... args) {
   return Orv::make<SubIntfInLifIntfSm>(std::forward<Args>(args)...);
}
template<class... Args>
Orv::Ptr<SubIntfInLifIntfSm> SubIntfInLifIntfSmIs(Args&&... args) {
   return subIntfInLifIntfSmFactory(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

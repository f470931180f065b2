#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestInputDirSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

namespace {
Orv::Ptr<InLifFeatureRequestDir const> requestDirOf(Orv::Ptr<Orv::Entity> const& entry) {
   return dynamic_cast<InLifFeatureRequestDir const*>(entry.get());
}
} // namespace

InLifFeatureRequestInputDirSm::InLifFeatureRequestInputDirSm(Orv::Ptr<Orv::Dir const> inputDir,
                                                             Orv::Ptr<InLifIntfConfig> inLifIntfCfg)
    : inputDir_(std::move(inputDir)), inLifIntfCfg_(ORV_NOT_NULL(inLifIntfCfg)),
      orvInputDir_(this) {
   if (inputDir_) {
      inputDir_->entryCollection().watch(orvInputDir_);
   }
   handleAllInput();
}

void InLifFeatureRequestInputDirSm::handleInput(Orv::Name const& name) {
   SHOAL_TRACE(8, "InLifFeatureRequestInputSm::", __func__, "( ", name, " )");
   auto entry = inputDir_ ? inputDir_->entry(name) : nullptr;
   if (!entry) {
      SHOAL_TRACE(7, "Deleteing sm for: ", name);
      inLifFeatureRequestAggSmDel(name);
   } else if (auto requestDir = requestDirOf(entry)) {
      SHOAL_TRACE(7, "Starting sm for: ", name);
      inLifFeatureRequestAggSmIs(
          name, Orv::make<InLifFeatureRequestAggSm>(std::move(requestDir), inLifIntfCfg_));
   }
   // An entry of another type leaves the machine of the directory that it replaced running.
}

void InLifFeatureRequestInputDirSm::handleAllInput() {
   SHOAL_TRACE(8, "InLifFeatureRequestInputSm::", __func__, "()");
   if (inputDir_) {
      for (auto const& [name, entry] : inputDir_->entryIter()) {
         if (requestDirOf(entry)) {
            handleInput(name);
         }
      }
   }
}

} // namespace Hardware::ShoalTunnel

#include "ShoalTunnel/TcamSharing/TcamSharingBaseSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSelector.h"

namespace Hardware::ShoalTunnel {

TcamSharingBaseSm::TcamSharingBaseSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                                     Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                                     Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                                     Orv::Ptr<TcamSharingHelper> tcamSharingHelper)
    : shoalStatus_(std::move(shoalStatus)), tcamSharingConfig_(std::move(tcamSharingConfig)),
      tcamSharingStatus_(std::move(tcamSharingStatus)),
      tcamSharingHelper_(std::move(tcamSharingHelper)) {
   if (tcamSharingConfig_) {
      orvTcamSharingConfig_ = std::make_unique<OrvTcamSharingConfig>(this);
      tcamSharingConfig_->requestCollection().watch(*orvTcamSharingConfig_);
   }
   TcamSharingBaseSm::handleInitialized();
}

TcamSharingBaseSm::~TcamSharingBaseSm() = default;

void TcamSharingBaseSm::handleTcamSharingConfig(TcamSharingRequest const&) {
   throwNotImplemented("virtual void Hardware::ShoalTunnel::TcamSharingBaseSm::"
                       "handleTcamSharingConfig(const Hardware::ShoalTunnel::TcamSharingRequest&)");
}

void TcamSharingBaseSm::handleInitialized() {
   SHOAL_TRACE(8, "TcamSharingBaseSm::handleInitialized");
   ORV_ASSERT(!initialized_, "!initialized()");
   initialized_ = true;
}

void TcamSharingBaseSm::doHandleAllRequests() {
   if (tcamSharingConfig_) {
      for (auto const& [request, policyId] : tcamSharingConfig_->requestIter()) {
         handleTcamSharingConfig(request);
      }
   }
}

void TcamSharingBaseSm::orvDoZombieReactors(bool zombie) {
   if (orvTcamSharingConfig_ == nullptr) {
      return;
   }
   if (zombie) {
      orvTcamSharingConfig_->remove();
   } else if (!orvTcamSharingConfig_->registered()) {
      tcamSharingConfig_->requestCollection().watch(*orvTcamSharingConfig_);
   }
}

} // namespace Hardware::ShoalTunnel

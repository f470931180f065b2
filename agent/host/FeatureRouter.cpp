#include "agent/host/FeatureRouter.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

struct FeatureRouter::Road {
   Road(FeatureRouter* owner, Feature of)
       : router(owner), feature(of), config(this), isemStatus(this), inLifStatus(this) {
      router->tables_.config(feature)->requestCollection().watch(config);
      router->isem_.features.status(feature)->responseCollection().watch(isemStatus);
      router->inLif_.features.status(feature)->responseCollection().watch(inLifStatus);
   }
   void handleConfig(TcamSharingRequest const& request) { router->handleConfig(feature, request); }
   void handleStatus(TcamSharingRequest const& request) { router->handleStatus(feature, request); }

   FeatureRouter* router;
   Feature feature;
   Orv::ReactorFor<&Road::handleConfig> config;
   Orv::ReactorFor<&Road::handleStatus> isemStatus;
   Orv::ReactorFor<&Road::handleStatus> inLifStatus;
};

FeatureRouter::FeatureRouter(World& world, IsemPipeline& isem, InLifPipeline& inLif)
    : world_(world), isem_(isem), inLif_(inLif), tables_(world, "features"), orvFapType_(this) {
   for (std::size_t i = 0; i < kFeatures; ++i) {
      roads_.push_back(std::make_unique<Road>(this, static_cast<Feature>(i)));
   }
   world_.shoalStatus->fapTypeCollection().watch(orvFapType_);
}

FeatureRouter::~FeatureRouter() = default;

SharingPipeline& FeatureRouter::pipelineOf(FapId unit) const {
   if (world_.shoalStatus->fapType(unit) == Hardware::Shoal::fapTypeArad) {
      return isem_;
   }
   return inLif_;
}

void FeatureRouter::handleConfig(Feature feature, TcamSharingRequest const& request) {
   auto const& config = pipelineOf(request.fapId()).features.config(feature);
   if (tables_.config(feature)->requestHas(request)) {
      config->requestIs(request, tables_.config(feature)->request(request));
   } else {
      config->requestDel(request);
   }
}

void FeatureRouter::handleStatus(Feature feature, TcamSharingRequest const& request) {
   // Only the pipeline that serves the unit now speaks for it.
   TcamSharingResponse response =
       pipelineOf(request.fapId()).features.status(feature)->response(request);
   if (response == TcamSharingResponse()) {
      tables_.status(feature)->responseDel(request);
   } else {
      tables_.status(feature)->responseIs(request, response);
   }
}

void FeatureRouter::handleFapType(FapId const& unit) {
   for (SharingPipeline* pipeline :
        {static_cast<SharingPipeline*>(&isem_), static_cast<SharingPipeline*>(&inLif_)}) {
      for (std::size_t i = 0; i < kFeatures; ++i) {
         auto feature = static_cast<Feature>(i);
         for (auto const& [request, response] :
              pipeline->features.status(feature)->responseIter()) {
            if (request.fapId() == unit) {
               handleStatus(feature, request);
            }
         }
      }
   }
}

} // namespace Agent

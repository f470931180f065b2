#include "host/pipelines/SharingRouter.h"

#include "platform/Orv/GroupIndex.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

struct SharingRouter::Path {
   Path(SharingRouter* owner, Requester of)
       : router(owner), requester(of), byIntf(owner->tables_.config(of)->requestCollection()),
         config(this), isemStatus(this), mapperStatus(this) {
      router->tables_.config(requester)->requestCollection().watch(config);
      router->isem_.sharing.status(requester)->responseCollection().watch(isemStatus);
      router->mapper_.sharing.status(requester)->responseCollection().watch(mapperStatus);
   }
   void handleConfig(TcamSharingRequest const& request) {
      router->handleConfig(requester, request);
   }
   void handleStatus(TcamSharingRequest const& request) {
      router->handleStatus(requester, request);
   }

   SharingRouter* router;
   Requester requester;
   using Requests =
       std::remove_cvref_t<decltype(std::declval<TcamSharingConfig>().requestCollection())>;
   Orv::GroupIndex<TcamSharingRequest, Requests, &TcamSharingRequest::intfId> byIntf;
   Orv::ReactorFor<&Path::handleConfig> config;
   Orv::ReactorFor<&Path::handleStatus> isemStatus;
   Orv::ReactorFor<&Path::handleStatus> mapperStatus;
};

SharingRouter::SharingRouter(World& world, IsemPipeline& isem, MapperPipeline& mapper)
    : world_(world), isem_(isem), mapper_(mapper), tables_(world, "requesters"), orvFapType_(this) {
   for (Requester requester : requesters) {
      paths_.push_back(std::make_unique<Path>(this, requester));
   }
   world_.shoalStatus->fapTypeCollection().watch(orvFapType_);
}

SharingRouter::~SharingRouter() = default;

SharingPipeline& SharingRouter::pipelineOf(FapId unit) const {
   if (world_.shoalStatus->fapType(unit) == Hardware::Shoal::fapTypeArad) {
      return isem_;
   }
   return mapper_;
}

void SharingRouter::heldIs(Requester requester, TcamSharingRequest request, bool held) {
   auto& all = held_[static_cast<std::size_t>(requester)];
   if (held) {
      all.set(request, true);
      pipelineOf(request.fapId()).sharing.config(requester)->requestDel(request);
   } else if (all.get(request)) {
      all.del(request);
      handleConfig(requester, request);
   }
}

std::vector<TcamSharingRequest> SharingRouter::asked(Requester requester, IntfId intf) const {
   return paths_[static_cast<std::size_t>(requester)]->byIntf.members(intf);
}

void SharingRouter::handleConfig(Requester requester, TcamSharingRequest const& request) {
   if (held(requester, request)) {
      return;
   }
   auto const& config = pipelineOf(request.fapId()).sharing.config(requester);
   if (tables_.config(requester)->requestHas(request)) {
      config->requestIs(request, tables_.config(requester)->request(request));
   } else {
      config->requestDel(request);
   }
}

void SharingRouter::handleStatus(Requester requester, TcamSharingRequest const& request) {
   // Only the pipeline that serves the unit now speaks for it.
   TcamSharingResponse response =
       pipelineOf(request.fapId()).sharing.status(requester)->response(request);
   if (response == TcamSharingResponse()) {
      tables_.status(requester)->responseDel(request);
   } else {
      tables_.status(requester)->responseIs(request, response);
   }
}

void SharingRouter::handleFapType(FapId const& unit) {
   for (SharingPipeline* pipeline :
        {static_cast<SharingPipeline*>(&isem_), static_cast<SharingPipeline*>(&mapper_)}) {
      for (Requester requester : requesters) {
         for (auto const& [request, response] :
              pipeline->sharing.status(requester)->responseIter()) {
            if (request.fapId() == unit) {
               handleStatus(requester, request);
            }
         }
      }
   }
}

} // namespace ShoalHost

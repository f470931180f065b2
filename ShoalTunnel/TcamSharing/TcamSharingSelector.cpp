#include "ShoalTunnel/TcamSharing/TcamSharingSelector.h"

#include "platform/Orv/Exception.h"

#include <string>

namespace Hardware::ShoalTunnel {

namespace {
void prefetchIn(Orv::Ptr<TcamSharingConfig> const& table, TcamSharingRequest const& request) {
   if (table) {
      table->requestCollection().prefetch(request);
   }
}
} // namespace

void throwNotImplemented(char const* signature) {
   throw Orv::NoImplementationException(std::string(signature) +
                                        " must be implemented in the derived class");
}

void TcamSharingSelector::addRequest(TcamSharingRequest const&, TcamSharingPolicyId const&) {
   throwNotImplemented("virtual void Hardware::ShoalTunnel::TcamSharingSelector::addRequest("
                       "const Hardware::ShoalTunnel::TcamSharingRequest&, "
                       "const Hardware::ShoalTunnel::TcamSharingPolicyId&)");
}

void TcamSharingSelector::delRequest(TcamSharingRequest const&) {
   throwNotImplemented("virtual void Hardware::ShoalTunnel::TcamSharingSelector::delRequest("
                       "const Hardware::ShoalTunnel::TcamSharingRequest&)");
}

TcamSharingPolicyId TcamSharingSelector::getRequest(TcamSharingRequest const&) {
   throwNotImplemented("virtual Hardware::ShoalTunnel::TcamSharingPolicyId "
                       "Hardware::ShoalTunnel::TcamSharingSelector::getRequest("
                       "const Hardware::ShoalTunnel::TcamSharingRequest&)");
}

TcamSharingSemSelector::TcamSharingSemSelector(Orv::Ptr<TcamSharingConfig> tcamSharingSemConfigOut)
    : tcamSharingSemConfigOut_(std::move(tcamSharingSemConfigOut)) {}

void TcamSharingSemSelector::addRequest(TcamSharingRequest const& request,
                                        TcamSharingPolicyId const& policyId) {
   tcamSharingSemConfigOut_->requestIs(request, policyId);
}

void TcamSharingSemSelector::delRequest(TcamSharingRequest const& request) {
   tcamSharingSemConfigOut_->requestDel(request);
}

TcamSharingPolicyId TcamSharingSemSelector::getRequest(TcamSharingRequest const& request) {
   return tcamSharingSemConfigOut_ ? tcamSharingSemConfigOut_->request(request)
                                   : TcamSharingPolicyId();
}

void TcamSharingSemSelector::prefetch(TcamSharingRequest const& request) const {
   prefetchIn(tcamSharingSemConfigOut_, request);
}

TcamSharingInLifSelector::TcamSharingInLifSelector(
    Orv::Ptr<TcamSharingConfig> tcamSharingTagConfigOut,
    Orv::Ptr<TcamSharingConfig> tcamSharingTunnelConfigOut)
    : tcamSharingTagConfigOut_(std::move(tcamSharingTagConfigOut)),
      tcamSharingTunnelConfigOut_(std::move(tcamSharingTunnelConfigOut)) {}

Orv::Ptr<TcamSharingConfig> const&
TcamSharingInLifSelector::tableFor(TcamSharingRequest const& request) const {
   return Plexus::TunnelIntfId::isTunnelIntfId(request.intfId()) ? tcamSharingTunnelConfigOut_
                                                                 : tcamSharingTagConfigOut_;
}

void TcamSharingInLifSelector::addRequest(TcamSharingRequest const& request,
                                          TcamSharingPolicyId const& policyId) {
   tableFor(request)->requestIs(request, policyId);
}

void TcamSharingInLifSelector::delRequest(TcamSharingRequest const& request) {
   tableFor(request)->requestDel(request);
}

TcamSharingPolicyId TcamSharingInLifSelector::getRequest(TcamSharingRequest const& request) {
   auto const& table = tableFor(request);
   return table ? table->request(request) : TcamSharingPolicyId();
}

// In both tables: the kind of the interface is not in the caches yet.
void TcamSharingInLifSelector::prefetch(TcamSharingRequest const& request) const {
   prefetchIn(tcamSharingTagConfigOut_, request);
   prefetchIn(tcamSharingTunnelConfigOut_, request);
}

} // namespace Hardware::ShoalTunnel

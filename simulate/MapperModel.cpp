#include "simulate/MapperModel.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

constexpr uint32_t mapperSuccess = 9;

} // namespace

MapperModel::MapperModel(Context& context) : SharingModel(context) {
   for (auto const& [key, result] : world().vtagToVsiConfig->configIter()) {
      data_[key] = result.inLifAdditionalData;
   }
}

void MapperModel::restart(bool tunnels) {
   for (TcamSharingRequest request : inOrder()) {
      if (isTunnel(request) == tunnels) {
         program(request, handedOver(request));
      }
   }
}

std::vector<TcamSharingRequest> MapperModel::programmed(IntfId intf) const {
   std::vector<TcamSharingRequest> requests;
   for (auto const& [request, keys] : confirmed_) {
      if (request.intfId() == intf) {
         requests.push_back(request);
      }
   }
   return requests;
}

void MapperModel::entryChanged(VlanTagToVsiMapperKey key) {
   if (!world().vtagToVsiConfig->configHas(key)) {
      data_.erase(key);
   } else if (!data_.contains(key)) {
      data_[key] = 0; // a fresh entry carries nothing
   }
}

void MapperModel::program(TcamSharingRequest request, TcamSharingPolicyId policy) {
   if (isTunnel(request)) {
      programTunnel(request, policy);
      return;
   }
   if (world().shoalStatus->fapType(request.fapId()) == Hardware::Shoal::fapTypeArad) {
      context().failuresDue.emplace(
          "shoalStatus()->fapType( request.fapId() ) != Hardware::Shoal::fapTypeArad()");
   }
   if (policy.empty()) {
      confirmed_.erase(request);
      answer(request, std::nullopt);
   }
   TcamSharingEntry entry(request, policy);
   if (!facts().resolves(request)) {
      if (policy.empty()) {
         hit("mapper: withdrawn while it does not resolve"_met);
         return;
      }
      hit("mapper: waits"_met);
      retry(request, policy);
      answer(request, TcamSharingResponse{tcamSharingInProgress, policy});
      return;
   }
   auto const& fields = request.intfId().fields();
   if (!fields.subIntf) {
      hit("mapper: no sub-interface"_met);
   } else if (fields.kind == Plexus::IntfKind::portChannel) {
      // A walk that stops at a member without an entry.
      for (IntfId port : facts().membersOn(request)) {
         if (!programMember(entry, port, false)) {
            hit("mapper: member without an entry"_met);
            return;
         }
      }
   } else if (!programMember(entry, IntfId::fromIndex(fields.parentIndex), true)) {
      hit("mapper: port without an entry"_met);
   }
}

bool MapperModel::programMember(TcamSharingEntry const& entry, IntfId port, bool countFromZero) {
   VlanTagToVsiMapperKey key = facts().mapperKey(entry.request(), port);
   auto found = data_.find(key);
   if (found == data_.end()) {
      if (!entry.policyId().empty()) {
         retry(entry.request(), entry.policyId());
      }
      awaited_.erase(entry);
      return false;
   }
   uint64_t data = Facts::lowBits(entry.policyId());
   if (found->second == data) {
      hit(data != 0 ? "mapper: stands already"_met : "mapper: carries nothing already"_met);
      if (data != 0) {
         answer(entry.request(), TcamSharingResponse{tcamSharingSuccess, entry.policyId()});
      }
      return true;
   }
   if (pending_.contains(key)) {
      hit("mapper: written again before its answer"_met);
   }
   hit(data == 0 ? "mapper: cleared"_met : "mapper: written"_met);
   data_[key] = data;
   pending_[key] = entry;
   awaited_[entry] = countFromZero ? 1 : awaited_[entry] + 1;
   return true;
}

void MapperModel::countDown(TcamSharingEntry const& entry) {
   if (awaited_.contains(entry) && --awaited_[entry] == 0) {
      awaited_.erase(entry);
   }
}

void MapperModel::answered(VlanTagToVsiMapperKey key, VlanTagToVsiMapperStatusType const& status) {
   auto waiting = pending_.find(key);
   if (waiting == pending_.end()) {
      hit("mapper: answer for nobody"_met);
      return;
   }
   TcamSharingEntry entry = waiting->second;
   auto configured = data_.find(key);
   if (status.inLifAdditionalData != (configured == data_.end() ? 0 : configured->second)) {
      hit("mapper: older answer"_met); // it counts all the same
      countDown(entry);
      return;
   }
   // The first failure of the members stands.
   auto error = static_cast<uint32_t>(status.errorType);
   uint32_t& merged = errors_[entry];
   if (merged == 0 || error != mapperSuccess) {
      merged = error;
   }
   confirmed_[entry.request()].insert(key);
   if (handedOver(entry.request()).empty()) {
      hit("mapper: confirmed after the withdrawal"_met);
   }
   countDown(entry);
   if (awaited_.contains(entry)) {
      hit("mapper: other members are awaited"_met);
   } else {
      finish(entry, status.inLifAdditionalData);
   }
   pending_.erase(key);
}

void MapperModel::finish(TcamSharingEntry const& entry, uint64_t data) {
   bool success = errors_[entry] == mapperSuccess;
   errors_.erase(entry);
   if (!success || data == 0) {
      confirmed_.erase(entry.request());
   }
   if (success && data == 0) {
      hit("mapper: clearing answered"_met);
      answer(entry.request(), std::nullopt);
      return;
   }
   hit(success ? "mapper: answered"_met : "mapper: refused"_met);
   if (entry.policyId() != handedOver(entry.request())) {
      hit("mapper: answered for an older policy"_met);
   }
   answer(entry.request(),
          TcamSharingResponse{success ? tcamSharingSuccess : tcamSharingFailed, entry.policyId()});
}

void MapperModel::programTunnel(TcamSharingRequest request, TcamSharingPolicyId policy) {
   TunnelPolicyMapperKey key(request.intfId(), request.fapId());
   TcamSharingEntry entry(request, policy);
   auto configured = tunnels_.find(key);
   if (!policy.empty()) {
      uint64_t data = Facts::lowBits(policy);
      hit(data == 0 ? "tunnel: written without data"_met : "tunnel: written"_met);
      if (configured != tunnels_.end() && configured->second == data) {
         hit("tunnel: the same data, not written again"_met);
      }
      pendingTunnels_[key] = entry;
      tunnels_[key] = data;
   } else if (configured != tunnels_.end() && configured->second != 0) {
      hit("tunnel: removed"_met);
      pendingTunnels_[key] = entry;
      tunnels_.erase(key);
   } else {
      hit("tunnel: removed without an entry"_met);
      answer(request, std::nullopt);
   }
}

void MapperModel::answered(TunnelPolicyMapperKey key, TunnelPolicyMapperStatusType const& status) {
   auto waiting = pendingTunnels_.find(key);
   if (waiting == pendingTunnels_.end()) {
      hit("tunnel: answer for nobody"_met);
      return;
   }
   TcamSharingEntry entry = waiting->second;
   if (status.statusCode == 0 && status.inLifAdditionalData == 0) {
      hit(entry.policyId().empty() ? "tunnel: removal answered"_met
                                   : "tunnel: stale removal answered"_met);
      if (entry.policyId().empty()) {
         answer(entry.request(), std::nullopt);
         pendingTunnels_.erase(waiting);
      }
   } else if (status.inLifAdditionalData != Facts::lowBits(entry.policyId())) {
      hit("tunnel: older answer"_met);
   } else {
      auto outcome = status.statusCode == 2   ? tcamSharingSuccess
                     : status.statusCode == 3 ? tcamSharingInProgress
                                              : tcamSharingFailed;
      hit(outcome == tcamSharingSuccess      ? "tunnel: answered"_met
          : outcome == tcamSharingInProgress ? "tunnel: in progress"_met
                                             : "tunnel: refused"_met);
      answer(entry.request(), TcamSharingResponse{outcome, entry.policyId()});
   }
}

} // namespace Simulate

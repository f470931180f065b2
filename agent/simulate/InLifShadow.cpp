#include "agent/simulate/InLifShadow.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

constexpr uint32_t mapperSuccess = 9;

} // namespace

MapperShadow::MapperShadow(Host const& host, Facts const& facts, Answers& answers, Probes& probes)
    : pipeline_(host.mapper()), chip_(host.chip().mapper()), facts_(facts), answers_(answers),
      probes_(probes) {
   for (auto const& [key, result] : pipeline_.mapperConfig->configIter()) {
      data_[key] = result.inLifAdditionalData;
   }
}

void MapperShadow::handleGone() {
   for (auto const& [request, policy] : pipeline_.tagOutput->requestIter()) {
      handleOutput(request);
   }
}

void MapperShadow::handleConfig(VlanTagToVsiMapperKey key) {
   if (!pipeline_.mapperConfig->configHas(key)) {
      data_.erase(key);
      lastWriter_.erase(key);
      left_.erase(key);
   } else {
      // What the machine writes is expected already; a fresh entry carries nothing.
      data_.try_emplace(key, 0);
   }
}

void MapperShadow::handleOutput(TcamSharingRequest request) {
   if (pipeline_.common->notARealDelete()) {
      return;
   }
   if (facts_.world().shoalStatus->fapType(request.fapId()) == Hardware::Shoal::fapTypeArad) {
      probes_.stopIsDue(
          "shoalStatus()->fapType( request.fapId() ) != Hardware::Shoal::fapTypeArad()");
   }
   TcamSharingPolicyId policy = pipeline_.tagOutput->request(request);
   late_.erase(request);
   displaced_.erase(request);
   robbed_.erase(request);
   older_.erase(request);
   if (policy.empty()) {
      confirmed_.erase(request);
      answers_.responses.erase(request);
   }
   TcamSharingEntry entry(request, policy);
   waiting_.erase(request);
   handedOver_.erase(request);
   for (VlanTagToVsiMapperKey key : entriesOf(request)) {
      handedOver_[request][key] = data_.contains(key);
   }
   // What it wrote elsewhere, or cannot find any more, nobody clears.
   for (auto const& [key, writer] : lastWriter_) {
      if (writer == request && data_.at(key) != 0 &&
          (!handedOver_.contains(request) || !handedOver_.at(request).contains(key))) {
         left_.insert(key);
      }
   }
   if (policy.empty()) {
      handedOver_.erase(request);
   }
   if (!facts_.resolves(request)) {
      if (policy.empty()) {
         probes_.hit("mapper: withdrawn while it does not resolve");
         return;
      }
      probes_.hit("mapper: waits");
      waiting_.insert(request);
      answers_.retries[entry] = true;
      answers_.responses[request] = {tcamSharingInProgress, policy};
      return;
   }
   auto const& fields = request.intfId().fields();
   auto parent = IntfId::fromIndex(fields.parentIndex);
   if (!fields.subIntf) {
      probes_.hit("mapper: no sub-interface");
   } else if (fields.kind == Plexus::IntfKind::portChannel) {
      programPortChannel(entry, parent);
   } else if (!programMember(entry, parent, true)) {
      probes_.hit("mapper: port without an entry");
   }
}

void MapperShadow::programPortChannel(TcamSharingEntry const& entry, IntfId lag) {
   auto const& world = facts_.world();
   auto onUnit = world.vlanTagToVsiMapperSm->vlanDomainManager()->vlanDomainPerLagFap(
       {lag, Hardware::Shoal::fapLocalCoreIdToSystemTcamId(world.shoalStatus, entry.fapId(), 0)});
   for (auto const& [port, present] : onUnit->memberPortIter()) {
      if (!programMember(entry, world.scsd->portMapToIntf({entry.fapId(), port}), false)) {
         probes_.hit("mapper: member without an entry");
         return;
      }
   }
}

bool MapperShadow::programMember(TcamSharingEntry const& entry, IntfId port, bool countFromZero) {
   VlanTagToVsiMapperKey key = facts_.mapperKey(entry.request(), port);
   auto found = data_.find(key);
   if (found == data_.end()) {
      if (!entry.policyId().empty()) {
         waiting_.insert(entry.request());
         answers_.retries[entry] = true;
      }
      awaited_.erase(entry);
      return false;
   }
   uint64_t wanted = Facts::lowBits(entry.policyId());
   if (found->second == wanted) {
      if (wanted != 0) {
         probes_.hit("mapper: stands already");
         answers_.responses[entry.request()] = {tcamSharingSuccess, entry.policyId()};
      } else {
         probes_.hit("mapper: carries nothing already");
      }
      return true;
   }
   if (found->second == 0 && !pending_.contains(key) && !chip_.isUnanswered(key)) {
      calm_.is(key);
   }
   if (auto before = pending_.find(key); before != pending_.end()) {
      probes_.hit("mapper: written again before its answer");
      if (before->second.request() != entry.request()) {
         displaced_.insert(before->second.request());
      }
   }
   probes_.hit(wanted == 0 ? "mapper: cleared" : "mapper: written");
   found->second = wanted;
   lastWriter_[key] = entry.request();
   left_.erase(key);
   pending_[key] = entry;
   awaited_[entry] = countFromZero ? 1 : awaited_[entry] + 1;
   return true;
}

void MapperShadow::countDown(TcamSharingEntry const& entry) {
   auto count = awaited_.find(entry);
   if (count != awaited_.end() && count->second != 0 && --count->second == 0) {
      awaited_.erase(count);
   }
}

void MapperShadow::handleStatus(VlanTagToVsiMapperKey key) {
   auto waiting = pending_.find(key);
   if (waiting == pending_.end()) {
      probes_.hit("mapper: answer for nobody");
      return;
   }
   TcamSharingEntry entry = waiting->second;
   auto status = pipeline_.mapperStatus->status(key);
   auto configured = data_.find(key);
   uint64_t wanted = configured == data_.end() ? 0 : configured->second;
   if (status.inLifAdditionalData != wanted) {
      probes_.hit("mapper: older answer");
      countDown(entry);
      return;
   }
   auto error = static_cast<uint32_t>(status.errorType);
   uint32_t& merged = errors_[entry];
   if (merged == 0 || error != mapperSuccess) {
      merged = error;
   }
   confirmed_[entry.request()].insert(key);
   if (!pipeline_.tagOutput->requestHas(entry.request())) {
      probes_.hit("mapper: confirmed after the withdrawal");
      late_.insert(entry.request());
   }
   countDown(entry);
   if (!awaited_.contains(entry)) {
      answer(entry, status.inLifAdditionalData);
   } else {
      probes_.hit("mapper: other members are awaited");
   }
   pending_.erase(key);
}

void MapperShadow::answer(TcamSharingEntry const& entry, uint64_t data) {
   bool success = errors_[entry] == mapperSuccess;
   errors_.erase(entry);
   if (!success || data == 0) {
      confirmed_.erase(entry.request());
   }
   if (success && data == 0) {
      probes_.hit("mapper: clearing answered");
      if (!entry.policyId().empty()) {
         // Of an entry that is gone since: an older one's, out of order.
         robbed_.insert(entry.request());
      }
      answers_.responses.erase(entry.request());
      return;
   }
   probes_.hit(success ? "mapper: answered" : "mapper: refused");
   if (entry.policyId() == pipeline_.tagOutput->request(entry.request())) {
      older_.erase(entry.request());
   } else {
      probes_.hit("mapper: answered for an older policy");
      older_.insert(entry.request());
   }
   answers_.responses[entry.request()] = {success ? tcamSharingSuccess : tcamSharingFailed,
                                          entry.policyId()};
}

void MapperShadow::compare(Findings& findings) const {
   auto const& common = *pipeline_.common;
   for (auto const& [key, result] : pipeline_.mapperConfig->configIter()) {
      auto expected = data_.find(key);
      if (expected == data_.end() || expected->second != result.inLifAdditionalData) {
         findings.add("mapper entries", key, " is ", result, " and should carry ",
                      expected == data_.end() ? 0 : expected->second);
      }
   }
   findings.compare("unanswered mapper writes", pending_, common.pendingLifEntriesCollection());
   findings.compare("answers awaited", awaited_, common.tcamSharingEntryRefCountCollection());
   std::map<TcamSharingEntry, VlanTagToVsiMapperErrorType> errors;
   for (auto const& [entry, error] : errors_) {
      errors[entry] = VlanTagToVsiMapperErrorType(error);
   }
   for (auto const& [entry, error] : errors) {
      if (common.vtagToVsiStatusErrorType(entry) != error) {
         findings.add("errors of members", entry, " is not ", static_cast<uint32_t>(error));
      }
   }
   if (common.vtagToVsiStatusErrorTypes() != errors.size()) {
      findings.add("errors of members", common.vtagToVsiStatusErrorTypes(), " entries; ",
                   errors.size(), " should be");
   }
   for (auto const& [request, expected] : confirmed_) {
      std::set<VlanTagToVsiMapperKey> keys;
      if (auto mapping = common.tcamRequestToVlanTagToVsiKeyMapping(request)) {
         for (auto const& [key, present] : mapping->vtagToVsiMapperKeyIter()) {
            keys.insert(key);
         }
      }
      if (keys != expected) {
         findings.add("confirmed mapper entries", request, " has ", keys.size(),
                      " and should have ", expected.size(), " or others");
      }
   }
   if (common.tcamRequestToVlanTagToVsiKeyMappings() != confirmed_.size()) {
      findings.add("confirmed mapper entries", common.tcamRequestToVlanTagToVsiKeyMappings(),
                   " requests have some; ", confirmed_.size(), " should");
   }
}

void TunnelShadow::handleGone() {
   for (auto const& [request, policy] : pipeline_.tunnelOutput->requestIter()) {
      handleOutput(request);
   }
}

void TunnelShadow::handleOutput(TcamSharingRequest request) {
   if (pipeline_.common->notARealDelete()) {
      return;
   }
   TcamSharingPolicyId policy = pipeline_.tunnelOutput->request(request);
   TunnelPolicyMapperKey key(request.intfId(), request.fapId());
   TcamSharingEntry entry(request, policy);
   auto configured = config_.find(key);
   bool carries = configured != config_.end() && configured->second.inLifAdditionalData != 0;
   if (!config_.contains(key) && !pending_.contains(key) && !chip_.isUnanswered(key) &&
       !pipeline_.tunnelStatus->statusHas(key)) {
      calm_.is(key);
   }
   if (!policy.empty()) {
      probes_.hit(Facts::lowBits(policy) == 0 ? "tunnel: written without data" : "tunnel: written");
      pending_[key] = entry;
      if (configured != config_.end() &&
          configured->second.inLifAdditionalData == Facts::lowBits(policy)) {
         probes_.hit("tunnel: the same data, not written again");
         unwritten_.insert(request);
      } else {
         unwritten_.erase(request);
      }
      config_[key] = {Facts::lowBits(policy)};
   } else if (carries) {
      probes_.hit("tunnel: removed");
      pending_[key] = entry;
      config_.erase(key);
   } else {
      probes_.hit("tunnel: removed without an entry");
      answers_.responses.erase(request);
   }
}

void TunnelShadow::handleStatus(TunnelPolicyMapperKey key) {
   auto waiting = pending_.find(key);
   if (waiting == pending_.end()) {
      probes_.hit("tunnel: answer for nobody");
      return;
   }
   TcamSharingEntry entry = waiting->second;
   auto status = pipeline_.tunnelStatus->status(key);
   bool removal = status.statusCode == 0 && status.inLifAdditionalData == 0;
   if (removal && entry.policyId().empty()) {
      probes_.hit("tunnel: removal answered");
      answers_.responses.erase(entry.request());
      pending_.erase(waiting);
   } else if (removal) {
      probes_.hit("tunnel: stale removal answered");
   } else if (status.inLifAdditionalData != Facts::lowBits(entry.policyId())) {
      probes_.hit("tunnel: older answer");
   } else {
      auto outcome = status.statusCode == 2   ? tcamSharingSuccess
                     : status.statusCode == 3 ? tcamSharingInProgress
                                              : tcamSharingFailed;
      probes_.hit(outcome == tcamSharingSuccess      ? "tunnel: answered"
                  : outcome == tcamSharingInProgress ? "tunnel: in progress"
                                                     : "tunnel: refused");
      answers_.responses[entry.request()] = {outcome, entry.policyId()};
   }
}

void TunnelShadow::compare(Findings& findings) const {
   findings.compare("tunnel entries", config_, pipeline_.tunnelConfig->configCollection());
   findings.compare("unanswered tunnel writes", pending_,
                    pipeline_.common->pendingTunnelLifEntriesCollection());
}

} // namespace Agent

#include "simulate/explanations/ExplanationCheck.h"

#include "agent/command/Registry.h"
#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"
#include "simulate/explanations/RequestTruth.h"

#include <algorithm>
#include <set>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

// The requests that problems lists.
std::set<std::string> listedProblems(AgentHost& host) {
   std::ostringstream out;
   std::vector<std::string> words{"problems", "--format", "json"};
   Command const& command = commandRegistry().take(words);
   Arguments arguments(words);
   command.run(host, arguments, out);
   std::set<std::string> listed;
   Json const problems = Json::parse(out.str());
   for (auto const& row : problems.at("rows")) {
      listed.insert(row.at("request").get<std::string>());
   }
   return listed;
}

} // namespace

void ExplanationCheck::check(Findings& findings, Extent extent) {
   bool quiet = witness_.noteQuietEvents();
   noteCapacities();
   if (extent == Extent::whole) {
      checkEvery(findings);
   } else {
      checkTouched(findings, quiet);
   }
   affected_.forget();
}

void ExplanationCheck::noteCapacities() {
   auto capacities = host_.chip().capacities();
   if (capacities == capacities_) {
      return;
   }
   for (auto const* some : {&capacities, &capacities_}) {
      for (auto const& [table, entries] : *some) {
         affected_.unitTouched(table.second);
      }
   }
   capacities_ = std::move(capacities);
}

void ExplanationCheck::checkTouched(Findings& findings, bool everyRequest) {
   if (everyRequest) {
      affected_.everyFeatureTouched();
   }
   if (affected_.leadsMoved()) {
      leads_.reset();
   }
   if (affected_.worldMoved()) {
      ports_.reset();
   }
   if (everyRequest || affected_.anyRequest()) {
      if (!leads_) {
         leads_.emplace(host_, facts_);
      }
      checkRequests(findings, everyRequest ? knownRequests(host_) : affected_.requests(*leads_),
                    nullptr);
   }
   checkFeatures(findings, affected_.features());
}

// Those that are no request's.
void ExplanationCheck::checkOtherProblems(Findings& findings,
                                          std::set<std::string> const& listed) const {
   std::set<std::string> expected;
   for (auto const& [tag, collides] : host_.vlanTags().vlanTagMap->collisionIter()) {
      expected.insert(formatTag(tag));
   }
   auto addLacking = [&](auto const& config, auto const& chip) {
      for (auto const& [key, word] : config->configIter()) {
         auto const* held = chip.held(key);
         if (held == nullptr || *held != word) {
            expected.insert("word of " + formatKey(key));
         }
      }
   };
   addLacking(host_.inLifFeatures().defaultMappingConfig, host_.chip().portWords());
   addLacking(host_.inLifFeatures().subIntfMappingConfig, host_.chip().subIntfWords());
   std::set<std::string> rows;
   for (std::string const& row : listed) {
      if (row.starts_with("VLAN tag ") || row.starts_with("word of ")) {
         rows.insert(row);
      }
   }
   if (rows != expected) {
      findings.add("problems are told", "tags and words: ", rows, " instead of ", expected);
   }
}

void ExplanationCheck::checkEvery(Findings& findings) {
   leads_.emplace(host_, facts_);
   ports_.reset();
   std::set<std::string> listed = listedProblems(host_);
   checkOtherProblems(findings, listed);
   auto requests = knownRequests(host_);
   checkRequests(findings, requests, &listed);
   // Those that nobody knows any more are not listed, and can be explained all the same.
   auto gone = affected_.requests(*leads_);
   std::erase_if(gone, [&](TcamSharingRequest request) {
      return std::find(requests.begin(), requests.end(), request) != requests.end();
   });
   checkRequests(findings, gone, nullptr);
   checkFeatures(findings, everyFeature());
}

void ExplanationCheck::checkRequests(Findings& findings,
                                     std::vector<TcamSharingRequest> const& requests,
                                     std::set<std::string> const* listed) const {
   if (requests.empty()) {
      return;
   }
   Situations situations(host_);
   for (TcamSharingRequest request : requests) {
      RequestTruth truth(host_, facts_, witness_, *leads_, request);
      ShoalHost::Situation situation = situations.of(request);
      Explanation explanation = explain(situation, host_);
      for (std::string const& untruth : truth.untruths(explanation)) {
         findings.add("explanations are true", formatRequest(request), ": ", untruth, ", in \"",
                      explanation.verdict, "\"");
      }
      bool problem =
          listed != nullptr ? listed->contains(formatRequest(request)) : !situation.sound();
      if (problem == truth.sound()) {
         findings.add("problems are told", formatRequest(request),
                      truth.sound() ? " is a row" : " is no row", ": ", explanation.verdict);
      }
   }
}

void ExplanationCheck::checkFeatures(Findings& findings,
                                     std::vector<InLifFeatureKey> const& features) {
   if (!features.empty() && !ports_) {
      ports_.emplace(host_);
   }
   for (InLifFeatureKey key : features) {
      FeatureTruth truth(host_, *ports_, key);
      Explanation explanation = explainFeature(host_, key);
      for (std::string const& untruth : truth.untruths(explanation)) {
         findings.add("explanations are true", explanation.subject, ": ", untruth);
      }
   }
}

std::vector<InLifFeatureKey> ExplanationCheck::everyFeature() const {
   auto const& pipeline = host_.inLifFeatures();
   std::vector<InLifIntfKey> keys;
   for (auto const& [key, aggregate] : pipeline.inLifIntfCfg->requestIter()) {
      keys.push_back(key);
   }
   for (auto const& [key, response] : pipeline.inLifIntfStatus->responseIter()) {
      if (!pipeline.inLifIntfCfg->requestHas(key)) {
         keys.push_back(key);
      }
   }
   for (auto const& [port, word] : pipeline.mergedWords->lifFeatureAttrIter()) {
      InLifIntfKey key(port, host_.world().shoalStatus->sysTcamId(port));
      if (!pipeline.inLifIntfCfg->requestHas(key)) {
         keys.push_back(key);
      }
   }
   std::vector<InLifFeatureKey> features;
   for (InLifIntfKey key : keys) {
      for (InLifFeatureType type : inLifFeatureTypes) {
         features.emplace_back(key, type);
      }
   }
   return features;
}

} // namespace Simulate

#include "simulate/explanations/ExplanationCheck.h"

#include "agent/command/Registry.h"
#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"
#include "simulate/explanations/RequestTruth.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

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

ExplanationCheck::Listed ExplanationCheck::listedProblems() const {
   std::ostringstream out;
   std::vector<std::string> words{"problems", "--format", "json"};
   Command const& command = commandRegistry().take(words);
   Arguments arguments(words);
   command.run(host_, arguments, out);
   Listed listed;
   Json const problems = Json::parse(out.str());
   for (auto const& row : problems.at("rows")) {
      listed[row.at("request").get<std::string>()] = row.at("why").get<std::string>();
   }
   return listed;
}

// Those that are no request's.
void ExplanationCheck::checkOtherProblems(Findings& findings, Listed const& listed) const {
   bool waits = !host_.world().shoalStatus->portMapValid();
   Listed expected;
   for (auto const& [tag, users] : model_.vlanTags.users()) {
      if (model_.vlanTags.collide(tag)) {
         expected[formatTag(tag)] = "It is " + collisionOf(model_.vlanTags, tag) + ".";
      }
   }
   // Empty: that the chip does not hold it, and why.
   auto expect = [&expected](auto const& key, char const* why) {
      expected.try_emplace("word of " + formatKey(key), why);
   };
   auto addWords = [&](auto const& wanted, auto const& configured, auto const& chip) {
      for (auto const& [key, word] : wanted) {
         auto row = configured.find(key);
         if (waits && (row == configured.end() || row->second != word)) {
            expect(key, "Nothing is written while the port map is not valid.");
         }
      }
      for (auto const& [key, word] : configured) {
         auto held = chip.entries().find(key);
         if (waits && !wanted.contains(key)) {
            expect(key, "Nobody asks for it any more, and nothing is removed while the port map is "
                        "not valid.");
         } else if (held == chip.entries().end() || held->second.value != word) {
            expect(key, "");
         }
      }
   };
   ChipWordModel const& words = model_.chipWords;
   addWords(words.wantedOfPlaces(), words.ofPlaces(), host_.chip().portWords());
   addWords(words.wantedOfSubIntfs(), words.ofSubIntfs(), host_.chip().subIntfWords());

   constexpr std::string_view wordOf = "word of ";
   std::set<std::string> rows;
   for (auto const& [row, why] : listed) {
      if (!row.starts_with("VLAN tag ") && !row.starts_with(wordOf)) {
         continue;
      }
      rows.insert(row);
      auto should = expected.find(row);
      if (should == expected.end()) {
         continue;
      }
      std::string reason = why.substr(0, why.size() - 1);
      reason.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(why.front())));
      bool holds = should->second.empty() ? witness_.notHeld(reason) == row.substr(wordOf.size())
                                          : why == should->second;
      if (!holds) {
         findings.add("problems are told", row, ": untrue: ", why);
      }
   }
   std::set<std::string> names;
   for (auto const& [row, why] : expected) {
      names.insert(row);
   }
   if (rows != names) {
      findings.add("problems are told", "tags and words: ", rows, " instead of ", names);
   }
}

void ExplanationCheck::checkEvery(Findings& findings) {
   leads_.emplace(host_, facts_);
   ports_.reset();
   Listed listed = listedProblems();
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
                                     Listed const* listed) const {
   if (requests.empty()) {
      return;
   }
   Situations situations(host_);
   for (TcamSharingRequest request : requests) {
      RequestTruth truth(host_, facts_, model_.vlanTags, witness_, *leads_, request);
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
      FeatureTruth truth(host_, *ports_, witness_, key);
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

// In-LIF features compared with those of an agent that was started on the present facts.
#include "agent/simulate/DefaultLifShadow.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

bool FeatureShadow::unanswered(InLifIntfKey key) const {
   if (isMixed(key)) {
      return true;
   }
   return !Plexus::SubIntfId::isSubIntfId(key.intfId()) &&
          (!host_.world().shoalStatus->portMapValid() || defaultLifs_->unanswered(key));
}

void FeatureShadow::compareFresh(Findings& findings, FeaturePipeline const& fresh) const {
   compareAsked(findings, fresh);
   compareAnswers(findings, fresh);
   for (auto const& [key, word] : subIntfWords_) {
      if (isMixed(key) || word.stale()) {
         probes_.hit("end: a sub-interface's word with a past");
         continue;
      }
      probes_.hit("end: a sub-interface's word compared");
      auto freshWord = fresh.subIntfWords->lifFeatureAttr(key);
      if (!(word == freshWord)) {
         findings.add("as after a fresh start, words", key, " has ", word, ", fresh ", freshWord);
      }
   }
   for (auto const& [key, word] : fresh.subIntfWords->lifFeatureAttrIter()) {
      if (!isMixed(key) && !subIntfWords_.contains(key)) {
         findings.add("as after a fresh start, words", key, " has none, fresh ", word);
      }
   }
   defaultLifs_->compareFresh(findings, fresh);
}

void FeatureShadow::compareAsked(Findings& findings, FeaturePipeline const& fresh) const {
   std::set<InLifIntfKey> keys;
   for (auto const& [key, asked] : asked_) {
      keys.insert(key);
   }
   for (auto const& [key, aggregate] : fresh.inLifIntfCfg->requestIter()) {
      keys.insert(key);
   }
   for (InLifIntfKey key : keys) {
      auto asked = asked_.find(key);
      auto aggregate = fresh.inLifIntfCfg->request(key);
      for (InLifFeatureType type : inLifFeatureTypes) {
         if (mixed_.contains({key, type})) {
            probes_.hit("end: a feature with a past");
            continue;
         }
         std::optional<InLifFeatureValue> here;
         if (asked != asked_.end() && asked->second.features.contains(type)) {
            here = asked->second.features.at(type);
         }
         bool there = aggregate && aggregate->featureAggHas(type);
         if (here.has_value() != there || (there && aggregate->featureAgg(type) != *here)) {
            findings.add("as after a fresh start, features", key, " ", type, " is ",
                         here.value_or(0), ", fresh ", there ? aggregate->featureAgg(type) : 0);
         }
      }
   }
}

void FeatureShadow::compareAnswers(Findings& findings, FeaturePipeline const& fresh) const {
   std::set<InLifFeatureKey> keys;
   for (auto const& [key, given] : answers_) {
      keys.insert(key);
   }
   for (auto const& [key, response] : fresh.featureStatus->responseIter()) {
      keys.insert(key);
   }
   for (InLifFeatureKey key : keys) {
      if (unanswered(key.intfKey())) {
         probes_.hit("end: a feature's answer with a past");
         continue;
      }
      probes_.hit("end: a feature's answer compared");
      auto given = answers_.find(key);
      auto response = fresh.featureStatus->response(key);
      bool success = given != answers_.end() && given->second.success;
      if (!success || response.status != InLifFeatureResponseStatus::success ||
          response.value != given->second.value) {
         findings.add("as after a fresh start, feature answers", key,
                      success ? " succeeds" : " does not succeed", ", fresh ", response);
      }
   }
}

bool DefaultLifShadow::leadsTo(InLifIntfKey key, IntfId port) const {
   if (Plexus::SubIntfId::isSubIntfId(key.intfId())) {
      return false;
   }
   if (Plexus::VlanIntfId::isVlanIntfId(key.intfId())) {
      std::string unit = unitIn(key.intfId());
      return key.intfId().fields().vlanId == vlanNow(port).value() &&
             (unit.empty() || unit == unitIn(port)) &&
             key.tcamId() == world().shoalStatus->sysTcamId(port);
   }
   auto ports = covered(key);
   return std::find(ports.begin(), ports.end(), port) != ports.end();
}

// One request and one VLAN at most lead to the port's words, both handled and from one directory.
bool DefaultLifShadow::comparable(IntfId port) const {
   if (marked_.contains(port) || !portMapValid()) {
      return false;
   }
   int ways[] = {0, 0};
   for (auto const& [key, asked] : features_.asked()) {
      if (leadsTo(key, port)) {
         if (unanswered_.contains(key) ||
             ++ways[Plexus::VlanIntfId::isVlanIntfId(key.intfId())] > 1) {
            return false;
         }
      }
   }
   return std::none_of(features_.mixed().begin(), features_.mixed().end(),
                       [&](InLifFeatureKey key) { return leadsTo(key.intfKey(), port); });
}

void DefaultLifShadow::compareWords(Findings& findings, char const* check,
                                    std::map<IntfId, Word> const& words,
                                    Orv::Ptr<DefaultLifFeatureConfig> const& fresh) const {
   std::set<IntfId> ports;
   for (auto const& [port, word] : words) {
      ports.insert(port);
   }
   for (auto const& [port, word] : fresh->lifFeatureAttrIter()) {
      ports.insert(port);
   }
   for (IntfId port : ports) {
      auto word = words.find(port);
      if (!comparable(port) || (word != words.end() && word->second.stale())) {
         probes_.hit("end: a port's word with a past");
         continue;
      }
      probes_.hit("end: a port's word compared");
      bool here = word != words.end();
      if (here != fresh->lifFeatureAttrHas(port) ||
          (here && !(word->second == fresh->lifFeatureAttr(port)))) {
         findings.add(check, port, " has ", here ? word->second : Word(), ", fresh ",
                      fresh->lifFeatureAttr(port));
      }
   }
}

void DefaultLifShadow::compareFresh(Findings& findings, FeaturePipeline const& fresh) const {
   compareWords(findings, "as after a fresh start, words of ports", portWords_, fresh.portWords);
   compareWords(findings, "as after a fresh start, words of VLANs", vlanWords_, fresh.vlanWords);
}

} // namespace Agent

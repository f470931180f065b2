// Why an in-LIF feature is answered as it is.
#include "agent/command/Explanation.h"
#include "agent/command/FeatureNames.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::string printedValue(Orv::Ptr<InLifIntfFeatureAggr> const& aggregate, InLifFeatureType type) {
   return !aggregate                        ? "nothing there"
          : !aggregate->featureAggHas(type) ? "not there"
                                            : std::to_string(aggregate->featureAgg(type));
}

// The port-channel that a port belongs to, when it sets the port's own key aside.
IntfId asideFor(World const& world, IntfId intf) {
   return World::isPort(intf) ? world.lagPhyIntfMapping->phyIntfLag(intf) : IntfId();
}

std::string waitsFor(Host const& host, InLifFeatureKey key) {
   World const& world = host.world();
   if (Plexus::SubIntfId::isSubIntfId(key.intfId())) {
      return "it was not handled";
   }
   if (!world.shoalStatus->portMapValid()) {
      return "the port map is not valid: additions wait for its next version";
   }
   if (Plexus::PortChannelIntfId::isPortChannelIntfId(key.intfId())) {
      if (!world.lagPhyIntfMapping->lagPhyIntfConfigHas(key.intfId())) {
         return "the port-channel does not exist";
      }
      return "it was passed over while the port map was not valid, or the port-channel came after "
             "it: a member's joining on that TCAM, or port-map-state version, answers it";
   }
   return "it was passed over while the port map was not valid: say port-map-state version";
}

std::string verdict(Host const& host, InLifFeatureKey key, std::string const& askers) {
   auto const& pipeline = host.inLifFeatures();
   auto requested = pipeline.inLifIntfCfg->request(key.intfKey());
   auto handled = pipeline.inLifIntfStatus->response(key.intfKey());
   InLifFeatureType type = key.featureType();
   if (!requested || !requested->featureAggHas(type)) {
      return askers.empty() ? "No directory asks for this feature here."
                            : "Not in the aggregate, although " + askers +
                                  " asks: another directory withdrew it. Asking again brings it "
                                  "back.";
   }
   if (!handled || handled->version() != requested->version()) {
      return "No answer to the present request: " + waitsFor(host, key) + ".";
   }
   auto layout =
       ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->getInLifData(key.tcamId());
   if (!layout || !layout->tcamShareQualInfoNoCheck(type)) {
      return "Answered, but in no word: the TCAM has no place for this feature.";
   }
   if (IntfId lag = asideFor(host.world(), key.intfId()); lag != IntfId()) {
      return "Answered, but set aside while the port is a member of " + lag.name() +
             ": the port-channel's features count.";
   }
   return askers.empty() ? "Handled, though no directory asks any more: the one that did went "
                           "without withdrawing it."
                         : "Handled.";
}

} // namespace

Explanation explainFeature(Host const& host, InLifFeatureKey key) {
   auto const& pipeline = host.inLifFeatures();
   Explanation found;
   auto fact = [&](std::string label, std::string text) {
      found.facts.emplace_back(std::move(label), std::move(text));
   };
   std::ostringstream subject;
   subject << printedInLifKey(host, key.intfKey()) << " " << key.featureType();
   found.subject = subject.str();
   std::string askers;
   for (auto const& [name, entry] : pipeline.inputDir->entryIter()) {
      auto directory = pipeline.directory(name);
      if (directory && directory->requestHas(key)) {
         fact("asked by", name + ": " + std::to_string(directory->request(key).value));
         askers += (askers.empty() ? "" : ", ") + name;
      }
   }
   auto requested = pipeline.inLifIntfCfg->request(key.intfKey());
   auto handled = pipeline.inLifIntfStatus->response(key.intfKey());
   auto version = [](auto const& aggregate) {
      return aggregate ? ", version " + std::to_string(aggregate->version()) : "";
   };
   fact("requested", printedValue(requested, key.featureType()) + version(requested));
   fact("programmed", printedValue(handled, key.featureType()) + version(handled));
   auto response = pipeline.featureStatus->response(key);
   bool success = response.status == InLifFeatureResponseStatus::success;
   fact("response", std::string(printedFeatureStatus(response.status)) +
                        (response.status == InLifFeatureResponseStatus::none
                             ? ""
                             : " for " + std::to_string(response.value)));
   if (World::isPort(key.intfId()) && pipeline.mergedWords->lifFeatureAttrHas(key.intfId())) {
      fact("word of the port", printedWord(pipeline.mergedWords->lifFeatureAttr(key.intfId())));
   }
   if (pipeline.subIntfWords->lifFeatureAttrHas(key.intfKey())) {
      fact("word", printedWord(pipeline.subIntfWords->lifFeatureAttr(key.intfKey())));
   }
   found.inHardware = success;
   found.verdict = verdict(host, key, askers);
   return found;
}

} // namespace Agent

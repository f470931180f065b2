// Why an in-LIF feature is answered as it is, and in which words it is, in words.
#include "agent/command/Explanation.h"
#include "agent/command/FeatureSituation.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::string formatValue(Orv::Ptr<InLifIntfFeatureAggr const> const& aggregate,
                        InLifFeatureType type) {
   return !aggregate                        ? "nothing there"
          : !aggregate->featureAggHas(type) ? "not there"
                                            : std::to_string(aggregate->featureAgg(type));
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
             "it: a member that joins on that TCAM, or port-map-state version, answers it";
   }
   return "it was passed over while the port map was not valid: say port-map-state version";
}

// Of many words, so many by name.
constexpr std::size_t shown = 3;

std::string listed(std::vector<IntfId> const& interfaces) {
   std::string text;
   for (std::size_t i = 0; i < std::min(shown, interfaces.size()); ++i) {
      text += (i == 0 ? "" : ", ") + interfaces[i].name();
   }
   return interfaces.size() <= shown
              ? text
              : text + " and " + std::to_string(interfaces.size() - shown) + " more";
}

// What stands in the field of words that the key does not lead to.
std::string strangeWords(FeatureSituation const& is) {
   std::string text;
   for (std::size_t i = 0; i < is.strange.size() && i < shown; ++i) {
      auto const& [intf, value] = is.strange[i];
      text += " The word of " + intf.name() + " has " + std::to_string(value) + " in this field.";
   }
   if (is.strange.size() > shown) {
      text += " So have " + std::to_string(is.strange.size() - shown) + " more words something.";
   }
   return text;
}

std::string whereItIs(FeatureSituation const& is) {
   if (!is.unreached.empty()) {
      return "It leads to no word: " + is.unreached + "." + strangeWords(is);
   }
   if (is.inWords()) {
      std::string words = is.reached.size() == 1 ? "In the word of " : "In the words of ";
      return words + listed(is.reached) + ".";
   }
   auto const& first = is.absent.front();
   std::string text = "Not in the word of " + first.intf.name() + ": " + first.why + ".";
   if (is.reached.size() > 1) {
      text += " " + std::to_string(is.reached.size() - is.absent.size()) + " of " +
              std::to_string(is.reached.size()) + " words carry it.";
   }
   return text;
}

std::string verdict(Host const& host, FeatureSituation const& is) {
   std::string requesters;
   for (auto const& [name, value] : is.askedBy) {
      requesters += (requesters.empty() ? "" : ", ") + name;
   }
   if (!is.wanted) {
      return (requesters.empty()
                  ? "No directory asks for this feature here."
                  : "Not in the aggregate, although " + requesters +
                        (is.askedBy.size() == 1 ? " asks" : " ask") +
                        ": another directory withdrew it. Asking again brings it back.") +
             strangeWords(is) +
             (is.response.status != InLifFeatureResponseStatus::none
                  ? " The answer to the last request still stands."
                  : "");
   }
   std::string text = whereItIs(is);
   if (!is.answered()) {
      text += " No answer to the present request: " + waitsFor(host, is.key) + ".";
   } else if (!is.inWords()) {
      text += " It was answered " + std::string(formatFeatureStatus(is.response.status)) + ".";
   }
   if (is.spills()) {
      text += " The value " + std::to_string(is.value) + " is wider than its field of " +
              formatWidth(is.field->mask()) +
              "; the rest runs into the bits above it, where a later feature's value replaces it.";
   }
   if (requesters.empty()) {
      text += " No directory asks for it any more: the one that did went without withdrawing it.";
   }
   return text;
}

} // namespace

Explanation explainFeature(Host const& host, InLifFeatureKey key) {
   FeatureSituation is = featureSituation(host, key);
   Explanation found;
   auto fact = [&](std::string label, std::string text) {
      found.facts.emplace_back(std::move(label), std::move(text));
   };
   std::ostringstream subject;
   subject << formatInLifKey(host, key.intfKey()) << " " << key.featureType();
   found.subject = subject.str();
   for (auto const& [name, value] : is.askedBy) {
      fact("asked by", name + ": " + std::to_string(value));
   }
   auto version = [](auto const& aggregate) {
      return aggregate ? ", version " + std::to_string(aggregate->version()) : "";
   };
   fact("requested", formatValue(is.requested, key.featureType()) + version(is.requested));
   fact("programmed", formatValue(is.handled, key.featureType()) + version(is.handled));
   fact("response", std::string(formatFeatureStatus(is.response.status)) +
                        (is.response.status == InLifFeatureResponseStatus::none
                             ? ""
                             : " for " + std::to_string(is.response.value)));
   if (is.field) {
      fact("field",
           formatWidth(is.field->mask()) + " at bit " + std::to_string(is.field->offset()));
   }
   auto const& pipeline = host.inLifFeatures();
   for (IntfId intf : is.reached) {
      if (pipeline.mergedWords->lifFeatureAttrHas(intf)) {
         fact("word of " + intf.name(), formatWord(pipeline.mergedWords->lifFeatureAttr(intf)));
      }
   }
   if (pipeline.subIntfWords->lifFeatureAttrHas(key.intfKey())) {
      fact("word", formatWord(pipeline.subIntfWords->lifFeatureAttr(key.intfKey())));
   }
   found.inHardware = is.inWords();
   found.verdict = verdict(host, is);
   return found;
}

} // namespace Agent

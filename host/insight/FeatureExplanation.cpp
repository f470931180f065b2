// Why an in-LIF feature is answered as it is, and in which words it is, in words.
#include "host/insight/ChipReason.h"
#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"

#include <algorithm>

namespace ShoalHost {

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

// Of many words, so many are named.
constexpr std::size_t shown = 3;

std::string listed(std::vector<IntfId> interfaces) {
   std::size_t more = interfaces.size() - std::min(shown, interfaces.size());
   interfaces.resize(interfaces.size() - more);
   std::string text = join(interfaces, ", ", [](IntfId intf) { return intf.name(); });
   return more == 0 ? text : formatted("{} and {} more", text, more);
}

// What stands in the field of words that the key does not lead to.
std::string strangeWords(FeatureSituation const& is) {
   std::string text;
   for (std::size_t i = 0; i < is.strange.size() && i < shown; ++i) {
      auto const& [intf, value] = is.strange[i];
      text += formatted(" The word of {} has {} in this field.", intf.name(), value);
   }
   if (is.strange.size() > shown) {
      text += formatted(" More words with a value in this field: {}.", is.strange.size() - shown);
   }
   return text;
}

std::string nameOf(FeatureSituation::ChipWord const& word) {
   return std::visit([](auto const& key) { return formatKey(key); }, *word.entry);
}

// Of a word that carries the value.
std::string whyNotInChip(FeatureSituation::ChipWord const& word) {
   if (!word.entry) {
      return word.intf.name() + " is on no unit";
   }
   if (word.waits) {
      return "nothing is written while the port map is not valid";
   }
   return word.taken ? formatted("{} has the word of another port in that place", nameOf(word))
                     : chipReason(nameOf(word), *word.memory);
}

std::string inChip(FeatureSituation const& is) {
   auto const* lacking = is.lacking();
   if (lacking == nullptr) {
      return " In hardware.";
   }
   auto carrying =
       std::count_if(is.chip.begin(), is.chip.end(), [](auto const& word) { return word.carries; });
   return formatted(" Not in hardware: {}.{}", whyNotInChip(*lacking),
                    is.chip.size() == 1
                        ? ""
                        : formatted(" The chip carries it in {} of {}.", carrying, is.chip.size()));
}

// The chip's entries, of many words some: the first ones that lack the value, or else the first.
std::vector<std::pair<std::string, std::string>> chipFacts(FeatureSituation const& is) {
   std::vector<std::pair<std::string, std::string>> facts;
   bool lacks = is.lacking() != nullptr;
   std::size_t left = shown;
   for (auto const& word : is.chip) {
      if (left == 0 || !word.entry || (word.carries && lacks)) {
         continue;
      }
      --left;
      facts.emplace_back("chip at " + nameOf(word), word.held ? formatWord(*word.held) : "no word");
      if (auto const& answer = word.memory->lastAnswer) {
         facts.emplace_back("last answer", formatted("{} at {} s", outcomeName(answer->outcome),
                                                     formatSeconds(answer->at)));
      }
   }
   return facts;
}

std::string whereItIs(FeatureSituation const& is) {
   if (!is.unreached.empty()) {
      return formatted("It leads to no word: {}.{}", is.unreached, strangeWords(is));
   }
   if (is.inWords()) {
      return formatted("In the word{} of {}.", is.reached.size() == 1 ? "" : "s",
                       listed(is.reached)) +
             inChip(is);
   }
   auto const& first = is.absent.front();
   std::string text = formatted("Not in the word of {}: {}.", first.intf.name(), first.why);
   if (is.reached.size() > 1) {
      text += formatted(" Words that carry it: {} of {}.", is.reached.size() - is.absent.size(),
                        is.reached.size());
   }
   return text;
}

std::string verdict(Host const& host, FeatureSituation const& is) {
   std::string requesters = join(is.askedBy, ", ", [](auto const& each) { return each.first; });
   if (!is.wanted) {
      return (requesters.empty()
                  ? "No directory asks for this feature here."
                  : formatted("Not in the aggregate, although {} ask{}: another directory withdrew "
                              "it. Asking again brings it back.",
                              requesters, is.askedBy.size() == 1 ? "s" : "")) +
             strangeWords(is) +
             (is.response.status != InLifFeatureResponseStatus::none
                  ? " The answer to the last request still stands."
                  : "");
   }
   std::string text = whereItIs(is);
   if (!is.answered()) {
      text += formatted(" No answer to the present request: {}.", waitsFor(host, is.key));
   } else if (!is.inWords()) {
      text += formatted(" It was answered {}.", formatFeatureStatus(is.response.status));
   }
   if (is.spills()) {
      text += formatted(" The value {} is wider than its field of {}; the rest runs into the bits "
                        "above it, where a later feature's value replaces it.",
                        is.value, formatWidth(is.field->mask()));
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
   found.facts.reserve(8); // of most
   auto fact = [&](std::string label, std::string text) {
      found.facts.emplace_back(std::move(label), std::move(text));
   };
   found.subject = formatted("{} {}", formatInLifKey(host.world(), key.intfKey()),
                             formatType(key.featureType()));
   for (auto const& [name, value] : is.askedBy) {
      fact("asked by", formatted("{}: {}", name, value));
   }
   auto version = [](auto const& aggregate) {
      return aggregate ? formatted(", version {}", aggregate->version()) : "";
   };
   fact("requested", formatValue(is.requested, key.featureType()) + version(is.requested));
   fact("programmed", formatValue(is.handled, key.featureType()) + version(is.handled));
   bool answered = is.response.status != InLifFeatureResponseStatus::none;
   fact("response", formatted("{}{}", formatFeatureStatus(is.response.status),
                              answered ? formatted(" for {}", is.response.value) : ""));
   if (is.field) {
      fact("field", formatted("{} at bit {}", formatWidth(is.field->mask()), is.field->offset()));
   }
   auto const& pipeline = host.inLifFeatures();
   for (IntfId intf : is.reached) {
      if (auto word = pipeline.mergedWords->lifFeatureAttrCollection().find(intf)) {
         fact("word of " + intf.name(), formatWord(*word));
      }
   }
   if (auto word = pipeline.subIntfWords->lifFeatureAttrCollection().find(key.intfKey())) {
      fact("word", formatWord(*word));
   }
   for (auto& [label, text] : chipFacts(is)) {
      fact(std::move(label), std::move(text));
   }
   found.inHardware = is.inHardware();
   found.verdict = verdict(host, is);
   return found;
}

} // namespace ShoalHost

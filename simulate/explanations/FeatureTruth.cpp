#include "simulate/explanations/FeatureTruth.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

constexpr std::string_view chipAt = "chip at ";

} // namespace

FeaturePorts::FeaturePorts(AgentHost const& host) {
   World const& world = host.world();
   for (auto const& [lag, members] : world.lagPhyIntfMapping->lagPhyIntfConfigIter()) {
      for (auto const& [port, present] : members->phyIntfIter()) {
         lags_.emplace(port, lag);
      }
   }
   for (auto const& [port, systemPort] : world.shoalStatus->sysPhyPortIdIter()) {
      IntfId lag = lagOf(port);
      ports_.push_back({port, lag, world.shoalStatus->sysTcamId(port),
                        world.untaggedVlanDir->untaggedVlan(lag == IntfId() ? port : lag).value()});
   }
}

FeatureTruth::FeatureTruth(AgentHost const& host, FeaturePorts const& ports, Witness const& witness,
                           InLifFeatureKey key)
    : host_(host), world_(host.world()), pipeline_(host.inLifFeatures()), ports_(ports),
      witness_(witness), key_(key), type_(key.featureType()) {
   auto aggregate = pipeline_.inLifIntfCfg->request(key.intfKey());
   if (aggregate && aggregate->featureAggHas(type_)) {
      wanted_ = aggregate->featureAgg(type_);
      version_ = aggregate->version();
   }
   auto layout = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->inLifData(key.tcamId());
   if (layout && layout->tcamShareQualInfoHas(type_)) {
      offset_ = layout->tcamShareQualInfo(type_).offset();
      mask_ = layout->tcamShareQualInfo(type_).mask();
   }
   findWords();
   if (wanted_ && mask_ != 0) {
      findChip();
   }
}

std::vector<std::string> FeatureTruth::untruths(Explanation const& explanation) const {
   std::vector<std::string> found;
   std::string text = explanation.verdict;
   text.pop_back();
   for (std::string const& sentence : split(text, ". ")) {
      if (!isSentence(sentence)) {
         found.push_back("untrue: " + sentence);
      }
   }
   auto require = [&](bool holds, char const* what) {
      if (!holds) {
         found.push_back(what + text);
      }
   };
   require(explanation.inHardware == (inWords() && inChip()), "wrong on hardware: ");
   require((inWords() && inChip()) == (text.find(". In hardware") != std::string::npos),
           "silent on hardware: ");
   checkChip(explanation, found);
   require(strange().empty() != (text.find(". The word of ") != std::string::npos),
           "wrong on a word: ");
   require(spills() == (text.find("is wider than its field") != std::string::npos),
           "wrong on width: ");
   return found;
}

bool FeatureTruth::inWords() const {
   return wanted_ && mask_ != 0 && !reached_.empty() &&
          std::all_of(words_.begin(), words_.end(),
                      [&](auto const& word) { return carries(word); });
}

bool FeatureTruth::isSentence(std::string const& sentence) const {
   auto fits = [&](char const* shape) { return fit(sentence, shape).has_value(); };
   if (sentence == "No directory asks for this feature here") {
      return !wanted_ && !asked();
   }
   if (fits("Not in the aggregate, although % another directory withdrew it")) {
      return !wanted_ && asked();
   }
   if (sentence == "Asking again brings it back") {
      return !wanted_ && asked();
   }
   if (auto parts = fit(sentence, "The word of % has % in this field")) {
      auto words = strange();
      return std::any_of(words.begin(), words.end(), [&](auto const& each) {
         return (*parts)[0] == each.first.name() && (*parts)[1] == std::to_string(each.second);
      });
   }
   if (auto parts = fit(sentence, "More words with a value in this field: %")) {
      return (*parts)[0] == std::to_string(strange().size() - 3);
   }
   if (sentence == "The answer to the last request still stands") {
      return !wanted_ && pipeline_.featureStatus->responseHas(key_);
   }
   if (auto parts = fit(sentence, "It leads to no word: %")) {
      return wanted_ && isUnreached((*parts)[0]);
   }
   if (auto parts = fit(sentence, "In the word of %")) {
      return inWords() && reached_.size() == 1 && isListOfReached((*parts)[0]);
   }
   if (auto parts = fit(sentence, "In the words of %")) {
      return inWords() && reached_.size() > 1 && isListOfReached((*parts)[0]);
   }
   if (sentence == "In hardware") {
      return inWords() && inChip();
   }
   if (auto parts = fit(sentence, "Not in hardware: %")) {
      return inWords() && !inChip() && isWhyNotInChip((*parts)[0]);
   }
   if (auto parts = fit(sentence, "The chip carries it in % of %")) {
      return (*parts)[0] == std::to_string(carrying()) &&
             (*parts)[1] == std::to_string(chip_.size());
   }
   if (auto parts = fit(sentence, "Not in the word of %: %")) {
      return wanted_ && !inWords() && isAbsent((*parts)[0], (*parts)[1]);
   }
   if (auto parts = fit(sentence, "Words that carry it: % of %")) {
      auto carrying = std::count_if(words_.begin(), words_.end(),
                                    [&](auto const& word) { return carries(word); });
      return (*parts)[0] == std::to_string(carrying) &&
             (*parts)[1] == std::to_string(words_.size());
   }
   if (fits("No answer to the present request: %")) {
      return wanted_ && !answered();
   }
   if (auto parts = fit(sentence, "It was answered %")) {
      auto status = pipeline_.featureStatus->response(key_).status;
      return answered() && (*parts)[0] == formatFeatureStatus(status);
   }
   if (fits("The value % is wider than its field of %; the rest runs into the bits above it, "
            "where a "
            "later feature's value replaces it")) {
      return wanted_ && mask_ != 0 && *wanted_ > mask_;
   }
   return sentence == "No directory asks for it any more: the one that did went without "
                      "withdrawing it" &&
          wanted_ && !asked();
}

// Three at most are named, in any order.
bool FeatureTruth::isListOfReached(std::string list) const {
   std::set<std::string> names;
   for (IntfId intf : reached_) {
      names.insert(intf.name());
   }
   if (names.size() > 3) {
      std::string rest = " and " + std::to_string(names.size() - 3) + " more";
      if (!list.ends_with(rest)) {
         return false;
      }
      list.erase(list.size() - rest.size());
   }
   std::size_t told = 0;
   std::istringstream words(list);
   for (std::string name; words >> name; ++told) {
      if (name.ends_with(',')) {
         name.pop_back();
      }
      if (names.erase(name) == 0) {
         return false;
      }
   }
   return told == std::min<std::size_t>(reached_.size(), 3);
}

void FeatureTruth::findChip() {
   auto read = [&](IntfId intf, auto const& key, auto const& config, auto const& status,
                   auto const& chip) {
      ChipWord& word = chip_.emplace_back();
      word.intf = intf;
      word.name = formatKey(key);
      if (auto data = config->configCollection().find(key)) {
         word.configured = data->value;
      }
      if (auto held = chip.entries().find(key); held != chip.entries().end()) {
         word.held = held->second.value;
      }
      if (auto answer = status->statusCollection().find(key)) {
         word.accepted = answer->statusCode == 1;
      }
   };
   for (IntfId intf : reached_) {
      if (intf.fields().subIntf) {
         read(intf, SubIntfMappingKey(intf, key_.tcamId()), pipeline_.subIntfMappingConfig,
              pipeline_.subIntfMappingStatus, host_.chip().subIntfWords());
      } else if (auto place = world_.placeOf(intf); !place.isNull()) {
         read(intf, DefaultMappingKey(place), pipeline_.defaultMappingConfig,
              pipeline_.defaultMappingStatus, host_.chip().portWords());
      } else {
         chip_.emplace_back().intf = intf;
      }
   }
}

std::size_t FeatureTruth::carrying() const {
   return static_cast<std::size_t>(std::count_if(
       chip_.begin(), chip_.end(), [this](ChipWord const& word) { return carriesInChip(word); }));
}

// Told of one of the reached words that the chip does not carry.
bool FeatureTruth::isWhyNotInChip(std::string const& why) const {
   auto entry = witness_.notHeld(why);
   return std::any_of(chip_.begin(), chip_.end(), [&](ChipWord const& word) {
      if (carriesInChip(word)) {
         return false;
      }
      if (word.name.empty()) {
         return why == word.intf.name() + " is on no unit";
      }
      bool waits = !word.configured || (*word.configured >> offset_ & mask_) != (*wanted_ & mask_);
      return waits ? why == "nothing is written while the port map is not valid" &&
                         !world_.shoalStatus->portMapValid()
                   : entry == word.name;
   });
}

void FeatureTruth::checkChip(Explanation const& explanation,
                             std::vector<std::string>& found) const {
   bool lacks = carrying() != chip_.size();
   // The first three are told.
   auto due = std::count_if(chip_.begin(), chip_.end(), [&](ChipWord const& word) {
      return !word.name.empty() && !(lacks && carriesInChip(word));
   });
   ChipWord const* at = nullptr;
   std::ptrdiff_t told = 0;
   for (auto const& [label, text] : explanation.facts) {
      if (label.starts_with(chipAt)) {
         std::string name = label.substr(chipAt.size());
         auto word = std::find_if(chip_.begin(), chip_.end(),
                                  [&](ChipWord const& each) { return each.name == name; });
         at = word == chip_.end() || (lacks && carriesInChip(*word)) ? nullptr : &*word;
         ++told;
         if (at == nullptr ||
             text != (at->held ? formatWord(LifFeatureWord{*at->held}) : "no word")) {
            found.push_back("untrue of the chip: " + label + ": " + text);
         }
      } else if (label == "last answer") {
         // A restart takes the statuses away.
         bool holds = at != nullptr &&
                      (at->accepted ? *at->accepted == text.starts_with("accepted")
                                    : host_.chip().restarts() != 0 || text.starts_with("removed"));
         if (!holds) {
            found.push_back("untrue of the chip: " + label + ": " + text);
         }
      }
   }
   if (told != std::min<std::ptrdiff_t>(due, 3)) {
      found.push_back("entries of the chip told: " + std::to_string(told));
   }
}

std::vector<std::pair<IntfId, uint64_t>> FeatureTruth::strange() const {
   std::vector<std::pair<IntfId, uint64_t>> found;
   auto ports = wanted_ && !reached_.empty() ? std::vector<IntfId>() : reached_;
   if (ports.empty() && (!wanted_ || reached_.empty()) &&
       key_.intfId().fields().kind == Plexus::IntfKind::port && !key_.intfId().fields().subIntf) {
      ports = {key_.intfId()};
   }
   for (IntfId port : ports) {
      auto word = key_.intfId().fields().subIntf
                      ? pipeline_.subIntfWords->lifFeatureAttrCollection().find(key_.intfKey())
                      : pipeline_.mergedWords->lifFeatureAttrCollection().find(port);
      if (word && fieldOf(*word) != 0) {
         found.emplace_back(port, fieldOf(*word));
      }
   }
   return found;
}

bool FeatureTruth::asked() const {
   for (auto const& [name, entry] : pipeline_.inputDir->entryIter()) {
      auto directory = pipeline_.directory(name);
      if (directory && directory->requestHas(key_)) {
         return true;
      }
   }
   return false;
}

bool FeatureTruth::answered() const {
   auto handled = pipeline_.inLifIntfStatus->response(key_.intfKey());
   return handled && handled->version() == version_;
}

uint64_t FeatureTruth::fieldOf(InLifFeatureAttributes const& word) const {
   unsigned __int128 bits = word.eei;
   bits = bits << 16 | word.data1;
   bits = bits << 16 | word.data0;
   return static_cast<uint64_t>(bits >> offset_ & mask_);
}

void FeatureTruth::findWords() {
   auto const& fields = key_.intfId().fields();
   if (fields.subIntf) {
      reached_ = {key_.intfId()};
      words_ = {pipeline_.subIntfWords->lifFeatureAttrCollection().find(key_.intfKey())};
      return;
   }
   if (fields.kind == Plexus::IntfKind::port) {
      // It has a word wherever it is, also without a system port.
      if (ports_.lagOf(key_.intfId()) == IntfId()) {
         reached_ = {key_.intfId()};
      }
   } else {
      bool vlan = fields.kind == Plexus::IntfKind::vlan;
      for (FeaturePorts::Port const& port : ports_.all()) {
         if (port.tcam == key_.tcamId() &&
             (vlan ? port.untaggedVlan == fields.vlanId && isNearest(port.intf)
                   : port.lag == key_.intfId())) {
            reached_.push_back(port.intf);
         }
      }
   }
   for (IntfId port : reached_) {
      words_.push_back(pipeline_.mergedWords->lifFeatureAttrCollection().find(port));
   }
}

bool FeatureTruth::isNearest(IntfId port) const {
   std::string name = key_.intfId().name();
   std::string number = name.substr(name.rfind('/') + 1);
   if (Facts::unitIn(key_.intfId()) == Facts::unitIn(port)) {
      return true;
   }
   for (auto const& [key, features] : pipeline_.inLifIntfCfg->requestIter()) {
      if (key.tcamId() == key_.tcamId() && key.intfId().name() == Facts::unitIn(port) + number) {
         return false;
      }
   }
   return Facts::unitIn(key_.intfId()).empty();
}

bool FeatureTruth::isUnreached(std::string const& why) const {
   if (why == "the TCAM has no place for this feature") {
      return mask_ == 0;
   }
   if (auto parts = fit(why, "the port is a member of %, whose features count while it is")) {
      return ports_.lagOf(key_.intfId()).name() == (*parts)[0];
   }
   return reached_.empty() &&
          (fit(why, "% has no member on %") ||
           fit(why, "no port of % has this VLAN untagged, and the features of a VLAN reach "
                    "untagged ports only"));
}

bool FeatureTruth::isAbsent(std::string const& port, std::string const& why) const {
   for (std::size_t i = 0; i < reached_.size(); ++i) {
      if (reached_[i].name() == port) {
         return !carries(words_[i]) && (words_[i] ? isOther(*words_[i], why) : isMissing(why));
      }
   }
   return false;
}

bool FeatureTruth::isMissing(std::string const& why) const {
   bool waits = !key_.intfId().fields().subIntf && !world_.shoalStatus->portMapValid();
   return why ==
          (waits ? "it has no word, and gets none before the port map is valid" : "it has no word");
}

bool FeatureTruth::isOther(InLifFeatureAttributes const& word, std::string const& why) const {
   std::string head = "the word has " + std::to_string(fieldOf(word)) + " in this field: ";
   if (!why.starts_with(head)) {
      return false;
   }
   std::string rest = why.substr(head.size());
   auto const& kind = key_.intfId().fields();
   if (rest == "the port's VLAN has a word of its own, which counts") {
      return kind.kind != Plexus::IntfKind::vlan && !kind.subIntf;
   }
   if (auto parts = fit(rest, "it equals the word of %")) {
      for (auto const& [key, features] : pipeline_.inLifIntfCfg->requestIter()) {
         if ((*parts)[0].starts_with(key.intfId().name()) && key != key_.intfKey() &&
             getInLifFeatureAttr(features) == word) {
            return true;
         }
      }
      return false;
   }
   bool own = getInLifFeatureAttr(pipeline_.inLifIntfCfg->request(key_.intfKey())) == word;
   return rest == (own ? "the value of another feature runs into it"
                       : "it has not been encoded again since");
}

} // namespace Simulate

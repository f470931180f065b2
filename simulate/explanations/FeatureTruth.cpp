// Explanations of in-LIF features held against the words.
#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"
#include "simulate/explanations/ExplanationCheck.h"
#include "simulate/explanations/Sentences.h"

#include <algorithm>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

class FeatureTruth {
 public:
   FeatureTruth(AgentHost const& host, InLifFeatureKey key)
       : world_(host.world()), pipeline_(host.inLifFeatures()), key_(key) {
      type_ = key.featureType();
      for (auto const& [each, aggregate] : pipeline_.inLifIntfCfg->requestIter()) {
         if (each == key.intfKey() && aggregate->featureAggHas(type_)) {
            wanted_ = aggregate->featureAgg(type_);
            version_ = aggregate->version();
         }
      }
      auto layout =
          ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->inLifData(key.tcamId());
      if (layout && layout->tcamShareQualInfoHas(type_)) {
         offset_ = layout->tcamShareQualInfo(type_).offset();
         mask_ = layout->tcamShareQualInfo(type_).mask();
      }
      findWords();
   }

   bool inWords() const {
      return wanted_ && mask_ != 0 && !reached_.empty() &&
             std::all_of(words_.begin(), words_.end(),
                         [&](auto const& word) { return carries(word); });
   }

   bool isSentence(std::string const& sentence) const {
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
      if (fits("In the word of %") || fits("In the words of %")) {
         return inWords();
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

   bool spills() const { return wanted_ && mask_ != 0 && *wanted_ > mask_; }

   // What words of its interface have in the field, when the key does not lead there.
   std::vector<std::pair<IntfId, uint64_t>> strange() const {
      std::vector<std::pair<IntfId, uint64_t>> found;
      auto ports = wanted_ && !reached_.empty() ? std::vector<IntfId>() : reached_;
      if (ports.empty() && (!wanted_ || reached_.empty()) &&
          key_.intfId().fields().kind == Plexus::IntfKind::port &&
          !key_.intfId().fields().subIntf) {
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

 private:
   bool asked() const {
      for (auto const& [name, entry] : pipeline_.inputDir->entryIter()) {
         auto directory = pipeline_.directory(name);
         if (directory && directory->requestHas(key_)) {
            return true;
         }
      }
      return false;
   }
   bool answered() const {
      auto handled = pipeline_.inLifIntfStatus->response(key_.intfKey());
      return handled && handled->version() == version_;
   }
   bool carries(std::optional<InLifFeatureAttributes> const& word) const {
      return word && fieldOf(*word) == (*wanted_ & mask_);
   }
   uint64_t fieldOf(InLifFeatureAttributes const& word) const {
      unsigned __int128 bits = word.eei;
      bits = bits << 16 | word.data1;
      bits = bits << 16 | word.data0;
      return static_cast<uint64_t>(bits >> offset_ & mask_);
   }
   IntfId lagOf(IntfId port) const {
      for (auto const& [lag, members] : world_.lagPhyIntfMapping->lagPhyIntfConfigIter()) {
         if (members->phyIntf(port)) {
            return lag;
         }
      }
      return IntfId();
   }
   void findWords() {
      auto const& fields = key_.intfId().fields();
      if (fields.subIntf) {
         reached_ = {key_.intfId()};
         words_ = {pipeline_.subIntfWords->lifFeatureAttrCollection().find(key_.intfKey())};
         return;
      }
      for (auto const& [port, systemPort] : world_.shoalStatus->sysPhyPortIdIter()) {
         IntfId lag = lagOf(port);
         bool here = world_.shoalStatus->sysTcamId(port) == key_.tcamId();
         IntfId untagged = lag == IntfId() ? port : lag;
         bool counts =
             fields.kind == Plexus::IntfKind::vlan
                 ? here &&
                       world_.untaggedVlanDir->untaggedVlan(untagged).value() == fields.vlanId &&
                       isNearest(port)
             : fields.kind == Plexus::IntfKind::portChannel
                 ? here && lag == key_.intfId()
                 : port == key_.intfId() && lag == IntfId();
         if (counts) {
            reached_.push_back(port);
         }
      }
      if (fields.kind == Plexus::IntfKind::port && reached_.empty() &&
          lagOf(key_.intfId()) == IntfId()) {
         reached_ = {key_.intfId()}; // it has no system port now
      }
      for (IntfId port : reached_) {
         words_.push_back(pipeline_.mergedWords->lifFeatureAttrCollection().find(port));
      }
   }
   static std::string unitIn(IntfId intf) {
      return intf.name().substr(0, intf.name().rfind('/') + 1);
   }
   // For a port, the VLAN interface of its own unit takes precedence over one without a unit.
   bool isNearest(IntfId port) const {
      std::string name = key_.intfId().name();
      std::string number = name.substr(name.rfind('/') + 1);
      if (unitIn(key_.intfId()) == unitIn(port)) {
         return true;
      }
      for (auto const& [key, features] : pipeline_.inLifIntfCfg->requestIter()) {
         if (key.tcamId() == key_.tcamId() && key.intfId().name() == unitIn(port) + number) {
            return false;
         }
      }
      return unitIn(key_.intfId()).empty();
   }
   bool isUnreached(std::string const& why) const {
      if (why == "the TCAM has no place for this feature") {
         return mask_ == 0;
      }
      if (auto parts = fit(why, "the port is a member of %, whose features count while it is")) {
         return lagOf(key_.intfId()).name() == (*parts)[0];
      }
      return reached_.empty() &&
             (fit(why, "% has no member on %") ||
              fit(why, "no port of % has this VLAN untagged, and the features of a VLAN reach "
                       "untagged ports only"));
   }
   bool isAbsent(std::string const& port, std::string const& why) const {
      for (std::size_t i = 0; i < reached_.size(); ++i) {
         if (reached_[i].name() == port) {
            return !carries(words_[i]) && (words_[i] ? isOther(*words_[i], why) : isMissing(why));
         }
      }
      return false;
   }
   bool isMissing(std::string const& why) const {
      bool waits = !key_.intfId().fields().subIntf && !world_.shoalStatus->portMapValid();
      return why == (waits ? "it has no word, and gets none before the port map is valid"
                           : "it has no word");
   }
   bool isOther(InLifFeatureAttributes const& word, std::string const& why) const {
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

   World const& world_;
   FeaturePipeline const& pipeline_;
   InLifFeatureKey key_;
   InLifFeatureType type_{};
   std::optional<uint32_t> wanted_;
   uint64_t version_ = 0;
   uint16_t offset_ = 0;
   uint32_t mask_ = 0;
   std::vector<IntfId> reached_;
   std::vector<std::optional<InLifFeatureAttributes>> words_;
};

} // namespace

void ExplanationCheck::checkFeatures(Findings& findings) const {
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
   for (InLifIntfKey each : keys) {
      for (InLifFeatureType type : inLifFeatureTypes) {
         InLifFeatureKey key(each, type);
         FeatureTruth truth(host_, key);
         Explanation explanation = explainFeature(host_, key);
         std::string text = explanation.verdict;
         text.pop_back();
         for (std::string const& sentence : split(text, ". ")) {
            if (!truth.isSentence(sentence)) {
               findings.add("explanations are true", explanation.subject, ": untrue: ", sentence);
            }
         }
         if (explanation.inHardware != truth.inWords()) {
            findings.add("explanations are true", explanation.subject, ": wrong on words: ", text);
         }
         if (truth.strange().empty() == (text.find(". The word of ") != std::string::npos)) {
            findings.add("explanations are true", explanation.subject, ": wrong on a word: ", text);
         }
         if (truth.spills() != (text.find("is wider than its field") != std::string::npos)) {
            findings.add("explanations are true", explanation.subject, ": wrong on width: ", text);
         }
      }
   }
}

} // namespace Simulate

#include "agent/simulate/DefaultLifShadow.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

// A table of aggregates, read out.
struct Seen : std::map<InLifIntfKey, Asked> {
   Seen const& walk() const { return *this; }
   bool has(InLifIntfKey key) const { return contains(key); }
};

} // namespace

std::ostream& operator<<(std::ostream& out, Asked const& asked) {
   out << "version " << asked.version;
   for (auto const& [type, value] : asked.features) {
      out << " " << type << "=" << value;
   }
   return out;
}

Word::Layout Word::layoutOf(SystemTcamId tcam) {
   Layout layout;
   auto const& layouts = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface();
   if (auto data = layouts->getInLifData(tcam)) {
      for (auto const& [type, place] : data->tcamShareQualInfoIter()) {
         layout[type] = place;
      }
   }
   return layout;
}

Word::Word(SystemTcamId of, std::map<InLifFeatureType, InLifFeatureValue> const& features)
    : tcam(of), layout(layoutOf(of)) {
   for (auto const& [type, value] : features) {
      if (auto place = layout.find(type); place != layout.end()) {
         uint64_t unit = uint64_t{1} << place->second.offset();
         bits = (bits & ~(unit * place->second.mask())) | unit * value;
      }
   }
}

FeatureShadow::FeatureShadow(Host const& host, Probes& probes)
    : host_(host), probes_(probes),
      defaultLifs_(std::make_unique<DefaultLifShadow>(host, *this, probes)) {}

FeatureShadow::~FeatureShadow() = default;

bool FeatureShadow::askedElsewhere(Orv::Name const& name, InLifFeatureKey key) const {
   return std::any_of(directories_.begin(), directories_.end(), [&](auto const& each) {
      return each.first != name && each.second->requestHas(key);
   });
}

void FeatureShadow::handleDirectory(Orv::Name const& name) {
   auto const& input = host_.inLifFeatures().inputDir;
   auto directory = host_.inLifFeatures().directory(name);
   if (auto before = directories_.find(name); before != directories_.end()) {
      for (auto const& [key, request] : before->second->requestIter()) {
         probes_.hit("rule: a directory that went leaves its features");
         mixed_.insert(key);
      }
   }
   if (directory) {
      directories_[name] = directory;
      applyAll(name);
   } else {
      probes_.hit(input->entryHas(name) ? "features: an entry of another type"
                                        : "features: a directory goes");
      // Nobody can write to what an entry of another type hides.
      directories_.erase(name);
   }
}

void FeatureShadow::applyAll(Orv::Name const& name) {
   for (auto const& [key, request] : directories_.at(name)->requestIter()) {
      handleRequest(name, key);
   }
}

void FeatureShadow::handleRequest(Orv::Name const& name, InLifFeatureKey key) {
   auto directory = directories_.find(name);
   if (directory == directories_.end()) {
      return;
   }
   if (askedElsewhere(name, key)) {
      probes_.hit("rule: two directories ask for one feature");
      mixed_.insert(key);
   }
   InLifIntfKey intf = key.intfKey();
   if (directory->second->requestHas(key)) {
      if (!asked_.contains(intf)) {
         order_.push_back(intf);
      }
      Asked& asked = asked_[intf];
      asked.features[key.featureType()] = directory->second->request(key).value;
      ++asked.version;
      probes_.hit("features: asked for");
      handled(intf, true);
      return;
   }
   if (!askedElsewhere(name, key)) {
      mixed_.erase(key);
   }
   auto asked = asked_.find(intf);
   if (asked == asked_.end()) {
      probes_.hit("features: withdrawn when nothing was left");
      return;
   }
   asked->second.features.erase(key.featureType());
   if (!asked->second.features.empty()) {
      ++asked->second.version;
      probes_.hit("features: one of several withdrawn");
      handled(intf, true);
      return;
   }
   asked_.erase(asked);
   std::erase(order_, intf);
   probes_.hit("features: the last one withdrawn");
   handled(intf, false);
}

void FeatureShadow::handled(InLifIntfKey key, bool present) {
   if (gathering_) {
      return;
   }
   if (!Plexus::SubIntfId::isSubIntfId(key.intfId())) {
      defaultLifs_->handleKey(key, present);
      return;
   }
   probes_.hit("features: a sub-interface's word");
   if (present) {
      subIntfWords_[key] = Word(key.tcamId(), asked_.at(key).features);
   } else {
      subIntfWords_.erase(key);
   }
   respond(key);
}

void FeatureShadow::respond(InLifIntfKey key) {
   auto asked = asked_.find(key);
   if (asked == asked_.end()) {
      handled_.erase(key);
      std::erase_if(answers_, [&](auto const& each) { return each.first.intfKey() == key; });
      return;
   }
   bool news = !handled_.contains(key) || handled_.at(key).version != asked->second.version;
   handled_[key] = asked->second;
   if (news) {
      answer(key);
   }
}

void FeatureShadow::answer(InLifIntfKey key) {
   Asked const& done = handled_.at(key);
   auto asked = asked_.find(key);
   for (InLifFeatureType type : inLifFeatureTypes) {
      auto programmed = done.features.find(type);
      if (programmed == done.features.end()) {
         answers_.erase({key, type});
      } else if (asked == asked_.end() || asked->second.version != done.version) {
         probes_.hit("features: an answer stays until the version is handled");
      } else {
         auto wanted = asked->second.features.find(type);
         bool success =
             wanted != asked->second.features.end() && wanted->second == programmed->second;
         answers_[{key, type}] = {programmed->second, success};
      }
   }
}

void FeatureShadow::handleKeyVersion() {
   probes_.hit("features: new layouts");
   for (InLifIntfKey key : order_) {
      handled(key, true);
   }
}

void FeatureShadow::handleEvery(Machine machine) {
   for (InLifIntfKey key : order_) {
      bool subIntf = Plexus::SubIntfId::isSubIntfId(key.intfId());
      bool vlan = !subIntf && Plexus::VlanIntfId::isVlanIntfId(key.intfId());
      if (machine == (subIntf ? Machine::subInterfaceWords
                      : vlan  ? Machine::vlanWords
                              : Machine::portWords)) {
         handled(key, true);
      }
   }
}

void FeatureShadow::handleBuilt(Machine machine) {
   switch (machine) {
   case Machine::featureRequests:
      for (auto const& [name, directory] : directories_) {
         applyAll(name);
      }
      break;
   case Machine::featureResponses:
      for (auto const& [key, done] : handled_) {
         answer(key);
      }
      break;
   case Machine::portWords:
      defaultLifs_->handlePortMachineBuilt();
      handleEvery(machine);
      break;
   case Machine::vlanWords:
      defaultLifs_->handleVlanMachineGone();
      handleEvery(machine);
      defaultLifs_->handleVlanMachineBuilt();
      break;
   default:
      handleEvery(machine);
   }
}

void FeatureShadow::handleFreshStart() {
   asked_.clear();
   order_.clear();
   handled_.clear();
   answers_.clear();
   subIntfWords_.clear();
   mixed_.clear();
   defaultLifs_->handleFreshStart();
   // Everything is gathered before the first key is handled.
   gathering_ = true;
   handleBuilt(Machine::featureRequests);
   gathering_ = false;
   for (Machine machine : {Machine::portWords, Machine::subInterfaceWords, Machine::vlanWords}) {
      handleBuilt(machine);
   }
}

bool FeatureShadow::isMixed(InLifIntfKey key) const {
   return std::any_of(mixed_.begin(), mixed_.end(),
                      [&](InLifFeatureKey each) { return each.intfKey() == key; });
}

void FeatureShadow::compare(Findings& findings) const {
   auto const& features = host_.inLifFeatures();
   auto compareTable = [&](char const* check, auto const& expected, auto const& collection) {
      Seen seen;
      for (auto const& [key, aggregate] : collection.walk()) {
         Asked& asked = seen[key];
         asked.version = aggregate->version();
         for (auto const& [type, value] : aggregate->featureAggIter()) {
            asked.features[type] = value;
         }
      }
      findings.compare(check, expected, seen);
   };
   compareTable("features asked for", asked_, features.inLifIntfCfg->requestCollection());
   compareTable("features handled", handled_, features.inLifIntfStatus->responseCollection());
   compareTable("features of ports", defaultLifs_->spread(),
                features.inLifIntfCfgLagExp->requestCollection());
   std::map<InLifFeatureKey, InLifFeatureResponse> answers;
   for (auto const& [key, given] : answers_) {
      answers[key] = {key, given.value,
                      given.success ? InLifFeatureResponseStatus::success
                                    : InLifFeatureResponseStatus::failure};
   }
   findings.compare("feature answers", answers, features.featureStatus->responseCollection());
   findings.compare("words of sub-interfaces", subIntfWords_,
                    features.subIntfWords->lifFeatureAttrCollection());
   defaultLifs_->compare(findings);
}

} // namespace Agent

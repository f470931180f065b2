#include "simulate/WordModel.h"

#include <algorithm>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

std::ostream& operator<<(std::ostream& out, Aggregate const& aggregate) {
   out << "version " << aggregate.version;
   for (auto const& [type, value] : aggregate.features) {
      out << " " << type << "=" << value;
   }
   return out;
}

uint64_t featureWord(SystemTcamId tcam, FeatureValues const& features) {
   uint64_t bits = 0;
   auto data = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->getInLifData(tcam);
   for (auto const& [type, value] : features) {
      if (auto place = data ? data->tcamShareQualInfoNoCheck(type) : std::nullopt) {
         uint64_t one = uint64_t{1} << place->offset();
         bits = (bits & ~(one * place->mask())) | one * value;
      }
   }
   return bits;
}

FeatureModel::FeatureModel(Context& context)
    : words_(std::make_unique<WordModel>(context, *this)) {}

FeatureModel::~FeatureModel() = default;

void FeatureModel::directoryChanged(Orv::Name const& name,
                                    Orv::Ptr<InLifFeatureRequestDir> directory) {
   if (directory) {
      directories_[name] = std::move(directory);
      readAll(name);
   } else {
      hit("features: a directory goes"_met); // its features stay
      directories_.erase(name);
   }
}

void FeatureModel::readAll(Orv::Name const& name) {
   for (auto const& [key, request] : directories_.at(name)->requestIter()) {
      requestChanged(name, key);
   }
}

void FeatureModel::requestChanged(Orv::Name const& name, InLifFeatureKey key) {
   auto directory = directories_.find(name);
   if (directory == directories_.end()) {
      return;
   }
   InLifIntfKey intf = key.intfKey();
   auto asked = asked_.find(intf);
   if (directory->second->requestHas(key)) {
      hit("features: asked for"_met);
      if (asked == asked_.end()) {
         order_.push_back(intf);
      }
      Aggregate& aggregate = asked_[intf];
      aggregate.features[key.featureType()] = directory->second->request(key).value;
      ++aggregate.version;
      handle(intf, true);
   } else if (asked == asked_.end()) {
      hit("features: withdrawn when nothing was left"_met);
   } else if (Aggregate& left = asked_[intf];
              left.features.erase(key.featureType()), !left.features.empty()) {
      hit("features: one of several withdrawn"_met);
      ++left.version;
      handle(intf, true);
   } else {
      hit("features: the last one withdrawn"_met);
      asked_.erase(intf);
      std::erase(order_, intf);
      handle(intf, false);
   }
}

void FeatureModel::handle(InLifIntfKey key, bool present) {
   if (gathering_) {
      return;
   }
   if (!Plexus::SubIntfId::isSubIntfId(key.intfId())) {
      words_->handleKey(key, present);
      return;
   }
   hit("features: a sub-interface's word"_met);
   if (present) {
      subIntfWords_[key] = featureWord(key.tcamId(), asked_.at(key).features);
   } else {
      subIntfWords_.erase(key);
   }
   respond(key);
}

void FeatureModel::respond(InLifIntfKey key) {
   auto asked = asked_.find(key);
   if (asked == asked_.end()) {
      handled_.erase(key);
      answers_.eraseIf([&](auto const& each) { return each.first.intfKey() == key; });
      return;
   }
   auto handled = handled_.find(key);
   bool news = handled == handled_.end() || handled->second.version != asked->second.version;
   handled_[key] = asked->second;
   if (news) {
      answer(key);
   }
}

void FeatureModel::answer(InLifIntfKey key) {
   Aggregate const& done = handled_.at(key);
   auto asked = asked_.find(key);
   for (InLifFeatureType type : inLifFeatureTypes) {
      auto programmed = done.features.find(type);
      if (programmed == done.features.end()) {
         answers_.erase({key, type});
      } else if (asked == asked_.end() || asked->second.version != done.version) {
         hit("features: an answer stays until the version is handled"_met);
      } else {
         auto wanted = asked->second.features.find(type);
         bool success =
             wanted != asked->second.features.end() && wanted->second == programmed->second;
         answers_[{key, type}] = {programmed->second, success};
      }
   }
}

void FeatureModel::keyVersionChanged() {
   hit("features: new layouts"_met);
   for (InLifIntfKey key : order_) {
      handle(key, true);
   }
}

void FeatureModel::handleEvery(Machine machine) {
   for (InLifIntfKey key : order_) {
      bool subIntf = Plexus::SubIntfId::isSubIntfId(key.intfId());
      bool vlan = !subIntf && Plexus::VlanIntfId::isVlanIntfId(key.intfId());
      if (machine == (subIntf ? Machine::subInterfaceWords
                      : vlan  ? Machine::vlanWords
                              : Machine::portWords)) {
         handle(key, true);
      }
   }
}

void FeatureModel::machineRestarts(Machine machine) {
   if (machine == Machine::featureRequests) {
      for (auto const& [name, directory] : directories_) {
         readAll(name);
      }
   } else if (machine == Machine::featureResponses) {
      for (auto const& [key, done] : handled_) {
         answer(key);
      }
   } else if (machine == Machine::portWords) {
      words_->portMachineRestarts();
      handleEvery(machine);
   } else if (machine == Machine::vlanWords) {
      words_->vlanMachineStarts();
      handleEvery(machine);
      words_->vlanMachineStarted();
   } else {
      handleEvery(machine);
   }
}

void FeatureModel::allRestart() {
   asked_.clear();
   order_.clear();
   handled_.clear();
   answers_.clear();
   subIntfWords_.clear();
   words_->allRestart();
   // Everything is gathered before the first key is handled.
   gathering_ = true;
   machineRestarts(Machine::featureRequests);
   gathering_ = false;
   for (Machine machine : {Machine::portWords, Machine::subInterfaceWords, Machine::vlanWords}) {
      machineRestarts(machine);
   }
}

} // namespace Simulate

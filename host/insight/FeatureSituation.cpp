#include "host/insight/FeatureSituation.h"

#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"

#include <algorithm>
#include <set>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;
using Plexus::PortChannelIntfId;
using Plexus::SubIntfId;
using Plexus::VlanIntfId;

namespace {

class FeatureGathering {
 public:
   FeatureGathering(Host const& host, FeatureSituation& situation)
       : pipeline_(host.inLifFeatures()), world_(host.world()), host_(host), found_(situation),
         intf_(situation.key.intfId()), tcam_(situation.key.tcamId()) {}

   void gather() {
      InLifFeatureType type = found_.key.featureType();
      for (auto const& [name, entry] : pipeline_.inputDir->entryIter()) {
         auto directory = pipeline_.directory(name);
         if (directory && directory->requestHas(found_.key)) {
            found_.askedBy.emplace_back(name, directory->request(found_.key).value);
         }
      }
      found_.requested = pipeline_.inLifIntfCfg->request(found_.key.intfKey());
      found_.handled = pipeline_.inLifIntfStatus->response(found_.key.intfKey());
      found_.response = pipeline_.featureStatus->response(found_.key);
      found_.wanted = found_.requested && found_.requested->featureAggHas(type);
      found_.field = featureField(tcam_, type);
      if (!found_.wanted) {
         reach();
         found_.unreached.clear();
         readStrangeWords();
         return;
      }
      found_.value = found_.requested->featureAgg(type);
      if (!found_.field) {
         found_.unreached = "the TCAM has no place for this feature";
         return;
      }
      reach();
      for (IntfId intf : found_.reached) {
         if (std::string why = absence(intf); !why.empty()) {
            found_.absent.push_back({intf, why});
         }
         found_.chip.push_back(chipWord(intf));
      }
      if (found_.reached.empty()) {
         readStrangeWords();
      }
   }

 private:
   // As the library expands a key: to the ports of the key's TCAM, a single port wherever it is.
   void reach() {
      if (SubIntfId::isSubIntfId(intf_)) {
         found_.reached.push_back(intf_);
         return;
      }
      if (VlanIntfId::isVlanIntfId(intf_)) {
         auto served = unitsWithOwnKey();
         for (auto const& [port, systemPort] : world_.shoalStatus->sysPhyPortIdIter()) {
            if (world_.shoalStatus->sysTcamId(port) == tcam_ &&
                world_.untaggedVlanDir->untaggedVlan(carrier(port)).value() ==
                    intf_.fields().vlanId &&
                isNearest(port, served)) {
               found_.reached.push_back(port);
            }
         }
      } else if (PortChannelIntfId::isPortChannelIntfId(intf_)) {
         for (IntfId port : world_.portsOf(intf_)) {
            if (world_.shoalStatus->sysTcamId(port) == tcam_) {
               found_.reached.push_back(port);
            }
         }
      } else if (carrier(intf_) == intf_) {
         found_.reached.push_back(intf_);
      }
      if (found_.reached.empty()) {
         found_.unreached = whyUnreached();
      }
   }

   std::string whyUnreached() const {
      if (VlanIntfId::isVlanIntfId(intf_)) {
         return formatted("no port of {} has this VLAN untagged, and the features of a VLAN reach "
                          "untagged ports only",
                          world_.tcamName(tcam_));
      }
      return PortChannelIntfId::isPortChannelIntfId(intf_)
                 ? formatted("{} has no member on {}", intf_.name(), world_.tcamName(tcam_))
                 : formatted("the port is a member of {}, whose features count while it is",
                             carrier(intf_).name());
   }

   // The units whose own VLAN interface of this number has a key on the TCAM.
   std::set<uint32_t> unitsWithOwnKey() const {
      std::set<uint32_t> units;
      for (auto const& [key, features] : pipeline_.inLifIntfCfg->requestIter()) {
         IntfId other = key.intfId();
         if (key.tcamId() == tcam_ && VlanIntfId::isVlanIntfId(other) && !other.l3Flood() &&
             other.fields().vlanId == intf_.fields().vlanId) {
            units.insert(other.fields().unit);
         }
      }
      return units;
   }

   // Of VLAN interfaces with one number, a port takes that of its own unit, or else that without a
   // unit.
   bool isNearest(IntfId port, std::set<uint32_t> const& served) const {
      uint32_t unit = intf_.fields().unit;
      return unit == port.fields().unit || (unit == 0 && !served.contains(port.fields().unit));
   }

   void readStrangeWords() {
      if (!found_.field) {
         return;
      }
      if (World::isPort(intf_) && found_.reached.empty()) {
         found_.reached.push_back(intf_);
      }
      for (IntfId intf : found_.reached) {
         auto word = wordFor(intf);
         if (uint64_t there = word ? fieldOf(*word) : 0; there != 0) {
            found_.strange.emplace_back(intf, there);
         }
      }
      found_.reached.clear();
   }

   std::optional<InLifFeatureAttributes> wordFor(IntfId intf) const {
      return SubIntfId::isSubIntfId(intf_)
                 ? pipeline_.subIntfWords->lifFeatureAttrCollection().find(found_.key.intfKey())
                 : pipeline_.mergedWords->lifFeatureAttrCollection().find(intf);
   }
   uint64_t fieldOf(InLifFeatureAttributes const& word) const { return fieldOf(wordOf(word)); }
   uint64_t fieldOf(LifFeatureWord word) const {
      return word.value >> found_.field->offset() & found_.field->mask();
   }

   FeatureSituation::ChipWord chipWord(IntfId intf) const {
      FeatureSituation::ChipWord found;
      found.intf = intf;
      auto word = wordFor(intf);
      auto read = [&](auto const& table, auto key) {
         found.entry = key;
         found.held = table.held(key);
         found.memory = &table.memory(key);
         auto configured = table.configured(key);
         bool other = word && !(configured && fieldOf(*configured) == fieldOf(*word));
         found.waits = other && !world_.shoalStatus->portMapValid();
         found.taken = other && !found.waits;
         found.carries =
             found.held && fieldOf(*found.held) == (found_.value & found_.field->mask());
      };
      if (SubIntfId::isSubIntfId(intf)) {
         read(host_.seam().subIntfWords(), SubIntfMappingKey(intf, tcam_));
      } else if (auto place = world_.placeOf(intf); !place.isNull()) {
         read(host_.seam().portWords(), DefaultMappingKey(place));
      }
      return found;
   }

   // Whose untagged VLAN counts for the port: its port-channel's, or its own.
   IntfId carrier(IntfId port) const {
      IntfId lag = world_.lagPhyIntfMapping->phyIntfLag(port);
      return lag != IntfId() ? lag : port;
   }

   // Empty: the word carries the value, as far as its field does.
   std::string absence(IntfId intf) const {
      bool isSubIntf = SubIntfId::isSubIntfId(intf_);
      auto word = wordFor(intf);
      if (!word) {
         return isSubIntf || world_.shoalStatus->portMapValid()
                    ? "it has no word"
                    : "it has no word, and gets none before the port map is valid";
      }
      uint64_t there = fieldOf(*word);
      if (there == (found_.value & found_.field->mask())) {
         return "";
      }
      std::string text = formatted("the word has {} in this field", there);
      if (wordOf(*word) == wordOf(getInLifFeatureAttr(found_.requested))) {
         return text + ": the value of another feature runs into it";
      }
      if (!isSubIntf && !VlanIntfId::isVlanIntfId(intf_) &&
          pipeline_.vlanWords->lifFeatureAttrHas(intf)) {
         return text + ": the port's VLAN has a word of its own, which counts";
      }
      if (std::string other = ownerOf(intf, *word); !other.empty()) {
         return text + ": it equals the word of " + other;
      }
      return text + ": it has not been encoded again since";
   }

   // Another key whose features the word carries.
   std::string ownerOf(IntfId port, InLifFeatureAttributes const& word) const {
      for (auto tcam : world_.tcams()) {
         for (IntfId intf : {port, carrier(port)}) {
            InLifIntfKey key(intf, tcam);
            auto features = pipeline_.inLifIntfCfg->request(key);
            if (features && key != found_.key.intfKey() &&
                wordOf(getInLifFeatureAttr(features)) == wordOf(word)) {
               return formatInLifKey(world_, key);
            }
         }
      }
      return "";
   }

   FeaturePipeline const& pipeline_;
   World const& world_;
   Host const& host_;
   FeatureSituation& found_;
   IntfId intf_;
   Hardware::Shoal::SystemTcamId tcam_;
};

} // namespace

LifFeatureWord wordOf(InLifFeatureAttributes const& word) {
   return LifFeatureWord::of(word.data0, word.data1, word.eei);
}

std::optional<ShoalTcam::TcamShareQualInfo> featureField(Hardware::Shoal::SystemTcamId tcam,
                                                         InLifFeatureType type) {
   auto layout = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->getInLifData(tcam);
   return layout ? layout->tcamShareQualInfoNoCheck(type) : std::nullopt;
}

FeatureSituation::ChipWord const* FeatureSituation::lacking() const {
   auto found =
       std::find_if(chip.begin(), chip.end(), [](auto const& each) { return !each.carries; });
   return found == chip.end() ? nullptr : &*found;
}

FeatureSituation featureSituation(Host const& host, InLifFeatureKey key) {
   FeatureSituation found;
   found.key = key;
   FeatureGathering(host, found).gather();
   return found;
}

} // namespace ShoalHost

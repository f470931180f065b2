#include "agent/command/FeatureSituation.h"

#include "ShoalTunnel/InLifIntfSm/BaseInLifIntfSm.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;
using Plexus::PortChannelIntfId;
using Plexus::SubIntfId;
using Plexus::VlanIntfId;

namespace {

uint64_t wordOf(InLifFeatureAttributes const& word) {
   return word.data0 | static_cast<uint64_t>(word.data1) << 16 |
          static_cast<uint64_t>(word.eei) << 32;
}

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
      }
   }

 private:
   // As the library spreads a key: over ports of the key's TCAM, a single port wherever it is.
   void reach() {
      std::string tcam = host_.world().tcamName(tcam_);
      if (SubIntfId::isSubIntfId(intf_)) {
         found_.reached.push_back(intf_);
      } else if (VlanIntfId::isVlanIntfId(intf_)) {
         for (auto const& [port, systemPort] : world_.shoalStatus->sysPhyPortIdIter()) {
            if (world_.shoalStatus->sysTcamId(port) == tcam_ &&
                world_.untaggedVlanDir->untaggedVlan(carrier(port)).value() ==
                    intf_.fields().vlanId) {
               found_.reached.push_back(port);
            }
         }
         found_.unreached = "no port of " + tcam +
                            " has this VLAN untagged, and the features of a "
                            "VLAN reach untagged ports only";
      } else if (PortChannelIntfId::isPortChannelIntfId(intf_)) {
         for (IntfId port : world_.portsOf(intf_)) {
            if (world_.shoalStatus->sysTcamId(port) == tcam_) {
               found_.reached.push_back(port);
            }
         }
         found_.unreached = intf_.name() + " has no member on " + tcam;
      } else if (IntfId lag = world_.lagPhyIntfMapping->phyIntfLag(intf_); lag != IntfId()) {
         found_.unreached =
             "the port is a member of " + lag.name() + ", whose features count while it is";
      } else {
         found_.reached.push_back(intf_);
      }
      if (!found_.reached.empty()) {
         found_.unreached.clear();
      }
   }

   // Whose untagged VLAN counts for the port: its port-channel's, or its own.
   IntfId carrier(IntfId port) const {
      IntfId lag = world_.lagPhyIntfMapping->phyIntfLag(port);
      return lag != IntfId() ? lag : port;
   }

   // Empty: the word carries the value, as far as its field does.
   std::string absence(IntfId intf) const {
      bool isSubIntf = SubIntfId::isSubIntfId(intf_);
      std::optional<InLifFeatureAttributes> word;
      if (isSubIntf && pipeline_.subIntfWords->lifFeatureAttrHas(found_.key.intfKey())) {
         word = pipeline_.subIntfWords->lifFeatureAttr(found_.key.intfKey());
      } else if (!isSubIntf && pipeline_.mergedWords->lifFeatureAttrHas(intf)) {
         word = pipeline_.mergedWords->lifFeatureAttr(intf);
      }
      if (!word) {
         return "it has no word";
      }
      uint64_t there = wordOf(*word) >> found_.field->offset() & found_.field->mask();
      if (there == (found_.value & found_.field->mask())) {
         return "";
      }
      std::string text = "the word has " + std::to_string(there) + " in this field";
      if (wordOf(*word) == wordOf(getInLifFeatureAttr(found_.requested))) {
         return text + ": the value of another feature runs into it";
      }
      if (!isSubIntf && !VlanIntfId::isVlanIntfId(intf_) &&
          pipeline_.vlanWords->lifFeatureAttrHas(intf)) {
         return text + ": the port's VLAN has a word of its own, which counts";
      }
      if (std::string other = ownerOf(intf, *word); !other.empty()) {
         return text + ": it is the word of " + other;
      }
      return text + ": it was not encoded anew since";
   }

   // Another key whose features the word carries.
   std::string ownerOf(IntfId port, InLifFeatureAttributes const& word) const {
      for (auto tcam : world_.tcams()) {
         for (IntfId intf : {port, carrier(port)}) {
            InLifIntfKey key(intf, tcam);
            auto features = pipeline_.inLifIntfCfg->request(key);
            if (features && key != found_.key.intfKey() &&
                wordOf(getInLifFeatureAttr(features)) == wordOf(word)) {
               return printedInLifKey(host_, key);
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

std::optional<ShoalTcam::TcamShareQualInfo> featureField(Hardware::Shoal::SystemTcamId tcam,
                                                         InLifFeatureType type) {
   auto layout = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface()->getInLifData(tcam);
   return layout ? layout->tcamShareQualInfoNoCheck(type) : std::nullopt;
}

FeatureSituation featureSituation(Host const& host, InLifFeatureKey key) {
   FeatureSituation found;
   found.key = key;
   FeatureGathering(host, found).gather();
   return found;
}

} // namespace Agent

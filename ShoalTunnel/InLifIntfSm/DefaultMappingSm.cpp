#include "ShoalTunnel/InLifIntfSm/DefaultMappingSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Plexus::IntfId;
using Shoal::PortMap;
using Shoal::SystemPhyPortId;

namespace {

LifFeatureWord wordOf(InLifFeatureAttributes const& attributes) {
   return LifFeatureWord::of(attributes.data0, attributes.data1, attributes.eei);
}

} // namespace

DefaultMappingSm::DefaultMappingSm(
    Orv::Ptr<Shoal::Status const> shoalStatus,
    Orv::Ptr<DefaultLifFeatureConfig const> defaultMergedLifFeatureCfg,
    Orv::Ptr<SubIntfLifFeatureConfig const> subIntfLifFeatureCfg,
    Orv::Ptr<DefaultMappingConfig> defaultMappingConfig,
    Orv::Ptr<SubIntfMappingConfig> subIntfMappingConfig)
    : shoalStatus_(ORV_NOT_NULL(shoalStatus)),
      defaultMergedLifFeatureCfg_(ORV_NOT_NULL(defaultMergedLifFeatureCfg)),
      subIntfLifFeatureCfg_(ORV_NOT_NULL(subIntfLifFeatureCfg)),
      defaultMappingConfig_(ORV_NOT_NULL(defaultMappingConfig)),
      subIntfMappingConfig_(ORV_NOT_NULL(subIntfMappingConfig)), orvShoalStatus_(this),
      orvMergedLifFeatureCfg_(this), orvSubIntfLifFeatureCfg_(this) {
   shoalStatus_->portMapValidAttribute().watch(orvShoalStatus_.portMapValid);
   shoalStatus_->portMapVersionAttribute().watch(orvShoalStatus_.portMapVersion);
   shoalStatus_->portMapCollection().watch(orvShoalStatus_.portMap);
   shoalStatus_->sysPhyPortIdCollection().watch(orvShoalStatus_.sysPhyPortId);
   defaultMergedLifFeatureCfg_->lifFeatureAttrCollection().watch(orvMergedLifFeatureCfg_);
   subIntfLifFeatureCfg_->lifFeatureAttrCollection().watch(orvSubIntfLifFeatureCfg_);
   handleInitialized();
}

void DefaultMappingSm::handleInitialized() {
   SHOAL_TRACE(8, "DefaultMappingSm::", __func__);
   ORV_ASSERT(!initialized_, "!initialized()");
   initialized_ = true;
   for (auto const& [phyIntf, port] : shoalStatus_->sysPhyPortIdIter()) {
      doRecordSysPhyPortId(phyIntf);
   }
   handlePortMap();
}

void DefaultMappingSm::handlePortMap() {
   SHOAL_TRACE(8, "DefaultMappingSm::", __func__);
   if (!shoalStatus_->portMapValid()) {
      SHOAL_TRACE(7, __func__, ": port map is not valid");
      return;
   }
   Places touched;
   for (auto const& [phyIntf, place] : place_.walk()) {
      doMove(phyIntf, touched);
   }
   for (auto const& [phyIntf, word] : defaultMergedLifFeatureCfg_->lifFeatureAttrIter()) {
      doMove(phyIntf, touched);
   }
   for (auto const& [key, word] : defaultMappingConfig_->configIter()) {
      touched.push_back(key.place());
   }
   for (PortMap const& place : touched) {
      doWritePlace(place);
   }
   for (auto const& [key, word] : subIntfMappingConfig_->configIter()) {
      doWriteSubIntf({key.subIntf(), key.tcamId()});
   }
   for (auto const& [key, word] : subIntfLifFeatureCfg_->lifFeatureAttrIter()) {
      doWriteSubIntf(key);
   }
}

void DefaultMappingSm::handlePort(IntfId const& of) {
   IntfId phyIntf = of;
   SHOAL_TRACE(8, "DefaultMappingSm::", __func__, ": intfId: ", phyIntf);
   doRecordSysPhyPortId(phyIntf);
   if (!shoalStatus_->portMapValid()) {
      SHOAL_TRACE(7, __func__, ": port map is not valid");
      return;
   }
   Places touched;
   doMove(phyIntf, touched);
   for (PortMap const& place : touched) {
      doWritePlace(place);
   }
}

void DefaultMappingSm::handlePlace(SystemPhyPortId const& port) {
   SHOAL_TRACE(8, "DefaultMappingSm::", __func__, ": port: ", port.value());
   auto found = portsOf_.find(port);
   if (found == portsOf_.end() || !shoalStatus_->portMapValid()) {
      return;
   }
   Places touched;
   for (IntfId phyIntf : found->second) {
      doMove(phyIntf, touched);
   }
   for (PortMap const& place : touched) {
      doWritePlace(place);
   }
}

void DefaultMappingSm::handleSubIntf(InLifIntfKey const& key) {
   SHOAL_TRACE(8, "DefaultMappingSm::", __func__, ": ", key);
   doWriteSubIntf(key);
}

PortMap DefaultMappingSm::wantedPlace(IntfId phyIntf) const {
   return defaultMergedLifFeatureCfg_->lifFeatureAttrHas(phyIntf)
              ? shoalStatus_->portMap(shoalStatus_->sysPhyPortId(phyIntf))
              : PortMap();
}

void DefaultMappingSm::doRecordSysPhyPortId(IntfId phyIntf) {
   SystemPhyPortId previous = sysPhyPortId_.get(phyIntf);
   SystemPhyPortId now = shoalStatus_->sysPhyPortId(phyIntf);
   if (now == previous) {
      return;
   }
   if (auto found = portsOf_.find(previous); found != portsOf_.end()) {
      found->second.erase(phyIntf);
      if (found->second.empty()) {
         portsOf_.erase(found);
      }
   }
   if (now == SystemPhyPortId()) {
      sysPhyPortId_.del(phyIntf);
   } else {
      sysPhyPortId_.set(phyIntf, now);
      portsOf_[now].insert(phyIntf);
   }
}

void DefaultMappingSm::doMove(IntfId phyIntf, Places& touched) {
   PortMap previous = place_.get(phyIntf);
   PortMap now = wantedPlace(phyIntf);
   if (now != previous) {
      SHOAL_TRACE(7, __func__, ": intfId: ", phyIntf, " to unit: ", now.fapId,
                  ", port: ", now.fapPortId);
      if (auto found = portsAt_.find(previous); found != portsAt_.end()) {
         std::erase(found->second, phyIntf);
         if (found->second.empty()) {
            portsAt_.erase(found);
         }
      }
      if (now.isNull()) {
         place_.del(phyIntf);
      } else {
         place_.set(phyIntf, now);
         portsAt_[now].push_back(phyIntf);
      }
   }
   for (PortMap const& place : {now, previous}) {
      if (!place.isNull()) {
         touched.push_back(place);
      }
   }
}

void DefaultMappingSm::doWritePlace(PortMap const& place) {
   if (!shoalStatus_->portMapValid()) {
      return; // a handler has made it so
   }
   // A port whose word has just gone may still stand here: its own change comes next.
   IntfId phyIntf;
   if (auto found = portsAt_.find(place); found != portsAt_.end()) {
      for (IntfId at : found->second) {
         phyIntf = defaultMergedLifFeatureCfg_->lifFeatureAttrHas(at) ? at : phyIntf;
      }
   }
   if (phyIntf == IntfId()) {
      SHOAL_TRACE(7, __func__, ": clear unit: ", place.fapId, ", port: ", place.fapPortId);
      defaultMappingConfig_->configDel(DefaultMappingKey(place));
      return;
   }
   SHOAL_TRACE(7, __func__, ": unit: ", place.fapId, ", port: ", place.fapPortId,
               ", intfId: ", phyIntf);
   defaultMappingConfig_->configIs(DefaultMappingKey(place),
                                   wordOf(defaultMergedLifFeatureCfg_->lifFeatureAttr(phyIntf)));
}

void DefaultMappingSm::doWriteSubIntf(InLifIntfKey const& key) {
   if (!shoalStatus_->portMapValid()) {
      return; // a handler has made it so
   }
   SubIntfMappingKey entry(key.intfId(), key.tcamId());
   bool present = subIntfLifFeatureCfg_->lifFeatureAttrHas(key);
   SHOAL_TRACE(7, __func__, present ? ": " : ": clear ", key);
   if (present) {
      subIntfMappingConfig_->configIs(entry, wordOf(subIntfLifFeatureCfg_->lifFeatureAttr(key)));
   } else {
      subIntfMappingConfig_->configDel(entry);
   }
}

} // namespace Hardware::ShoalTunnel

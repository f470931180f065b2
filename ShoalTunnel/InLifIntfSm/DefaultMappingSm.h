// Takes the feature words to the chip: the merged word of each port to the place where the port
// sits, the word of each sub-interface to its entry.
//
// Follows the words, the places of ports and the port map version. A port that moves clears the
// place that it leaves, unless another port has come there. Of two ports in one place, the one
// whose word came there last has it, till it leaves. While the port map is not valid nothing is
// written or removed; what has changed follows when it is valid again.
//
// Ready after construction; removes what an earlier machine wrote and that is no longer so. Event
// thread only.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "platform/Hardware/ShoalTunnel/LifFeatureTable.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureConfig.h"
#include "ShoalTunnel/InLifIntfSm/SubIntfLifFeatureConfig.h"

#include <map>
#include <set>
#include <vector>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT DefaultMappingSm : public Orv::RefCounted {
 public:
   DefaultMappingSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                    Orv::Ptr<DefaultLifFeatureConfig const> defaultMergedLifFeatureCfg,
                    Orv::Ptr<SubIntfLifFeatureConfig const> subIntfLifFeatureCfg,
                    Orv::Ptr<DefaultMappingConfig> defaultMappingConfig,
                    Orv::Ptr<SubIntfMappingConfig> subIntfMappingConfig);

   void handleInitialized();
   bool initialized() const { return initialized_; }
   // The port map became valid or invalid, or has a new version: everything anew.
   void handlePortMap();
   // The merged word of the port, or its system port.
   void handlePort(Plexus::IntfId const& phyIntf);
   // The place of a system port.
   void handlePlace(Shoal::SystemPhyPortId const& port);
   // The word of a sub-interface.
   void handleSubIntf(InLifIntfKey const& key);

 private:
   struct OrvShoalStatus {
      explicit OrvShoalStatus(DefaultMappingSm* sm)
          : portMapValid(sm), portMapVersion(sm), portMap(sm), sysPhyPortId(sm) {}
      Orv::ReactorFor<&DefaultMappingSm::handlePortMap> portMapValid;
      Orv::ReactorFor<&DefaultMappingSm::handlePortMap> portMapVersion;
      Orv::ReactorFor<&DefaultMappingSm::handlePlace> portMap;
      Orv::ReactorFor<&DefaultMappingSm::handlePort> sysPhyPortId;
   };
   using OrvMergedLifFeatureCfg = Orv::ReactorFor<&DefaultMappingSm::handlePort>;
   using OrvSubIntfLifFeatureCfg = Orv::ReactorFor<&DefaultMappingSm::handleSubIntf>;

   using Places = std::vector<Shoal::PortMap>;

   // Where the port's word belongs now; null: nowhere.
   Shoal::PortMap wantedPlace(Plexus::IntfId phyIntf) const;
   void doRecordSysPhyPortId(Plexus::IntfId phyIntf);
   // Notes where the port's word belongs, and adds the places that this may change. They are
   // written when all have moved, so that no place is cleared that another port comes to.
   void doMove(Plexus::IntfId phyIntf, Places& touched);
   void doWritePlace(Shoal::PortMap const& place);
   void doWriteSubIntf(InLifIntfKey const& key);

   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<DefaultLifFeatureConfig const> defaultMergedLifFeatureCfg_;
   Orv::Ptr<SubIntfLifFeatureConfig const> subIntfLifFeatureCfg_;
   Orv::Ptr<DefaultMappingConfig> defaultMappingConfig_;
   Orv::Ptr<SubIntfMappingConfig> subIntfMappingConfig_;

   bool initialized_ = false;
   Orv::KeyedByIndex<Plexus::IntfId, Shoal::PortMap> place_;            // of each port with a word
   std::map<Shoal::PortMap, std::vector<Plexus::IntfId>> portsAt_;      // in order of their coming
   std::map<Shoal::SystemPhyPortId, std::set<Plexus::IntfId>> portsOf_; // of each system port
   Orv::KeyedByIndex<Plexus::IntfId, Shoal::SystemPhyPortId> sysPhyPortId_; // as last seen

   OrvShoalStatus orvShoalStatus_;
   OrvMergedLifFeatureCfg orvMergedLifFeatureCfg_;
   OrvSubIntfLifFeatureCfg orvSubIntfLifFeatureCfg_;
};

template<class... Args>
Orv::Ptr<DefaultMappingSm> DefaultMappingSmIs(Args&&... args) {
   return Orv::make<DefaultMappingSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

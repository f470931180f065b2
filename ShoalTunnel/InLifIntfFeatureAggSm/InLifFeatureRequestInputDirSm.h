// Keeps one aggregation machine per request directory of the input directory.
//
// Reads the input directory and ignores entries of other types; passes the shared in-LIF
// configuration to the machines. When a directory is removed its machine ends, but its requests
// stay in the configuration. Event thread only.
#pragma once

#include "platform/Orv/Dir.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestAggSm.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT InLifFeatureRequestInputDirSm : public Orv::RefCounted {
 public:
   // Starts a machine for every request directory, in order of name.
   InLifFeatureRequestInputDirSm(Orv::Ptr<Orv::Dir const> inputDir,
                                 Orv::Ptr<InLifIntfConfig> inLifIntfCfg);

   // The entry was added, replaced or removed. A replaced directory gets a new machine, which
   // applies all of its requests again.
   void handleInput(Orv::Name const& name);
   // Starts machines only; does not end the machines of removed entries.
   void handleAllInput();

   // Entry name -> machine.
   ORV_COLLECTION(inLifFeatureRequestAggSm, Orv::Name, Orv::Ptr<InLifFeatureRequestAggSm>,
                  Orv::Keyed)

 private:
   using OrvInputDir = Orv::ReactorFor<&InLifFeatureRequestInputDirSm::handleInput>;

   Orv::Ptr<Orv::Dir const> inputDir_;
   Orv::Ptr<InLifIntfConfig> inLifIntfCfg_;
   OrvInputDir orvInputDir_;
};

template<class... Args>
Orv::Ptr<InLifFeatureRequestInputDirSm> inLifFeatureRequestInputDirSmFactory(Args&&... args) {
   return Orv::make<InLifFeatureRequestInputDirSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// Keeps one aggregation machine per request directory of the input directory.
//
// Reads the input directory, whose entries of other types it ignores; hands the shared in-LIF
// configuration to the machines. A directory that goes takes its machine with it and leaves what it
// requested. Event thread only.
#pragma once

#include "platform/Orv/Dir.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestAggSm.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT InLifFeatureRequestInputDirSm : public Orv::RefCounted {
 public:
   // Starts a machine for every request directory that is there, in order of name.
   InLifFeatureRequestInputDirSm(Orv::Ptr<Orv::Dir const> inputDir,
                                 Orv::Ptr<InLifIntfConfig> inLifIntfCfg);

   // The entry was added, replaced or removed. A replaced directory gets a new machine, which
   // applies all of its requests again.
   void handleInput(Orv::Name const& name);
   // Only adds: machines of names that are gone stay.
   void handleAllInput();

   // Entry name -> its machine.
   ORV_COLLECTION(inLifFeatureRequestAggSm, Orv::Name, Orv::Ptr<InLifFeatureRequestAggSm>,
                  Orv::Keyed)

 private:
   using OrvInputDir = Orv::ReactorFor<&InLifFeatureRequestInputDirSm::handleInput>;

   Orv::Ptr<Orv::Dir const> inputDir_;
   Orv::Ptr<InLifIntfConfig> inLifIntfCfg_;
   OrvInputDir orvInputDir_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<InLifFeatureRequestInputDirSm> inLifFeatureRequestInputDirSmFactory(Args&&... args) {
   return Orv::make<InLifFeatureRequestInputDirSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

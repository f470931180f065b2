// Folds the requests of one feature's request directory into the shared in-LIF configuration.
//
// Reads one InLifFeatureRequestDir, writes InLifIntfConfig, which the machines of other directories
// write too. An aggregate exists while it has a feature. Nobody keeps account of who asked for
// what: the last value written for a feature stands, and a withdrawal takes the feature away even
// while another directory still asks for it. Each requester is meant to keep to feature types of
// its own. Ending a machine takes nothing back. Event thread only.
#pragma once

#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestDir.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT InLifFeatureRequestAggSm : public Orv::RefCounted {
 public:
   // Aggregates every request that is there. A null directory reads as empty.
   InLifFeatureRequestAggSm(Orv::Ptr<InLifFeatureRequestDir const> requestDir,
                            Orv::Ptr<InLifIntfConfig> inLifIntfCfg);

   // The directory's name.
   Orv::Name name() const { return requestDir_ ? requestDir_->name() : Orv::Name(); }
   Orv::Ptr<InLifFeatureRequestDir const> const& requestDir() const { return requestDir_; }

   // The request was added, changed, published again or removed.
   void handleRequest(InLifFeatureKey const& reqKey);
   void handleAllRequest();

   static constexpr char const* blipForm = "InLifFeatureRequestAggSm(%)::";
   auto blipFields() const { return std::tuple(name()); }
   friend std::ostream& operator<<(std::ostream& out, InLifFeatureRequestAggSm const& sm) {
      return out << "InLifFeatureRequestAggSm(" << sm.name() << ")::";
   }

 private:
   using OrvRequestDir = Orv::ReactorFor<&InLifFeatureRequestAggSm::handleRequest>;

   Orv::Ptr<InLifFeatureRequestDir const> requestDir_;
   Orv::Ptr<InLifIntfConfig> inLifIntfCfg_;
   OrvRequestDir orvRequestDir_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<InLifFeatureRequestAggSm> inLifFeatureRequestAggSmFactory(Args&&... args) {
   return Orv::make<InLifFeatureRequestAggSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// Aggregates the requests of one request directory into the shared in-LIF configuration.
//
// Reads one InLifFeatureRequestDir and writes InLifIntfConfig, which the machines of other
// directories write too. An aggregate exists while it has a feature. The directory of a feature is
// not recorded: the last value written wins, and a withdrawal removes the feature even if another
// directory still requests it. So directories are expected to use disjoint feature types. The end
// of a machine does not withdraw its requests. Event thread only.
#pragma once

#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestDir.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT InLifFeatureRequestAggSm : public Orv::RefCounted {
 public:
   // Aggregates every request of the directory. A null directory reads as empty.
   InLifFeatureRequestAggSm(Orv::Ptr<InLifFeatureRequestDir const> requestDir,
                            Orv::Ptr<InLifIntfConfig> inLifIntfCfg);

   // The name of the directory.
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

template<class... Args>
Orv::Ptr<InLifFeatureRequestAggSm> inLifFeatureRequestAggSmFactory(Args&&... args) {
   return Orv::make<InLifFeatureRequestAggSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

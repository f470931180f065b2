// Base of the reactors that watch the version of one aggregate.
//
// There is one per aggregate and machine, so it is small: it has the key, not a pointer to the
// aggregate. The owner removes it together with the aggregate. Otherwise handleDelete is called
// when the aggregate ends.
#pragma once

#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"

namespace Hardware::ShoalTunnel {

class VersionReactor : public Orv::Reactor<>, public Orv::RefCounted {
 public:
   // If `aggr` is null, the key is the default key and nothing is watched.
   explicit VersionReactor(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr)
       : key_(aggr ? aggr->key() : InLifIntfKey()) {
      aggrIs(aggr);
   }
   // Watches another aggregate with the same key.
   void aggrIs(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr) {
      if (aggr) {
         aggr->versionAttribute().watch(*this);
      }
   }

 protected:
   InLifIntfKey key() const { return key_; }

 private:
   InLifIntfKey key_;
};

} // namespace Hardware::ShoalTunnel

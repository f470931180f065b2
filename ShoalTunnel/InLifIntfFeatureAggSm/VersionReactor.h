// Base of the reactors that follow the versions of a table's aggregates, one reactor each.
//
// There is one per aggregate and machine, so it is kept small: the key in place of a pointer to the
// aggregate. Its owner removes it with the member; only an owner that forgets hears of the
// aggregate's end through handleDelete.
#pragma once

#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"

namespace Hardware::ShoalTunnel {

class VersionReactor : public Orv::Reactor<>, public Orv::RefCounted {
 public:
   // Without an aggregate the key is the default one and nothing is watched.
   explicit VersionReactor(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr)
       : key_(aggr ? aggr->key() : InLifIntfKey()) {
      aggrIs(aggr);
   }
   // Points at another aggregate of the same key.
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

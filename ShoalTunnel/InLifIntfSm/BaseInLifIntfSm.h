// Base of the machines that turn aggregated feature requests into in-LIF configuration, one machine
// per family of interface kinds.
//
// Follows every aggregate of InLifIntfConfig and hands each change to the derived class, which
// programs the keys of its kinds and, for each key that it handled, records features and version in
// InLifIntfStatus (doUpdateResponse). A new TCAM key version hands over every key again.
//
// The reactors of aggregates are there from construction on; handlers return at once until the
// owner, with everything mounted, calls handleInitialized(). Event thread only.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/VersionReactor.h"
#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"
#include "ShoalTunnel/InLifIntfSm/InLifIntfKind.h"

#include <exception>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT BaseInLifIntfSm : public Orv::RefCounted {
 public:
   // Follows one aggregate.
   class TCAM_SHARING_EXPORT OrvLifIntfCfg : public VersionReactor {
    public:
      OrvLifIntfCfg(Orv::Ptr<InLifIntfFeatureAggr const> const& lifIntfCfg, BaseInLifIntfSm* sm)
          : VersionReactor(lifIntfCfg), sm_(sm) {}
      InLifIntfKey lifIntfKey() const { return key(); }
      Orv::Ptr<InLifIntfFeatureAggr const> lifIntfCfg() const {
         return sm_->inLifIntfCfg()->request(key());
      }

      void handleInitialized();
      void handleVersion();
      // The aggregate left the configuration.
      void handleDelete() override;

      static constexpr char const* blipForm = "LifIntfCfg(%, %)::";
      auto blipFields() const { return std::tuple(key().intfId(), key().tcamId().value()); }
      friend std::ostream& operator<<(std::ostream& out, OrvLifIntfCfg const& reactor) {
         return out << "LifIntfCfg(" << reactor.key().intfId() << ", " << reactor.key().tcamId()
                    << ")::";
      }

    private:
      void handle() override { handleVersion(); }
      BaseInLifIntfSm* sm_;
   };

   BaseInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                   Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                   Orv::Ptr<Shoal::Status const> shoalStatus);
   ~BaseInLifIntfSm() override;

   // Starts the machine: hands over, as removals, what the status holds and nobody asks for any
   // more, then every aggregate that is there, in order. A key that throws Orv::RangeException
   // keeps no other from being handed over; the first exception leaves behind them.
   virtual void handleInitialized();
   bool initialized() const { return initialized_; }
   // Hands over every aggregate again, as a start does.
   void handleTcamKeyVersion();
   // The aggregate came or went.
   void handleInLifIntfCfg(InLifIntfKey const& key);

   // `isAdd`: the key is to be programmed as its aggregate says; otherwise it left the
   // configuration. The base's own version is an invariant failure.
   virtual void doHandleRequest(InLifIntfKey const& key, bool isAdd);
   // Records that the key was handled as its aggregate stands now; without one, the record goes.
   void doUpdateResponse(InLifIntfKey const& key);

   // One reactor per aggregate. A null aggregate throws Orv::NullArgumentException.
   Orv::Ptr<OrvLifIntfCfg> lifIntfCfg(InLifIntfKey const& key) const {
      return lifIntfCfg_.get(key);
   }
   bool lifIntfCfgHas(InLifIntfKey const& key) const { return lifIntfCfg_.has(key); }
   std::size_t lifIntfCfgs() const { return lifIntfCfg_.size(); }
   void lifIntfCfgIs(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr);
   void lifIntfCfgDel(InLifIntfKey const& key);
   void lifIntfCfgDelAll();
   Orv::Ptr<OrvLifIntfCfg> newLifIntfCfg(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr);

   Orv::Ptr<InLifIntfConfig const> const& inLifIntfCfg() const { return inLifIntfCfg_; }
   Orv::Ptr<InLifIntfStatus> const& inLifIntfStatus() const { return inLifIntfStatus_; }
   Orv::Ptr<Shoal::Status const> const& shoalStatus() const { return shoalStatus_; }

 protected:
   // Everything was handed over at the start.
   virtual void doHandleStarted() {}
   // Hands over every aggregate; the first Orv::RangeException, if any.
   std::exception_ptr doHandleEveryRequest();
   // The record goes of each key whose interface is the machine's own and that nobody asks for.
   void doForgetWithdrawn(bool (*isOwn)(Plexus::IntfId));

 private:
   using OrvInLifIntfCfg = Orv::ReactorFor<&BaseInLifIntfSm::handleInLifIntfCfg>;
   using OrvShoalStatus = Orv::ReactorFor<&BaseInLifIntfSm::handleTcamKeyVersion>;

   Orv::Ptr<InLifIntfConfig const> inLifIntfCfg_;
   Orv::Ptr<InLifIntfStatus> inLifIntfStatus_;
   Orv::Ptr<Shoal::Status const> shoalStatus_;
   bool initialized_ = false;
   OrvInLifIntfCfg orvInLifIntfCfg_;
   OrvShoalStatus orvShoalStatus_;
   Orv::KeyedByIndex<InLifIntfKey, Orv::Ptr<OrvLifIntfCfg>> lifIntfCfg_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<BaseInLifIntfSm> baseInLifIntfSmFactory(Args&&... args) {
   return Orv::make<BaseInLifIntfSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

// Base of the machines that turn aggregated feature requests into in-LIF configuration, one machine
// per family of interface kinds.
//
// Watches every aggregate of InLifIntfConfig and passes each change to the derived class. That
// class programs the keys of its interface kinds and records features and version of each handled
// key in InLifIntfStatus (doUpdateResponse). A new TCAM key version passes every key again.
//
// The constructor registers the reactors, but handlers do nothing until the owner has mounted
// everything and calls handleInitialized(). Event thread only.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "platform/Orv/IndexedSet.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"
#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"
#include "ShoalTunnel/InLifIntfSm/InLifIntfKind.h"

#include <exception>
#include <optional>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT BaseInLifIntfSm : public Orv::RefCounted {
 public:
   // Reacts to one aggregate. A value: what the machine keeps is the key.
   class TCAM_SHARING_EXPORT OrvLifIntfCfg {
    public:
      OrvLifIntfCfg(InLifIntfKey key, BaseInLifIntfSm* sm) : key_(key), sm_(sm) {}
      InLifIntfKey lifIntfKey() const { return key_; }
      Orv::Ptr<InLifIntfFeatureAggr const> lifIntfCfg() const {
         return sm_->inLifIntfCfg()->request(key_);
      }

      void handleInitialized();
      void handleVersion();
      // The aggregate was removed from the configuration.
      void handleDelete();

      friend bool operator==(OrvLifIntfCfg const&, OrvLifIntfCfg const&) = default;

      static constexpr char const* blipForm = "LifIntfCfg(%, %)::";
      auto blipFields() const { return std::tuple(key_.intfId(), key_.tcamId().value()); }
      friend std::ostream& operator<<(std::ostream& out, OrvLifIntfCfg const& reactor) {
         return out << "LifIntfCfg(" << reactor.key_.intfId() << ", " << reactor.key_.tcamId()
                    << ")::";
      }

    private:
      InLifIntfKey key_;
      BaseInLifIntfSm* sm_;
   };

   BaseInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                   Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                   Orv::Ptr<Shoal::Status const> shoalStatus);
   ~BaseInLifIntfSm() override;

   // Starts the machine: passes as removals the keys that are in the status but no longer
   // requested, then every aggregate in order. If a key throws Orv::RangeException the others are
   // still passed; then the first exception is thrown again.
   virtual void handleInitialized();
   bool initialized() const { return initialized_; }
   // Passes every aggregate again, with the same handling of exceptions.
   void handleTcamKeyVersion();
   // The aggregate was added or removed.
   void handleInLifIntfCfg(InLifIntfKey const& key);
   // The version of the aggregate changed.
   void handleVersion(InLifIntfKey const& key);

   // `isAdd`: program the key from its aggregate; otherwise the key was removed from the
   // configuration. The base version is an invariant failure.
   virtual void doHandleRequest(InLifIntfKey const& key, bool isAdd);
   // Copies the aggregate of the key to the status; removes the status if there is no aggregate.
   void doUpdateResponse(InLifIntfKey const& key);

   // One reactor per aggregate. A null aggregate throws Orv::NullArgumentException; one that is not
   // in the configuration is not followed.
   std::optional<OrvLifIntfCfg> lifIntfCfg(InLifIntfKey const& key) {
      return lifIntfCfgHas(key) ? std::optional(OrvLifIntfCfg(key, this)) : std::nullopt;
   }
   bool lifIntfCfgHas(InLifIntfKey const& key) const { return lifIntfCfg_.contains(key); }
   std::size_t lifIntfCfgs() const { return lifIntfCfg_.size(); }
   void lifIntfCfgIs(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr);
   void lifIntfCfgDel(InLifIntfKey const& key);
   void lifIntfCfgDelAll();
   OrvLifIntfCfg newLifIntfCfg(Orv::Ptr<InLifIntfFeatureAggr const> const& aggr);

   Orv::Ptr<InLifIntfConfig const> const& inLifIntfCfg() const { return inLifIntfCfg_; }
   Orv::Ptr<InLifIntfStatus> const& inLifIntfStatus() const { return inLifIntfStatus_; }
   Orv::Ptr<Shoal::Status const> const& shoalStatus() const { return shoalStatus_; }

 protected:
   // Called when the start has passed every key.
   virtual void doHandleStarted() {}
   // Passes every aggregate; returns the first Orv::RangeException, if any.
   std::exception_ptr doHandleEveryRequest();
   // Removes the status of keys that are not requested and whose interface satisfies `isOwn`.
   void doForgetWithdrawn(bool (*isOwn)(Plexus::IntfId));

 private:
   using OrvInLifIntfCfg = Orv::ReactorFor<&BaseInLifIntfSm::handleInLifIntfCfg>;
   using OrvVersion = Orv::ReactorFor<&BaseInLifIntfSm::handleVersion>;
   using OrvShoalStatus = Orv::ReactorFor<&BaseInLifIntfSm::handleTcamKeyVersion>;

   Orv::Ptr<InLifIntfConfig const> inLifIntfCfg_;
   Orv::Ptr<InLifIntfStatus> inLifIntfStatus_;
   Orv::Ptr<Shoal::Status const> shoalStatus_;
   bool initialized_ = false;
   OrvInLifIntfCfg orvInLifIntfCfg_;
   OrvVersion orvVersion_;
   OrvShoalStatus orvShoalStatus_;
   Orv::IndexedSet<InLifIntfKey> lifIntfCfg_;
};

template<class... Args>
Orv::Ptr<BaseInLifIntfSm> baseInLifIntfSmFactory(Args&&... args) {
   return Orv::make<BaseInLifIntfSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

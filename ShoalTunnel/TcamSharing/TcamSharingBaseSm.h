// Base of the programming machines: watches one output table of the pipeline and passes every
// change of a request to the derived class.
//
// The base constructor ends with the base's own handleInitialized(). A derived class starts up in
// its own constructor after that.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"
#include "ShoalTunnel/TcamSharing/TcamSharingHelper.h"

#include <memory>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingBaseSm : public Orv::RefCounted {
 public:
   TcamSharingBaseSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                     Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                     Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                     Orv::Ptr<TcamSharingHelper> tcamSharingHelper);
   ~TcamSharingBaseSm() override;

   // `request` was added, changed or removed in the table. The base version throws
   // Orv::NoImplementationException.
   virtual void handleTcamSharingConfig(TcamSharingRequest const& request);
   // A second call is an invariant failure.
   virtual void handleInitialized();
   // true: unregisters the reactors, so that no handler is called; false: registers them again.
   virtual void orvDoZombieReactors(bool zombie);
   bool initialized() const { return initialized_; }

 protected:
   // The name of the handler in the traces of its steps.
   static constexpr char const* configHandler = "handleTcamSharingConfig";

   // Handles every request in the table. Derived constructors call it last.
   void doHandleAllRequests();
   // Watches a hardware status table, unless it is null or watched already.
   template<class Reactor, class Status>
   static void doWatch(Reactor& reactor, Orv::Ptr<Status const> const& status) {
      if (status && !reactor.registered()) {
         status->statusCollection().watch(reactor);
      }
   }
   Orv::Ptr<Shoal::Status const> const& shoalStatus() const { return shoalStatus_; }
   Orv::Ptr<TcamSharingConfig const> const& tcamSharingConfig() const { return tcamSharingConfig_; }
   Orv::Ptr<TcamSharingStatus> const& tcamSharingStatus() const { return tcamSharingStatus_; }
   Orv::Ptr<TcamSharingHelper> const& tcamSharingHelper() const { return tcamSharingHelper_; }

 private:
   class OrvTcamSharingConfig : public Orv::Reactor<TcamSharingRequest> {
    public:
      explicit OrvTcamSharingConfig(TcamSharingBaseSm* sm) : sm_(sm) {}
      void handle(TcamSharingRequest const& request) override {
         sm_->handleTcamSharingConfig(request);
      }

    private:
      TcamSharingBaseSm* sm_;
   };

   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<TcamSharingConfig const> tcamSharingConfig_;
   Orv::Ptr<TcamSharingStatus> tcamSharingStatus_;
   Orv::Ptr<TcamSharingHelper> tcamSharingHelper_;
   bool initialized_ = false;
   std::unique_ptr<OrvTcamSharingConfig> orvTcamSharingConfig_; // null without a table
};

} // namespace Hardware::ShoalTunnel

// Answers every requested feature: compares the handled value with the requested value.
//
// Watches InLifIntfStatus, reads InLifIntfConfig without watching it, and writes
// InLifFeatureStatus. A feature has a response while it is in the status: success if the handled
// value equals the requested value, otherwise failure. A status whose version differs from that of
// the configuration changes no response. The removal of a feature or a status removes its
// responses. Event thread only.
#pragma once

#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureStatus.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/VersionReactor.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT InLifFeatureResponseSm : public Orv::RefCounted {
 public:
   // Watches one member of the status.
   class TCAM_SHARING_EXPORT OrvLifStatusResponse : public VersionReactor {
    public:
      OrvLifStatusResponse(Orv::Ptr<InLifIntfFeatureAggr const> const& response,
                           InLifFeatureResponseSm* sm)
          : VersionReactor(response), sm_(sm) {}
      InLifIntfKey lifIntfKey() const { return key(); }

      void handleInitialized() { handleVersion(); }
      void handleVersion();
      // The member was removed.
      void handleDelete() override;

      static constexpr char const* blipForm = "LifStatusResponse(%, %)::";
      auto blipFields() const { return std::tuple(key().intfId(), key().tcamId().value()); }
      friend std::ostream& operator<<(std::ostream& out, OrvLifStatusResponse const& reactor) {
         return out << "LifStatusResponse(" << reactor.key().intfId() << ", "
                    << reactor.key().tcamId() << ")::";
      }

    private:
      void handle() override { handleVersion(); }
      void doUpdateFeature(InLifFeatureType type);
      InLifFeatureResponseSm* sm_;
   };

   InLifFeatureResponseSm(Orv::Ptr<InLifIntfStatus const> inLifIntfStatus,
                          Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                          Orv::Ptr<InLifFeatureStatus> statusDir);

   // The member was added or removed.
   void handleInLifIntfStatus(InLifIntfKey const& key);

   // One reactor per status member.
   Orv::Ptr<OrvLifStatusResponse> lifStatusResponse(InLifIntfKey const& key) const {
      return lifStatusResponse_.get(key);
   }
   bool lifStatusResponseHas(InLifIntfKey const& key) const { return lifStatusResponse_.has(key); }
   std::size_t lifStatusResponses() const { return lifStatusResponse_.size(); }
   void lifStatusResponseIs(Orv::Ptr<InLifIntfFeatureAggr const> const& response);
   void lifStatusResponseDel(InLifIntfKey const& key);
   void lifStatusResponseDelAll();

 private:
   using OrvInLifIntfStatus = Orv::ReactorFor<&InLifFeatureResponseSm::handleInLifIntfStatus>;

   Orv::Ptr<InLifIntfStatus const> inLifIntfStatus_;
   Orv::Ptr<InLifIntfConfig const> inLifIntfCfg_;
   Orv::Ptr<InLifFeatureStatus> statusDir_;
   OrvInLifIntfStatus orvInLifIntfStatus_;
   Orv::KeyedByIndex<InLifIntfKey, Orv::Ptr<OrvLifStatusResponse>> lifStatusResponse_;
};

template<class... Args>
Orv::Ptr<InLifFeatureResponseSm> inLifFeatureResponseSmFactory(Args&&... args) {
   return Orv::make<InLifFeatureResponseSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

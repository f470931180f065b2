// Answers every requested feature: compares the handled value with the requested value.
//
// Watches InLifIntfStatus, reads InLifIntfConfig without watching it, and writes
// InLifFeatureStatus. A feature has a response while it is in the status: success if the handled
// value equals the requested value, otherwise failure. A status whose version differs from that of
// the configuration changes no response. The removal of a feature or a status removes its
// responses. Event thread only.
#pragma once

#include "platform/Orv/IndexedSet.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureStatus.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"

#include <optional>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT InLifFeatureResponseSm : public Orv::RefCounted {
 public:
   // Reacts to one member of the status. A value: what the machine keeps is the key.
   class TCAM_SHARING_EXPORT OrvLifStatusResponse {
    public:
      OrvLifStatusResponse(InLifIntfKey key, InLifFeatureResponseSm* sm) : key_(key), sm_(sm) {}
      // A null member has the default key.
      OrvLifStatusResponse(Orv::Ptr<InLifIntfFeatureAggr const> const& response,
                           InLifFeatureResponseSm* sm)
          : OrvLifStatusResponse(response ? response->key() : InLifIntfKey(), sm) {}
      InLifIntfKey lifIntfKey() const { return key_; }

      void handleInitialized() { handleVersion(); }
      void handleVersion();
      // The member was removed.
      void handleDelete();

      friend bool operator==(OrvLifStatusResponse const&, OrvLifStatusResponse const&) = default;

      static constexpr char const* blipForm = "LifStatusResponse(%, %)::";
      auto blipFields() const { return std::tuple(key_.intfId(), key_.tcamId().value()); }
      friend std::ostream& operator<<(std::ostream& out, OrvLifStatusResponse const& reactor) {
         return out << "LifStatusResponse(" << reactor.key_.intfId() << ", "
                    << reactor.key_.tcamId() << ")::";
      }

    private:
      // Whether the response changed. Either aggregate may be null.
      bool doUpdateFeature(InLifFeatureType type, InLifIntfFeatureAggr const* handled,
                           InLifIntfFeatureAggr const* requested);

      InLifIntfKey key_;
      InLifFeatureResponseSm* sm_;
   };

   InLifFeatureResponseSm(Orv::Ptr<InLifIntfStatus const> inLifIntfStatus,
                          Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                          Orv::Ptr<InLifFeatureStatus> statusDir);

   // The member was added or removed.
   void handleInLifIntfStatus(InLifIntfKey const& key);
   // The version of the member changed.
   void handleVersion(InLifIntfKey const& key);

   // One reactor per status member. A member that is not in the status is not followed.
   std::optional<OrvLifStatusResponse> lifStatusResponse(InLifIntfKey const& key) {
      return lifStatusResponseHas(key) ? std::optional(OrvLifStatusResponse(key, this))
                                       : std::nullopt;
   }
   bool lifStatusResponseHas(InLifIntfKey const& key) const {
      return lifStatusResponse_.contains(key);
   }
   std::size_t lifStatusResponses() const { return lifStatusResponse_.size(); }
   void lifStatusResponseIs(Orv::Ptr<InLifIntfFeatureAggr const> const& response);
   void lifStatusResponseDel(InLifIntfKey const& key);
   void lifStatusResponseDelAll();

 private:
   using OrvInLifIntfStatus = Orv::ReactorFor<&InLifFeatureResponseSm::handleInLifIntfStatus>;
   using OrvVersion = Orv::ReactorFor<&InLifFeatureResponseSm::handleVersion>;

   Orv::Ptr<InLifIntfStatus const> inLifIntfStatus_;
   Orv::Ptr<InLifIntfConfig const> inLifIntfCfg_;
   Orv::Ptr<InLifFeatureStatus> statusDir_;
   OrvInLifIntfStatus orvInLifIntfStatus_;
   OrvVersion orvVersion_;
   Orv::IndexedSet<InLifIntfKey> lifStatusResponse_;
};

template<class... Args>
Orv::Ptr<InLifFeatureResponseSm> inLifFeatureResponseSmFactory(Args&&... args) {
   return Orv::make<InLifFeatureResponseSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel

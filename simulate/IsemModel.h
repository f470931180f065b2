// What the machine of shared entries should have made of its output and of the chip's answers.
#pragma once

#include "simulate/SharingModel.h"

namespace Simulate {

class IsemModel : public SharingModel {
 public:
   using WriteKey = std::pair<AradSemKeyAndFap, bool>; // true: written, false: removed

   using SharingModel::SharingModel;
   // The chip wrote the entry's status, or removed it (the default entry).
   void answered(AradSemKeyAndFap key, Hardware::ShoalTunnel::SemTableStatusEntry const& status);
   void machineRestarts();

   Table<AradSemKeyAndFap, AradSemPayload> const& config() const { return config_; }
   Table<TcamSharingRequest, AradSemKeyAndFap> const& mapping() const { return mapping_; }
   Table<AradSemKeyAndFap, std::set<TcamSharingRequest>> const& users() const { return users_; }
   Table<WriteKey, std::vector<TcamSharingEntry>> const& pending() const { return pending_; }

 private:
   void program(TcamSharingRequest request, TcamSharingPolicyId policy) override;
   std::vector<TcamSharingRequest> programmed(IntfId intf) const override;
   void remove(TcamSharingRequest request);
   void dropUser(AradSemKeyAndFap key, TcamSharingRequest request);

   Table<AradSemKeyAndFap, AradSemPayload> config_;
   Table<TcamSharingRequest, AradSemKeyAndFap> mapping_;
   Table<AradSemKeyAndFap, std::set<TcamSharingRequest>> users_;
   Table<WriteKey, std::vector<TcamSharingEntry>> pending_; // oldest first
};

} // namespace Simulate

// The reactor of TcamSharingCodef on one sub-interface status.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"

namespace Hardware::ShoalTunnel {

class TcamSharingCodef::OrvSubIntfStatus : public Orv::RefCounted {
 public:
   OrvSubIntfStatus(TcamSharingCodef* codef, Orv::Ptr<Interface::SubIntfStatus const> status)
       : codef_(codef), status_(std::move(status)), orvProgramInHw_(this) {
      status_->programInHwAttribute().watch(orvProgramInHw_);
   }
   void handleProgramInHw();

 private:
   TcamSharingCodef* codef_;
   Orv::Ptr<Interface::SubIntfStatus const> status_;
   Orv::ReactorFor<&OrvSubIntfStatus::handleProgramInHw> orvProgramInHw_;
};

} // namespace Hardware::ShoalTunnel

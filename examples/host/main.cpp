// The smallest host. It uses only the installed headers and libraries.
#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"
#include "ShoalTunnel/Version.h"

#include <iostream>

using namespace Hardware::ShoalTunnel;

int main() {
   auto config = Orv::make<TcamSharingConfig>();
   TcamSharingRequest const request(Plexus::IntfId("Ethernet1"), Hardware::Shoal::FapId(0));
   config->requestIs(request, TcamSharingPolicyId(5));
   std::cout << "TcamSharing " TCAM_SHARING_VERSION "\n";

   // The type that the library registered must be the one that this program was compiled with.
   bool const sameType = &config->orvType() == Orv::Type::find(TcamSharingConfig::orvFullName);
   return sameType && config->requests() == 1 && config->request(request).qosPolicy() == 5 ? 0 : 1;
}

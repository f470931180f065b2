#include "platform/ShoalTcam/TcamDbStatusInterface.h"

namespace ShoalTcam {

Orv::Ptr<TcamDbStatusInterface> const& TcamDbStatusInterface::tcamDbStatusInterface() {
   static auto const instance = Orv::make<TcamDbStatusInterface>();
   return instance;
}

} // namespace ShoalTcam

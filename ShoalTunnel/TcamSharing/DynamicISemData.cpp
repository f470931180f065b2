#include "ShoalTunnel/TcamSharing/DynamicISemData.h"

#include "platform/Toggle/Toggle.h"

namespace Hardware::ShoalTunnel {

bool toggleDynamicISemDataEnabled() {
   static bool const enabled = Toggle::getToggleState("DynamicISemData", "ShoalTcamLib.json", true);
   return enabled;
}

} // namespace Hardware::ShoalTunnel

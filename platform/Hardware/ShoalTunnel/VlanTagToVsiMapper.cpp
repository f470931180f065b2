#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<VlanTagToVsiMapperKeyFields> vlanTagToVsiMapperKeyInterner;

} // namespace Hardware::ShoalTunnel

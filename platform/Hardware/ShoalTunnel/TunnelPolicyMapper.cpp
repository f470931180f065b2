#include "platform/Hardware/ShoalTunnel/TunnelPolicyMapper.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<TunnelPolicyMapperKeyFields> tunnelPolicyMapperKeyInterner;

} // namespace Hardware::ShoalTunnel

#include "platform/Hardware/ShoalTunnel/LifFeatureTable.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<Shoal::PortMap> defaultMappingKeyInterner;
Orv::Interner<SubIntfMappingKeyFields> subIntfMappingKeyInterner;

} // namespace Hardware::ShoalTunnel

#include "platform/Hardware/ShoalTunnel/SemTable.h"

namespace Hardware::ShoalTunnel {

Orv::Interner<AradSemKeyAndFapFields> aradSemKeyAndFapInterner;

} // namespace Hardware::ShoalTunnel

// The toggle "DynamicISemData". While it is on, acl owns the ACL label and the ISEM
// payload carries it.
#pragma once

#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

// Read from "ShoalTcamLib.json" on first use, default true, and kept for the life of the process:
// a later change of the file would leave entries of both layouts in one table.
TCAM_SHARING_EXPORT bool toggleDynamicISemDataEnabled();

} // namespace Hardware::ShoalTunnel

// Why a change must not be made now.
#pragma once

#include "host/driver/ChipTables.h"
#include "host/text/Errors.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

#include <optional>
#include <vector>

namespace ShoalHost {

// The situations in which the library stops.
enum class Row {
   unmapped,   // withdrawn, but answered without an entry of its own
   moved,      // moved off an entry that others use
   lookup,     // the lumen lookup goes while lumen or rampart asks on the unit
   label,      // acl asks for the lumen label on a unit with the lumen lookup
   noLookup,   // lumen or rampart asks on a unit without the lumen lookup
   fields,     // lumen or rampart asks for qos or pbr
   generation, // the unit's generation changes under a request
   portMap,    // a new version of a port map that is not valid
   place,      // a new version of the port map while a port with a feature word has no place
   kept,       // the generation changes, and the merge keeps a policy that nobody asks for
   key,        // an ISEM key cannot name the unit
   flood,      // a flood entry without the VLAN of its port
};
inline constexpr std::size_t kRows = 12;

struct Objection {
   Row row;
   std::string why;       // with the requests concerned
   std::string wayOut;    // empty: there is none
   std::string condition; // the library's invariant; empty: the rule is the host's own
   bool open = false;     // only one of the answers that are out would break it
   // Of `unmapped` and `moved`:
   std::optional<Hardware::ShoalTunnel::TcamSharingRequest> request; // that breaks it
   std::optional<AradSemKeyAndFap> key; // the entry that it leads to, or that it leaves
   std::vector<Hardware::ShoalTunnel::TcamSharingRequest> users; // of that entry, besides it
};

// With the invariant of the row.
Objection objectionOf(Row row, std::string why, std::string wayOut);

// A change that was refused.
class ChangeRefused : public HostError {
 public:
   explicit ChangeRefused(Objection const& objection)
       : HostError(
             "{}{}{}{}", objection.why, objection.wayOut.empty() ? "" : "; ", objection.wayOut,
             objection.condition.empty() ? "" : formatted(" (invariant {})", objection.condition)),
         objection_(objection) {}
   Objection const& objection() const { return objection_; }

 private:
   Objection objection_;
};

} // namespace ShoalHost

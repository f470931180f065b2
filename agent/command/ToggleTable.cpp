// The library's toggles.
#include "agent/command/Tables.h"
#include "platform/Toggle/Toggle.h"
#include "ShoalTunnel/TcamSharing/DynamicISemData.h"

namespace Agent {

namespace {

Table toggles(AgentHost const&) {
   (void)Hardware::ShoalTunnel::toggleDynamicISemDataEnabled(); // read by now, if nobody asked yet
   Table table{"toggles", {"toggle", "value", "file", "source", "note"}, {}};
   for (Toggle::Reading const& reading : Toggle::readings()) {
      std::string note = reading.place + (reading.place.empty() ? "" : ": ") + reading.note;
      table.add({reading.name, reading.value, reading.path, reading.fromFile ? "file" : "default",
                 note.empty() ? Json() : Json(note)});
   }
   return table;
}

} // namespace

void addToggleTable(std::vector<NamedTable>& tables) {
   tables.push_back(
       {"toggles", "the library's toggles, and where their values come from", toggles});
}

} // namespace Agent

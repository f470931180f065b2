// Changes that are on their way, and what is held back for them.
#include "agent/command/Tables.h"

namespace Agent {

namespace {

Table changes(AgentHost const& host) {
   Table table{"changes", {"change", "since", "waits for", "why"}, {}};
   for (auto const& each : host.changes().detours().waiting()) {
      table.add({each.what, formatSeconds(each.since),
                 each.forFact ? "the world" : "requests and answers", each.why});
   }
   return table;
}

Table held(AgentHost const& host) {
   Table table{"held", requestColumns({"requester", "policy", "why"}), {}};
   for (auto const& each : host.changes().detours().heldBack()) {
      table.add(joined(requestCells(each.request),
                       {requesterName(each.requester), formatPolicy(each.policy), each.why}));
   }
   return table;
}

Table detours(AgentHost const& host) {
   Table table{"detours", {"at", "what"}, {}};
   for (auto const& note : host.changes().detours().notes()) {
      table.add({formatSeconds(note.at), note.text});
   }
   return table;
}

} // namespace

void addAdmissionTables(std::vector<NamedTable>& tables) {
   tables.insert(tables.end(),
                 {{"changes", "changes that are on their way", changes},
                  {"held", "requests that are held back from the pipelines", held},
                  {"detours", "what became of changes that were not made at once", detours}});
}

} // namespace Agent

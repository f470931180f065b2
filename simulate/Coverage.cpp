#include "simulate/Coverage.h"

#include <cstdlib>
#include <iostream>

namespace Simulate {

namespace {

constexpr std::string_view names[] = {
    "features: a VLAN's word",
    "features: a VLAN's word over a port's",
    "features: a directory goes",
    "features: a member changes while the port map is not valid",
    "features: a member joins",
    "features: a member leaves",
    "features: a member's own request",
    "features: a member's word",
    "features: a new port map",
    "features: a port leaves a VLAN's features",
    "features: a port that joins keeps its word",
    "features: a port that leaves has its own request",
    "features: a port's features change below a VLAN's",
    "features: a port's word",
    "features: a port-channel that is not there",
    "features: a sub-interface's word",
    "features: a word that nobody asks for goes",
    "features: an answer stays until the version is handled",
    "features: asked for",
    "features: new layouts",
    "features: not added while the port map is not valid",
    "features: one of several withdrawn",
    "features: the last one withdrawn",
    "features: withdrawn when nothing was left",
    "history: refused",
    "history: refused, would stop the library",
    "intake: came and went",
    "intake: handed over",
    "intake: handed over again",
    "intake: nothing to be done",
    "intake: only the record of a change goes",
    "intake: queued",
    "intake: queued already",
    "intake: queued by its VLAN",
    "intake: queued by its flag",
    "intake: queued by tags",
    "intake: queued by tags, no one unit",
    "intake: retried",
    "intake: tags change, another unit's request",
    "intake: tags go, VLAN domain stays",
    "intake: taken out by its flag",
    "intake: taken out for want of a VLAN",
    "intake: taken out for want of tags",
    "intake: withdrawn",
    "intake: withdrawn before its retry",
    "isem: an answer of another write",
    "isem: answer for nobody",
    "isem: answered after the withdrawal",
    "isem: answered for an older policy",
    "isem: entry removed under a sharer",
    "isem: moves to another entry",
    "isem: removal answered",
    "isem: removal answered when asked for again",
    "isem: several writes of an entry unanswered",
    "isem: shared entry written",
    "isem: stands already",
    "isem: stands already, another's",
    "isem: two tags",
    "isem: waits for a VLAN domain",
    "isem: waits for its unit",
    "isem: waits for tags",
    "isem: withdrawn after a refusal",
    "isem: withdrawn after success",
    "isem: withdrawn when its entry was gone",
    "isem: withdrawn while in progress",
    "isem: withdrawn without an entry",
    "isem: write answered",
    "isem: write refused",
    "mapper: answer for nobody",
    "mapper: answered",
    "mapper: answered for an older policy",
    "mapper: carries nothing already",
    "mapper: cleared",
    "mapper: clearing answered",
    "mapper: confirmed after the withdrawal",
    "mapper: member without an entry",
    "mapper: no sub-interface",
    "mapper: older answer",
    "mapper: other members are awaited",
    "mapper: port without an entry",
    "mapper: refused",
    "mapper: stands already",
    "mapper: waits",
    "mapper: withdrawn while it does not resolve",
    "mapper: written",
    "mapper: written again before its answer",
    "merge: acl alone",
    "merge: acl beside a label",
    "merge: answer in two parts",
    "merge: label",
    "published: domain changes",
    "published: domain goes",
    "published: domain of nobody's place",
    "published: port comes back",
    "published: port gone",
    "published: port loses its place",
    "published: port moves",
    "published: port without a place",
    "published: version while the port map is not whole",
    "tunnel: answer for nobody",
    "tunnel: answered",
    "tunnel: in progress",
    "tunnel: older answer",
    "tunnel: refused",
    "tunnel: removal answered",
    "tunnel: removed",
    "tunnel: removed without an entry",
    "tunnel: stale removal answered",
    "tunnel: the same data, not written again",
    "tunnel: written",
    "tunnel: written without data",
};

} // namespace

Coverage::Coverage() {
   for (std::string_view name : names) {
      counts_.emplace(name, 0);
   }
}

void Coverage::hit(std::string_view name, uint64_t times) {
   auto found = counts_.find(name);
   if (found == counts_.end()) {
      std::cerr << "no situation is named '" << name << "'" << std::endl;
      std::abort();
   }
   found->second += times;
}

} // namespace Simulate

#include "agent/simulate/Probes.h"

#include <cstdlib>
#include <iostream>

namespace Agent {

namespace {

constexpr std::string_view names[] = {
    "merge: label",
    "merge: acl beside a label",
    "merge: acl alone",
    "merge: answer in two parts",
    "intake: nothing to be done",
    "intake: queued",
    "intake: queued already",
    "intake: came and went",
    "intake: handed over again",
    "intake: withdrawn",
    "intake: handed over",
    "intake: taken out by its flag",
    "intake: taken out for want of tags",
    "intake: taken out for want of a VLAN",
    "intake: queued by its flag",
    "intake: queued by its VLAN",
    "intake: tags change, another unit's request",
    "intake: queued by tags, no one unit",
    "intake: queued by tags",
    "intake: tags go, VLAN domain stays",
    "intake: restart forgets a withdrawal",
    "isem: programmed again",
    "isem: withdrawn while in progress",
    "isem: withdrawn after a refusal",
    "isem: withdrawn after success",
    "isem: withdrawn without an entry",
    "isem: withdrawn when its entry was gone",
    "isem: entry removed under a sharer",
    "isem: waits for its unit",
    "isem: waits for tags",
    "isem: waits for a VLAN domain",
    "isem: two tags",
    "isem: stands already",
    "isem: stands already, another's",
    "isem: moves to another entry",
    "isem: several writes of an entry unanswered",
    "isem: shared entry written",
    "isem: answer for nobody",
    "isem: an answer of another write",
    "isem: removal answered",
    "isem: removal answered when asked for again",
    "isem: write answered",
    "isem: write refused",
    "mapper: withdrawn while it does not resolve",
    "mapper: waits",
    "mapper: no sub-interface",
    "mapper: port without an entry",
    "mapper: member without an entry",
    "mapper: stands already",
    "mapper: carries nothing already",
    "mapper: written again before its answer",
    "mapper: cleared",
    "mapper: written",
    "mapper: answer for nobody",
    "mapper: older answer",
    "mapper: other members are awaited",
    "mapper: answered after the withdrawal",
    "mapper: clearing answered",
    "mapper: answered",
    "mapper: refused",
    "tunnel: written without data",
    "tunnel: written",
    "tunnel: removed",
    "tunnel: removed without an entry",
    "tunnel: answer for nobody",
    "tunnel: removal answered",
    "tunnel: stale removal answered",
    "tunnel: older answer",
    "tunnel: answered",
    "tunnel: in progress",
    "tunnel: refused",
    "published: version while the port map is not whole",
    "published: port without a place",
    "published: port gone",
    "published: port loses its place",
    "published: port comes back",
    "published: port moves",
    "published: domain of nobody's place",
    "published: domain changes",
    "published: domain goes",
    "rule: held back by the chip, or lost in its restart",
    "rule: refused, and not retried",
    "rule: the last write was not answered, or not carried out last",
    "rule: a refused removal leaves an answer",
    "rule: withdrawn unresolved, answered late",
    "rule: a withdrawal forgotten when the intake restarted",
    "rule: answered for an older policy",
    "rule: an older success stands without a mapper entry",
    "rule: a new mapper entry carries nothing yet",
    "rule: another unit's request wrote the mapper entry",
    "rule: only sub-interfaces and tunnels are answered",
    "rule: a policy without low bits is not answered",
    "rule: the answer was lost",
    "rule: an older answer only lowered the count",
    "rule: answers are forgotten when the intake restarts",
    "rule: no member on the unit",
    "rule: the removal's answer was lost",
    "rule: a tunnel entry without data outlives its withdrawal",
    "rule: a tunnel entry without data stays, and is not written again",
    "rule: the lookup type changed since the merge",
    "rule: bits of the acl feature from before the lumen lookup",
    "rule: a sharer was withdrawn",
    "rule: two tags leave an older answer",
    "rule: a sharer wrote or removed the entry",
    "rule: two tags are neither programmed nor answered",
    "rule: an earlier removal's answer took the answer",
    "rule: another write's answer came after the withdrawal",
    "rule: a port moved without news",
    "history: refused, would stop the library",
    "history: refused",
    "end: merged policy depends on the order",
    "end: a shared entry with a past",
    "end: a shared entry compared",
    "end: a mapper request with a past",
    "end: a mapper request compared",
    "end: a port that moved without news",
    "end: a port compared",
};

} // namespace

Probes::Probes() {
   for (std::string_view name : names) {
      counts_.emplace(name, 0);
   }
}

void Probes::hit(std::string_view name, uint64_t times) {
   auto found = counts_.find(name);
   if (found == counts_.end()) {
      std::cerr << "no probe is named '" << name << "'" << std::endl;
      std::abort();
   }
   found->second += times;
}

} // namespace Agent

#include "host/insight/Explanation.h"

#include "host/insight/TagCollision.h"
#include "host/insight/Verdict.h"

#include <set>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

using Role = EntrySituation::Role;

std::string since(std::optional<Seconds> time) {
   return time ? formatted(" since {} s", formatSeconds(*time)) : "";
}

std::string formatAnswer(TcamSharingResponse const& answer) {
   std::string text(formatStatus(answer.status));
   return answer.status == tcamSharingNone ? text : text + " for " + formatPolicy(answer.policyId);
}

class FactList {
 public:
   FactList(Situation const& situation, Host const& host, Explanation& found)
       : is_(situation), host_(host), found_(found) {}

   void add() {
      addAsked();
      addProgress();
      bool shared = false;
      for (EntrySituation const& entry : is_.entries) {
         addEntry(entry);
         shared |= std::holds_alternative<AradSemKeyAndFap>(entry.key);
      }
      IntfId intf = is_.request.intfId();
      if (!shared && Plexus::SubIntfId::isSubIntfId(intf)) {
         addTagCollision(tagOfSubIntf(host_, intf));
      }
      if (is_.answersAwaited != 0) {
         fact("answers awaited", std::to_string(is_.answersAwaited));
      }
   }

 private:
   void fact(std::string label, std::string text) {
      found_.facts.emplace_back(std::move(label), std::move(text));
   }

   void addAsked() {
      for (Requester requester : requesters) {
         auto const& config = host_.sharing().config(requester);
         auto answer = host_.sharing().status(requester)->response(is_.request);
         if (config->requestHas(is_.request) || answer.status != tcamSharingNone) {
            fact(formatted("{} asks", requesterName(requester)),
                 formatted("{}, status {}", formatPolicy(config->request(is_.request)),
                           formatAnswer(answer)));
         }
      }
      fact("merged policy", formatPolicy(is_.merged) + since(is_.times.asked));
   }

   void addProgress() {
      fact("output policy", formatPolicy(is_.output));
      if (is_.queued) {
         fact("queued", "in the backlog" + since(is_.times.queued) +
                            (is_.nextSlice ? ", next slice " + at(*is_.nextSlice) : ""));
      }
      for (TcamSharingPolicyId policy : is_.retried) {
         fact("retry list", formatted("for {}, next tried {}", formatPolicy(policy),
                                      at(is_.pipeline->codef->nextRetry())));
      }
      bool answered = is_.response.status != tcamSharingNone;
      fact("response",
           formatAnswer(is_.response) +
               (answered ? since(is_.times.status) + formatCause(is_.times.cause) : ""));
      if (!is_.resolution.missing.empty()) {
         fact("missing", is_.resolution.missing);
      }
   }

   std::string formatCause(ResponseCause const& cause) const {
      switch (cause.kind) {
      case ResponseCause::Kind::processed:
         return ", when it was processed";
      case ResponseCause::Kind::answered:
         return formatted(", by the chip's answer for {} ({}){}", formatKey(*cause.key),
                          outcomeName(cause.answer.outcome), forOther(cause.answer.writer));
      case ResponseCause::Kind::restarted:
         return ", when the chip restarted";
      }
      return "";
   }

   void addEntry(EntrySituation const& entry) {
      fact(entry.role == Role::current ? "entry" : "earlier entry",
           formatted("{}: table holds {}, chip holds {}", entry.name,
                     entry.configured.value_or("no entry"), entry.held.value_or("no entry")));
      if (entry.change) {
         fact("last change", formatChange(*entry.change));
      }
      if (auto const& write = entry.chip.lastWrite) {
         fact("last write", formatted("{} {}", outcomeName(write->outcome), at(write->at)));
      }
      if (auto const& answer = entry.chip.lastAnswer) {
         fact("last answer", formatted("{} {}{}", outcomeName(answer->outcome), at(answer->at),
                                       forOther(answer->writer)));
      }
      if (entry.chip.lost) {
         fact("answer lost", at(entry.chip.lost->at));
      }
      if (entry.chip.restarted) {
         fact("chip restarted", at(*entry.chip.restarted));
      }
      if (entry.awaited && entry.awaited->due) {
         fact("answer due", at(*entry.awaited->due));
      }
      if (!entry.writes.empty()) {
         fact("unanswered writes", formatRequests(entry.writes, ", then "));
      }
      if (!entry.removals.empty()) {
         fact("unanswered removals", formatRequests(entry.removals, ", then "));
      }
      if (!entry.shared.empty()) {
         fact("shared with", formatRequests(entry.shared));
      }
      if (auto const* key = std::get_if<AradSemKeyAndFap>(&entry.key)) {
         addTagCollision(VlanTags::tagOf(*key));
      }
   }

   void addTagCollision(VlanTagKey const& tag) {
      if (auto text = tagCollision(host_, tag); !text.empty()) {
         fact("tag collision", formatted("{} is {}", formatTag(tag), text));
      }
   }

   std::string forOther(std::optional<uint32_t> writer) const {
      auto other = otherWriter(writer, is_.request);
      return other ? ", to the write for " + formatRequest(*other) : "";
   }

   static std::string formatChange(EntryChange const& change) {
      static constexpr char const* kinds[] = {"written", "made by its owner", "removed", "left"};
      return formatted("{} {}{}", kinds[static_cast<std::size_t>(change.kind)], at(change.at),
                       change.by ? " for " + formatRequest(*change.by) : "");
   }

   Situation const& is_;
   Host const& host_;
   Explanation& found_;
};

} // namespace

Explanation explain(Situation const& situation, Host const& host) {
   Explanation found;
   found.facts.reserve(16); // of most
   found.subject = formatRequest(situation.request);
   found.inHardware = situation.inHardware;
   found.verdict = Verdict(situation, host).text();
   FactList(situation, host, found).add();
   return found;
}

Explanation explain(Host const& host, TcamSharingRequest request) {
   return explain(Situations(host).of(request), host);
}

std::vector<TcamSharingRequest> knownRequests(Host const& host) {
   std::vector<TcamSharingRequest> found;
   std::set<uint32_t> seen;
   auto add = [&](TcamSharingRequest request) {
      if (seen.insert(request.index()).second) {
         found.push_back(request);
      }
   };
   for (Requester requester : requesters) {
      for (auto const& [request, policy] : host.sharing().config(requester)->requestIter()) {
         add(request);
      }
   }
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, response] : pipeline->mergedStatus->responseIter()) {
         add(request);
      }
   }
   // What the merge keeps, and nobody asks for.
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, policy] : pipeline->merged->requestIter()) {
         add(request);
      }
   }
   // What no table of requests knows any more, and the chip still has.
   for (auto const& [request, key] : host.isem().common->tcamRequestToIsemKeyMappingIter()) {
      add(request);
   }
   host.seam().forEachHeld([&](EntryKey const& key, EntryData const& data) {
      if (auto const* entry = std::get_if<MapperTable::Key>(&key)) {
         auto change = host.chronicle().lastChange(*entry);
         if (std::get<MapperTable::Data>(data).inLifAdditionalData != 0 && change && change->by) {
            add(*change->by);
         }
      } else if (auto const* tunnel = std::get_if<TunnelTable::Key>(&key)) {
         add(TcamSharingRequest(tunnel->intfId(), tunnel->fapId()));
      }
   });
   for (auto const& held : host.changes().detours().heldBack()) {
      add(held.request);
   }
   return found;
}

} // namespace ShoalHost

// What requesters ask for, and how far the pipelines are with it.
#include "agent/command/Tables.h"
#include "host/insight/Situation.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

std::vector<Json> requestCells(TcamSharingRequest request) {
   uint16_t flood = request.l3FloodPortVlanId().value();
   return {request.intfId().name(), request.fapId().value(), flood == 0 ? Json() : Json(flood)};
}

std::vector<std::string> requestColumns(std::vector<std::string> const& more) {
   std::vector<std::string> columns{"interface", "unit", "flood"};
   columns.insert(columns.end(), more.begin(), more.end());
   return columns;
}

std::vector<Json> joined(std::vector<Json> row, std::vector<Json> const& more) {
   row.insert(row.end(), more.begin(), more.end());
   return row;
}

namespace {

Table merged(AgentHost const& host) {
   Table table{"merged", requestColumns({"pipeline", "policy"}), {}};
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, policy] : pipeline->merged->requestIter()) {
         table.add(joined(requestCells(request), {pipeline->name, formatPolicy(policy)}));
      }
   }
   return table;
}

Table output(AgentHost const& host) {
   Table table{"output", requestColumns({"table", "policy"}), {}};
   auto add = [&](char const* name, TcamSharingConfig const& config) {
      for (auto const& [request, policy] : config.requestIter()) {
         table.add(joined(requestCells(request), {name, formatPolicy(policy)}));
      }
   };
   add("isem", *host.isem().outputTable);
   add("tag", *host.mapper().tagOutput);
   add("tunnel", *host.mapper().tunnelOutput);
   return table;
}

Table responses(AgentHost const& host) {
   Table table{"responses", requestColumns({"pipeline", "status", "policy"}), {}};
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, response] : pipeline->mergedStatus->responseIter()) {
         table.add(joined(requestCells(request), {pipeline->name, formatStatus(response.status),
                                                  formatPolicy(response.policyId)}));
      }
   }
   return table;
}

Table backlog(AgentHost const& host) {
   Table table{"backlog", requestColumns({"pipeline", "since"}), {}};
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [request, queued] : pipeline->codef->backlogIter()) {
         auto since = host.chronicle().of(*pipeline, request).queued;
         table.add(joined(requestCells(request), {pipeline->name, since ? Json(*since) : Json()}));
      }
   }
   return table;
}

Table retry(AgentHost const& host) {
   Table table{"retry", requestColumns({"pipeline", "policy", "next", "missing"}), {}};
   for (SharingPipeline const* pipeline : host.pipelines()) {
      for (auto const& [entry, waiting] : pipeline->commonBase->retryListIter()) {
         table.add(joined(requestCells(entry.request()),
                          {pipeline->name, formatPolicy(entry.policyId()),
                           pipeline->codef->nextRetry(), resolve(host, entry.request()).missing}));
      }
   }
   return table;
}

} // namespace

namespace {

char const* formatPart(RequesterPart::InHardware inHardware) {
   static constexpr char const* texts[] = {"no", "entry only", "partly", "yes"};
   return texts[static_cast<std::size_t>(inHardware)];
}

} // namespace

Table requestTable(AgentHost const& host) {
   Table table{"requests",
               {"requester", "interface", "unit", "flood", "policy", "status", "answered policy",
                "in hardware"},
               {}};
   Situations situations(host);
   for (Requester requester : requesters) {
      for (auto const& [request, policy] : host.sharing().config(requester)->requestIter()) {
         RequesterPart part = requesterPart(host, situations.forParts(request), requester);
         bool answered = part.answer.status != tcamSharingNone;
         auto row = joined({requesterName(requester)}, requestCells(request));
         table.add(joined(row, {formatPolicy(policy), formatStatus(part.answer.status),
                                answered ? Json(formatPolicy(part.answer.policyId)) : Json(),
                                formatPart(part.inHardware)}));
      }
   }
   return table;
}

Table summaryTable(AgentHost const& host) {
   Table table{"summary",
               {"requester", "requests", "in hardware", "success", "success for older",
                "in-progress", "failed", "none"},
               {}};
   Situations situations(host);
   for (Requester requester : requesters) {
      std::array<std::size_t, 4> counts{};
      std::size_t inHardware = 0;
      std::size_t older = 0;
      auto const& config = host.sharing().config(requester);
      for (auto const& [request, policy] : config->requestIter()) {
         RequesterPart part = requesterPart(host, situations.forParts(request), requester);
         inHardware += part.inHardware >= RequesterPart::InHardware::partly ? 1 : 0;
         older += part.answeredOlder() ? 1 : 0;
         counts[part.answer.status] += part.answeredOlder() ? 0 : 1;
      }
      table.add({requesterName(requester), config->requests(), inHardware,
                 counts[tcamSharingSuccess], older, counts[tcamSharingInProgress],
                 counts[tcamSharingFailed], counts[tcamSharingNone]});
   }
   return table;
}

void addRequestTables(std::vector<NamedTable>& tables) {
   tables.insert(tables.end(),
                 {{"requests", "what each requester asked for and was answered", requestTable},
                  {"summary", "requests of each requester by place and status", summaryTable},
                  {"merged", "the merged requests", merged},
                  {"output", "the requests handed to each programming machine", output},
                  {"responses", "the merged responses", responses},
                  {"backlog", "requests that wait for a slice", backlog},
                  {"retry", "the retry lists", retry}});
}

} // namespace Agent

#include "agent/command/Tables.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

// The columns that name a request.
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

std::vector<Json> keyCells(AradSemKeyAndFap key) {
   AradISemKeyTcamSharing fields(key.key());
   return {fields.vlanId(), fields.vlanDomain().value(), key.fapId().value()};
}

Table configTable(std::string title, TcamSharingConfig const& config) {
   Table table{std::move(title), requestColumns({"policy"}), {}};
   for (auto const& [request, policy] : config.requestIter()) {
      table.add(joined(requestCells(request), {printedPolicy(policy)}));
   }
   return table;
}

Table responseTable(std::string title, TcamSharingStatus const& status) {
   Table table{std::move(title), requestColumns({"status", "policy"}), {}};
   for (auto const& [request, response] : status.responseIter()) {
      table.add(joined(requestCells(request), {std::string(printedStatus(response.status)),
                                               printedPolicy(response.policyId)}));
   }
   return table;
}

Table merged(Host const& host) {
   return configTable("merged", *host.pipeline().merged);
}
Table output(Host const& host) {
   return configTable("output", *host.pipeline().output);
}
Table responses(Host const& host) {
   return responseTable("responses", *host.pipeline().mergedStatus);
}

Table backlog(Host const& host) {
   Table table{"backlog", requestColumns({"since"}), {}};
   for (auto const& [request, queued] : host.pipeline().codef->backlogIter()) {
      auto since = host.chronicle().of(request).queued;
      table.add(joined(requestCells(request), {since ? Json(*since) : Json()}));
   }
   return table;
}

Table retry(Host const& host) {
   Table table{"retry", requestColumns({"policy", "next", "missing"}), {}};
   for (auto const& [entry, waiting] : host.pipeline().common->retryListIter()) {
      table.add(joined(requestCells(entry.request()),
                       {printedPolicy(entry.policyId()), host.pipeline().codef->nextRetry(),
                        resolveKey(host, entry.request()).missing}));
   }
   return table;
}

Table isem(Host const& host) {
   Table table{"isem", {"vlan", "domain", "unit", "policy", "answer", "users"}, {}};
   auto const& pipeline = host.pipeline();
   for (auto const& [key, payload] : pipeline.table->configIter()) {
      auto status = pipeline.tableStatus->statusCollection().find(key);
      auto users = pipeline.common->semToRequest(key);
      table.add(joined(keyCells(key),
                       {printedPolicy(policyOfPayload(payload)),
                        status ? Json(status->statusCode == 1 ? "accepted" : "refused") : Json(),
                        users ? users->requests() : 0}));
   }
   return table;
}

Table mapping(Host const& host) {
   Table table{"mapping", requestColumns({"vlan", "domain", "key unit"}), {}};
   for (auto const& [request, key] : host.pipeline().common->tcamRequestToIsemKeyMappingIter()) {
      table.add(joined(requestCells(request), keyCells(key)));
   }
   return table;
}

Table users(Host const& host) {
   Table table{"users", {"vlan", "domain", "key unit", "interface", "unit", "flood"}, {}};
   for (auto const& [key, mapping] : host.pipeline().common->semToRequestIter()) {
      for (auto const& [request, present] : mapping->requestIter()) {
         table.add(joined(keyCells(key), requestCells(request)));
      }
   }
   return table;
}

Table pending(Host const& host) {
   Table table{
       "pending",
       {"vlan", "domain", "key unit", "kind", "place", "interface", "unit", "flood", "policy"},
       {}};
   for (auto const& [key, write] : host.pipeline().common->pendingSemWriteIter()) {
      for (std::size_t i = 0; i < write->pendingSharingEntrys(); ++i) {
         auto const& entry = write->pendingSharingEntryQueue()[i];
         auto row = joined(keyCells(key.semKeyAndFap), {key.isInsert ? "write" : "removal", i + 1});
         row = joined(row, requestCells(entry.request()));
         table.add(joined(row, {printedPolicy(entry.policyId())}));
      }
   }
   return table;
}

Table chip(Host const& host) {
   Table table{"chip", {"vlan", "domain", "unit", "policy"}, {}};
   for (auto const& [key, payload] : host.chip().entries()) {
      table.add(joined(keyCells(key), {printedPolicy(policyOfPayload(payload))}));
   }
   return table;
}

Table answers(Host const& host) {
   Table table{"answers", {"vlan", "domain", "unit", "kind", "written", "due"}, {}};
   for (auto const& answer : host.chip().unanswered()) {
      table.add(joined(keyCells(answer.key),
                       {answer.written ? "write" : "removal", answer.since, answer.due}));
   }
   return table;
}

Table faults(Host const& host) {
   Table table{"faults", {"fault", "unit", "next", "often"}, {}};
   for (auto const& setting : host.chip().faults()) {
      table.add({std::string(faultName(setting.fault)),
                 setting.unit ? Json(setting.unit->value()) : Json(), setting.next,
                 setting.probability});
   }
   return table;
}

Table counters(Host const& host) {
   Table table{"counters", {"counter", "value"}, {}};
   auto const& codef = *host.pipeline().codef;
   auto const& chip = host.chip().counters();
   table.add({"updatesSeen", codef.updatesSeen()});
   table.add({"updatesProcessed", codef.updatesProcessed()});
   table.add({"updatesCoalesced", codef.updatesCoalesced()});
   table.add({"dispatchCount", codef.dispatchCount()});
   table.add({"yieldBeforeFinishingCount", codef.yieldBeforeFinishingCount()});
   table.add({"numOfRetriedItems", codef.numOfRetriedItems()});
   table.add({"numOfIsemBStatusHandled", host.pipeline().semSm->numOfIsemBStatusHandled()});
   table.add({"timeUsed", codef.timeUsed()});
   table.add({"totalProcessTime", codef.totalProcessTime()});
   table.add({"lastLatency", codef.lastLatency()});
   table.add({"maxLatency", codef.maxLatency()});
   table.add({"startupLatency", codef.startupLatency()});
   table.add({"chip writes", chip.writes});
   table.add({"chip removals", chip.removals});
   table.add({"chip answers", chip.answers});
   table.add({"chip restarts", chip.restarts});
   table.add({"chip full", chip.full});
   for (std::size_t i = 0; i < kFaults; ++i) {
      table.add({"chip " + std::string(faultName(static_cast<Fault>(i))), chip.suffered[i]});
   }
   return table;
}

Table clocks(Host const& host) {
   Table table{"clocks", {"clock", "at"}, {}};
   auto const& codef = *host.pipeline().codef;
   auto const& dispatch = codef.clockNotifiee();
   auto const& answers = host.chip().unanswered();
   table.add({"now", host.time().peek()});
   table.add({"next slice", dispatch.waiting() ? Json(dispatch.timeMin()) : Json()});
   table.add({"next retry pass", codef.nextRetry()});
   table.add({"next answer", answers.empty() ? Json() : Json(answers.front().due)});
   table.add({"quantum", codef.backlogQuantum()});
   table.add({"retry interval", codef.retryTimeInterval()});
   return table;
}

Table units(Host const& host) {
   Table table{"units", {"unit", "name", "type", "lookup", "available", "requests", "entries"}, {}};
   auto const& world = host.world();
   for (auto const& unit : world.inventory().units) {
      FapId fapId(unit.fapId);
      std::size_t requests = 0;
      for (auto const& [request, policy] : host.pipeline().merged->requestIter()) {
         requests += request.fapId() == fapId ? 1 : 0;
      }
      auto const& held = host.chip().entries();
      auto entries = std::count_if(held.begin(), held.end(),
                                   [&](auto const& each) { return each.first.fapId() == fapId; });
      table.add({unit.fapId, unit.name, printedUnitType(world.shoalStatus->fapType(fapId)),
                 printedLookup(world.shoalStatus->fapExtLkupType(fapId)),
                 world.shoalStatus->fapAvailable(fapId), requests, entries});
   }
   return table;
}

Table ports(Host const& host) {
   Table table{
       "ports", {"port", "system port", "unit", "unit port", "domain", "internal VLAN"}, {}};
   auto const& world = host.world();
   for (auto const& [intf, systemPort] : world.shoalStatus->sysPhyPortIdIter()) {
      auto place = world.shoalStatus->portMap(systemPort);
      auto domain = world.vlanDomainStatus->portTunnelDataCollection().find(place);
      auto vlan = world.intfVlanIdTable->internalVlanId(intf).value();
      table.add(
          {intf.name(), systemPort.value(), place.isNull() ? Json() : Json(place.fapId.value()),
           place.isNull() ? Json() : Json(place.fapPortId),
           domain ? Json(domain->vlanDomain.value()) : Json(), vlan == 0 ? Json() : Json(vlan)});
   }
   return table;
}

Table portChannels(Host const& host) {
   Table table{"port-channels", {"port-channel", "members", "unit", "domain"}, {}};
   auto const& world = host.world();
   for (auto const& [lag, status] : world.ethIntfStatusDir->ethLagIntfStatusIter()) {
      std::string members;
      for (auto const& [member, present] : status->memberIter()) {
         members += (members.empty() ? "" : ",") + member.name();
      }
      bool any = false;
      for (FapId unit : world.unitsOf(lag)) {
         auto entry = host.pipeline().helper->getVlanDomainForLagFap(lag, unit);
         table.add({lag.name(), members, unit.value(),
                    entry ? Json(entry->vlanDomain().value()) : Json()});
         any = true;
      }
      if (!any) {
         table.add({lag.name(), members, Json(), Json()});
      }
   }
   return table;
}

Table subInterfaces(Host const& host) {
   Table table{
       "sub-interfaces",
       {"sub-interface", "outer", "inner", "dynamic outer", "dynamic inner", "program-in-hw"},
       {}};
   auto const& world = host.world();
   for (auto const& [intf, config] : world.subIntfConfigDir->subIntfConfigIter()) {
      auto dynamic = world.dynSubIntfEncap->dot1qEncap(intf);
      auto status = world.subIntfStatusDir->subIntfStatus(intf);
      auto tag = [](uint16_t value) { return value == 0 ? Json() : Json(value); };
      table.add({intf.name(), tag(config->dot1qEncap().outer), tag(config->dot1qEncap().inner),
                 tag(dynamic.outer), tag(dynamic.inner), status && status->programInHw()});
   }
   return table;
}

Table diagnostics(Host const& host) {
   Table table{"diagnostics", {"file", "table", "key", "text"}, {}};
   for (auto const& each : host.world().inventory().diagnostics) {
      table.add({each.file, each.table, each.key, each.text});
   }
   return table;
}

Table corestate(Host const& host) {
   Table table{"corestate", {"path", "type"}, {}};
   for (auto const& [path, entity] : host.world().corestate().mounted()) {
      table.add({path, entity->orvType().name()});
   }
   return table;
}

} // namespace

Table requestTable(Host const& host) {
   Table table{"requests",
               {"feature", "interface", "unit", "flood", "policy", "status", "answered policy"},
               {}};
   for (std::size_t i = 0; i < kFeatures; ++i) {
      auto feature = static_cast<Feature>(i);
      auto const& status = host.pipeline().status(feature);
      for (auto const& [request, policy] : host.pipeline().config(feature)->requestIter()) {
         auto response = status->response(request);
         auto row = joined({std::string(featureNames[i])}, requestCells(request));
         table.add(joined(row, {printedPolicy(policy), std::string(printedStatus(response.status)),
                                response.status == tcamSharingNone
                                    ? Json()
                                    : Json(printedPolicy(response.policyId))}));
      }
   }
   return table;
}

// By the merged response: a label that rampart asks for is answered in lumen's status only.
Table summaryTable(Host const& host) {
   Table table{"summary", {"feature", "requests", "success", "in-progress", "failed", "none"}, {}};
   for (std::size_t i = 0; i < kFeatures; ++i) {
      std::array<std::size_t, 4> counts{};
      auto const& config = host.pipeline().config(static_cast<Feature>(i));
      for (auto const& [request, policy] : config->requestIter()) {
         ++counts[host.pipeline().mergedStatus->response(request).status];
      }
      table.add({std::string(featureNames[i]), config->requests(), counts[tcamSharingSuccess],
                 counts[tcamSharingInProgress], counts[tcamSharingFailed],
                 counts[tcamSharingNone]});
   }
   return table;
}

std::vector<NamedTable> const& namedTables() {
   static std::vector<NamedTable> const tables{
       {"requests", "what each feature asked for and was answered", requestTable},
       {"summary", "requests of each feature by status", summaryTable},
       {"merged", "the merged requests", merged},
       {"output", "the requests handed to the ISEM machine", output},
       {"responses", "the merged responses", responses},
       {"backlog", "requests that wait for a slice", backlog},
       {"retry", "the retry list", retry},
       {"isem", "the ISEM table as configured", isem},
       {"mapping", "the entry that each request programmed", mapping},
       {"users", "the requests that use each entry", users},
       {"pending", "writes that wait for their answers, oldest first", pending},
       {"chip", "the entries that the chip really holds", chip},
       {"answers", "answers on their way", answers},
       {"faults", "faults of the chip in force", faults},
       {"counters", "counters of the machines and the chip", counters},
       {"clocks", "the time, and what is due when", clocks},
       {"units", "forwarding units", units},
       {"ports", "ports, their places and VLANs", ports},
       {"port-channels", "port-channels and their members", portChannels},
       {"sub-interfaces", "sub-interfaces and their tags", subInterfaces},
       {"diagnostics", "what is odd in the inventory", diagnostics},
       {"corestate", "the mounted entities", corestate},
   };
   return tables;
}

NamedTable const& namedTable(std::string_view name) {
   auto const& tables = namedTables();
   auto found = std::find_if(tables.begin(), tables.end(),
                             [&](NamedTable const& table) { return table.name == name; });
   if (found == tables.end()) {
      std::string known;
      for (auto const& table : tables) {
         known += (known.empty() ? "" : ", ") + std::string(table.name);
      }
      throw CommandError("there is no table '" + std::string(name) + "'; there are " + known);
   }
   return *found;
}

} // namespace Agent

// The hardware tables, what the machines remember of them, and the chip behind them.
#include "agent/command/Tables.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::vector<Json> keyCells(AradSemKeyAndFap key) {
   AradISemKeyTcamSharing fields(key.key());
   return {fields.vlanId(), fields.vlanDomain().value(), key.fapId().value()};
}

std::vector<Json> keyCells(VlanTagToVsiMapperKey key) {
   auto const& fields = key.fields();
   return {fields.subIntfId.name(), fields.intfId.name(),
           formatTags(fields.outerVlan.value(), fields.innerVlan)};
}

Table isem(AgentHost const& host) {
   Table table{"isem", {"vlan", "domain", "unit", "policy", "answer", "users"}, {}};
   auto const& pipeline = host.isem();
   for (auto const& [key, payload] : pipeline.table->configIter()) {
      auto status = pipeline.tableStatus->statusCollection().find(key);
      auto users = pipeline.common->semToRequest(key);
      bool accepted = status && status->statusCode == SemTableStatusEntry::success;
      table.add(joined(keyCells(key), {formatPolicy(policyOfPayload(payload)),
                                       status ? Json(accepted ? "accepted" : "refused") : Json(),
                                       users ? users->requests() : 0}));
   }
   return table;
}

Table mapping(AgentHost const& host) {
   Table table{"mapping", requestColumns({"entry"}), {}};
   for (auto const& [request, key] : host.isem().common->tcamRequestToIsemKeyMappingIter()) {
      table.add(joined(requestCells(request), {formatKey(key)}));
   }
   for (auto const& [request, mapping] :
        host.mapper().common->tcamRequestToVlanTagToVsiKeyMappingIter()) {
      for (auto const& [key, present] : mapping->vtagToVsiMapperKeyIter()) {
         table.add(joined(requestCells(request), {formatKey(key)}));
      }
   }
   return table;
}

Table users(AgentHost const& host) {
   Table table{"users", {"vlan", "domain", "key unit", "interface", "unit", "flood"}, {}};
   for (auto const& [key, mapping] : host.isem().common->semToRequestIter()) {
      for (auto const& [request, present] : mapping->requestIter()) {
         table.add(joined(keyCells(key), requestCells(request)));
      }
   }
   return table;
}

Table pending(AgentHost const& host) {
   Table table{
       "pending", {"table", "entry", "kind", "place", "interface", "unit", "flood", "policy"}, {}};
   auto add = [&](std::vector<Json> const& what, TcamSharingEntry const& entry) {
      table.add(
          joined(joined(what, requestCells(entry.request())), {formatPolicy(entry.policyId())}));
   };
   for (auto const& [key, write] : host.isem().common->pendingSemWriteIter()) {
      for (std::size_t i = 0; i < write->pendingSharingEntrys(); ++i) {
         add({"isem", formatKey(key.semKeyAndFap), key.isInsert ? "write" : "removal", i + 1},
             write->pendingSharingEntryQueue()[i]);
      }
   }
   for (auto const& [key, entry] : host.mapper().common->pendingLifEntriesIter()) {
      add({"mapper", formatKey(key), "write", 1}, entry);
   }
   for (auto const& [key, entry] : host.mapper().common->pendingTunnelLifEntriesIter()) {
      add({"tunnel", formatKey(key), entry.policyId().empty() ? "removal" : "write", 1}, entry);
   }
   return table;
}

Table lifCounts(AgentHost const& host) {
   Table table{"lif-counts", requestColumns({"policy", "answers awaited", "error type"}), {}};
   auto const& common = *host.mapper().common;
   auto add = [&](TcamSharingEntry const& entry) {
      auto error = common.vtagToVsiStatusErrorType(entry);
      table.add(joined(requestCells(entry.request()),
                       {formatPolicy(entry.policyId()), common.tcamSharingEntryRefCount(entry),
                        error == VlanTagToVsiMapperErrorType::none
                            ? Json()
                            : Json(static_cast<uint32_t>(error))}));
   };
   for (auto const& [entry, count] : common.tcamSharingEntryRefCountIter()) {
      add(entry);
   }
   for (auto const& [entry, error] : common.vtagToVsiStatusErrorTypeIter()) {
      if (!common.tcamSharingEntryRefCountHas(entry)) {
         add(entry);
      }
   }
   return table;
}

Table mapper(AgentHost const& host) {
   Table table{"mapper", {"sub-interface", "port", "tags", "lif", "policy", "answer"}, {}};
   auto const& pipeline = host.mapper();
   for (auto const& [key, result] : pipeline.mapperConfig->configIter()) {
      auto status = pipeline.mapperStatus->statusCollection().find(key);
      bool accepted = status && status->errorType == VlanTagToVsiMapperErrorType::success;
      table.add(joined(keyCells(key), {result.lif, formatData(result.inLifAdditionalData),
                                       status ? Json(accepted ? "accepted" : "refused") : Json()}));
   }
   return table;
}

Table tunnels(AgentHost const& host) {
   Table table{"tunnels", {"tunnel", "unit", "policy", "answer"}, {}};
   auto const& pipeline = host.mapper();
   for (auto const& [key, result] : pipeline.tunnelConfig->configIter()) {
      auto status = pipeline.tunnelStatus->statusCollection().find(key);
      Json answer;
      if (status) {
         answer = status->statusCode == TunnelPolicyMapperStatusType::programmed   ? "accepted"
                  : status->statusCode == TunnelPolicyMapperStatusType::inProgress ? "in progress"
                                                                                   : "refused";
      }
      table.add({key.intfId().name(), key.fapId().value(), formatData(result.inLifAdditionalData),
                 answer});
   }
   return table;
}

std::string_view chipTableName(ChipTableKind kind) {
   return chipTableNames[static_cast<std::size_t>(kind)];
}

std::string formatContent(AradSemPayload payload) {
   return formatPolicy(policyOfPayload(payload));
}
std::string formatContent(LifFeatureWord word) {
   return formatWord(word);
}
template<class Result>
std::string formatContent(Result const& result) {
   return formatData(result.inLifAdditionalData);
}

Table chip(AgentHost const& host) {
   Table table{"chip", {"table", "entry", "content"}, {}};
   host.chip().forEachTable([&](auto const& of) {
      for (auto const& [key, content] : of.entries()) {
         table.add({chipTableName(of.kind), formatKey(key), formatContent(content)});
      }
   });
   return table;
}

Table answers(AgentHost const& host) {
   Table table{"answers", {"table", "entry", "kind", "written", "due"}, {}};
   host.chip().forEachTable([&](auto const& of) {
      for (auto const& answer : of.unanswered()) {
         table.add({chipTableName(of.kind), formatKey(answer.key),
                    !answer.write.data                      ? "removal"
                    : answer.outcome == Outcome::inProgress ? "in progress"
                                                            : "write",
                    answer.since, answer.due});
      }
   });
   return table;
}

Table faults(AgentHost const& host) {
   Table table{"faults", {"fault", "table", "unit", "next", "often", "value"}, {}};
   ChipFaults const& faults = host.chip().faults();
   for (auto const& setting : faults.settings()) {
      auto const& scope = setting.scope;
      table.add({std::string(faultNames[static_cast<std::size_t>(setting.fault)]),
                 scope.table ? Json(chipTableName(*scope.table)) : Json(),
                 scope.unit ? Json(scope.unit->value()) : Json(), setting.next, setting.probability,
                 Json()});
   }
   for (auto const& [of, entries] : host.chip().capacities()) {
      table.add({"capacity", chipTableName(of.first), of.second.value(), Json(), Json(), entries});
   }
   auto add = [&](char const* name, Json value) {
      table.add({name, Json(), Json(), Json(), Json(), std::move(value)});
   };
   add("delay", faults.delay());
   add("slowness", faults.slowness());
   add("seed", faults.seed());
   return table;
}

void addCounters(Table& table, SharingPipeline const& pipeline) {
   auto const& codef = *pipeline.codef;
   auto add = [&](char const* name, Json value) {
      table.add({pipeline.name, name, std::move(value)});
   };
   add("updatesSeen", codef.updatesSeen());
   add("updatesProcessed", codef.updatesProcessed());
   add("updatesCoalesced", codef.updatesCoalesced());
   add("dispatchCount", codef.dispatchCount());
   add("yieldBeforeFinishingCount", codef.yieldBeforeFinishingCount());
   add("numOfRetriedItems", codef.numOfRetriedItems());
   add("timeUsed", codef.timeUsed());
   add("totalProcessTime", codef.totalProcessTime());
   add("lastLatency", codef.lastLatency());
   add("maxLatency", codef.maxLatency());
   add("startupLatency", codef.startupLatency());
}

Table counters(AgentHost const& host) {
   Table table{"counters", {"of", "counter", "value"}, {}};
   for (SharingPipeline const* pipeline : host.pipelines()) {
      addCounters(table, *pipeline);
   }
   table.add({"isem", "numOfIsemBStatusHandled", host.isem().semSm->numOfIsemBStatusHandled()});
   host.seam().forEachTable([&](auto const& of) {
      std::string_view name = chipTableName(of.kind);
      table.add({name, "chip writes", of.counters().writes});
      table.add({name, "chip removals", of.counters().removals});
      table.add({name, "chip answers", of.counters().answers});
      table.add({name, "chip full", of.counters().full});
   });
   table.add({"chip", "restarts", host.chip().restarts()});
   for (std::size_t i = 0; i < kFaults; ++i) {
      table.add({"chip", faultNames[i], host.chip().faults().suffered(static_cast<Fault>(i))});
   }
   return table;
}

Table clocks(AgentHost const& host) {
   Table table{"clocks", {"of", "clock", "at"}, {}};
   table.add({"agent", "now", host.time().peek()});
   for (SharingPipeline const* pipeline : host.pipelines()) {
      auto const& codef = *pipeline->codef;
      auto const& dispatch = codef.clockNotifiee();
      table.add(
          {pipeline->name, "next slice", dispatch.waiting() ? Json(dispatch.timeMin()) : Json()});
      table.add({pipeline->name, "next retry pass", codef.nextRetry()});
      table.add({pipeline->name, "quantum", codef.backlogQuantum()});
      table.add({pipeline->name, "retry interval", codef.retryTimeInterval()});
   }
   host.chip().forEachTable([&](auto const& of) {
      auto const& due = of.unanswered();
      table.add(
          {chipTableName(of.kind), "next answer", due.empty() ? Json() : Json(due.begin()->due)});
   });
   return table;
}

} // namespace

void addHardwareTables(std::vector<NamedTable>& tables) {
   tables.insert(
       tables.end(),
       {{"isem", "the ISEM table as configured", isem},
        {"mapper", "the sub-interfaces' VLAN-tag-to-VSI mapper entries as configured", mapper},
        {"tunnels", "the tunnel policy mapper as configured", tunnels},
        {"mapping", "the entries that each request programmed", mapping},
        {"users", "the requests that use each ISEM entry", users},
        {"pending", "writes that wait for their answers, oldest first (a tunnel's stays)", pending},
        {"lif-counts", "in-LIF answers awaited, and errors so far", lifCounts},
        {"chip", "the entries that the chip really holds", chip},
        {"answers", "answers on their way", answers},
        {"faults", "faults of the chip in force, and its settings (value)", faults},
        {"counters", "counters of the machines and the chip", counters},
        {"clocks", "the time, and what is due when", clocks}});
}

} // namespace Agent

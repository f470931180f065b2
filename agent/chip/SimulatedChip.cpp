#include "agent/chip/SimulatedChip.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

std::string_view outcomeName(Outcome outcome) {
   static constexpr std::array<std::string_view, 5> names{
       "removed", "accepted", "refused", "refused: the unit is full", "in progress"};
   return names[static_cast<std::size_t>(outcome)];
}

void IsemTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   status.statusIs(key, SemTableStatusEntry{outcome == Outcome::accepted
                                                ? SemTableStatusEntry::success
                                                : static_cast<uint32_t>(outcome),
                                            data});
}

void MapperTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   auto error = outcome == Outcome::accepted ? VlanTagToVsiMapperErrorType::success
                                             : VlanTagToVsiMapperErrorType(outcome);
   status.statusIs(key, VlanTagToVsiMapperStatusType{data.inLifAdditionalData, error});
}

void TunnelTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   // Codes past those that mean something are failures.
   uint32_t code = outcome == Outcome::accepted     ? TunnelPolicyMapperStatusType::programmed
                   : outcome == Outcome::inProgress ? TunnelPolicyMapperStatusType::inProgress
                                                    : 10 + static_cast<uint32_t>(outcome);
   status.statusIs(key, TunnelPolicyMapperStatusType{code, data.inLifAdditionalData});
}

SimulatedChip::SimulatedChip(Orv::Timers& timers, Tables const& tables,
                             std::function<FapId(Plexus::IntfId)> const& unitOf)
    : isem_(Orv::make<Orv::Clock>(timers), faults_, tables.isemConfig, tables.isemStatus,
            [](AradSemKeyAndFap key) { return key.fapId(); }),
      mapper_(Orv::make<Orv::Clock>(timers), faults_, tables.mapperConfig, tables.mapperStatus,
              [unitOf](VlanTagToVsiMapperKey key) { return unitOf(key.fields().intfId); }),
      tunnels_(Orv::make<Orv::Clock>(timers), faults_, tables.tunnelConfig, tables.tunnelStatus,
               [](TunnelPolicyMapperKey key) { return key.fapId(); }) {}

void SimulatedChip::capacityIs(std::optional<ChipTableKind> kind, FapId unit,
                               std::optional<uint64_t> entries) {
   forEachTable([&](auto& table) {
      if (!kind || *kind == table.kind) {
         table.capacityIs(unit, entries);
      }
   });
}

SimulatedChip::Capacities SimulatedChip::capacities() const {
   Capacities found;
   forEachTable([&](auto const& table) {
      for (auto const& [unit, entries] : table.capacities()) {
         found[{table.kind, unit}] = entries;
      }
   });
   return found;
}

void SimulatedChip::clearFaults() {
   faults_.clear();
   forEachTable([](auto& table) { table.releaseHeldBack(); });
}

void SimulatedChip::restart() {
   ++restarts_;
   forEachTable([](auto& table) { table.restart(); });
}

void SimulatedChip::replay() {
   forEachTable([](auto& table) { table.replay(); });
}

bool SimulatedChip::busy() const {
   return !isem_.unanswered().empty() || !mapper_.unanswered().empty() ||
          !tunnels_.unanswered().empty();
}

} // namespace Agent

#include "agent/chip/SimulatedChip.h"

namespace Agent {

void SimulatedChip::start(AnswerSink& sink) {
   sink_ = &sink;
   tables_ = std::make_unique<Tables>(sink, faults_);
   sink.forEachConfigured([this](EntryKey const& key, EntryData const& data) {
      std::visit(
          [&](auto each) {
             auto& table = tableOf(each);
             table.preset(each,
                          std::get<typename std::remove_reference_t<decltype(table)>::Data>(data));
          },
          key);
   });
}

void SimulatedChip::write(ChipWrite const& write) {
   std::visit([&](auto key) { tableOf(key).write(key, write); }, write.key);
}

void SimulatedChip::readBack(EntryVisitor const& visit) const {
   forEachTable([&](auto const& table) {
      for (auto const& [key, data] : table.entries()) {
         visit(key, data);
      }
   });
}

std::optional<EntryData> SimulatedChip::held(EntryKey const& key) const {
   return std::visit(
       [this](auto each) {
          auto const* found = tableOf(each).held(each);
          return found == nullptr ? std::nullopt : std::optional<EntryData>(*found);
       },
       key);
}

bool SimulatedChip::busy() const {
   bool busy = false;
   forEachTable([&](auto const& table) { busy = busy || !table.unanswered().empty(); });
   return busy;
}

std::optional<std::vector<ExpectedAnswer>> SimulatedChip::expected(EntryKey const& key) const {
   return std::visit([this](auto each) { return tableOf(each).expected(each); }, key);
}

std::optional<uint64_t> SimulatedChip::room(ChipTableKind kind, FapId unit) const {
   std::optional<uint64_t> found;
   forEachTable([&](auto const& table) {
      if (table.kind == kind) {
         found = table.room(unit);
      }
   });
   return found;
}

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
   std::vector<ChipWrite> unanswered;
   forEachTable([&](auto& table) { table.restart(unanswered); });
   sink_->restarted(unanswered);
}

} // namespace Agent

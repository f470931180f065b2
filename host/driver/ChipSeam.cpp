#include "host/driver/ChipSeam.h"

namespace ShoalHost {

ChipSeam::ChipSeam(Orv::Timers& timers, ChipDriver& driver, Tables const& tables,
                   std::function<FapId(Plexus::IntfId)> const& unitOf)
    : timers_(timers), driver_(driver), isem_(driver, *this, tables.isemConfig, tables.isemStatus,
                                              [](AradSemKeyAndFap key) { return key.fapId(); }),
      mapper_(driver, *this, tables.mapperConfig, tables.mapperStatus,
              [unitOf](VlanTagToVsiMapperKey key) { return unitOf(key.fields().intfId); }),
      tunnels_(driver, *this, tables.tunnelConfig, tables.tunnelStatus,
               [](TunnelPolicyMapperKey key) { return key.fapId(); }),
      portWords_(driver, *this, tables.portWordConfig, tables.portWordStatus,
                 [](DefaultMappingKey key) { return key.place().fapId; }),
      subIntfWords_(driver, *this, tables.subIntfWordConfig, tables.subIntfWordStatus,
                    [](SubIntfMappingKey key) { return fapOf(key.tcamId()); }),
      delivery_(this, Orv::make<Orv::Clock>(timers)) {
   driver_.start(*this);
   driver_.readBack([this](EntryKey const& key, EntryData const& data) {
      withTable(key, [&](auto& table, auto each) { table.readBack(each, data); });
   });
   forEachTable([](auto& table) { table.start(); });
}

void ChipSeam::replay() {
   forEachTable([](auto& table) { table.replay(); });
}

void ChipSeam::removeUnclaimed() {
   forEachTable([](auto& table) { table.removeUnclaimed(); });
}

void ChipSeam::answered(ChipWrite const& write, Outcome outcome) {
   bool inside = false;
   forEachTable([&](auto const& table) { inside = inside || table.writing(); });
   if (inside || !given_.empty()) {
      given_.emplace_back(write, outcome);
      delivery_.timeMinIs(0.0);
   } else {
      withTable(write.key, [&](auto& table, auto key) { table.answered(key, write, outcome); });
   }
}

void ChipSeam::deliver() {
   // What is given meanwhile waits for the next call.
   for (std::size_t left = given_.size(); left > 0 && !given_.empty(); --left) {
      auto const answer = given_.front();
      given_.pop_front();
      withTable(answer.first.key,
                [&](auto& table, auto key) { table.answered(key, answer.first, answer.second); });
   }
   if (!given_.empty()) {
      delivery_.timeMinIs(0.0);
   }
}

void ChipSeam::performed(ChipWrite const& write, Outcome outcome) {
   withTable(write.key, [&](auto& table, auto key) { table.performed(key, write, outcome); });
}

void ChipSeam::lost(ChipWrite const& write) {
   withTable(write.key, [&](auto& table, auto key) { table.lost(key, write); });
}

void ChipSeam::restarted(std::vector<ChipWrite> const& unanswered) {
   // What the chip had answered by then.
   while (!given_.empty()) {
      deliver();
   }
   for (ChipWrite const& write : unanswered) {
      withTable(write.key, [&](auto& table, auto key) { table.dropped(key, write); });
   }
   forEachTable([](auto& table) { table.restarted(); });
}

void ChipSeam::forEachConfigured(EntryVisitor const& visit) const {
   forEachTable([&](auto const& table) {
      for (auto const& [key, data] : table.config()->configIter()) {
         visit(key, data);
      }
   });
}

FapId ChipSeam::unitOf(EntryKey const& key) const {
   return std::visit([this](auto each) { return table(each).unitOf(each); }, key);
}

} // namespace ShoalHost

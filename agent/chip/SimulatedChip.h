// The simulated chip, which answers for the hardware tables of both generations.
#pragma once

#include "agent/chip/ChipTable.h"
#include "platform/Hardware/ShoalTunnel/SemTable.h"
#include "platform/Hardware/ShoalTunnel/TunnelPolicyMapper.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"

namespace Agent {

using Hardware::ShoalTunnel::AradSemKeyAndFap;
using Hardware::ShoalTunnel::AradSemPayload;
using Hardware::ShoalTunnel::TunnelPolicyMapperKey;
using Hardware::ShoalTunnel::VlanTagToVsiMapperKey;

struct IsemTable {
   static constexpr ChipTableKind kind = ChipTableKind::isem;
   static constexpr bool defers = false;
   using Key = AradSemKeyAndFap;
   using Data = AradSemPayload;
   using Config = Hardware::ShoalTunnel::SemTableConfig;
   using Status = Hardware::ShoalTunnel::SemTableStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

struct MapperTable {
   static constexpr ChipTableKind kind = ChipTableKind::mapper;
   static constexpr bool defers = false;
   using Key = VlanTagToVsiMapperKey;
   using Data = Hardware::ShoalTunnel::VlanTagToVsiMapperResult;
   using Config = Hardware::ShoalTunnel::VlanTagToVsiMapperConfig;
   using Status = Hardware::ShoalTunnel::VlanTagToVsiMapperStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

struct TunnelTable {
   static constexpr ChipTableKind kind = ChipTableKind::tunnel;
   static constexpr bool defers = true;
   using Key = TunnelPolicyMapperKey;
   using Data = Hardware::ShoalTunnel::TunnelPolicyMapperResult;
   using Config = Hardware::ShoalTunnel::TunnelPolicyMapperConfig;
   using Status = Hardware::ShoalTunnel::TunnelPolicyMapperStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

class SimulatedChip {
 public:
   // The configurations and statuses of the three tables.
   struct Tables {
      Orv::Ptr<IsemTable::Config const> isemConfig;
      Orv::Ptr<IsemTable::Status> isemStatus;
      Orv::Ptr<MapperTable::Config const> mapperConfig;
      Orv::Ptr<MapperTable::Status> mapperStatus;
      Orv::Ptr<TunnelTable::Config const> tunnelConfig;
      Orv::Ptr<TunnelTable::Status> tunnelStatus;
   };
   // `unitOf`: the unit on which a port sits now.
   SimulatedChip(Orv::Timers& timers, Tables const& tables,
                 std::function<FapId(Plexus::IntfId)> const& unitOf);

   ChipFaults& faults() { return faults_; }
   ChipFaults const& faults() const { return faults_; }
   // For all tables: see ChipTable::writerOfIs.
   template<class WriterOf>
   void writerOfIs(WriterOf const& writerOf) {
      forEachTable([&](auto& table) { table.writerOfIs(writerOf); });
   }
   ChipTable<IsemTable> const& isem() const { return isem_; }
   ChipTable<MapperTable> const& mapper() const { return mapper_; }
   ChipTable<TunnelTable> const& tunnels() const { return tunnels_; }
   template<class Visit>
   void forEachTable(Visit visit) const {
      visit(isem_);
      visit(mapper_);
      visit(tunnels_);
   }

   // Of one table, or of each.
   void capacityIs(std::optional<ChipTableKind> kind, FapId unit, std::optional<uint64_t> entries);
   using Capacities = std::map<std::pair<ChipTableKind, FapId>, uint64_t>;
   // Those that are limited.
   Capacities capacities() const;
   // Ends all faults; what is held back for reordering is answered.
   void clearFaults();
   // The chip restarts empty; replay() writes the configurations to it again.
   void restart();
   void replay();
   // Answers are on their way.
   bool busy() const;
   uint64_t restarts() const { return restarts_; }

 private:
   template<class Visit>
   void forEachTable(Visit visit) {
      visit(isem_);
      visit(mapper_);
      visit(tunnels_);
   }

   ChipFaults faults_;
   ChipTable<IsemTable> isem_;
   ChipTable<MapperTable> mapper_;
   ChipTable<TunnelTable> tunnels_;
   uint64_t restarts_ = 0;
};

} // namespace Agent

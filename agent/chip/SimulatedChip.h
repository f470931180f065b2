// The simulated chip: a driver that holds the tables of both generations in memory, and answers
// with the faults that it is told to have.
#pragma once

#include "agent/chip/ChipTable.h"

#include <memory>

namespace Agent {

class SimulatedChip : public ChipDriver {
 public:
   ChipFaults& faults() { return faults_; }
   ChipFaults const& faults() const { return faults_; }
   ChipTable<IsemTable> const& isem() const { return tables_->isem; }
   ChipTable<MapperTable> const& mapper() const { return tables_->mapper; }
   ChipTable<TunnelTable> const& tunnels() const { return tables_->tunnels; }
   ChipTable<PortWordTable> const& portWords() const { return tables_->portWords; }
   ChipTable<SubIntfWordTable> const& subIntfWords() const { return tables_->subIntfWords; }
   template<class Visit>
   void forEachTable(Visit visit) const {
      visit(isem());
      visit(mapper());
      visit(tunnels());
      visit(portWords());
      visit(subIntfWords());
   }

   // Of one table, or of each.
   void capacityIs(std::optional<ChipTableKind> kind, FapId unit, std::optional<uint64_t> entries);
   using Capacities = std::map<std::pair<ChipTableKind, FapId>, uint64_t>;
   // Those that are limited.
   Capacities capacities() const;
   // Ends all faults; what is held back for reordering is answered.
   void clearFaults();
   // Of the ISEM; see ChipTable.
   void loseAnswersBehind(std::size_t first) { tables_->isem.loseAnswersBehind(first); }
   void answerFirst() { tables_->isem.answerFirst(); }
   // The chip restarts empty.
   void restart();
   uint64_t restarts() const { return restarts_; }

   // The entries that are configured at the start are in the chip already.
   void start(AnswerSink& sink) override;
   void stop() override { tables_.reset(); }
   void write(ChipWrite const& write) override;
   void remove(ChipWrite const& write) override { this->write(write); }
   void readBack(EntryVisitor const& visit) const override;
   std::optional<EntryData> held(EntryKey const& key) const override;
   bool busy() const override;
   std::optional<std::vector<ExpectedAnswer>> expected(EntryKey const& key) const override;
   std::optional<uint64_t> room(ChipTableKind kind, FapId unit) const override;

 private:
   // From the start on.
   struct Tables {
      Tables(AnswerSink& sink, ChipFaults& faults)
          : isem(sink, faults), mapper(sink, faults), tunnels(sink, faults),
            portWords(sink, faults), subIntfWords(sink, faults) {}
      ChipTable<IsemTable> isem;
      ChipTable<MapperTable> mapper;
      ChipTable<TunnelTable> tunnels;
      ChipTable<PortWordTable> portWords;
      ChipTable<SubIntfWordTable> subIntfWords;
   };
   ChipTable<IsemTable>& tableOf(AradSemKeyAndFap) const { return tables_->isem; }
   ChipTable<MapperTable>& tableOf(VlanTagToVsiMapperKey) const { return tables_->mapper; }
   ChipTable<TunnelTable>& tableOf(TunnelPolicyMapperKey) const { return tables_->tunnels; }
   ChipTable<PortWordTable>& tableOf(DefaultMappingKey) const { return tables_->portWords; }
   ChipTable<SubIntfWordTable>& tableOf(SubIntfMappingKey) const { return tables_->subIntfWords; }
   template<class Visit>
   void forEachTable(Visit visit) {
      visit(tables_->isem);
      visit(tables_->mapper);
      visit(tables_->tunnels);
      visit(tables_->portWords);
      visit(tables_->subIntfWords);
   }

   AnswerSink* sink_ = nullptr;
   ChipFaults faults_;
   std::unique_ptr<Tables> tables_;
   uint64_t restarts_ = 0;
};

} // namespace Agent

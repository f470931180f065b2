// The host's side of the seam to a chip: all tables, wired to a driver.
//
// At the start the machines know nothing of the chip, and write everything again. A write of what
// the chip holds already, as read back, is answered without the chip. When the system has settled,
// what is still there from before and nobody has written is removed. So a restart of the host with
// nothing changed writes nothing to the chip.
//
// The library gets each answer from the event loop, whenever the driver gives it: an answer to one
// member of a port-channel must not come before the others are written.
#pragma once

#include "host/driver/SeamTable.h"

#include <deque>

namespace ShoalHost {

class ChipSeam final : private AnswerSink {
 public:
   // The configurations and statuses of the tables.
   struct Tables {
      Orv::Ptr<IsemTable::Config const> isemConfig;
      Orv::Ptr<IsemTable::Status> isemStatus;
      Orv::Ptr<MapperTable::Config const> mapperConfig;
      Orv::Ptr<MapperTable::Status> mapperStatus;
      Orv::Ptr<TunnelTable::Config const> tunnelConfig;
      Orv::Ptr<TunnelTable::Status> tunnelStatus;
      Orv::Ptr<PortWordTable::Config const> portWordConfig;
      Orv::Ptr<PortWordTable::Status> portWordStatus;
      Orv::Ptr<SubIntfWordTable::Config const> subIntfWordConfig;
      Orv::Ptr<SubIntfWordTable::Status> subIntfWordStatus;
   };
   // Starts the driver. It hears of a write after everybody who watches the tables by now.
   // `unitOf`: the unit on which a port sits now.
   ChipSeam(Orv::Timers& timers, ChipDriver& driver, Tables const& tables,
            std::function<FapId(Plexus::IntfId)> const& unitOf);
   ~ChipSeam() { driver_.stop(); }
   ChipSeam(ChipSeam const&) = delete;
   ChipSeam& operator=(ChipSeam const&) = delete;

   SeamTable<IsemTable> const& isem() const { return isem_; }
   SeamTable<MapperTable> const& mapper() const { return mapper_; }
   SeamTable<TunnelTable> const& tunnels() const { return tunnels_; }
   SeamTable<PortWordTable> const& portWords() const { return portWords_; }
   SeamTable<SubIntfWordTable> const& subIntfWords() const { return subIntfWords_; }
   // The one with keys of this kind.
   SeamTable<IsemTable> const& table(AradSemKeyAndFap) const { return isem_; }
   SeamTable<MapperTable> const& table(VlanTagToVsiMapperKey) const { return mapper_; }
   SeamTable<TunnelTable> const& table(TunnelPolicyMapperKey) const { return tunnels_; }
   SeamTable<PortWordTable> const& table(DefaultMappingKey) const { return portWords_; }
   SeamTable<SubIntfWordTable> const& table(SubIntfMappingKey) const { return subIntfWords_; }
   template<class Visit>
   void forEachTable(Visit visit) const {
      forEachPolicyTable(visit);
      visit(portWords_);
      visit(subIntfWords_);
   }
   // Those in which policies are carried.
   template<class Visit>
   void forEachPolicyTable(Visit visit) const {
      visit(isem_);
      visit(mapper_);
      visit(tunnels_);
   }
   // For all tables of policies: see SeamTable::writerOfIs.
   template<class WriterOf>
   void writerOfIs(WriterOf const& writerOf) {
      forEachPolicyTable([&](auto& table) { table.writerOfIs(writerOf); });
   }

   // For all tables of policies: see SeamTable::watcherIs.
   template<class Watcher>
   void watcherIs(Watcher const& watcher) {
      forEachPolicyTable([&](auto& table) { table.watcherIs(watcher); });
   }

   // Writes the configurations to the chip again, as after a restart of it.
   void replay();
   // An answer for the entry is overdue: see SeamTable::askAgain.
   void askAgain(EntryKey const& key) {
      withTable(key, [](auto& table, auto each) { table.askAgain(each); });
   }
   // Ends the start: see above.
   void removeUnclaimed();
   // Answers will come.
   bool busy() const { return driver_.busy() || !given_.empty(); }
   // What the chip holds.
   void forEachHeld(EntryVisitor const& visit) const { driver_.readBack(visit); }

 private:
   template<class Visit>
   void forEachTable(Visit visit) {
      forEachPolicyTable(visit);
      visit(portWords_);
      visit(subIntfWords_);
   }
   template<class Visit>
   void forEachPolicyTable(Visit visit) {
      visit(isem_);
      visit(mapper_);
      visit(tunnels_);
   }
   // Calls `visit` with the table and the key of its kind.
   template<class Visit>
   void withTable(EntryKey const& key, Visit visit) {
      std::visit(
          [&](auto each) {
             using Table = std::remove_cvref_t<decltype(table(each))>;
             visit(const_cast<Table&>(table(each)), each);
          },
          key);
   }

   class Delivery : public Orv::ClockNotifiee {
    public:
      Delivery(ChipSeam* seam, Orv::Ptr<Orv::Clock const> clock)
          : ClockNotifiee(std::move(clock)), seam_(seam) {}
      void handleTime() override { seam_->deliver(); }

    private:
      ChipSeam* seam_;
   };
   void deliver();

   void answered(ChipWrite const& write, Outcome outcome) override;
   void performed(ChipWrite const& write, Outcome outcome) override;
   void lost(ChipWrite const& write) override;
   void restarted(std::vector<ChipWrite> const& unanswered) override;
   void forEachConfigured(EntryVisitor const& visit) const override;
   FapId unitOf(EntryKey const& key) const override;
   Orv::Timers& timers() override { return timers_; }

   Orv::Timers& timers_;
   ChipDriver& driver_;
   SeamTable<IsemTable> isem_;
   SeamTable<MapperTable> mapper_;
   SeamTable<TunnelTable> tunnels_;
   SeamTable<PortWordTable> portWords_;
   SeamTable<SubIntfWordTable> subIntfWords_;
   std::deque<std::pair<ChipWrite, Outcome>> given_; // from inside a call of the driver
   Delivery delivery_;
};

} // namespace ShoalHost

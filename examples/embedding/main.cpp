// A host of the library: a unit, a port with a sub-interface, and a chip that is a table in memory.
#include "host/insight/Explanation.h"

#include <iostream>
#include <map>

using namespace ShoalHost;

// Holds what is written, and accepts it at once.
class TableDriver : public ChipDriver {
 public:
   void start(AnswerSink& sink) override { sink_ = &sink; }
   void write(ChipWrite const& write) override {
      entries_[write.key] = *write.data;
      sink_->answered(write, Outcome::accepted);
   }
   void remove(ChipWrite const& write) override {
      entries_.erase(write.key);
      sink_->answered(write, Outcome::removed);
   }
   void readBack(EntryVisitor const& visit) const override {
      for (auto const& [key, data] : entries_) {
         visit(key, data);
      }
   }
   std::optional<EntryData> held(EntryKey const& key) const override {
      auto found = entries_.find(key);
      return found == entries_.end() ? std::nullopt : std::optional(found->second);
   }
   bool busy() const override { return false; }

 private:
   AnswerSink* sink_ = nullptr;
   std::map<EntryKey, EntryData> entries_;
};

int main() {
   Inventory inventory;
   inventory.units = {{.fapId = 1, .name = "unit1"}};
   inventory.ports = {{.name = "Ethernet0", .fapId = 1, .systemPort = 1, .vlanDomain = 1}};
   inventory.subInterfaces = {{.name = "Ethernet0.10", .parent = "Ethernet0", .outer = 10}};
   TableDriver driver;
   Host host(inventory, driver);

   TcamSharingRequest request(host.world().interface("Ethernet0.10"), FapId(1));
   host.changes().requestIs(Requester::acl, {request}, TcamSharingPolicyId(5));
   while (!host.quiet()) {
      host.runDue(); // a daemon waits here until host.next()
   }
   auto answer = host.sharing().status(Requester::acl)->response(request);
   std::cout << answer << "\n" << explain(host, request).verdict << "\n";
   return answer.status == Hardware::ShoalTunnel::tcamSharingSuccess ? 0 : 1;
}

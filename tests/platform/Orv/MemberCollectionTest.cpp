#include "platform/Orv/MemberCollection.h"
#include "platform/Orv/Entity.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace Orv {
namespace {

struct PortId {
   uint32_t value = 0;
   uint32_t index() const { return value; }
   static PortId fromIndex(uint32_t index) { return {index}; }
};

class MemberPort : public Entity {
   ORV_ENTITY(MemberPort, "Test::MemberPort")
   explicit MemberPort(PortId key) : key_(key) {}
   PortId key() const { return key_; }
   ORV_MEMBER_ATTRIBUTE(speed, PortId, int, 0)

 private:
   PortId key_;
};
class MemberPorts : public Entity {
   ORV_ENTITY(MemberPorts, "Test::MemberPorts")
   ORV_OWNED_COLLECTION(port, PortId, MemberPort, MemberCollection)
};

class MemberCollectionTest : public testing::Test {
 public:
   // Records its name, with the key if it is on all members, and then runs its action.
   template<class... K>
   struct Named : Reactor<K...> {
      Named(std::string& called, char name) : called_(called), name_(name) {}
      void handle(K const&... key) override {
         called_ += name_;
         ((called_ += std::to_string(key.value)), ...);
         if (action) {
            action();
         }
      }
      void handleDelete() override { called_ += '!'; }
      std::function<void()> action;

    private:
      std::string& called_;
      char name_;
   };
   using OnAll = Named<PortId>;
   using OnOne = Named<>;

   std::unique_ptr<OnAll> onAll(char name) {
      auto reactor = std::make_unique<OnAll>(called, name);
      ports->portCollection().watchMembers(*reactor);
      return reactor;
   }
   std::unique_ptr<OnOne> onOne(char name, PortId key) {
      auto reactor = std::make_unique<OnOne>(called, name);
      ports->port(key)->speedAttribute().watch(*reactor);
      return reactor;
   }
   std::string change(Ptr<MemberPort> port) {
      called.clear();
      port->speedIs(port->speed() + 1);
      return called;
   }
   std::string change(PortId key) { return change(ports->port(key)); }

   std::string called;
   Ptr<MemberPorts> ports = make<MemberPorts>();
   PortId one{1}, two{2};
   Ptr<MemberPort> first = ports->portIs(one);
   Ptr<MemberPort> second = ports->portIs(two);
};

TEST_F(MemberCollectionTest, ReactorsOnAllAndOnOneInOrderOfRegistration) {
   auto a = onOne('a', one);
   auto b = onAll('b');
   auto c = onOne('c', one);
   auto d = onAll('d');
   EXPECT_EQ(change(one), "ab1cd1");
   EXPECT_EQ(change(two), "b2d2");
   called.clear();
   first->speedIs(first->speed());
   EXPECT_EQ(called, "") << "an equal write is no change";
   ports->portCollection().watchMembers(*b); // once, now at the end
   EXPECT_EQ(change(one), "acd1b1");
   ports->portIs(PortId{3});
   EXPECT_EQ(change(PortId{3}), "d3b3") << "of a member that came later";
   d = nullptr;
   b->action = [&] { c = onOne('c', one); };
   EXPECT_EQ(change(one), "acb1") << "new ones see later changes";
   a = nullptr;
   EXPECT_EQ(change(make<MemberPort>(one)), "") << "in no collection";
}

TEST_F(MemberCollectionTest, AMemberThatIsReplacedTellsNoMore) {
   MemberCollection<PortId, Ptr<MemberPort>> collection;
   OnAll all(called, 'a');
   collection.watchMembers(all);
   auto replaced = make<MemberPort>(one);
   auto now = make<MemberPort>(one);
   collection.set(one, replaced);
   collection.set(one, now);
   EXPECT_EQ(change(replaced), "");
   EXPECT_EQ(change(now), "a1");
}

TEST_F(MemberCollectionTest, AMemberThatLeavesDuringAChangeTellsNoMore) {
   auto a = onAll('a');
   auto b = onAll('b');
   auto c = onOne('c', one);
   a->action = [&] { ports->portDel(one); };
   EXPECT_EQ(change(first), "a1c") << "its own reactors are still on it";
   EXPECT_EQ(change(first), "c");

   // Its key comes again at once: the reactors hear of the new member only.
   first = ports->portIs(one);
   a->action = [&] {
      a->action = nullptr;
      ports->portDelAll();
      ports->portIs(one)->speedIs(7);
   };
   EXPECT_EQ(change(first), "a1a1b1");

   // Nobody else has it. Its memory goes in the change.
   first = nullptr;
   c = onOne('c', one);
   a->action = [&] { ports->portDel(one); };
   called.clear();
   MemberPort* raw = ports->port(one).get();
   raw->speedIs(8);
   EXPECT_EQ(called, "a1!");
   EXPECT_FALSE(c->registered());
}

TEST_F(MemberCollectionTest, WritesNestReactorsGoAndTheCollectionEnds) {
   auto a = onAll('a');
   auto b = onAll('b');
   a->action = [&] {
      if (second->speed() == 0) {
         second->speedIs(1);
      }
   };
   EXPECT_EQ(change(one), "a1a2b2b1");
   a->action = [&] { b = nullptr; };
   EXPECT_EQ(change(one), "a1");
   a->action = [&] { a = nullptr; };
   b = onAll('b');
   EXPECT_EQ(change(one), "a1b1");

   auto c = onOne('c', one);
   b->action = [&] { ports = nullptr; };
   EXPECT_EQ(change(first), "b1!c") << "the collection ends in the change";
   EXPECT_FALSE(b->registered());
   EXPECT_EQ(change(first), "c");
}

} // namespace
} // namespace Orv

#include "tests/platform/Orv/Numbers.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <random>

namespace Orv {
namespace {

// Keeps the members that it was told of.
struct Members : Observer<Number> {
   explicit Members(Sequence& keys) : keys_(keys) {}
   void inserted(Number const& key) override { keys_.push_back(key.value); }
   void erased(Number const& key) override { std::erase(keys_, key.value); }
   Sequence& keys_;
};

template<class Of>
class CollectionTest : public testing::Test {
 public:
   Of collection;
   void fill(std::initializer_list<uint32_t> values) {
      for (uint32_t value : values) {
         collection.set({value}, static_cast<int>(value));
      }
   }
   void refill() {
      collection.delAll();
      fill({1, 2, 3, 4, 5});
   }
   // The keys that a walk visits while `action` runs at each.
   Sequence walking(std::function<void(uint32_t)> const& action) {
      Sequence visited;
      for (auto const& [key, value] : collection.walk()) {
         visited.push_back(key.value);
         EXPECT_EQ(value, static_cast<int>(key.value));
         action(key.value);
      }
      return visited;
   }
};

using Kinds = testing::Types<Keyed<Number, int>, KeyedByIndex<Number, int>, Small<Number, int>>;
TYPED_TEST_SUITE(CollectionTest, Kinds);

// What holds in key order as well as in order of insertion.
template<class Of>
class AnyCollectionTest : public CollectionTest<Of> {};
using AllKinds = testing::Types<Keyed<Number, int>, KeyedByIndex<Number, int>, Small<Number, int>,
                                OrderedCollection<Number, int>>;
TYPED_TEST_SUITE(AnyCollectionTest, AllKinds);

TYPED_TEST(CollectionTest, ReadsWritesAndKeepsTheOrderOfInsertion) {
   auto& of = this->collection;
   this->fill({300, 7, 0, 1000, 14});
   of.set({7}, 70);
   of.del({0});
   of.del({5});
   of.set({0}, 1);
   EXPECT_EQ(keys(of), (Sequence{300, 7, 1000, 14, 0}));
   EXPECT_EQ(of.get({7}), 70);
   EXPECT_EQ(of.get({8}), 0);
   EXPECT_EQ(of.find({8}), std::nullopt);
   EXPECT_TRUE(of.has({0}));
   EXPECT_EQ(of.size(), 5U);
   of.delAll();
   EXPECT_EQ(keys(of), Sequence{});
   this->fill({2, 1});
   EXPECT_EQ(keys(of), (Sequence{2, 1}));
}

TYPED_TEST(AnyCollectionTest, OnlyChangesAreTold) {
   auto& of = this->collection;
   Sequence told;
   Sequence observed;
   Watcher<Number> watcher([&](Number const& key) {
      told.push_back(key.value);
      EXPECT_EQ(observed, keys(of)) << "observers are told first";
   });
   Members members(observed);
   of.observe(members);
   of.watch(watcher);
   this->fill({1, 1, 2});
   of.set({1}, 5);
   of.set({1}, 5);
   of.del({9});
   of.del({2});
   of.set({3}, 0); // the default value is a member all the same
   EXPECT_EQ(told, (Sequence{1, 2, 1, 2, 3}));
   watcher.remove();
   of.unobserve(members);
   of.set({4}, 4);
   of.del({4});
   EXPECT_EQ(observed, (Sequence{1, 3}));
   EXPECT_EQ(of.get({1}), 5);
   EXPECT_EQ(of.find({3}), 0);
   EXPECT_EQ(of.find({2}), std::nullopt);
   EXPECT_EQ(of.get({2}), 0);
   EXPECT_EQ(keys(of), (Sequence{1, 3}));
   EXPECT_EQ(of.size(), 2U);
}

TYPED_TEST(AnyCollectionTest, WalksSurviveWhatTheirBodyErases) {
   auto& of = this->collection;
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) { of.del({key}); }), (Sequence{1, 2, 3, 4, 5}))
       << "the current one";
   EXPECT_EQ(of.size(), 0U);
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) { of.del({key + 1}); }), (Sequence{1, 3, 5}))
       << "the next";
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) { of.del({6 - key}); }), (Sequence{1, 2, 3}))
       << "the last ones";
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) { key == 2 ? of.delAll() : void(); }),
             (Sequence{1, 2}))
       << "all";
   this->refill();
   Sequence inner;
   EXPECT_EQ(this->walking([&](uint32_t key) {
      for (uint32_t each :
           this->walking([&](uint32_t each) { key == 3 ? of.del({each}) : void(); })) {
         inner.push_back(key * 10 + each);
      }
   }),
             (Sequence{1, 2, 3}));
   EXPECT_EQ(inner, (Sequence{11, 12, 13, 14, 15, 21, 22, 23, 24, 25, 31, 32, 33, 34, 35}));
}

TYPED_TEST(CollectionTest, WalksDoNotVisitWhatTheirBodyAdds) {
   auto& of = this->collection;
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) { of.set({key + 100}, static_cast<int>(key) + 100); }),
             (Sequence{1, 2, 3, 4, 5}))
       << "what is added meanwhile is not visited";
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) {
      of.del({key});
      of.set({key}, static_cast<int>(key));
   }),
             (Sequence{1, 2, 3, 4, 5}))
       << "nothing is visited twice";
   EXPECT_EQ(keys(of), (Sequence{1, 2, 3, 4, 5}));
   this->refill();
   EXPECT_EQ(this->walking([&](uint32_t key) {
      if (key == 2) { // everything, and back in another order
         of.delAll();
         this->fill({5, 4, 3});
      }
   }),
             (Sequence{1, 2}));
}

TYPED_TEST(AnyCollectionTest, DelAllLeavesWhatHandlersAddAndDeletesOnce) {
   auto& of = this->collection;
   this->fill({1, 2, 3});
   Sequence told;
   Watcher<Number> watcher([&](Number const& key) {
      told.push_back(key.value);
      if (key.value == 1 && !of.has({1})) {
         of.del({3});
         of.set({9}, 9);
      }
   });
   of.watch(watcher);
   of.delAll();
   EXPECT_EQ(keys(of), Sequence{9});
   EXPECT_EQ(told, (Sequence{1, 3, 9, 2}));
}

TYPED_TEST(CollectionTest, CursorsKeepTheirPlace) {
   auto& of = this->collection;
   using Cursor = typename TypeParam::Cursor;
   this->fill({1, 2, 3, 4});
   Cursor cursor(of, Cursor::unbounded);
   cursor.toKey({9});
   EXPECT_TRUE(cursor.atEnd());
   cursor.toKey({3});
   EXPECT_EQ(cursor.peekKey()->value, 3U);
   cursor.take();
   of.del({4}); // where it stands
   EXPECT_TRUE(cursor.atEnd());
   this->fill({5});
   EXPECT_TRUE(cursor.atEnd()) << "the end is the end until it is moved";
   cursor.toFirst();
   of.del({1});
   EXPECT_EQ(cursor.peekKey()->value, 2U);
   this->fill({6});
   Sequence rest;
   while (auto key = cursor.peekKey()) {
      rest.push_back(key->value);
      cursor.take();
   }
   EXPECT_EQ(rest, (Sequence{2, 3, 5, 6})) << "an unbounded one sees what was added";
}

TYPED_TEST(AnyCollectionTest, TheCollectionMayGoWhileItIsWalkedOrTells) {
   auto of = std::make_unique<TypeParam>();
   of->set({1}, 1);
   of->set({2}, 2);
   std::size_t visited = 0;
   for (auto const& [key, value] : of->walk()) {
      ++visited;
      of.reset();
      EXPECT_EQ(key.value, 1U);
   }
   EXPECT_EQ(visited, 1U);
   of = std::make_unique<TypeParam>();
   of->set({1}, 1);
   of->set({2}, 2);
   Watcher<Number> watcher([&](Number const& key) {
      EXPECT_EQ(key.value, 1U);
      of.reset();
   });
   Watcher<Number> behind([](Number const&) { ADD_FAILURE() << "the collection is gone"; });
   of->watch(watcher);
   of->watch(behind);
   of->delAll();
   EXPECT_EQ(of, nullptr);
   EXPECT_FALSE(behind.registered());
}

TYPED_TEST(CollectionTest, RandomHistoriesAgreeWithAModel) {
   for (uint32_t seed = 1; seed <= 20; ++seed) {
      SCOPED_TRACE(seed);
      std::mt19937 random(seed);
      TypeParam of;
      std::vector<std::pair<uint32_t, int>> model;
      uint32_t range = seed % 2 == 0 ? 20 : 3000;
      auto place = [&](uint32_t key) {
         return std::find_if(model.begin(), model.end(),
                             [&](auto const& each) { return each.first == key; });
      };
      auto step = [&] {
         uint32_t key = random() % range;
         auto at = place(key);
         if (random() % 3 != 0) {
            int value = static_cast<int>(random() % 1000);
            of.set({key}, value);
            at == model.end() ? static_cast<void>(model.emplace_back(key, value))
                              : static_cast<void>(at->second = value);
         } else {
            of.del({key});
            if (at != model.end()) {
               model.erase(at);
            }
         }
      };
      for (int round = 0; round < 300; ++round) {
         step();
         if (round % 50 == 0) {
            // A walk during changes visits each member that was there and stays, once and in order.
            auto before = model;
            Sequence visited;
            for (auto const& [key, value] : of.walk()) {
               EXPECT_NE(place(key.value), model.end());
               visited.push_back(key.value);
               step();
            }
            std::size_t at = 0;
            for (auto const& [key, value] : before) {
               if (at < visited.size() && visited[at] == key) {
                  ++at;
               }
            }
            EXPECT_EQ(at, visited.size()) << "a subsequence of what was there";
         }
      }
      std::vector<std::pair<uint32_t, int>> got;
      for (auto const& [key, value] : of.walk()) {
         got.emplace_back(key.value, value);
      }
      ASSERT_EQ(got, model);
      for (uint32_t key = 0; key < range; ++key) {
         ASSERT_EQ(of.has({key}), place(key) != model.end());
      }
   }
}

TEST(CollectionKindsTest, EventsTellEveryWriteAndOrderedOnesGoByKey) {
   Collection<Number, int, SlabStorage<Number, int>, Notify::onEveryWrite> events;
   int told = 0;
   Watcher<Number> watcher([&](Number const&) { ++told; });
   events.watch(watcher);
   events.set({1}, 1);
   events.set({1}, 1);
   events.del({1});
   events.del({1});
   EXPECT_EQ(told, 3);

   OrderedCollection<Number, int> ordered;
   for (uint32_t key : {5U, 1U, 3U}) {
      ordered.set({key}, 1);
   }
   Sequence visited;
   for (auto const& [key, value] : ordered.walk()) {
      visited.push_back(key.value);
      ordered.del({key.value});
      ordered.del({3});
      ordered.set({key.value == 1 ? 4U : 0U}, 1); // ahead of the walk, or behind it
   }
   EXPECT_EQ(visited, (Sequence{1, 4, 5}));
   EXPECT_EQ(keys(ordered), Sequence{0});
   ordered.delAll();
   EXPECT_EQ(ordered.size(), 0U);
}

TEST(CollectionKindsTest, WalksMayEndInAnyOrder) {
   Keyed<Number, int> collection;
   for (uint32_t i = 1; i < 4; ++i) {
      collection.set(Number{i}, static_cast<int>(i));
   }
   using Open = decltype(collection.walk());
   auto first = std::make_unique<Open>(collection);
   auto second = std::make_unique<Open>(collection);
   first.reset();
   collection.del(Number{2}); // which is next
   auto at = second->begin();
   ++at;
   EXPECT_EQ((*at).value, 3);
   second.reset();
   collection.del(Number{3});
   EXPECT_EQ(collection.size(), 1U);
}

// An entity whose destructor reads the collection that held it.
struct Mirror : RefCounted {
   explicit Mirror(std::function<void()> atEnd) : atEnd_(std::move(atEnd)) {}
   ~Mirror() override { atEnd_(); }
   std::function<void()> atEnd_;
};

struct Sets : Entity {
   ORV_ENTITY(Sets, "Test::Sets")
   ORV_SET(keyed, Number, Keyed)
   ORV_SET(ordered, Number, OrderedCollection)
};

TEST(CollectionKindsTest, WritingAMemberOfASetAsFalseRemovesIt) {
   Sets sets;
   Sequence told;
   Watcher<Number> watcher([&](Number key) { told.push_back(key.value); });
   sets.keyedCollection().watch(watcher);
   for (uint32_t each : {1U, 2U, 3U}) {
      sets.keyedIs({each});
      sets.orderedIs({each});
   }
   for (uint32_t each : {2U, 4U}) {
      sets.keyedIs({each}, false);
      sets.orderedIs({each}, false);
   }
   EXPECT_EQ(keys(sets.keyedCollection()), (Sequence{1, 3}));
   EXPECT_EQ(keys(sets.orderedCollection()), (Sequence{1, 3}));
   EXPECT_EQ(sets.keyeds() + sets.ordereds(), 4U);
   EXPECT_FALSE(sets.keyedHas({2}) || sets.keyed({2}));
   EXPECT_EQ(told, (Sequence{1, 2, 3, 2})) << "one that never was is no news";
   // Taken out in the middle of a walk, it is not visited.
   Sequence visited;
   for (auto const& [key, present] : sets.keyedIter()) {
      visited.push_back(key.value);
      sets.keyedIs({3}, false);
   }
   EXPECT_EQ(visited, (Sequence{1}));
}

TEST(CollectionKindsTest, AValueIsDroppedWhenTheNewOneStands) {
   Keyed<Number, Ptr<Mirror>> of;
   int looked = 0;
   Ptr<Mirror> second = make<Mirror>([] {});
   of.set({1}, make<Mirror>([&] {
             ++looked;
             EXPECT_EQ(of.get({1}), second);
          }));
   of.set({1}, second);
   of.set({2}, make<Mirror>([&] {
             ++looked;
             EXPECT_FALSE(of.has({2}));
          }));
   of.del({2});
   EXPECT_EQ(looked, 2);
   of.set({1}, nullptr);
}

TYPED_TEST(CollectionTest, AWalkIsNotMovedByAnotherCollection) {
   TypeParam outer;
   TypeParam inner;
   for (uint32_t value : {1U, 2U, 3U}) {
      outer.set({value}, 1);
      inner.set({value}, 1);
   }
   Sequence visited;
   for (auto const& [key, value] : outer.walk()) {
      visited.push_back(key.value);
      for (auto const& [same, ignored] : inner.walk()) {
         inner.del(same);
      }
   }
   EXPECT_EQ(visited, (Sequence{1, 2, 3}));
}

template<class Of>
void readsItsLastContentWhenItGoes() {
   struct Watcher : Reactor<Number> {
      explicit Watcher(Of const& of) : of_(of) {}
      void handle(Number const&) override {}
      void handleDelete() override { last = of_.get(Number{7}); }
      Of const& of_;
      int last = 0;
   };
   auto collection = std::make_unique<Of>();
   Watcher watcher(*collection);
   collection->watch(watcher);
   collection->set(Number{7}, 70);
   collection.reset();
   EXPECT_EQ(watcher.last, 70);
   EXPECT_FALSE(watcher.registered());
}

TEST(CollectionEndTest, WatchersMayReadACollectionThatGoes) {
   readsItsLastContentWhenItGoes<Keyed<Number, int>>();
   readsItsLastContentWhenItGoes<KeyedByIndex<Number, int>>();
   readsItsLastContentWhenItGoes<OrderedCollection<Number, int>>();
}

} // namespace
} // namespace Orv

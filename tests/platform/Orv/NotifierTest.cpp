#include "platform/Orv/Entity.h"
#include "platform/Orv/Failure.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

namespace Orv {
namespace {

class Switch : public Entity {
   ORV_ENTITY(Switch, "Test::Switch")
   ORV_ATTRIBUTE(level, int, 0)
   ORV_COUNTER(hits)
   ORV_QUEUE(job, int)
};

class NotifierTest : public testing::Test {
 public:
   // A reactor that writes its name down and then acts.
   struct Named : Reactor<> {
      Named(NotifierTest* test, char name, std::function<void()> action = {})
          : test_(test), name_(name), action_(std::move(action)) {
         test->entity->levelAttribute().watch(*this);
      }
      void handle() override {
         test_->called += name_;
         if (action_) {
            // The action may end this reactor.
            auto action = action_;
            action();
         }
      }
      void handleDelete() override { test_->called += '!'; }
      NotifierTest* test_;
      char name_;
      std::function<void()> action_;
   };
   using Reactors = std::vector<std::unique_ptr<Named>>;
   std::string change() {
      called.clear();
      entity->levelIs(entity->level() + 1);
      return called;
   }

   Ptr<Switch> entity = make<Switch>();
   std::string called;
   std::unique_ptr<Named> a, b, c, d;
};

TEST_F(NotifierTest, InOrderOfRegistrationBeforeTheWriteReturns) {
   a = std::make_unique<Named>(this, 'a', [&] { EXPECT_EQ(entity->level(), 1); });
   b = std::make_unique<Named>(this, 'b');
   EXPECT_EQ(change(), "ab");
   called.clear();
   entity->levelIs(1);
   EXPECT_EQ(called, "") << "an equal write is no change";
   a->remove();
   entity->levelAttribute().watch(*a);
   a->action_ = nullptr;
   EXPECT_EQ(change(), "ba");
   entity->levelAttribute().watch(*b); // once, now at the end
   EXPECT_EQ(change(), "ab");
}

TEST_F(NotifierTest, ReactorsThatGoDuringAChangeAreNotCalled) {
   auto three = [&](std::function<void()> action) {
      d.reset();
      a = std::make_unique<Named>(this, 'a');
      b = std::make_unique<Named>(this, 'b', std::move(action));
      c = std::make_unique<Named>(this, 'c');
      return change();
   };
   EXPECT_EQ(three([&] { b.reset(); }), "abc") << "itself";
   EXPECT_EQ(change(), "ac");
   EXPECT_EQ(three([&] { a.reset(); }), "abc") << "an earlier one";
   EXPECT_EQ(change(), "bc");
   EXPECT_EQ(three([&] { c.reset(); }), "ab") << "the later one";
   EXPECT_EQ(three([&] {
                c.reset();
                b.reset();
                a.reset();
             }),
             "ab")
       << "all";
   EXPECT_EQ(change(), "");
   EXPECT_EQ(three([&] { c->remove(); }), "ab") << "taken down, not destroyed";
   EXPECT_EQ(three([&] { d = std::make_unique<Named>(this, 'd'); }), "abc")
       << "new ones see later changes";
   b->action_ = nullptr;
   EXPECT_EQ(change(), "abcd");
   b->action_ = [&] { c.reset(); };
   EXPECT_EQ(change(), "abd") << "the next one, and one is behind it";
   EXPECT_EQ(three([&] {
                c.reset();
                d = std::make_unique<Named>(this, 'd');
             }),
             "ab")
       << "also in the place of the last";
   EXPECT_EQ(three([&] { entity->levelAttribute().watch(*a); }), "abc")
       << "moved behind: not again";
}

TEST_F(NotifierTest, WritesNestAndEachReactorSeesThePresentValue) {
   a = std::make_unique<Named>(this, 'a', [&] {
      if (entity->level() < 3) {
         entity->levelIs(entity->level() + 1);
      }
   });
   b = std::make_unique<Named>(this, 'b', [&] { EXPECT_EQ(entity->level(), 3); });
   EXPECT_EQ(change(), "aaabbb");
   // A reactor that goes in the nested change is not called in the outer one either.
   c = std::make_unique<Named>(this, 'c');
   a->action_ = [&] {
      if (entity->level() == 4) {
         entity->levelIs(5);
      } else {
         c.reset();
      }
   };
   b->action_ = nullptr;
   EXPECT_EQ(change(), "aabb");
}

TEST_F(NotifierTest, ExceptionsAndTheEndOfTheEntity) {
   a = std::make_unique<Named>(this, 'a', [] { throw std::runtime_error("x"); });
   b = std::make_unique<Named>(this, 'b');
   EXPECT_THROW(change(), std::runtime_error);
   EXPECT_EQ(called, "a");
   a->action_ = nullptr;
   EXPECT_EQ(change(), "ab") << "the notifier is sound after an exception";

   // The last pointer goes inside the change: the rest is told of the end, once each.
   a->action_ = [&] { entity = nullptr; };
   called.clear();
   Switch* raw = entity.get();
   raw->levelIs(99);
   EXPECT_EQ(called, "a!!");
   EXPECT_FALSE(a->registered());
   EXPECT_FALSE(b->registered());
}

TEST_F(NotifierTest, QueuesAndCounters) {
   entity->hitsInc(3);
   entity->hitsDec(5);
   EXPECT_EQ(entity->hits(), 0U);
   EXPECT_EQ(entity->job(), 0);
   entity->jobDeq();
   std::vector<int> out;
   for (int i = 1; i <= 100; ++i) {
      entity->jobEnq(i);
      if (i % 3 == 0) {
         out.push_back(entity->job());
         entity->jobDeq();
      }
   }
   while (entity->jobs() > 0) {
      EXPECT_EQ(entity->jobQueue()[0], entity->job());
      out.push_back(entity->job());
      entity->jobDeq();
   }
   for (int i = 1; i <= 100; ++i) {
      ASSERT_EQ(out[static_cast<std::size_t>(i - 1)], i);
   }
   entity->jobEnq(1);
   entity->jobDelAll();
   EXPECT_EQ(entity->jobs(), 0U);
   EXPECT_EQ(entity->jobMetadata().enqueued, 101U);
   EXPECT_EQ(entity->jobMetadata().dequeued, 101U);
}

TEST(FailureTest, PrintsConditionOperandsAndPlaceAndAsksTheHook) {
   int level = 7;
   EXPECT_DEATH(ORV_ASSERT(level < 7, "level() < 7", " we are at ", level),
                "^Failed\\(level\\(\\) < 7\\)  we are at 7\n.*TestBody.*NotifierTest.cpp:");
   ORV_ASSERT(level == 7, "never printed");
   EXPECT_EXIT(
       {
          failureHookIs([](Failure const& failure) {
             std::_Exit(std::string(failure.condition) == "x" && failure.explanation == "y1" ? 3
                                                                                             : 4);
          });
          ORV_ASSERT(false, "x", "y", 1);
       },
       testing::ExitedWithCode(3), "");
}

} // namespace
} // namespace Orv

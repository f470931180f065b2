#include "platform/Orv/Clock.h"
#include "platform/Keel/CodefBase.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace Orv {
namespace {

class ClockTest : public testing::Test {
 public:
   ClockTest() { System::timeSourceIs(&time); }
   ~ClockTest() override { System::timeSourceIs(nullptr); }

   struct Bell : ClockNotifiee {
      Bell(ClockTest* test, char name, std::function<void()> action = {})
          : ClockNotifiee(test->clock), test_(test), name_(name), action_(std::move(action)) {}
      void handleTime() override {
         test_->rung += name_;
         if (action_) {
            auto action = action_;
            action();
         }
      }
      ClockTest* test_;
      char name_;
      std::function<void()> action_;
   };
   std::string run() {
      rung.clear();
      timers.runDue();
      return rung;
   }

   VirtualTime time;
   Timers timers;
   Ptr<Clock> clock = make<Clock>(timers);
   std::string rung;
};

TEST_F(ClockTest, OnceEachInOrderOfTimeThenOfAsking) {
   Bell a(this, 'a');
   Bell b(this, 'b');
   Bell c(this, 'c');
   a.timeMinIs(2);
   b.timeMinIs(1);
   c.timeMinIs(2);
   EXPECT_EQ(timers.next(), 1);
   EXPECT_EQ(run(), "");
   time.advanceTo(2);
   EXPECT_EQ(run(), "bac");
   EXPECT_EQ(run(), "");
   EXPECT_TRUE(timers.idle());
   a.timeMinIs(3);
   b.timeMinIs(3);
   a.timeMinIs(3); // asking again moves the request
   c.timeMinIs(3);
   c.timeMinIs(9);
   b.timeMinDel();
   time.advanceTo(5);
   EXPECT_EQ(run(), "a");
   EXPECT_EQ(timers.next(), 9);
}

TEST_F(ClockTest, AtOnceMeansFromTheLoopBehindWhatWasDue) {
   Bell a(this, 'a');
   Bell late(this, 'l');
   a.action_ = [&] {
      a.timeMinIs(0);
      EXPECT_EQ(rung, "a") << "never inside the caller";
   };
   a.timeMinIs(0);
   EXPECT_EQ(rung, "");
   late.timeMinIs(0);
   EXPECT_EQ(run(), "al") << "what a call asks for waits for the next run";
   a.action_ = nullptr;
   EXPECT_EQ(run(), "a");

   // Asking again moves it, behind what is due since; a withdrawn one leaves the others linked.
   Bell due(this, 'd');
   due.timeMinIs(1);
   a.timeMinIs(0);
   late.timeMinIs(0);
   Bell gone(this, 'g');
   gone.timeMinIs(0);
   a.timeMinIs(0);
   gone.timeMinDel();
   EXPECT_EQ(run(), "la");
   time.advanceTo(2);
   a.timeMinIs(0);
   EXPECT_EQ(timers.next(), 1);
   EXPECT_EQ(run(), "da");
   EXPECT_TRUE(timers.idle());
}

TEST_F(ClockTest, ARequestForAtOnceHasNoTimeOfItsOwn) {
   time.costPerReadingIs(0.25);
   Bell a(this, 'a');
   Bell due(this, 'd');
   Bell past(this, 'p');
   a.timeMinIs(0);
   a.timeMinIs(0);
   EXPECT_EQ(time.peek(), 0.0) << "asked for without reading the time";
   time.costPerReadingIs(0.0);
   due.timeMinIs(3);
   time.advanceTo(4);
   past.timeMinIs(2);
   EXPECT_EQ(a.timeMin(), time.peek());
   EXPECT_EQ(past.timeMin(), time.peek());
   // Whoever asked first for at once: the timer was due before the loop came to them.
   EXPECT_EQ(run(), "dap");
   // Asked for again in a call, it waits for the next run, and keeps no timer waiting.
   a.timeMinIs(0);
   past.action_ = [&] { a.timeMinIs(0); };
   due.timeMinIs(6);
   past.timeMinIs(5);
   EXPECT_EQ(timers.next(), 4);
   time.advanceTo(20);
   EXPECT_EQ(timers.next(), 5);
   EXPECT_EQ(run(), "pd");
   EXPECT_EQ(timers.next(), 20);
   EXPECT_EQ(run(), "a");
}

TEST_F(ClockTest, NotifieesMayGoWhenTheyOrOthersAreCalled) {
   auto a = std::make_unique<Bell>(this, 'a');
   auto b = std::make_unique<Bell>(this, 'b');
   a->action_ = [&] {
      b.reset();
      a.reset();
   };
   Bell c(this, 'c');
   a->timeMinIs(0);
   b->timeMinIs(0);
   c.timeMinIs(0);
   EXPECT_EQ(run(), "ac");
}

TEST_F(ClockTest, ReadingTheTimeMayCostTime) {
   time.costPerReadingIs(0.5);
   EXPECT_EQ(System::currentTime(), 0.5);
   EXPECT_EQ(System::currentTime(), 1.0);
   EXPECT_EQ(time.peek(), 1.0);
   time.advanceTo(0.2);
   EXPECT_EQ(time.peek(), 1.0) << "never back";
   System::timeSourceIs(nullptr);
   Seconds now = System::currentTime();
   EXPECT_GE(System::currentTime(), now);
}

// Works at most three of its items in a slice, a quarter of a second each.
struct Worker : Keel::CodefBase {
   Worker(Ptr<Clock const> clock, VirtualTime& time) : CodefBase(std::move(clock)), time_(time) {}
   uint32_t processBacklog(Seconds const& start) override {
      EXPECT_EQ(start, System::currentTime());
      uint32_t worked = std::min<uint32_t>(items, 3);
      items -= worked;
      time_.advanceTo(start + 0.25 * worked);
      return worked;
   }
   std::size_t backlogSize() const override { return items; }
   VirtualTime& time_;
   uint32_t items = 0;
};

TEST_F(ClockTest, ABacklogProcessorIsCalledAgainWhileWorkIsLeft) {
   auto worker = make<Worker>(clock, time);
   EXPECT_EQ(worker->backlogQuantum(), 0.1);
   worker->items = 7;
   worker->updatesSeenInc(10);
   worker->clockNotifiee().timeMinIs(0);
   timers.runDue();
   EXPECT_EQ(worker->items, 4U);
   EXPECT_EQ(worker->yieldBeforeFinishingCount(), 1U);
   EXPECT_EQ(worker->timeUsed(), 0.75);
   time.advanceTo(8);
   timers.runDue();
   timers.runDue();
   EXPECT_TRUE(timers.idle());
   EXPECT_EQ(worker->dispatchCount(), 3U);
   EXPECT_EQ(worker->yieldBeforeFinishingCount(), 2U);
   EXPECT_EQ(worker->updatesProcessed(), 7U);
   EXPECT_EQ(worker->updatesCoalesced(), 3U);
   EXPECT_EQ(worker->timeUsed(), 1.75) << "in slices, not between them";
}

} // namespace
} // namespace Orv

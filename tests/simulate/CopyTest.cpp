#include "simulate/Copy.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

namespace Simulate {
namespace {

struct Told {
   std::string text;
   Copy::Ending ending;
};

Told runCopy(std::function<void(Copy::Report const&)> const& work) {
   Copy copy(work);
   Told told;
   told.ending = copy.collect([&](std::string_view text) { told.text += text; });
   return told;
}

TEST(CopyTest, ReportsArriveHoweverTheCopyEnds) {
   // More than the pipe takes at once.
   std::string large(1'000'000, 'x');
   Told returned = runCopy([&](auto const& report) {
      report(large);
      report("end");
   });
   EXPECT_EQ(returned.text, large + "end");
   EXPECT_FALSE(returned.ending.signalled);
   EXPECT_EQ(returned.ending.code, 0);

   Told exited = runCopy([](auto const& report) {
      report("one");
      ::_exit(3);
   });
   EXPECT_EQ(exited.text, "one");
   EXPECT_FALSE(exited.ending.signalled);
   EXPECT_EQ(exited.ending.code, 3);

   Told killed = runCopy([](auto const& report) {
      report("two");
      ::raise(SIGKILL);
   });
   EXPECT_EQ(killed.text, "two");
   EXPECT_TRUE(killed.ending.signalled);
   EXPECT_EQ(killed.ending.code, SIGKILL);
}

TEST(CopyTest, ACopyThatNobodyWaitsForIsKilled) {
   // Would go on for ever, and keep the test waiting.
   Copy([](auto const&) {
      for (;;) {
         ::pause();
      }
   });
}

TEST(CopyTest, ACopyThatCannotBeMadeIsAnError) {
#ifdef SHOAL_SANITIZE
   GTEST_SKIP() << "without file descriptors the sanitizers cannot look at memory";
#endif
   rlimit before{};
   ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
   rlimit const none{0, before.rlim_max};
   ::setrlimit(RLIMIT_NOFILE, &none);
   EXPECT_THROW(Copy([](auto const&) {}), std::system_error);
   ::setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
} // namespace Simulate

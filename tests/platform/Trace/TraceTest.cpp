#include "platform/Trace/Trace.h"
#include "platform/Bridging/VlanId.h"
#include "platform/Orv/System.h"
#include "platform/Plexus/IntfId.h"
#include "platform/Trace/Blipline.h"
#include "platform/Trace/BliplineReader.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Point3 {
   int x = 1;
   bool up = true;
   uint8_t level = 65;
   ORV_VALUE(Point3, "Test::Point3", x, up, level)
};

class TraceTest : public testing::Test {
 protected:
   TraceTest() {
      Orv::System::timeSourceIs(&time_);
      Trace::textSinkIs(&text_);
      path_ = testing::TempDir() + "trace-" + std::to_string(::getpid()) + ".blip";
   }
   ~TraceTest() override {
      all(false);
      Trace::textSinkIs(nullptr);
      Trace::Blipline::close();
      Orv::System::timeSourceIs(nullptr);
      std::filesystem::remove(path_);
   }
   static void all(bool on) {
      for (unsigned level = 0; level < Trace::kLevels; ++level) {
         Trace::textLevelIs(level, on);
         Trace::blipLevelIs(level, on);
      }
   }
   std::string content() const {
      std::ifstream in(path_, std::ios::binary);
      return {std::istreambuf_iterator<char>(in), {}};
   }
   std::string decoded() const {
      std::ostringstream out;
      Trace::printBlipline(path_, out);
      return out.str();
   }

   Orv::VirtualTime time_;
   std::ostringstream text_;
   std::string path_;
};

int evaluated = 0;
int counted() {
   return ++evaluated;
}

TEST_F(TraceTest, ADisabledLevelEvaluatesNothingAndLevelsSwitchAtRunTime) {
   evaluated = 0;
   auto hit = [] { SHOAL_TRACE(7, "n: ", counted()); };
   hit();
   EXPECT_EQ(evaluated, 0);
   Trace::textLevelIs(8, true); // another level changes nothing
   hit();
   EXPECT_EQ(evaluated, 0);
   Trace::textLevelIs(7, true);
   hit();
   Trace::textLevelIs(7, false);
   hit();
   EXPECT_EQ(evaluated, 1);
   EXPECT_EQ(text_.str(), "0.000000 7 n: 1\n");
}

TEST_F(TraceTest, BothChannelsSayTheSameWords) {
   Trace::Blipline::open(path_, 16);
   all(true);
   time_.advanceTo(1.5);
   time_.costPerReadingIs(1.0); // a trace point only peeks at the clock
   Plexus::IntfId intf("Ethernet3.7");
   SHOAL_TRACE(7, __func__, ": 100% of ", intf, " is ", -4, ", flag ", true, ", half ", 0.5, " by ",
               std::string("name"));
   SHOAL_TRACE_SPLIT(8, ("no action."), ("no action"));
   SHOAL_TRACE(5, "encap ", Bridging::Dot1qEncap{10, 3}, " ", Point3{}, " ", UINT64_MAX);
   EXPECT_EQ(text_.str(),
             "1.500000 7 TestBody: 100% of Ethernet3.7 is -4, flag 1, half 0.5 by name\n"
             "1.500000 8 no action.\n"
             "1.500000 5 encap Value('Bridging::Dot1qEncap', ** {'outer': 10, 'inner': 3}) "
             "Value('Test::Point3', ** {'x': 1, 'up': 1, 'level': 65}) 18446744073709551615\n");
   EXPECT_EQ(decoded(), "1.500000 7 TestBody: 100% of Ethernet3.7 is -4, flag 1, half 0.5 by name\n"
                        "1.500000 8 no action\n"
                        "1.500000 5 encap <10,3> (x:1 up:1 level:65 ) 18446744073709551615\n");
}

TEST_F(TraceTest, TheRingKeepsTheLastRecordsAndCountsTheLost) {
   Trace::Blipline::open(path_, 3);
   Trace::blipLevelIs(0, true);
   for (int i = 0; i < 8; ++i) {
      SHOAL_TRACE(0, "i ", i);
   }
   EXPECT_EQ(decoded(), "0.000000 0 i 5\n0.000000 0 i 6\n0.000000 0 i 7\nlost: 5\n");
   // A new file has the trace points that were hit before it was opened.
   Trace::Blipline::open(path_, 3);
   for (int i = 8; i < 10; ++i) {
      SHOAL_TRACE(0, "j ", i);
   }
   EXPECT_EQ(decoded(), "0.000000 0 j 8\n0.000000 0 j 9\n");
}

TEST_F(TraceTest, FieldsPastTheTwelfthAreMarked) {
   Trace::Blipline::open(path_, 3);
   Trace::blipLevelIs(0, true);
   SHOAL_TRACE(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, " end");
   EXPECT_EQ(decoded(), "0.000000 0 123456789101112? end\n");
}

TEST_F(TraceTest, TheFileSurvivesItsWriter) {
   pid_t child = ::fork();
   if (child == 0) {
      Trace::Blipline::open(path_, 8);
      Trace::blipLevelIs(7, true);
      SHOAL_TRACE(7, "last words ", 42);
      ::raise(SIGKILL);
   }
   int status = 0;
   ::waitpid(child, &status, 0);
   EXPECT_TRUE(WIFSIGNALED(status));
   EXPECT_EQ(decoded(), "0.000000 7 last words 42\n");
}

TEST_F(TraceTest, AMappedFileIsNeverTruncated) {
   Trace::Blipline::open(path_, 8);
   Trace::blipLevelIs(7, true);
   pid_t child = ::fork(); // another process takes the path, with a shorter ring
   if (child == 0) {
      Trace::Blipline::open(path_, 1);
      ::_exit(0);
   }
   int status = 0;
   ::waitpid(child, &status, 0);
   EXPECT_FALSE(Trace::Blipline::writes(path_));
   for (int i = 0; i < 8; ++i) {
      SHOAL_TRACE(7, "into what was there ", i);
   }
   EXPECT_EQ(decoded(), "");
   Trace::Blipline::open(path_, 8);
   EXPECT_TRUE(Trace::Blipline::writes(path_));
   // A full disk or a path that is not a file leaves the present ring as it is.
   rlimit before{};
   ::getrlimit(RLIMIT_FSIZE, &before);
   rlimit const small{1000, before.rlim_max};
   auto old = std::signal(SIGXFSZ, SIG_IGN);
   ::setrlimit(RLIMIT_FSIZE, &small);
   EXPECT_THROW(Trace::Blipline::open(path_, 8), std::runtime_error);
   ::setrlimit(RLIMIT_FSIZE, &before);
   std::signal(SIGXFSZ, old);
   EXPECT_THROW(Trace::Blipline::open("/dev/null", 8), std::runtime_error);
   SHOAL_TRACE(7, "still there");
   EXPECT_EQ(decoded(), "0.000000 7 still there\n");
   std::ofstream(path_, std::ios::in) << std::string(64, '\0'); // a header of zeros, capacity 0
   SHOAL_TRACE(7, "no harm");
}

TEST_F(TraceTest, DamagedFilesGiveAnErrorNeverACrash) {
   Trace::Blipline::open(path_, 4);
   Trace::blipLevelIs(7, true);
   for (int i = 0; i < 6; ++i) {
      SHOAL_TRACE(7, "number ", i, " of ", std::string("some"));
   }
   std::string good = content();
   std::size_t meaningful = 400; // header and the dictionary in use
   std::size_t refused = 0;
   auto read = [&] {
      try {
         decoded();
      } catch (Trace::BliplineError const& error) {
         ++refused;
         EXPECT_EQ(std::string(error.what()).rfind("offset ", 0), 0U) << error.what();
      }
   };
   Trace::Blipline::close(); // from here on the file is ours
   auto write = [&](std::size_t at, std::string_view bytes) {
      std::fstream file(path_, std::ios::binary | std::ios::in | std::ios::out);
      file.seekp(static_cast<std::streamoff>(at));
      file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
   };
   for (std::size_t at = 0; at < meaningful; ++at) {
      for (unsigned char flip : {0x01, 0x80, 0xff}) {
         char bad = static_cast<char>(good[at] ^ flip);
         write(at, {&bad, 1});
         read();
      }
      write(at, {&good[at], 1});
   }
   EXPECT_GT(refused, 50U) << "damage to the header is noticed";
   // A sparse file may be as large as its header says, and is refused all the same.
   struct Claim {
      std::size_t offset;
      uint64_t value;
      char const* error;
   };
   for (auto const& [offset, value, error] :
        {Claim{24, (1U << 24) + 1, "offset 24: the ring is larger than 16777216 records"},
         Claim{40, (1U << 20) + 1, "offset 40: the dictionary is larger than 1048576 bytes"}}) {
      std::filesystem::resize_file(path_, uint64_t{1} << 40);
      write(offset, {reinterpret_cast<char const*>(&value), sizeof value});
      try {
         decoded();
         ADD_FAILURE() << error;
      } catch (Trace::BliplineError const& thrown) {
         EXPECT_STREQ(thrown.what(), error);
      }
      write(0, good);
   }
   refused = 0;
   for (std::size_t size = meaningful; size-- > 0;) {
      std::filesystem::resize_file(path_, size);
      read();
   }
   EXPECT_EQ(refused, meaningful) << "every truncation loses the ring";
   EXPECT_THROW(Trace::Blipline::open("/nonexistent/dir/file", 4), std::runtime_error);
   EXPECT_THROW(Trace::Blipline::open(path_, 0), std::runtime_error);
}

} // namespace

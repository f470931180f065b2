#include "platform/Toggle/Toggle.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// Each test has a toggle directory of its own, and sees what was read there only.
class ToggleTest : public testing::Test {
 protected:
   ToggleTest() {
      static int number = 0;
      directory_ = testing::TempDir() + "toggle-" + std::to_string(::getpid()) + "-" +
                   std::to_string(++number);
      path_ = directory_ + "/T.json";
      std::filesystem::create_directory(directory_);
      ::setenv("SHOAL_TOGGLE_DIR", directory_.c_str(), 1);
   }
   ~ToggleTest() override {
      ::unsetenv("SHOAL_TOGGLE_DIR");
      std::filesystem::remove_all(directory_);
   }
   static bool read(char const* name, bool defaultValue) {
      return Toggle::getToggleState(name, "T.json", defaultValue);
   }
   void write(std::string const& content) const { std::ofstream(path_) << content; }
   std::vector<Toggle::Reading> readings() const {
      auto all = Toggle::readings();
      std::erase_if(all, [&](Toggle::Reading const& each) { return each.path != path_; });
      return all;
   }
   std::vector<std::string> warnings() const {
      auto all = Toggle::warnings();
      std::erase_if(all, [&](std::string const& each) { return !each.starts_with(directory_); });
      return all;
   }

   std::string directory_;
   std::string path_;
};

TEST_F(ToggleTest, FindsATopLevelFlagWhateverStandsAround) {
   struct Case {
      std::string content;
      char const* name;
      bool value;
   };
   for (auto const& [content, name, value] : {
            Case{R"({"A": true, "B": false})", "B", false},
            Case{R"({"A": true, "B": false})", "A", true},
            Case{" {\n\"x\": {\"A\": false, \"y\": [1, {\"A\": 2}]}, \"A\" :true }\n", "A", true},
            Case{R"({"A\"B": true, "s": "}{,", "A": false})", "A", false},
            Case{"{\"d\": " + std::string(200000, '[') + std::string(200000, ']') +
                     ", \"A\": true}",
                 "A", true},
        }) {
      write(content);
      EXPECT_EQ(read(name, !value), value) << content;
   }
   write("{}");
   EXPECT_TRUE(read("A", true));
   EXPECT_FALSE(read("A", false));
}

TEST_F(ToggleTest, MalformedContentNamesThePlace) {
   struct Case {
      char const* content;
      char const* error;
   };
   for (auto const& [content, error] : {
            Case{"", "1:1: expected '{'"},
            Case{"{\n  A: true}", "2:3: expected a name in quotes"},
            Case{"{\"A\" true}", "1:6: expected ':'"},
            Case{"{\"A\": }", "1:7: expected a value"},
            Case{"{\"A\": true", "1:11: expected '}'"},
            Case{"{\"A\": true} x", "1:13: text behind the object"},
            Case{"{\"A", "1:2: the quotes are not closed"},
            Case{"{\"x\": [1, 2", "1:7: the value does not end"},
            Case{"{\"A\": 1}", "1:7: a toggle is true or false"},
        }) {
      write(content);
      EXPECT_FALSE(read("A", false)) << content;
      EXPECT_EQ(readings()[0].place + ": " + readings()[0].note, error) << content;
   }
}

TEST_F(ToggleTest, AMissingOrMalformedFileGivesTheDefaultAndAWarning) {
   testing::internal::CaptureStderr();
   EXPECT_FALSE(read("A", false));
   EXPECT_TRUE(read("A", true));
   EXPECT_EQ(warnings(), std::vector<std::string>{
                             path_ + ": warning: there is no such file; A is taken as true"});
   write("{\"A\": false}");
   EXPECT_FALSE(read("A", true));
   EXPECT_TRUE(warnings().empty());
   EXPECT_TRUE(read("B", true));
   EXPECT_TRUE(warnings().empty()) << "a file may leave a toggle to its default";
   auto all = readings();
   ASSERT_EQ(all.size(), 2U);
   EXPECT_TRUE(all[0].fromFile && !all[0].value && all[0].note.empty());
   EXPECT_TRUE(!all[1].fromFile && all[1].value);
   EXPECT_EQ(all[1].note, "the file does not have it");
   write("{\"A\": maybe, \"C\": true}");
   EXPECT_TRUE(read("A", true));
   EXPECT_EQ(warnings(),
             std::vector<std::string>{
                 path_ + ":1:7: warning: a toggle is true or false; A is taken as true"});
   EXPECT_TRUE(read("B", true));
   write("{\"a\": true, \"B\": false, \"C\": true}");
   EXPECT_TRUE(read("A", true));
   EXPECT_FALSE(read("B", true));
   EXPECT_EQ(warnings(),
             std::vector<std::string>{path_ + ": warning: the file does not have it; there is no "
                                              "toggle 'C', 'a'; A is taken as true"});
   std::filesystem::resize_file(path_, (1U << 20) + 1);
   EXPECT_TRUE(read("A", true));
   EXPECT_EQ(readings()[0].note, "is larger than 1048576 bytes");
   std::filesystem::remove(path_);
   std::filesystem::create_directory(path_);
   EXPECT_TRUE(read("A", true));
   EXPECT_EQ(readings()[0].note, "is not a regular file");
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "telling it is the host's";
}

} // namespace

#include "platform/Toggle/Toggle.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(ToggleTest, FindsATopLevelFlagWhateverStandsAround) {
   using Toggle::findToggle;
   EXPECT_EQ(findToggle(R"({"A": true, "B": false})", "B"), false);
   EXPECT_EQ(findToggle(R"({"A": true, "B": false})", "A"), true);
   EXPECT_EQ(findToggle("{}", "A"), std::nullopt);
   EXPECT_EQ(findToggle(" {\n\"x\": {\"A\": false, \"y\": [1, {\"A\": 2}]}, \"A\" :true }\n", "A"),
             true);
   EXPECT_EQ(findToggle(R"({"A\"B": true, "s": "}{,", "A": false})", "A"), false);
   std::string deep =
       "{\"d\": " + std::string(200000, '[') + std::string(200000, ']') + ", \"A\": true}";
   EXPECT_EQ(findToggle(deep, "A"), true);
}

TEST(ToggleTest, MalformedContentNamesThePlace) {
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
      try {
         Toggle::findToggle(content, "A");
         ADD_FAILURE() << content;
      } catch (std::runtime_error const& thrown) {
         EXPECT_STREQ(thrown.what(), error) << content;
      }
   }
}

TEST(ToggleTest, AMissingOrMalformedFileGivesTheDefault) {
   std::string directory = testing::TempDir() + "toggle-" + std::to_string(::getpid());
   std::filesystem::create_directory(directory);
   Toggle::directoryIs(directory);
   auto write = [&](char const* content) { std::ofstream(directory + "/T.json") << content; };
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_FALSE(Toggle::getToggleState("A", "T.json", false));
   write("{\"A\": false}");
   EXPECT_FALSE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_TRUE(Toggle::getToggleState("B", "T.json", true));
   write("{\"A\": maybe}");
   testing::internal::CaptureStderr();
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_EQ(testing::internal::GetCapturedStderr(),
             directory + "/T.json:1:7: warning: a toggle is true or false; A is taken as true\n");
   std::filesystem::create_directory(directory + "/D.json");
   testing::internal::CaptureStderr();
   EXPECT_TRUE(Toggle::getToggleState("A", "D.json", true));
   EXPECT_EQ(testing::internal::GetCapturedStderr(),
             directory + "/D.json: warning: cannot be read: Is a directory; A is taken as true\n");
   std::filesystem::remove_all(directory);
}

} // namespace

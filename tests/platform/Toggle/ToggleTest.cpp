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

TEST(ToggleTest, AMissingOrMalformedFileGivesTheDefaultAndAWarning) {
   std::string directory = testing::TempDir() + "toggle-" + std::to_string(::getpid());
   std::filesystem::create_directory(directory);
   Toggle::directoryIs(directory);
   std::string path = directory + "/T.json";
   auto write = [&](char const* content) { std::ofstream(path) << content; };
   testing::internal::CaptureStderr();
   EXPECT_FALSE(Toggle::getToggleState("A", "T.json", false));
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_EQ(
       Toggle::warnings(),
       std::vector<std::string>{path + ": warning: there is no such file; A is taken as true"});
   write("{\"A\": false}");
   EXPECT_FALSE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_TRUE(Toggle::warnings().empty());
   EXPECT_TRUE(Toggle::getToggleState("B", "T.json", true));
   EXPECT_TRUE(Toggle::warnings().empty()) << "a file may leave a toggle to its default";
   auto readings = Toggle::readings();
   ASSERT_EQ(readings.size(), 2U);
   EXPECT_TRUE(readings[0].fromFile && !readings[0].value && readings[0].note.empty());
   EXPECT_TRUE(!readings[1].fromFile && readings[1].value);
   EXPECT_EQ(readings[1].note, "the file does not have it");
   write("{\"A\": maybe, \"C\": true}");
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_EQ(Toggle::warnings(),
             std::vector<std::string>{
                 path + ":1:7: warning: a toggle is true or false; A is taken as true"});
   EXPECT_TRUE(Toggle::getToggleState("B", "T.json", true));
   write("{\"a\": true, \"B\": false, \"C\": true}");
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_FALSE(Toggle::getToggleState("B", "T.json", true));
   EXPECT_EQ(Toggle::warnings(),
             std::vector<std::string>{path + ": warning: the file does not have it; there is no "
                                             "toggle 'C', 'a'; A is taken as true"});
   std::filesystem::resize_file(path, (1U << 20) + 1);
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_EQ(Toggle::readings()[0].note, "is larger than 1048576 bytes");
   std::filesystem::remove(path);
   std::filesystem::create_directory(path);
   EXPECT_TRUE(Toggle::getToggleState("A", "T.json", true));
   EXPECT_EQ(Toggle::readings()[0].note, "is not a regular file");
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "telling it is the host's";
   std::filesystem::remove_all(directory);
}

} // namespace

// The scenarios of docs/behaviour.md.
#include "agent/inventory/FileContent.h"
#include "tests/agent/command/Scenario.h"

#include <filesystem>
#include <regex>
#include <set>

namespace Agent {
namespace {

std::string const behaviourFolder = "examples/behaviour/";

std::set<std::string> behaviours() {
   std::set<std::string> names;
   for (auto const& file : std::filesystem::directory_iterator(behaviourFolder)) {
      if (file.path().extension() == ".scenario") {
         names.insert(file.path().stem().string());
      }
   }
   return names;
}

TEST(BehaviourTest, EveryScenarioShowsWhatItExpects) {
   std::string inventory = fileContent(behaviourFolder + "inventory.json").value();
   EXPECT_TRUE(parseInventory(inventory, "inventory.json").diagnostics.empty());
   EXPECT_GE(behaviours().size(), 46U);
   for (std::string const& name : behaviours()) {
      std::string scenario = fileContent(behaviourFolder + name + ".scenario").value();
      EXPECT_THAT(scenario, testing::HasSubstr("\nexpect ")) << name;
      Result result = run(scenario, {}, inventory);
      EXPECT_EQ(result.code, 0) << name << ": " << result.errors;
   }
}

TEST(BehaviourTest, TheDocumentLinksToEveryScenario) {
   std::string document = fileContent("docs/behaviour.md").value();
   std::regex link(R"(\[([^\]]+)\]\(\.\./examples/behaviour/([^)]+)\.scenario\))");
   std::set<std::string> linked;
   for (std::sregex_iterator each(document.begin(), document.end(), link), end; each != end;
        ++each) {
      EXPECT_EQ((*each)[1], (*each)[2]);
      linked.insert((*each)[2]);
   }
   EXPECT_EQ(linked, behaviours());
}

} // namespace
} // namespace Agent

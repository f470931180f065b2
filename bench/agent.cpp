// The cost of the agent's own work as configurations grow: to load one, to take a request and to
// settle, to explain a request, to list problems and to print tables.
//
// bench/make-switch makes the configurations. Each run is a process of its own.
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "bench/support/Alone.h"
#include "bench/support/ProcessorTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace Bench {
namespace {

constexpr std::size_t sizes[] = {1000, 10000, 100000};
constexpr std::size_t kSizes = std::size(sizes);
constexpr int runs = 5;
// So many problems are made, whatever the size.
constexpr std::size_t troubled = 8;

enum Cost {
   load,          // of the configuration, in s
   line,          // each request with its share of settling, in us
   firstCommand,  // from here on the median of one command, in us: a request beside few others
   laterCommand,  // beside ten times as many
   lastCommand,   // beside a hundred times as many
   changeCommand, // another policy, beside all
   explainCommand,
   problemsOfNone,
   problemsOfSome,
   showRetry,
   showSummary,
   kCosts
};
constexpr char const* names[] = {"load, s",
                                 "request and settling, us",
                                 "request beside 1k others, us",
                                 "request beside 10k others, us",
                                 "request beside 100k others, us",
                                 "change of a request, us",
                                 "explain, us",
                                 "problems, none, us",
                                 "problems, 8 rows, us",
                                 "show retry, 8 rows, us",
                                 "show summary, 3 rows, us"};

using Costs = std::array<double, kCosts>; // 0: not measured

double medianOf(std::vector<double> values) {
   if (values.empty()) {
      return 0;
   }
   std::sort(values.begin(), values.end());
   return values[values.size() / 2];
}

struct Files {
   std::filesystem::path folder;
   std::string inventory(std::size_t size) const {
      return folder / (std::to_string(size) + ".json");
   }
   std::string scenario(std::size_t size) const {
      return folder / (std::to_string(size) + ".scenario");
   }
};

// Runs commands on a switch of `size` sub-interfaces.
class Trial {
 public:
   Trial(Files const& files, std::size_t size) : files_(files), size_(size) {}

   // None, with a message, when a command fails.
   std::optional<Costs> costs() {
      Costs costs{};
      double start = processorTime();
      Agent::AgentHost host(Agent::readInventory(files_.inventory(size_)));
      costs[load] = processorTime() - start;
      Agent::ScenarioRunner runner(host, out_, errors_, {});
      runner_ = &runner;

      std::istringstream scenario(*Agent::fileContent(files_.scenario(size_)));
      for (std::string text; std::getline(scenario, text);) {
         lines_.push_back(text);
      }
      std::vector<double> each;
      start = processorTime();
      for (std::string const& text : lines_) {
         each.push_back(timeOf(text));
      }
      run("settle");
      costs[line] = (processorTime() - start) / static_cast<double>(size_) * 1e6;
      for (std::size_t i = 0; i < kSizes && sizes[i] <= size_; ++i) {
         auto end = each.begin() + static_cast<std::ptrdiff_t>(sizes[i]);
         costs[firstCommand + i] = medianOf({end - static_cast<std::ptrdiff_t>(sizes[0] / 2), end});
      }

      costs[problemsOfNone] = repeated("problems", "problems: 0 rows");
      costs[explainCommand] = spread("explain ", "");
      costs[changeCommand] = spread("request acl ", " qos=9");
      run("settle");
      // Who shares an entry has lost its policy to the change.
      for (std::size_t i = 0; i < kSpread; ++i) {
         run(lines_[spreadLine(i)]);
      }
      run("settle");
      repeated("problems", "problems: 0 rows");
      for (std::size_t i = 0; i < troubled; ++i) {
         run("encapsulation " + interfaceOf(i) + " none");
         run("request acl " + interfaceOf(i) + " own qos=10");
      }
      run("settle");
      std::string rows = std::to_string(troubled) + " rows";
      costs[problemsOfSome] = repeated("problems", "problems: " + rows);
      costs[showRetry] = repeated("show retry", "retry: " + rows);
      costs[showSummary] = repeated("show summary", "summary: 3 rows");
      std::fputs(errors_.str().c_str(), stderr);
      return errors_.str().empty() ? std::optional(costs) : std::nullopt;
   }

 private:
   void run(std::string const& command) { runner_->runLine(command, command, 1); }

   // In us.
   double timeOf(std::string const& command) {
      out_.str("");
      auto start = std::chrono::steady_clock::now();
      run(command);
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() * 1e6;
   }

   // The median of one command that prints a text with this beginning.
   double repeated(std::string const& command, std::string const& beginning) {
      std::vector<double> times;
      for (int i = 0; i < 25; ++i) {
         times.push_back(timeOf(command));
         if (!out_.str().starts_with(beginning)) {
            errors_ << command << " prints " << out_.str().substr(0, out_.str().find('\n'))
                    << ", not " << beginning << "\n";
         }
      }
      return medianOf(times);
   }

   // The median of a command for interfaces from all over the scenario.
   double spread(std::string const& before, std::string const& after) {
      std::vector<double> times;
      for (std::size_t i = 0; i < kSpread; ++i) {
         times.push_back(timeOf(before + interfaceOf(spreadLine(i)) + " own" + after));
      }
      return medianOf(times);
   }

   static constexpr std::size_t kSpread = sizes[0] / 2;
   std::size_t spreadLine(std::size_t i) const { return i * (lines_.size() / kSpread); }

   // Of "request acl INTERFACE ...".
   std::string interfaceOf(std::size_t which) const {
      std::istringstream words(lines_[which]);
      std::string word;
      words >> word >> word >> word;
      return word;
   }

   Files const& files_;
   std::size_t size_;
   std::ostringstream out_;
   std::ostringstream errors_;
   Agent::ScenarioRunner* runner_ = nullptr;
   std::vector<std::string> lines_;
};

// Seconds that Python's reader of JSON takes for the configuration.
double readByPython(Files const& files, std::size_t size) {
   std::string command = "python3 -c 'import json, time; start = time.process_time(); "
                         "json.load(open(\"" +
                         files.inventory(size) +
                         "\")); "
                         "print(time.process_time() - start)'";
   double seconds = 0;
   if (FILE* out = ::popen(command.c_str(), "r")) {
      if (std::fscanf(out, "%lf", &seconds) != 1) {
         seconds = 0;
      }
      ::pclose(out);
   }
   return seconds;
}

bool make(Files const& files, std::size_t size) {
   std::string command = "bench/make-switch " + std::to_string(size) + " --inventory " +
                         files.inventory(size) + " --scenario " + files.scenario(size);
   return std::system(command.c_str()) == 0;
}

void print(std::vector<std::size_t> const& counts, std::vector<Costs> const& medians,
           std::vector<double> const& python) {
   std::printf("Medians of %d runs\n  %-30s", runs, "sub-interfaces and requests");
   for (std::size_t count : counts) {
      std::printf(" %9zu", count);
   }
   std::printf("   growth\n");
   for (std::size_t cost = 0; cost < kCosts; ++cost) {
      std::printf("  %-30s", names[cost]);
      for (auto const& each : medians) {
         each[cost] == 0 ? (void)std::printf(" %9s", "")
                         : (void)std::printf(" %9.*f", cost == load ? 4 : 2, each[cost]);
      }
      double first = medians.front()[cost];
      first == 0 ? (void)std::printf("\n")
                 : (void)std::printf("   x%.2f\n", medians.back()[cost] / first);
   }
   std::printf("\nLoading, against Python's reading of the same JSON:");
   for (std::size_t i = 0; i < counts.size(); ++i) {
      std::printf(" x%.2f", medians[i][load] / python[i]);
   }
   Costs const& largest = medians.back();
   std::printf("\nA request beside %zu others, against one beside 1000 in the same run: x%.2f\n",
               counts.back(), largest[firstCommand + counts.size() - 1] / largest[firstCommand]);
}

int measure(Files const& files) {
   char const* max = std::getenv("SHOAL_BENCH_MAX");
   std::size_t limit = max == nullptr ? sizes[kSizes - 1] : std::strtoull(max, nullptr, 10);
   std::vector<std::size_t> counts;
   for (std::size_t size : sizes) {
      if (counts.empty() || size <= limit) {
         counts.push_back(size);
      }
   }
   for (std::size_t count : counts) {
      if (!make(files, count)) {
         std::fputs("bench/make-switch failed; run this in the root of the tree\n", stderr);
         return 1;
      }
   }
   std::vector<std::vector<Costs>> all(counts.size());
   std::vector<std::vector<double>> python(counts.size());
   for (int run = 0; run < runs; ++run) {
      for (std::size_t i = 0; i < counts.size(); ++i) {
         auto costs = alone([&] { return Trial(files, counts[i]).costs(); });
         if (!costs || !*costs) {
            return 1;
         }
         all[i].push_back(**costs);
         python[i].push_back(readByPython(files, counts[i]));
      }
   }
   std::vector<Costs> medians(counts.size());
   std::vector<double> pythonMedians;
   for (std::size_t i = 0; i < counts.size(); ++i) {
      for (std::size_t cost = 0; cost < kCosts; ++cost) {
         std::vector<double> values;
         for (Costs const& each : all[i]) {
            values.push_back(each[cost]);
         }
         medians[i][cost] = medianOf(values);
      }
      pythonMedians.push_back(medianOf(python[i]));
   }
   print(counts, medians, pythonMedians);
   return 0;
}

} // namespace
} // namespace Bench

int main() {
   Bench::Files files{std::filesystem::temp_directory_path() /
                      ("shoal-bench-" + std::to_string(::getpid()))};
   std::filesystem::create_directory(files.folder);
   int result = Bench::measure(files);
   std::filesystem::remove_all(files.folder);
   return result;
}

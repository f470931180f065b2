// The program as a process: signals, limits, terminals, files that are none.
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <regex>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;

constexpr char const* run = SHOAL_AGENT " run --quiet --inventory examples/chassis.json ";

class ProgramTest : public testing::Test {
 protected:
   ProgramTest() { std::filesystem::create_directory(folder_); }
   ~ProgramTest() override { std::filesystem::remove_all(folder_); }

   std::string path(std::string const& name) const { return folder_ + "/" + name; }
   std::string file(std::string const& name, std::string const& content) const {
      std::ofstream(path(name), std::ios::binary) << content;
      return path(name);
   }

   struct Result {
      int status; // the exit code, or 128 + the signal
      std::string text;
   };
   // Both outputs of a shell command, which gets no more than a minute.
   static Result shell(std::string const& command) {
      std::string limited = "timeout 60 sh -c '" + command + "' 2>&1 </dev/null";
      FILE* pipe = ::popen(limited.c_str(), "r");
      std::string text;
      std::array<char, 4096> buffer;
      while (std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
         text.append(buffer.data(), got);
      }
      int status = ::pclose(pipe);
      return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), text};
   }
   // A command line in one quoted word of the shell's.
   Result commands(std::string const& lines, std::string const& before = "") const {
      return shell(before + run + "--scenario " + file("commands", lines));
   }

   // What comes from `end` until `wanted` is there, or nothing comes for some time.
   static std::string readUntil(int end, std::string const& wanted) {
      std::string text;
      std::array<char, 4096> buffer;
      pollfd ready{end, POLLIN, 0};
      while (text.find(wanted) == std::string::npos && ::poll(&ready, 1, 10000) == 1) {
         ssize_t got = ::read(end, buffer.data(), buffer.size());
         if (got <= 0) {
            break;
         }
         text.append(buffer.data(), static_cast<std::size_t>(got));
      }
      return text;
   }

 private:
   std::string folder_ = testing::TempDir() + "program-" + std::to_string(::getpid());
};

TEST_F(ProgramTest, WhatWasPrintedBeforeASignalReachesThePipe) {
   // Opening the trace file waits for somebody who reads it, so the agent stays in that command.
   ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
   std::string scenario =
       file("waits", "trace file " + path("trace") +
                         "\ntrace text all on\nrequest acl lc1/asic0/Ethernet0.10 own 5\n"
                         "echo one\ntrace file " +
                         path("fifo") + "\n");
   for (int signal : {SIGINT, SIGTERM}) {
      int ends[2];
      ASSERT_EQ(::pipe(ends), 0);
      pid_t child = ::fork();
      if (child == 0) {
         // A job in the background ignores the interrupt, and its children inherit that.
         ::signal(signal, SIG_DFL);
         ::dup2(ends[1], STDOUT_FILENO);
         ::execl(SHOAL_AGENT, "shoal-agent", "run", "--quiet", "--inventory",
                 "examples/chassis.json", "--scenario", scenario.c_str(), nullptr);
         ::_exit(99);
      }
      ::close(ends[1]);
      EXPECT_EQ(readUntil(ends[0], "one\n"), "one\n");
      ::kill(child, signal);
      int status = 0;
      ::waitpid(child, &status, 0);
      ::close(ends[0]);
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
      EXPECT_GT(std::filesystem::file_size(path("trace")), 0U);
   }
}

TEST_F(ProgramTest, AFileSizeLimitIsAnError) {
   Result ring = commands("trace ring " + path("ring") + " 4096\n", "ulimit -f 8; ");
   EXPECT_EQ(ring.status, 1);
   EXPECT_THAT(ring.text, HasSubstr("commands:1: error: " + path("ring") + ": File too large"));
   EXPECT_FALSE(std::filesystem::exists(path("ring")));
   std::string much = "trace text all on\nrequest acl */Ethernet*.* own 5\nsettle\n";
   Result trace = commands("trace file " + path("full") + "\n" + much, "ulimit -f 1; ");
   EXPECT_EQ(trace.status, 1);
   EXPECT_THAT(trace.text, HasSubstr("error: cannot write all of " + path("full")));
   // Another file does not hide what was lost.
   Result moved = commands("trace file " + path("full") + "\n" + much + "trace file " +
                               path("next") + "\ntrace text all off\n",
                           "ulimit -f 1; ");
   EXPECT_EQ(moved.status, 1);
   EXPECT_THAT(moved.text, HasSubstr("commands:5: error: cannot write all of " + path("full")));
}

TEST_F(ProgramTest, AnErrorTypedAtATerminalDoesNotEndTheSession) {
   int terminal = -1;
   pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
   if (child == 0) {
      ::execl(SHOAL_AGENT, "shoal-agent", "run", "--quiet", "--inventory", "examples/chassis.json",
              nullptr);
      ::_exit(99);
   }
   std::string text = readUntil(terminal, "help lists them");
   std::string typed = "frobnicate\necho still here | cat\n\x04";
   ASSERT_EQ(::write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
   text += readUntil(terminal, "nothing, but the end");
   int status = 0;
   ::waitpid(child, &status, 0);
   ::close(terminal);
   EXPECT_THAT(text, HasSubstr("standard input:1: error: there is no command 'frobnicate'"));
   EXPECT_THAT(text, HasSubstr("\nstill here | cat\r\n")); // not the terminal's echo of the typing
   EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
}

TEST_F(ProgramTest, OnlyRegularFilesAreDecoded) {
   ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
   std::filesystem::resize_file(file("sparse", ""), uint64_t{1} << 40);
   struct Case {
      std::string name;
      int status;
      char const* error;
   };
   for (auto const& [name, status, error] :
        {Case{"/dev/zero", 1, "is not a regular file"},
         Case{"/dev/random", 1, "is not a regular file"},
         Case{path("fifo"), 1, "is not a regular file"},
         Case{path("."), 1, "is not a regular file"},
         Case{path("sparse"), 1, "offset 0: not a Blipline file"},
         Case{file("empty", ""), 1, "offset 0: the file ends inside a record of 64 bytes"},
         Case{path("absent"), 2, "cannot be read: No such file or directory"}}) {
      Result result = shell("timeout 10 " SHOAL_AGENT " decode " + name);
      EXPECT_EQ(result.status, status) << name;
      EXPECT_EQ(result.text, name + ": error: " + error + "\n");
   }
}

TEST_F(ProgramTest, AnOddToggleFileIsWarnedOfOnceAndOutputIsNotDoubled) {
   // A line that was printed before a copy of the agent is made stands there once.
   std::string scenario = "echo one\nrequest acl lc1/asic0/Ethernet0.10 own 5\nsettle\necho two\n"
                          "show toggles\n";
   std::string name = path("") + "/ShoalTcamLib.json";
   std::string taken = "; DynamicISemData is taken as true\n";
   struct Case {
      char const* content; // null: no file
      std::string warning;
      bool value;
      char const* source;
   };
   for (auto const& [content, warning, value, source] : {
            Case{nullptr, ": warning: there is no such file" + taken, true, "default"},
            Case{"{", ":1:2: warning: expected a name in quotes" + taken, true, "default"},
            Case{"", ":1:1: warning: expected '{'" + taken, true, "default"},
            Case{"{\"DynamicISemData\": \"off\"}",
                 ":1:21: warning: a toggle is true or false" + taken, true, "default"},
            Case{"{\"DynamicIsemData\": false}",
                 ": warning: the file does not have it; there is no toggle 'DynamicIsemData'" +
                     taken,
                 true, "default"},
            Case{"{\"DynamicISemData\": false, \"Other\": 1, \"More\": {}}",
                 ": warning: there is no toggle 'More', 'Other'; DynamicISemData is false\n", false,
                 "file"},
            Case{"{\"DynamicISemData\": false}", "", false, "file"},
            Case{"{}", "", true, "default"},
        }) {
      std::filesystem::remove(name);
      if (content != nullptr) {
         file("ShoalTcamLib.json", content);
      }
      std::string text = commands(scenario, "SHOAL_TOGGLE_DIR=" + path("") + " ").text;
      EXPECT_EQ(text.find((warning.empty() ? "" : name + warning) + "one\ntwo\ntoggles: 1 row\n"),
                0U)
          << text;
      EXPECT_THAT(text, HasSubstr(std::string("DynamicISemData  ") +
                                  (value ? "yes    " : "no     ") + name + "  " + source));
   }
   std::filesystem::remove(name);
   ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
   EXPECT_EQ(commands("echo one", "SHOAL_TOGGLE_DIR=" + path("") + " ").text,
             name + ": warning: is not a regular file" + taken + "one\n");
   EXPECT_EQ(commands("echo one", "SHOAL_TOGGLE_DIR=/nonexistent ").text,
             "/nonexistent/ShoalTcamLib.json: warning: there is no directory /nonexistent" + taken +
                 "one\n");
   EXPECT_EQ(commands("echo one").text, "one\n");
}

TEST_F(ProgramTest, ErrorsShowNulsAndCutLongWords) {
   using std::string_literals::operator""s;
   Result nul = commands("frob\0nicate\n"s);
   EXPECT_EQ(nul.status, 1);
   EXPECT_THAT(nul.text, HasSubstr("commands:1: error: a command has no NUL characters, unlike "
                                   "'frob\\x00nicate'\n"));
   Result comment = commands("# a comment\0 may\necho one\n"s);
   EXPECT_EQ(comment.text, "one\n");
   std::string start(60, 'x');
   std::string word(5000000, 'x');
   Result name = commands(word + "\n");
   EXPECT_THAT(name.text, HasSubstr("commands:1: error: there is no command '" + start +
                                    "...' (5000000 characters) (help lists them)\n"));
   EXPECT_EQ(name.status, 1);
   Result number =
       commands("advance 1" + word + "\nadvance \"" + word.substr(0, 5000) + "\x1b\"\n", "");
   EXPECT_THAT(number.text,
               HasSubstr("SECONDS is a number, not '1" + start.substr(1) + "...' (5000001"));
   // Words that a quote keeps together are one, however many blanks they have.
   std::string blanks;
   for (int i = 0; i < 100000; ++i) {
      blanks += "word ";
   }
   EXPECT_LT(commands("\"" + blanks + "\"\n").text.size(), 20000U);
   EXPECT_THAT(commands("show \x1b[31m\n").text, HasSubstr("there is no table '\\x1b[31m'"));
}

// The text of a manual page, without its fonts and escapes.
std::string manualText(std::string const& path) {
   std::ifstream file(path);
   std::string text{std::istreambuf_iterator<char>(file), {}};
   text = std::regex_replace(text, std::regex(R"(\\(f[BIR]|&|:))"), "");
   text = std::regex_replace(text, std::regex(R"(\\-)"), "-");
   return std::regex_replace(text, std::regex(R"(\\e)"), "\\");
}

TEST_F(ProgramTest, TheManualPagesHaveAllThatHelpPrints) {
   EXPECT_EQ(shell(SHOAL_AGENT " help --man " + path("manual")).status, 0);
   std::string program = manualText(path("manual/shoal-agent.1"));
   std::string help = shell(SHOAL_AGENT " --help").text;
   std::regex const option(R"(--[a-z-]+)");
   std::regex const subcommand(R"(\n  ([a-z]+) +(.*))");
   help = help.substr(help.find("Subcommands:"));
   std::size_t pages = 0;
   for (std::sregex_iterator each(help.begin(), help.end(), subcommand), end; each != end; ++each) {
      std::string name = (*each)[1];
      EXPECT_THAT(program, HasSubstr("\n" + name + "\n" + (*each)[2].str() + "\n"));
      std::string page = manualText(path("manual/shoal-agent-" + name + ".1"));
      std::string own = shell(SHOAL_AGENT " " + name + " --help").text;
      EXPECT_THAT(own, HasSubstr("--help"));
      for (std::sregex_iterator one(own.begin(), own.end(), option); one != end; ++one) {
         EXPECT_THAT(page, HasSubstr(one->str())) << name;
      }
      ++pages;
   }
   EXPECT_GE(pages, 4U);

   std::string scenario = manualText(path("manual/shoal-agent-scenario.5"));
   std::istringstream commands(shell(SHOAL_AGENT " commands").text);
   std::size_t lines = 0;
   for (std::string line; std::getline(commands, line); ++lines) {
      std::string text = line.substr(std::min(line.find_first_not_of(' '), line.size()));
      EXPECT_THAT(scenario, HasSubstr("\n" + text + "\n"));
   }
   EXPECT_GT(lines, 100U);
   EXPECT_EQ(shell(SHOAL_AGENT " help --man /dev/null/manual").status, 1);
}

} // namespace

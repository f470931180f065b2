#include "agent/command/ScenarioRunner.h"

#include "agent/command/Registry.h"
#include "host/names/Names.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace Agent {

std::vector<std::string> splitWords(std::string const& line) {
   std::vector<std::string> words;
   std::string word;
   bool inWord = false;
   bool quoted = false;
   auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
   for (std::size_t at = 0; at < line.size(); ++at) {
      char c = line[at];
      if (c == '\0') {
         throw CommandError("a command has no NUL characters, unlike '{}'", line);
      }
      bool space = isSpace(c);
      if (c == '"') {
         quoted = !quoted;
         inWord = true;
      } else if (!quoted && (space || c == '#')) {
         if (inWord) {
            words.push_back(std::move(word));
         }
         word.clear();
         inWord = false;
         if (c == '#') {
            return words;
         }
      } else {
         std::size_t begin = at;
         auto isPlain = [&](char next) {
            return next != '\0' && next != '"' && (quoted || (!isSpace(next) && next != '#'));
         };
         while (at + 1 < line.size() && isPlain(line[at + 1])) {
            ++at;
         }
         word.append(line, begin, at + 1 - begin);
         inWord = true;
      }
   }
   if (quoted) {
      throw CommandError("a quote is not closed");
   }
   if (inWord) {
      words.push_back(std::move(word));
   }
   return words;
}

void ScenarioRunner::printNotes(uint64_t told) {
   Detours const& detours = host_.changes().detours();
   auto fresh = static_cast<std::ptrdiff_t>(detours.freshNotes(told));
   for (auto note = detours.notes().end() - fresh; note != detours.notes().end(); ++note) {
      out_ << "at " << formatSeconds(note->at) << " s: " << note->text << "\n";
   }
}

bool ScenarioRunner::runLine(std::string const& line, std::string const& name, std::size_t number) {
   uint64_t told = host_.changes().detours().count();
   bool sound = tryLine(line, name, number);
   printNotes(told);
   // A signal that ends the agent later takes nothing with it.
   out_.flush();
   host_.traceFile().flush();
   return sound;
}

bool ScenarioRunner::tryLine(std::string const& line, std::string const& name, std::size_t number) {
   refused_.reset();
   try {
      auto words = splitWords(line);
      if (words.empty()) {
         return true;
      }
      if (options_.echo) {
         out_ << "> " << line << "\n";
         out_.flush(); // the command may take long
      }
      Command const& command = commandRegistry().take(words);
      Arguments arguments(std::move(words));
      command.run(host_, arguments, out_);
      return true;
   } catch (ExpectationFailed const& failed) {
      errors_ << name << ":" << number << ": failed: " << failed.what() << std::endl;
   } catch (ChangeRefused const& refused) {
      refused_ = refused.objection();
      errors_ << name << ":" << number << ": error: " << refused.what() << std::endl;
   } catch (std::exception const& error) {
      errors_ << name << ":" << number << ": error: " << error.what() << std::endl;
   }
   return false;
}

int ScenarioRunner::run(std::istream& in, std::string const& name) {
   bool sound = true;
   std::string line;
   for (std::size_t number = 1; std::getline(in, line); ++number) {
      if (constexpr std::string_view mark = "\xef\xbb\xbf"; number == 1 && line.starts_with(mark)) {
         line.erase(0, mark.size()); // some editors begin a file so
      }
      sound = runLine(line, name, number) && sound;
      if (!sound && !options_.keepGoing) {
         break;
      }
   }
   return sound ? 0 : 1;
}

} // namespace Agent

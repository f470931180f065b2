#include "simulate/Trial.h"

#include "agent/command/ScenarioRunner.h"
#include "platform/Orv/Failure.h"
#include "simulate/Checker.h"
#include "simulate/Properties.h"

#include <cstring>
#include <sstream>
#include <utility>

namespace Simulate {

namespace {

// In the child: lines of a letter and a text.
Copy::Report const* reportTo = nullptr;
std::string unsent;
std::size_t sentFrom = 0; // bytes from which on they are sent

void send() {
   (*reportTo)(unsent);
   unsent.clear();
}

void report(char what, std::string_view text) {
   unsent += what;
   unsent += text;
   unsent += '\n';
   if (unsent.size() >= sentFrom) {
      send();
   }
}

// In the child: whose stop it is.
AgentHost const* tried = nullptr;

// In a copy of the child, which carries out what was refused.
std::string const* wanted = nullptr;

void proveStop(Orv::Failure const& failure) {
   (*reportTo)(failure.condition == *wanted
                   ? "as it has to"
                   : std::string("it stops by another invariant, ") + failure.condition);
   Copy::end();
}

void reportStop(Orv::Failure const& failure) {
   Observer const* observer = tried->observer();
   bool due = observer != nullptr && observer->stopsBy(failure.condition);
   report('F', std::string(due ? "the library stopped, as it has to\tFailed("
                               : "the library stopped\tFailed(") +
                   failure.condition + ") " + failure.explanation);
   send();
   Copy::end();
}

class Child {
 public:
   Child(Inventory const& inventory, Trial::Prepare const& prepare, unsigned prove, Extent extent)
       : host_(inventory), runner_(host_, output_, errors_, {}), prove_(prove), extent_(extent) {
      tried = &host_;
      if (prepare) {
         prepare(host_);
      }
      checker_ = &Checker::follow(host_);
   }

   // False when a check failed.
   bool run(std::string const& command) {
      if (command.starts_with("#")) {
         report('T', command);
         report('C', "");
         return checkProperty(command);
      }
      output_.str("");
      errors_.str("");
      // What was admitted must not stop the library.
      Orv::failureHookIs(reportStop);
      report('T', command);
      if (!made(command)) {
         std::string error = firstError();
         if (!proved_) {
            return false;
         }
         report(runner_.refused() ? 'S' : 'R', error);
         return true;
      }
      report('C', "");
      carriedOut_.push_back(command);
      Findings findings = check();
      bool moves = output_.str().find("still moving") != std::string::npos;
      if (command == "settle" && (!host_.quiet() || moves)) {
         findings.add("everything comes to rest", "it still moves, with ",
                      host_.isem().codef->backlogSize(), " and ",
                      host_.mapper().codef->backlogSize(), " requests queued");
      }
      return tell(findings);
   }

   // At the end: what the checks of what was touched have not seen.
   void finish() {
      if (unseen_ != 0) {
         tell(checkWhole());
      }
   }

 private:
   // False when the command was refused. A change that would stop the library is proved to, also
   // where it is made by a way round then.
   bool made(std::string const& command) {
      Changes& changes = host_.changes();
      auto setting = changes.setting();
      if (setting == Changes::Setting::detour) {
         changes.settingIs(Changes::Setting::refuse);
      }
      bool sound = runner_.runLine(command, "history", 1);
      auto const& refused = runner_.refused();
      proved_ = !refused || refused->condition.empty() || proved(command, firstError(), *refused);
      if (setting != Changes::Setting::detour || command.starts_with("set admission")) {
         return sound;
      }
      changes.settingIs(setting);
      if (sound || !proved_) {
         return sound;
      }
      hit("admission: by a way round"_met);
      output_.str("");
      errors_.str("");
      // One that is remembered is part of the history.
      return runner_.runLine(command, "history", 1) ||
             firstError().find("it is remembered") != std::string::npos;
   }

   std::string firstError() const {
      std::string error = errors_.str().substr(0, errors_.str().find('\n'));
      return error.substr(std::min(error.size(), std::strlen("history:1: ")));
   }

   Findings check() {
      constexpr unsigned wholeEvery = 100;
      return extent_ == Extent::whole || ++unseen_ == wholeEvery ? checkWhole()
                                                                 : checker_->check(Extent::touched);
   }
   Findings checkWhole() {
      unseen_ = 0;
      return checker_->check(Extent::whole);
   }

   bool checkProperty(std::string const& comment) {
      Findings findings;
      if (comment == "# check hardware") {
         checkHardware(host_, findings);
      } else if (comment == "# check fresh") {
         checkFresh(host_, carriedOut_, findings);
      } else if (comment == "# check empty") {
         checkEmpty(host_, findings);
      }
      if (findings.empty() && unseen_ != 0) {
         findings = checker_->checkTables();
      }
      return tell(findings);
   }

   // Of every so many changes that were refused, one is carried out in a copy: it has to stop the
   // library there, or with one of the answers that are out. False when it does not.
   bool proved(std::string const& command, std::string const& error, Objection objection) {
      if (prove_ == 0 || ++refused_ % prove_ != 0) {
         return true;
      }
      std::string how = carriedOut(command, objection.condition, When::now);
      for (When when : {When::answered, When::released}) {
         if (objection.open && how != asItHasTo) {
            how = carriedOut(command, objection.condition, when);
         }
      }
      // Answers that are due together, or soon, leave no moment between them. A chip may.
      constexpr std::size_t most = 16;
      std::size_t out = std::min(most, host_.chip().isem().answersOut());
      for (std::size_t count = 1; objection.open && how != asItHasTo && count <= out; ++count) {
         how = carriedOut(command, objection.condition, When::between, count);
      }
      Findings findings;
      if (how != asItHasTo) {
         findings.add("a change is refused for a reason", error, ": carried out, ", how);
      }
      return tell(findings);
   }

   // Now, behind the answers that are out, also behind those that are held back, or behind the
   // first `count` of all these.
   enum class When { now, answered, released, between };
   // How it ends when the command is carried out in a copy.
   std::string carriedOut(std::string const& command, std::string const& condition, When when,
                          std::size_t count = 0) {
      Copy copy([&](Copy::Report const& to) {
         reportTo = &to;
         wanted = &condition;
         host_.changes().settingIs(Changes::Setting::off);
         Orv::failureHookIs(nullptr);
         if (when == When::released) {
            runner_.runLine("chip clear-faults", "history", 1);
         }
         if (when == When::answered) {
            host_.settle();
         }
         if (when == When::between) {
            host_.chip().loseAnswersBehind(count);
            for (std::size_t i = 0; i < count; ++i) {
               host_.chip().answerFirst();
               host_.advance(0.0);
            }
         }
         // Not as far as a retry, which would answer anew.
         for (int i = 0; when == When::released && host_.seam().busy() && i < 20000; ++i) {
            host_.advance(0.001);
         }
         Orv::failureHookIs(proveStop);
         runner_.runLine(command, "history", 1);
         withdrawLabels();
         host_.settle();
         to("it does not stop");
         Copy::end();
      });
      std::string told;
      Copy::Ending ending = copy.collect([&](std::string_view text) { told += text; });
      return !told.empty()      ? told
             : ending.signalled ? "it ends by signal " + std::to_string(ending.code)
                                : "it ends with code " + std::to_string(ending.code);
   }

   // A unit that lost the lumen lookup stops the library when its requests are withdrawn.
   void withdrawLabels() {
      for (Requester requester : {Requester::lumen, Requester::rampart}) {
         std::vector<TcamSharingRequest> stranded;
         for (auto const& [request, policy] : host_.sharing().config(requester)->requestIter()) {
            if (!Facts(host_.world()).lumen(request.fapId())) {
               stranded.push_back(request);
            }
         }
         if (!stranded.empty()) {
            host_.changes().requestIs(requester, stranded, TcamSharingPolicyId());
         }
      }
   }

   static bool tell(Findings const& findings) {
      if (!findings.empty()) {
         Finding const& first = findings.list().front();
         report('F', first.check + "\t" + first.text);
      }
      return findings.empty();
   }

   AgentHost host_;
   std::ostringstream output_;
   std::ostringstream errors_;
   ScenarioRunner runner_;
   Checker* checker_ = nullptr; // the host's
   unsigned prove_;
   Extent extent_;
   unsigned unseen_ = 0; // commands since everything was checked
   uint64_t refused_ = 0;
   bool proved_ = true;
   static constexpr std::string_view asItHasTo = "as it has to";
   std::vector<std::string> carriedOut_;
};

[[noreturn]] void runChild(Inventory const& inventory, Trial::Source const& source,
                           Trial::Prepare const& prepare, unsigned prove, Extent extent) {
   constexpr std::size_t block = 1 << 16;
   sentFrom = extent == Extent::whole ? 0 : block;
   {
      Child child(inventory, prepare, prove, extent);
      bool sound = true;
      for (auto command = source(); command && sound; command = source()) {
         sound = child.run(*command);
      }
      if (sound) {
         child.finish();
      }
      for (auto const& [name, count] : Situation::coverage()) {
         report('P', name + "\t" + std::to_string(count));
      }
   }
   report('E', "");
   send();
   Copy::end();
}

// `trying`: the command that has neither ended well nor been refused yet.
void read(TrialOutcome& outcome, std::string& trying, bool& ended, std::string const& line) {
   if (line.empty()) {
      return; // of a text that has several lines
   }
   std::string text = line.substr(1);
   auto tab = text.find('\t');
   switch (line.front()) {
   case 'T':
      trying = text;
      break;
   case 'C':
      outcome.carriedOut.push_back(std::exchange(trying, ""));
      break;
   case 'R':
   case 'S':
      trying.clear();
      if (outcome.refused.empty()) {
         outcome.firstRefusal = text;
      }
      outcome.refused.insert(outcome.carriedOut.size() + outcome.refused.size());
      ++outcome.coverage
            .find(line.front() == 'S' ? "history: refused, would stop the library"_met.name()
                                      : "history: refused"_met.name())
            ->second;
      break;
   case 'F':
      outcome.failure = Finding{text.substr(0, tab), text.substr(tab + 1)};
      ended = true;
      break;
   case 'P':
      outcome.coverage[text.substr(0, tab)] += std::stoull(text.substr(tab + 1));
      break;
   default:
      ended = true;
   }
}

} // namespace

Trial::Trial(Inventory const& inventory, Source const& source, Prepare const& prepare,
             unsigned prove, Extent extent)
    // Room for a whole history, so that a trial goes on while another one is waited for.
    : copy_(
          [&](Copy::Report const& to) {
             reportTo = &to;
             runChild(inventory, source, prepare, prove, extent);
          },
          1 << 20) {}

TrialOutcome Trial::outcome() {
   TrialOutcome outcome;
   std::string pending;
   std::string trying;
   bool ended = false;
   Copy::Ending ending = copy_.collect([&](std::string_view text) {
      pending += text;
      std::size_t from = 0;
      for (std::size_t end; (end = pending.find('\n', from)) != std::string::npos; from = end + 1) {
         read(outcome, trying, ended, pending.substr(from, end - from));
      }
      pending.erase(0, from);
   });
   if (!ended) {
      outcome.failure =
          Finding{"the agent ended",
                  (ending.signalled ? "by signal " : "with code ") + std::to_string(ending.code)};
   }
   if (!trying.empty()) {
      outcome.carriedOut.push_back(trying); // the one that it failed in
   }
   return outcome;
}

} // namespace Simulate

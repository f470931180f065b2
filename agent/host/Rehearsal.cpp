#include "agent/host/Rehearsal.h"

#include "agent/command/Names.h"
#include "agent/command/Registry.h"
#include "agent/command/Resolution.h"
#include "agent/host/EndCopy.h"
#include "platform/Orv/Exception.h"
#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

constexpr Seconds longestRehearsal = 1e6;
constexpr rlim_t mostProcessorTime = 20; // seconds

// In the child only: the failing host, and where to report.
Host* rehearsing = nullptr;
int reportTo = -1;

void report(std::string const& text) {
   for (std::size_t at = 0; at < text.size();) {
      ssize_t written = ::write(reportTo, text.data() + at, text.size() - at);
      if (written <= 0 && errno != EINTR) {
         break;
      }
      at += written > 0 ? static_cast<std::size_t>(written) : 0;
   }
}

std::string usersOf(Host const& host, AradSemKeyAndFap key, TcamSharingRequest except) {
   std::string text;
   if (auto mapping = host.isem().common->semToRequest(key)) {
      for (auto const& [user, present] : mapping->requestIter()) {
         if (user != except) {
            text += (text.empty() ? "" : " and ") + printedRequest(user);
         }
      }
   }
   return text;
}

// The request that was being withdrawn: answered, out of the output, and without a mapping.
std::string describeUnmapped(Host const& host) {
   auto const& pipeline = host.isem();
   for (auto const& [request, response] : pipeline.mergedStatus->responseIter()) {
      if (response.status == tcamSharingInProgress || pipeline.outputTable->requestHas(request) ||
          pipeline.common->tcamRequestToIsemKeyMappingHas(request)) {
         continue;
      }
      std::string text = printedRequest(request) + " would be withdrawn, but it was answered " +
                         std::string(printedStatus(response.status)) +
                         " without an entry of its own";
      auto keys = resolve(host, request).keys;
      auto const* key = keys.empty() ? nullptr : std::get_if<AradSemKeyAndFap>(&keys.front());
      std::string users = key != nullptr ? usersOf(host, *key, request) : "";
      if (users.empty()) {
         return text + "; first have it programmed itself (a single tag, then another policy)";
      }
      return text + ": the entry " + printedKey(*key) + " belongs to " + users +
             "; first withdraw " + users + ", then give " + request.intfId().name() +
             " another policy, so that it is programmed itself";
   }
   return "";
}

// The request that was being moved: it still maps to a key whose users it has left.
std::string describeMoved(Host const& host) {
   auto const& common = host.isem().common;
   for (auto const& [request, key] : common->tcamRequestToIsemKeyMappingIter()) {
      auto mapping = common->semToRequest(key);
      if (mapping && !mapping->requestHas(request)) {
         std::string users = usersOf(host, key, request);
         return printedRequest(request) + " would move off the entry " + printedKey(key) +
                ", which " + users + " still use" + (mapping->requests() == 1 ? "s" : "") +
                "; withdraw " + users + " first";
      }
   }
   return "";
}

// Requests from before the unit had the lookup: whoever reads them anew finds the label.
std::string describeLabels(Host const& host) {
   std::string labelled;
   for (auto const& [request, policy] : host.features().config(Feature::acl)->requestIter()) {
      if (policy.lumenAclLabel() != 0 &&
          host.world().shoalStatus->fapExtLkupType(request.fapId()) ==
              Hardware::Shoal::extLkupTypeLumen_) {
         labelled += (labelled.empty() ? "" : " and ") + printedRequest(request);
      }
   }
   return labelled.empty() ? ""
                           : "the acl feature asks with lumen= for " + labelled +
                                 ", and a unit with the lumen lookup leaves that field to others; "
                                 "ask again without lumen= first";
}

std::string describe(Host const& host, Orv::Failure const& failure) {
   std::string condition = failure.condition;
   std::string text;
   if (condition == "keyToDel != AradSemKeyAndFap()") {
      text = describeUnmapped(host);
   } else if (condition == "tcamSharingCommon()->semToRequest( prevKey ) == NULL") {
      text = describeMoved(host);
   }
   if (condition == "shoalStatus()->fapType( request.fapId() ) != Hardware::Shoal::fapTypeArad()") {
      text =
          "a withdrawal that is still under way would meet a unit of the other type; settle first";
   }
   if (condition == "policyId.lumenAclLabel() == 0") {
      text = describeLabels(host);
   }
   if (condition == "shoalStatus()->portMapValid()") {
      text = "a new version while the port map is not valid; say port-map-state valid first";
   }
   if (condition == "sysTcamId != Hardware::Shoal::SystemTcamId()") {
      text = failure.explanation +
             ", which carries a feature word: give it a place first (port-map), or withdraw its "
             "features while it has one";
   }
   if (text.empty()) {
      text = "it would stop the library";
   }
   return text + " (invariant " + condition + ")";
}

// What a report begins with: whether somebody who follows the agent would have expected it.
constexpr char explained = '+';
constexpr char unexplained = '-';

void reportFailure(Orv::Failure const& failure) {
   Follower const* follower = rehearsing->follower();
   bool due = follower == nullptr || follower->stopsBy(failure.condition);
   report((due ? explained : unexplained) + describe(*rehearsing, failure));
   endCopy();
}

[[noreturn]] void runChild(Host& host, std::function<void()> const& change) {
   Trace::enabledLevels = 0;
   rehearsing = &host;
   // Its own time: a child's begins at 0.
   rlimit const limit{mostProcessorTime, mostProcessorTime + 1};
   ::setrlimit(RLIMIT_CPU, &limit);
   Orv::failureHookIs(reportFailure);
   try {
      change();
      if (!host.settle(longestRehearsal)) {
         report(unexplained +
                std::string(
                    "what it brings about cannot be looked ahead: the system would still be moving "
                    "after ") +
                std::to_string(static_cast<int>(longestRehearsal)) + " s");
      }
   } catch (Orv::RangeException const& error) {
      report(unexplained + std::string("it would leave a range: ") + error.what());
   } catch (std::exception const&) {
      // The caller meets the same error.
   }
   // Not endCopy: what went well runs again in the caller, and counts there.
   ::_exit(0);
}

} // namespace

void rehearse(Host& host, std::function<void()> const& change) {
   int ends[2];
   if (::pipe(ends) != 0) {
      throw CommandError(std::string("cannot rehearse the command: ") + std::strerror(errno));
   }
   // What the child inherits in a buffer would be written twice once anything there is flushed.
   std::cout.flush();
   pid_t self = ::getpid();
   pid_t child = ::fork();
   if (child == 0) {
      endWithParent(self);
      ::close(ends[0]);
      reportTo = ends[1];
      runChild(host, change);
   }
   ::close(ends[1]);
   std::string reason;
   char buffer[512];
   for (ssize_t got = 1; child > 0 && got != 0;) {
      got = ::read(ends[0], buffer, sizeof buffer);
      if (got < 0 && errno != EINTR) {
         break;
      }
      reason.append(buffer, got > 0 ? static_cast<std::size_t>(got) : 0);
   }
   ::close(ends[0]);
   int status = 0;
   while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
   }
   if (child < 0) {
      throw CommandError(std::string("cannot rehearse the command: ") + std::strerror(errno));
   }
   if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) {
      reason = unexplained +
               std::string("what it brings about cannot be looked ahead: that takes "
                           "more than ") +
               std::to_string(mostProcessorTime) + " s of processor time";
   } else if (reason.empty() && (!WIFEXITED(status) || WEXITSTATUS(status) != 0)) {
      reason = unexplained + std::string("the rehearsal of this command ended abnormally");
   }
   if (reason.empty()) {
      return;
   }
   std::string text = reason.substr(1);
   if (reason.front() == unexplained && host.follower() != nullptr) {
      host.follower()->handleUnexplained(text);
   }
   throw CommandError(text);
}

} // namespace Agent

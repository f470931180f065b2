#include "agent/command/Advice.h"

#include "agent/command/Names.h"
#include "agent/host/Rehearsal.h"
#include "host/insight/Resolution.h"

#include <algorithm>
#include <fmt/format.h>
#include <system_error>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::string usersOf(AgentHost const& host, AradSemKeyAndFap key, TcamSharingRequest except) {
   std::vector<TcamSharingRequest> users;
   if (auto mapping = host.isem().common->semToRequest(key)) {
      for (auto const& [user, present] : mapping->requestIter()) {
         if (user != except) {
            users.push_back(user);
         }
      }
   }
   return formatRequests(users, " and ");
}

// The request that was being withdrawn: answered, out of the output, and without a mapping.
std::string describeUnmapped(AgentHost const& host, Orv::Failure const&) {
   auto const& pipeline = host.isem();
   for (auto const& [request, response] : pipeline.mergedStatus->responseIter()) {
      if (response.status == tcamSharingInProgress || pipeline.outputTable->requestHas(request) ||
          pipeline.common->tcamRequestToIsemKeyMappingHas(request)) {
         continue;
      }
      std::string text =
          fmt::format("{} would be withdrawn, but it was answered {} without an entry of its own",
                      formatRequest(request), formatStatus(response.status));
      auto keys = resolve(host, request).keys;
      auto const* key = keys.empty() ? nullptr : std::get_if<AradSemKeyAndFap>(&keys.front());
      std::string users = key != nullptr ? usersOf(host, *key, request) : "";
      if (users.empty()) {
         return text + "; first have it programmed itself (a single tag, then another policy)";
      }
      return fmt::format("{0}: the entry {1} belongs to {2}; first withdraw {2}, then give {3} "
                         "another policy, so that it is programmed itself",
                         text, formatKey(*key), users, request.intfId().name());
   }
   return "";
}

// The request that was being moved: it still maps to a key whose users it has left.
std::string describeMoved(AgentHost const& host, Orv::Failure const&) {
   auto const& common = host.isem().common;
   for (auto const& [request, key] : common->tcamRequestToIsemKeyMappingIter()) {
      auto mapping = common->semToRequest(key);
      if (mapping && !mapping->requestHas(request)) {
         std::string users = usersOf(host, key, request);
         return fmt::format(
             "{0} would move off the entry {1}, which {2} still use{3}; withdraw {2} first",
             formatRequest(request), formatKey(key), users, mapping->requests() == 1 ? "s" : "");
      }
   }
   return "";
}

// Requests from before the unit had the lookup: a merge that reads them again finds the label.
std::string describeLabels(AgentHost const& host, Orv::Failure const&) {
   std::vector<TcamSharingRequest> labelled;
   for (auto const& [request, policy] : host.sharing().config(Requester::acl)->requestIter()) {
      if (policy.lumenAclLabel() != 0 &&
          host.world().shoalStatus->fapExtLkupType(request.fapId()) ==
              Hardware::Shoal::extLkupTypeLumen_) {
         labelled.push_back(request);
      }
   }
   return labelled.empty()
              ? ""
              : fmt::format("acl asks with lumen= for {}, and a unit with the lumen "
                            "lookup leaves that field to others; ask again without lumen= first",
                            formatRequests(labelled, " and "));
}

std::string describeUnplaced(AgentHost const&, Orv::Failure const& failure) {
   return failure.explanation +
          ", which carries a feature word: give it a place first (port-map), or withdraw its "
          "features while it has one";
}

template<char const* text>
std::string say(AgentHost const&, Orv::Failure const&) {
   return text;
}
constexpr char typeChange[] =
    "a withdrawal that is still under way would meet a unit of the other type; settle first";
constexpr char portMapVersion[] =
    "a new version while the port map is not valid; say port-map-state valid first";

struct Advice {
   std::string_view condition;
   std::string (*text)(AgentHost const&, Orv::Failure const&);
};
constexpr Advice advices[] = {
    {"keyToDel != AradSemKeyAndFap()", describeUnmapped},
    {"tcamSharingCommon()->semToRequest( prevKey ) == NULL", describeMoved},
    {"policyId.lumenAclLabel() == 0", describeLabels},
    {"sysTcamId != Hardware::Shoal::SystemTcamId()", describeUnplaced},
    {"shoalStatus()->fapType( request.fapId() ) != Hardware::Shoal::fapTypeArad()",
     say<typeChange>},
    {"shoalStatus()->portMapValid()", say<portMapVersion>},
};

// Empty: the change is harmless.
std::string objectionTo(Rehearsal const& rehearsal) {
   switch (rehearsal.end) {
   case Rehearsal::End::sound:
      return "";
   case Rehearsal::End::stopped:
      return rehearsal.text;
   case Rehearsal::End::outOfRange:
      return "it would leave a range: " + rehearsal.text;
   case Rehearsal::End::restless:
      return fmt::format("its effect cannot be predicted: the system would still be moving after "
                         "{} s",
                         static_cast<int>(longestRehearsal));
   case Rehearsal::End::overtime:
      return fmt::format("its effect cannot be predicted: that takes more than {} s of processor "
                         "time",
                         maxProcessorTime);
   case Rehearsal::End::abnormal:
      break;
   }
   return "the rehearsal of this command ended abnormally";
}

} // namespace

std::string advise(AgentHost const& host, Orv::Failure const& failure) {
   std::string condition = failure.condition;
   auto const* known =
       std::find_if(std::begin(advices), std::end(advices),
                    [&](Advice const& each) { return each.condition == condition; });
   std::string text = known == std::end(advices) ? "" : known->text(host, failure);
   return fmt::format("{} (invariant {})", text.empty() ? "it would stop the library" : text,
                      condition);
}

void requireHarmless(AgentHost& host, std::function<void()> const& change) {
   std::string objection;
   bool expected = false;
   try {
      Rehearsal rehearsal = rehearse(host, change, advise);
      objection = objectionTo(rehearsal);
      expected = rehearsal.expected;
   } catch (std::system_error const& error) {
      throw CommandError("cannot rehearse the command: {}", error.code().message());
   }
   if (objection.empty()) {
      return;
   }
   if (!expected && host.observer() != nullptr) {
      host.observer()->handleUnexplained(objection);
   }
   throw CommandError(objection);
}

} // namespace Agent

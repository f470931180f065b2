// Conditions that make a scenario a test.
#include "agent/command/Explanation.h"
#include "agent/command/Tables.h"

namespace Agent {

namespace {

using Hardware::ShoalTunnel::AradISemKeyTcamSharing;

[[noreturn]] void fail(std::string const& what, std::string const& wanted, std::string const& got) {
   throw ExpectationFailed("expected " + what + " to be " + wanted + ", but it is " + got);
}

void expectStatus(Host& host, Arguments& arguments) {
   bool merged = arguments.takeWord("merged");
   auto const& status =
       merged ? host.pipeline().mergedStatus : host.pipeline().status(takeFeature(arguments));
   auto requests = takeRequests(host, arguments);
   auto wanted = takeStatus(arguments);
   std::optional<TcamSharingPolicyId> policy;
   if (arguments.more()) {
      policy = parsePolicy(arguments.take("POLICY"));
   }
   arguments.end();
   for (TcamSharingRequest request : requests) {
      auto response = status->response(request);
      if (response.status != wanted) {
         fail("the status of " + printedRequest(request), std::string(printedStatus(wanted)),
              std::string(printedStatus(response.status)) + " (" + explain(host, request).verdict +
                  ")");
      }
      if (policy && response.policyId != *policy) {
         fail("the answered policy of " + printedRequest(request), printedPolicy(*policy),
              printedPolicy(response.policyId));
      }
   }
}

void expectPolicy(Host& host, Arguments& arguments, std::string const& where) {
   auto const& config = where == "merged" ? host.pipeline().merged : host.pipeline().output;
   auto requests = takeRequests(host, arguments);
   TcamSharingPolicyId wanted;
   if (!arguments.takeWord("none")) {
      wanted = parsePolicy(arguments.take("POLICY or none"));
   }
   arguments.end();
   for (TcamSharingRequest request : requests) {
      if (auto got = config->request(request); got != wanted) {
         fail("the " + where + " policy of " + printedRequest(request), printedPolicy(wanted),
              printedPolicy(got));
      }
   }
}

void expectCount(Host& host, Arguments& arguments) {
   NamedTable const& table = namedTable(arguments.take("TABLE"));
   uint64_t wanted = arguments.takeNumber("N", 0, UINT64_MAX);
   arguments.end();
   std::size_t got = table.make(host).rows.size();
   if (got != wanted) {
      fail("the number of rows of " + std::string(table.name), std::to_string(wanted),
           std::to_string(got));
   }
}

void expectIsem(Host& host, Arguments& arguments) {
   Bridging::VlanId vlan(static_cast<uint32_t>(arguments.takeNumber("VLAN", 1, 4094)));
   Hardware::Shoal::VlanDomain domain(static_cast<uint8_t>(arguments.takeNumber("DOMAIN", 0, 255)));
   FapId unit = host.world().unit(arguments.take("UNIT"));
   std::string word = arguments.take("POLICY or none");
   std::string wanted = word == "none" ? word : printedPolicy(parsePolicy(word));
   arguments.end();
   AradSemKeyAndFap key(AradISemKeyTcamSharing(vlan, domain).key(), unit);
   auto payload = host.pipeline().table->configCollection().find(key);
   std::string got = payload ? printedPolicy(policyOfPayload(*payload)) : "none";
   if (got != wanted) {
      fail("the entry " + printedKey(key), wanted, got);
   }
}

void expectInHardware(Host& host, Arguments& arguments, bool wanted) {
   auto requests = takeRequests(host, arguments);
   arguments.end();
   for (TcamSharingRequest request : requests) {
      Explanation explanation = explain(host, request);
      if (explanation.inHardware != wanted) {
         fail("the policy of " + printedRequest(request),
              wanted ? "in hardware" : "out of hardware", explanation.verdict);
      }
   }
}

void expectListed(Host& host, Arguments& arguments, bool retryList) {
   TcamSharingRequest request = takeRequest(host, arguments);
   bool wanted = arguments.takeChoice("yes or no", {"no", "yes"}) == 1;
   arguments.end();
   bool got = host.pipeline().codef->backlog(request);
   if (retryList) {
      got = false;
      for (auto const& [entry, waiting] : host.pipeline().common->retryListIter()) {
         got = got || (waiting && entry.request() == request);
      }
   }
   if (got != wanted) {
      fail(printedRequest(request) + (retryList ? " on the retry list" : " in the backlog"),
           wanted ? "yes" : "no", got ? "yes" : "no");
   }
}

void expect(Host& host, Arguments& arguments, std::ostream&) {
   std::string what = arguments.take("WHAT");
   if (what == "status") {
      expectStatus(host, arguments);
   } else if (what == "merged" || what == "output") {
      expectPolicy(host, arguments, what);
   } else if (what == "count") {
      expectCount(host, arguments);
   } else if (what == "isem") {
      expectIsem(host, arguments);
   } else if (what == "in-hardware" || what == "out-of-hardware") {
      expectInHardware(host, arguments, what == "in-hardware");
   } else if (what == "retry" || what == "backlog") {
      expectListed(host, arguments, what == "retry");
   } else {
      throw CommandError("one can expect status, merged, output, count, isem, in-hardware, "
                         "out-of-hardware, retry and backlog, not '" +
                         what + "'");
   }
}

} // namespace

void addExpectCommands(Registry& registry) {
   registry.add(
       {"expect",
        "status FEATURE|merged REQUEST STATUS [POLICY] | merged|output REQUEST POLICY|none "
        "| count TABLE N | isem VLAN DOMAIN UNIT POLICY|none | "
        "in-hardware|out-of-hardware REQUEST | retry|backlog REQUEST yes|no",
        "fail unless the condition holds; REQUEST is INTERFACE UNIT [flood VLAN]", false, expect});
}

} // namespace Agent

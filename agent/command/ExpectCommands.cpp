// Conditions that make a scenario a test.
#include "agent/command/Explanation.h"
#include "agent/command/FeatureSituation.h"
#include "agent/command/Tables.h"

#include <cinttypes>
#include <cstdio>

namespace Agent {

namespace {

using Hardware::ShoalTunnel::AradISemKeyTcamSharing;

[[noreturn]] void fail(std::string const& what, std::string const& wanted, std::string const& got) {
   throw ExpectationFailed("expected " + what + " to be " + wanted + ", but it is " + got);
}

void expectStatus(Host& host, Arguments& arguments) {
   bool merged = arguments.accept("merged");
   auto feature = merged ? Requester::acl : parseRequester(arguments);
   auto requests = parseRequests(host, arguments);
   auto wanted = parseStatus(arguments);
   std::optional<TcamSharingPolicyId> policy;
   if (arguments.more()) {
      policy = parsePolicy(arguments.next("POLICY"));
   }
   arguments.end();
   for (TcamSharingRequest request : requests) {
      auto const& status =
          merged ? host.pipelineOf(request).mergedStatus : host.sharing().status(feature);
      auto response = status->response(request);
      if (response.status != wanted) {
         fail("the status of " + formatRequest(request), std::string(formatStatus(wanted)),
              std::string(formatStatus(response.status)) + " (" + explain(host, request).verdict +
                  ")");
      }
      if (policy && response.policyId != *policy) {
         fail("the answered policy of " + formatRequest(request), formatPolicy(*policy),
              formatPolicy(response.policyId));
      }
   }
}

void expectPolicy(Host& host, Arguments& arguments, std::string const& where) {
   auto requests = parseRequests(host, arguments);
   TcamSharingPolicyId wanted;
   if (!arguments.accept("none")) {
      wanted = parsePolicy(arguments.next("POLICY or none"));
   }
   arguments.end();
   for (TcamSharingRequest request : requests) {
      SharingPipeline const& pipeline = host.pipelineOf(request);
      auto got = where == "merged" ? pipeline.merged->request(request) : pipeline.output(request);
      if (got != wanted) {
         fail("the " + where + " policy of " + formatRequest(request), formatPolicy(wanted),
              formatPolicy(got));
      }
   }
}

void expectCount(Host& host, Arguments& arguments) {
   NamedTable const& table = namedTable(arguments.next("TABLE"));
   uint64_t wanted = arguments.parseNumber("N", 0, UINT64_MAX);
   arguments.end();
   std::size_t got = table.make(host).rows.size();
   if (got != wanted) {
      fail("the number of rows of " + std::string(table.name), std::to_string(wanted),
           std::to_string(got));
   }
}

// What an entry holds: a policy, none (no data), or absent (no entry).
void expectData(std::string const& what, std::string const& word, std::optional<uint64_t> data) {
   std::string wanted = word == "none" || word == "absent" ? word : formatPolicy(parsePolicy(word));
   std::string got = data ? formatData(*data) : "absent";
   if (got != wanted) {
      fail(what, wanted, got);
   }
}

void expectIsem(Host& host, Arguments& arguments) {
   Bridging::VlanId vlan(static_cast<uint32_t>(arguments.parseNumber("VLAN", 1, 4094)));
   Hardware::Shoal::VlanDomain domain(
       static_cast<uint8_t>(arguments.parseNumber("DOMAIN", 0, 255)));
   FapId unit = host.world().unit(arguments.next("UNIT"));
   std::string word = arguments.next("POLICY, none or absent");
   arguments.end();
   AradSemKeyAndFap key(AradISemKeyTcamSharing(vlan, domain).key(), unit);
   auto payload = host.isem().table->configCollection().find(key);
   expectData("the entry " + formatKey(key), word,
              payload ? std::optional(policyOfPayload(*payload).value()) : std::nullopt);
}

void expectMapper(Host& host, Arguments& arguments) {
   World const& world = host.world();
   IntfId subIntf = world.interface(arguments.next("SUBINTERFACE"));
   IntfId port = world.interface(arguments.next("PORT"));
   std::string word = arguments.next("POLICY, none or absent");
   arguments.end();
   std::optional<uint64_t> data;
   for (auto const& [key, result] : host.mapper().mapperConfig->configIter()) {
      if (key.fields().subIntfId == subIntf && key.fields().intfId == port) {
         data = result.inLifAdditionalData;
      }
   }
   expectData("the mapper entry of " + subIntf.name() + " on " + port.name(), word, data);
}

void expectTunnel(Host& host, Arguments& arguments) {
   IntfId tunnel = host.world().interface(arguments.next("TUNNEL"));
   TunnelPolicyMapperKey key(tunnel, host.world().unit(arguments.next("UNIT")));
   std::string word = arguments.next("POLICY, none or absent");
   arguments.end();
   auto result = host.mapper().tunnelConfig->configCollection().find(key);
   expectData("the tunnel entry " + formatKey(key), word,
              result ? std::optional(result->inLifAdditionalData) : std::nullopt);
}

void expectPublished(Host& host, Arguments& arguments) {
   IntfId intf = host.world().interface(arguments.next("PORT"));
   std::string unit = arguments.next("UNIT or none");
   std::string domain = arguments.next("DOMAIN or none");
   arguments.end();
   auto fap = host.intfToFapIdStatus()->intfToFapCollection().find(intf);
   auto vlanDomain = host.intfToVlanDomainStatus()->vlanDomainCollection().find(intf);
   std::string wanted =
       (unit == "none" ? unit : std::to_string(host.world().unit(unit).value())) + " and " + domain;
   std::string got = (fap ? std::to_string(fap->value()) : "none") + " and " +
                     (vlanDomain ? std::to_string(vlanDomain->value()) : "none");
   if (got != wanted) {
      fail("the published unit and VLAN domain of " + intf.name(), wanted, got);
   }
}

void expectFeature(Host& host, Arguments& arguments) {
   auto keys = parseInLifKeys(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   std::string wanted = arguments.next("none, success or failure");
   if (arguments.more()) {
      wanted += " for " + std::to_string(arguments.parseNumber("VALUE", 0, UINT32_MAX));
   }
   arguments.end();
   for (InLifIntfKey key : keys) {
      auto response = host.inLifFeatures().featureStatus->response(InLifFeatureKey(key, type));
      std::string got(formatFeatureStatus(response.status));
      if (wanted.find(' ') != std::string::npos) {
         got += " for " + std::to_string(response.value);
      }
      if (got != wanted) {
         fail("the response of " + formatInLifKey(host, key), wanted,
              got + " (" + explainFeature(host, InLifFeatureKey(key, type)).verdict + ")");
      }
   }
}

// PORT, or SUBINTERFACE UNIT:CORE|own.
void expectWord(Host& host, Arguments& arguments, bool ofSubInterface) {
   auto const& pipeline = host.inLifFeatures();
   std::string of;
   std::string got = "none";
   if (ofSubInterface) {
      InLifIntfKey key = parseInLifKey(host, arguments);
      of = formatInLifKey(host, key);
      if (pipeline.subIntfWords->lifFeatureAttrHas(key)) {
         got = formatWord(pipeline.subIntfWords->lifFeatureAttr(key));
      }
   } else {
      IntfId intf = host.world().interface(arguments.next("PORT"));
      of = intf.name();
      if (pipeline.mergedWords->lifFeatureAttrHas(intf)) {
         got = formatWord(pipeline.mergedWords->lifFeatureAttr(intf));
      }
   }
   std::string wanted = arguments.next("WORD (0x and 16 digits) or none");
   if (wanted != "none") {
      char text[24];
      std::snprintf(text, sizeof text, "0x%016" PRIx64, parseNumber(wanted, "WORD", 0, UINT64_MAX));
      wanted = text;
   }
   arguments.end();
   if (got != wanted) {
      fail("the word of " + of, wanted, got);
   }
}

void expectInHardware(Host& host, Arguments& arguments, bool wanted) {
   auto requests = parseRequests(host, arguments);
   arguments.end();
   Situations situations(host);
   for (TcamSharingRequest request : requests) {
      Situation situation = situations.of(request);
      if (situation.inHardware != wanted) {
         throw ExpectationFailed("expected the policy of " + formatRequest(request) + " to be " +
                                 (wanted ? "in" : "out of") +
                                 " hardware, but: " + explain(situation, host).verdict);
      }
   }
}

void expectListed(Host& host, Arguments& arguments, bool retryList) {
   TcamSharingRequest request = parseRequest(host, arguments);
   bool wanted = arguments.parseChoice("yes or no", {"no", "yes"}) == 1;
   arguments.end();
   SharingPipeline const& pipeline = host.pipelineOf(request);
   bool got = pipeline.codef->backlog(request);
   if (retryList) {
      got = false;
      for (auto const& [entry, waiting] : pipeline.commonBase->retryListIter()) {
         got = got || (waiting && entry.request() == request);
      }
   }
   if (got != wanted) {
      fail(formatRequest(request) + (retryList ? " on the retry list" : " in the backlog"),
           wanted ? "yes" : "no", got ? "yes" : "no");
   }
}

void expect(Host& host, Arguments& arguments, std::ostream&) {
   std::string what = arguments.next("WHAT");
   if (what == "status") {
      expectStatus(host, arguments);
   } else if (what == "merged" || what == "output") {
      expectPolicy(host, arguments, what);
   } else if (what == "count") {
      expectCount(host, arguments);
   } else if (what == "isem") {
      expectIsem(host, arguments);
   } else if (what == "mapper") {
      expectMapper(host, arguments);
   } else if (what == "tunnel") {
      expectTunnel(host, arguments);
   } else if (what == "published") {
      expectPublished(host, arguments);
   } else if (what == "feature") {
      expectFeature(host, arguments);
   } else if (what == "word" || what == "sub-interface-word") {
      expectWord(host, arguments, what != "word");
   } else if (what == "in-hardware" || what == "out-of-hardware") {
      expectInHardware(host, arguments, what == "in-hardware");
   } else if (what == "retry" || what == "backlog") {
      expectListed(host, arguments, what == "retry");
   } else {
      throw CommandError("one can expect status, merged, output, count, isem, mapper, tunnel, "
                         "published, feature, word, sub-interface-word, in-hardware, "
                         "out-of-hardware, retry and backlog, not '" +
                         what + "'");
   }
}

} // namespace

void addExpectCommands(Registry& registry) {
   registry.add(
       {"expect",
        "status FEATURE|merged REQUEST STATUS [POLICY] | merged|output REQUEST POLICY|none "
        "| count TABLE N | isem VLAN DOMAIN UNIT POLICY|none|absent | "
        "mapper SUBINTERFACE PORT POLICY|none|absent | tunnel TUNNEL UNIT POLICY|none|absent | "
        "published PORT UNIT|none DOMAIN|none | "
        "feature INTERFACE UNIT:CORE|own TYPE none|success|failure [VALUE] | word PORT WORD|none | "
        "sub-interface-word SUBINTERFACE UNIT:CORE|own WORD|none | "
        "in-hardware|out-of-hardware REQUEST | retry|backlog REQUEST yes|no",
        "fail unless the condition holds; REQUEST is INTERFACE UNIT [flood VLAN]", false, expect});
}

} // namespace Agent

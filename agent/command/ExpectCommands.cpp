// Conditions that make a scenario a test.
#include "agent/command/FeatureNames.h"
#include "agent/command/Tables.h"
#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"

#include <fmt/format.h>

namespace Agent {

namespace {

using Hardware::ShoalTunnel::AradISemKeyTcamSharing;

// `more` follows what was got.
void require(std::string const& what, std::string_view wanted, std::string_view got,
             std::string const& more = "") {
   if (wanted != got) {
      throw ExpectationFailed(
          fmt::format("expected {} to be {}, but it is {}{}", what, wanted, got, more));
   }
}

void expectStatus(AgentHost& host, Arguments& arguments, std::ostream&) {
   bool merged = arguments.accept("merged");
   auto requester = merged ? Requester::acl : parseRequester(arguments);
   auto requests = parseRequests(host, arguments);
   auto wanted = parseStatus(arguments);
   std::optional<TcamSharingPolicyId> policy;
   if (arguments.more()) {
      policy = parsePolicy(arguments.next("POLICY"));
   }
   arguments.end();
   for (TcamSharingRequest request : requests) {
      auto const& status =
          merged ? host.pipelineOf(request).mergedStatus : host.sharing().status(requester);
      auto response = status->response(request);
      if (response.status != wanted) {
         require("the status of " + formatRequest(request), formatStatus(wanted),
                 formatStatus(response.status), " (" + explain(host, request).verdict + ")");
      }
      if (policy) {
         require("the answered policy of " + formatRequest(request), formatPolicy(*policy),
                 formatPolicy(response.policyId));
      }
   }
}

template<bool merged>
void expectPolicy(AgentHost& host, Arguments& arguments, std::ostream&) {
   auto requests = parseRequests(host, arguments);
   TcamSharingPolicyId wanted;
   if (!arguments.accept("none")) {
      wanted = parsePolicy(arguments.next("POLICY or none"));
   }
   arguments.end();
   for (TcamSharingRequest request : requests) {
      SharingPipeline const& pipeline = host.pipelineOf(request);
      auto got = merged ? pipeline.merged->request(request) : pipeline.output(request);
      require(
          fmt::format("the {} policy of {}", merged ? "merged" : "output", formatRequest(request)),
          formatPolicy(wanted), formatPolicy(got));
   }
}

void expectCount(AgentHost& host, Arguments& arguments, std::ostream&) {
   NamedTable const& table = namedTable(arguments.next("TABLE"));
   uint64_t wanted = arguments.parseNumber("N", 0, UINT64_MAX);
   arguments.end();
   require(fmt::format("the number of rows of {}", table.name), std::to_string(wanted),
           std::to_string(table.make(host).rows.size()));
}

// What an entry holds: a policy, none (no data), or absent (no entry).
void requireData(std::string const& what, std::string const& word, std::optional<uint64_t> data) {
   require(what, word == "none" || word == "absent" ? word : formatPolicy(parsePolicy(word)),
           data ? formatData(*data) : "absent");
}

void expectIsem(AgentHost& host, Arguments& arguments, std::ostream&) {
   Bridging::VlanId vlan(arguments.parse<uint32_t>("VLAN", 1, 4094));
   Hardware::Shoal::VlanDomain domain(arguments.parse<uint8_t>("DOMAIN", 0, 255));
   FapId unit = host.world().unit(arguments.next("UNIT"));
   std::string word = arguments.next("POLICY, none or absent");
   arguments.end();
   AradSemKeyAndFap key(AradISemKeyTcamSharing(vlan, domain).key(), unit);
   auto payload = host.isem().table->configCollection().find(key);
   requireData("the entry " + formatKey(key), word,
               payload ? std::optional(policyOfPayload(*payload).value()) : std::nullopt);
}

void expectMapper(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId subIntf = host.world().interface(arguments.next("SUBINTERFACE"));
   IntfId port = host.world().interface(arguments.next("PORT"));
   std::string word = arguments.next("POLICY, none or absent");
   arguments.end();
   std::optional<uint64_t> data;
   host.seam().mapper().forEachKeyOf(subIntf, [&](auto key) {
      auto result = host.seam().mapper().configured(key);
      if (result && key.fields().intfId == port) {
         data = result->inLifAdditionalData;
      }
   });
   requireData(fmt::format("the mapper entry of {} on {}", subIntf.name(), port.name()), word,
               data);
}

void expectTunnel(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId tunnel = host.world().interface(arguments.next("TUNNEL"));
   TunnelPolicyMapperKey key(tunnel, host.world().unit(arguments.next("UNIT")));
   std::string word = arguments.next("POLICY, none or absent");
   arguments.end();
   auto result = host.mapper().tunnelConfig->configCollection().find(key);
   requireData("the tunnel entry " + formatKey(key), word,
               result ? std::optional(result->inLifAdditionalData) : std::nullopt);
}

void expectPublished(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = host.world().interface(arguments.next("PORT"));
   std::string unit = arguments.next("UNIT or none");
   std::string domain = arguments.next("DOMAIN or none");
   arguments.end();
   auto text = [](auto const& id) { return id ? std::to_string(id->value()) : "none"; };
   if (unit != "none") {
      unit = std::to_string(host.world().unit(unit).value());
   }
   require(fmt::format("the published unit and VLAN domain of {}", intf.name()),
           fmt::format("{} and {}", unit, domain),
           fmt::format(
               "{} and {}",
               text(host.vlanTags().intfToFapIdStatus->intfToFapCollection().find(intf)),
               text(host.vlanTags().intfToVlanDomainStatus->vlanDomainCollection().find(intf))));
}

void expectFeature(AgentHost& host, Arguments& arguments, std::ostream&) {
   auto keys = parseInLifKeys(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   std::string wanted = arguments.next("none, success or failure");
   bool ofValue = arguments.more();
   if (ofValue) {
      wanted += fmt::format(" for {}", arguments.parseNumber("VALUE", 0, UINT32_MAX));
   }
   arguments.end();
   for (InLifIntfKey intfKey : keys) {
      InLifFeatureKey key(intfKey, type);
      auto response = host.inLifFeatures().featureStatus->response(key);
      std::string got(formatFeatureStatus(response.status));
      if (ofValue) {
         got += fmt::format(" for {}", response.value);
      }
      if (got != wanted) {
         require("the response of " + formatInLifKey(host.world(), intfKey), wanted, got,
                 " (" + explainFeature(host, key).verdict + ")");
      }
   }
}

template<class Words, class Key>
void requireWord(Arguments& arguments, std::string const& of, Words const& words, Key key) {
   std::string wanted = arguments.next("WORD (0x and 16 digits) or none");
   arguments.end();
   if (wanted != "none") {
      wanted = fmt::format("0x{:016x}", parseNumber(wanted, "WORD", 0, UINT64_MAX));
   }
   auto word = words->lifFeatureAttrCollection().find(key);
   require("the word of " + of, wanted, word ? formatWord(*word) : "none");
}

void expectWord(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = host.world().interface(arguments.next("PORT"));
   requireWord(arguments, intf.name(), host.inLifFeatures().mergedWords, intf);
}

void expectSubInterfaceWord(AgentHost& host, Arguments& arguments, std::ostream&) {
   InLifIntfKey key = parseInLifKey(host, arguments);
   requireWord(arguments, formatInLifKey(host.world(), key), host.inLifFeatures().subIntfWords,
               key);
}

template<bool wanted>
void expectInHardware(AgentHost& host, Arguments& arguments, std::ostream&) {
   auto requests = parseRequests(host, arguments);
   arguments.end();
   Situations situations(host);
   for (TcamSharingRequest request : requests) {
      Situation situation = situations.of(request);
      if (situation.inHardware != wanted) {
         throw ExpectationFailed(fmt::format("expected the policy of {} to be {} hardware, but: {}",
                                             formatRequest(request), wanted ? "in" : "out of",
                                             explain(situation, host).verdict));
      }
   }
}

// REQUEST yes|no
template<bool retryList>
void expectListed(AgentHost& host, Arguments& arguments, std::ostream&) {
   TcamSharingRequest request = parseRequest(host, arguments);
   std::size_t wanted = arguments.parseChoice("yes or no", {"no", "yes"});
   arguments.end();
   SharingPipeline const& pipeline = host.pipelineOf(request);
   bool got = !retryList && pipeline.codef->backlog(request);
   for (auto const& [entry, waiting] : pipeline.commonBase->retryListIter()) {
      got = got || (retryList && waiting && entry.request() == request);
   }
   static constexpr std::string_view words[] = {"no", "yes"};
   require(formatRequest(request) + (retryList ? " on the retry list" : " in the backlog"),
           words[wanted], words[got ? 1 : 0]);
}

} // namespace

std::span<Command const> expectCommands() {
   static constexpr Command table[] = {
       {"expect status",
        "acl|lumen|rampart|merged INTERFACE UNIT|own [flood VLAN] none|success|in-progress|failed "
        "[POLICY]",
        "fail unless a request is answered so", expectStatus},
       {"expect merged", "INTERFACE UNIT|own [flood VLAN] POLICY|none",
        "fail unless this is the merged policy of a request", expectPolicy<true>},
       {"expect output", "INTERFACE UNIT|own [flood VLAN] POLICY|none",
        "fail unless the programming machine was handed this policy", expectPolicy<false>},
       {"expect count", "TABLE N", "fail unless a table has so many rows", expectCount},
       {"expect isem", "VLAN DOMAIN UNIT POLICY|none|absent",
        "fail unless the ISEM table holds this", expectIsem},
       {"expect mapper", "SUBINTERFACE PORT POLICY|none|absent",
        "fail unless the mapper entry of a sub-interface on a port holds this", expectMapper},
       {"expect tunnel", "TUNNEL UNIT POLICY|none|absent",
        "fail unless the tunnel's entry holds this", expectTunnel},
       {"expect published", "PORT UNIT|none DOMAIN|none",
        "fail unless these are published as the port's unit and VLAN domain", expectPublished},
       {"expect feature", "INTERFACE UNIT:CORE|own TYPE none|success|failure [VALUE]",
        "fail unless an in-LIF feature is answered so", expectFeature},
       {"expect word", "PORT WORD|none", "fail unless this is the feature word of a port",
        expectWord},
       {"expect sub-interface-word", "SUBINTERFACE UNIT:CORE|own WORD|none",
        "fail unless this is the feature word of a sub-interface", expectSubInterfaceWord},
       {"expect in-hardware", "INTERFACE UNIT|own [flood VLAN]",
        "fail unless the policy is in hardware in every entry that the request leads to",
        expectInHardware<true>},
       {"expect out-of-hardware", "INTERFACE UNIT|own [flood VLAN]",
        "fail unless the policy is not in hardware", expectInHardware<false>},
       {"expect retry", "INTERFACE UNIT|own [flood VLAN] yes|no",
        "fail unless a request is, or is not, on the retry list", expectListed<true>},
       {"expect backlog", "INTERFACE UNIT|own [flood VLAN] yes|no",
        "fail unless a request is, or is not, in the backlog", expectListed<false>},
   };
   return table;
}

} // namespace Agent

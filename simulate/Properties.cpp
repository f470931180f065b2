#include "simulate/Properties.h"

#include "agent/command/ScenarioRunner.h"
#include "simulate/Tables.h"
#include "simulate/WordModel.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

// What each request asks for, over all requesters.
std::map<TcamSharingRequest, uint64_t> askedFor(AgentHost const& host) {
   std::map<TcamSharingRequest, uint64_t> policies;
   for (std::size_t i = 0; i < kRequesters; ++i) {
      for (auto const& [request, policy] :
           host.sharing().config(static_cast<Requester>(i))->requestIter()) {
         policies[request] |= policy.value();
      }
   }
   return policies;
}

bool isProgrammed(World const& world, TcamSharingRequest request) {
   auto status = world.subIntfStatusDir->subIntfStatus(request.intfId());
   return !status || status->programInHw();
}

// The entries of a table of the chip that carry something.
template<class Key, class Data>
std::map<Key, uint64_t> carrying(std::map<Key, Data> const& entries) {
   std::map<Key, uint64_t> data;
   for (auto const& [key, entry] : entries) {
      if (entry.inLifAdditionalData != 0) {
         data[key] = entry.inLifAdditionalData;
      }
   }
   return data;
}

template<class T>
std::map<typename T::Key, uint64_t> wordsOf(T const& table) {
   std::map<typename T::Key, uint64_t> words;
   for (auto const& [key, word] : table.entries()) {
      words[key] = word.value;
   }
   return words;
}

void checkWords(AgentHost const& host, Findings& findings) {
   auto const& features = host.inLifFeatures();
   std::map<InLifIntfKey, FeatureValues> asked;
   for (auto const& [name, entry] : features.inputDir->entryIter()) {
      for (auto const& [key, request] : features.directory(name)->requestIter()) {
         asked[key.intfKey()][key.featureType()] = request.value;
         if (features.featureStatus->response(key).status != InLifFeatureResponseStatus::success) {
            findings.add("each feature is answered success", key, " is not");
         }
      }
   }
   std::map<InLifIntfKey, uint64_t> subIntfs;
   std::map<IntfId, uint64_t> ports;
   for (auto const& [key, values] : asked) {
      if (key.intfId().fields().subIntf) {
         subIntfs[key] = featureWord(key.tcamId(), values);
      } else {
         ports[key.intfId()] = featureWord(key.tcamId(), values);
      }
   }
   findings.compare("words are what is asked for", subIntfs,
                    read(features.subIntfWords->lifFeatureAttrCollection(), word));
   findings.compare("words are what is asked for", ports,
                    read(features.mergedWords->lifFeatureAttrCollection(), word));
   std::map<DefaultMappingKey, uint64_t> places;
   for (auto const& [port, value] : ports) {
      places[DefaultMappingKey(host.world().placeOf(port))] = value;
   }
   std::map<SubIntfMappingKey, uint64_t> entries;
   for (auto const& [key, value] : subIntfs) {
      entries[SubIntfMappingKey(key.intfId(), key.tcamId())] = value;
   }
   findings.compare("the chip holds the words", places, wordsOf(host.chip().portWords()));
   findings.compare("the chip holds the words", entries, wordsOf(host.chip().subIntfWords()));
}

} // namespace

// Versions and order are the past's; so is which ports carry tags, before the next version.
std::vector<std::string> tablesOf(AgentHost const& host) {
   std::vector<std::string> lines;
   auto add = [&](char const* name, auto const& table) {
      for (auto const& [key, value] : table) {
         std::ostringstream line;
         line << name << " ";
         print(line, key);
         line << " ";
         print(line, value);
         lines.push_back(line.str());
      }
   };
   for (SharingPipeline* pipeline : host.pipelines()) {
      add("merged", read(pipeline->merged->requestCollection(), asIs));
      add("answer", read(pipeline->mergedStatus->responseCollection(), asIs));
      add("retry", read(pipeline->commonBase->retryListCollection(), asIs));
   }
   add("ISEM output", read(host.isem().outputTable->requestCollection(), asIs));
   add("tag output", read(host.mapper().tagOutput->requestCollection(), asIs));
   add("tunnel output", read(host.mapper().tunnelOutput->requestCollection(), asIs));
   add("ISEM", read(host.isem().table->configCollection(), asIs));
   add("mapping", read(host.isem().common->tcamRequestToIsemKeyMappingCollection(), asIs));
   add("mapper", read(host.mapper().mapperConfig->configCollection(), data));
   add("tunnel", read(host.mapper().tunnelConfig->configCollection(), data));
   add("ISEM in the chip", host.chip().isem().entries());
   add("mapper in the chip", carrying(host.chip().mapper().entries()));
   add("tunnel in the chip", carrying(host.chip().tunnels().entries()));
   add("word in the chip", wordsOf(host.chip().portWords()));
   add("sub-interface's word in the chip", wordsOf(host.chip().subIntfWords()));
   add("unit", read(host.vlanTags().intfToFapIdStatus->intfToFapCollection(), asIs));
   auto const& features = host.inLifFeatures();
   auto values = [](auto const& present) { return aggregate(present).features; };
   add("features", read(features.inLifIntfStatus->responseCollection(), values));
   add("feature answer", read(features.featureStatus->responseCollection(), asIs));
   add("sub-interface's word", read(features.subIntfWords->lifFeatureAttrCollection(), word));
   add("word", read(features.mergedWords->lifFeatureAttrCollection(), word));
   std::sort(lines.begin(), lines.end());
   return lines;
}

void checkHardware(AgentHost const& host, Findings& findings) {
   Facts facts(host.world());
   std::map<AradSemKeyAndFap, AradSemPayload> isem;
   std::map<VlanTagToVsiMapperKey, uint64_t> mapper;
   std::map<TunnelPolicyMapperKey, uint64_t> tunnels;
   for (auto const& [request, value] : askedFor(host)) {
      TcamSharingPolicyId policy(value);
      auto const& fields = request.intfId().fields();
      if (!isProgrammed(host.world(), request)) {
         continue;
      }
      bool arad =
          host.world().shoalStatus->fapType(request.fapId()) == Hardware::Shoal::fapTypeArad;
      if (arad) {
         auto key = facts.sharedKey(request);
         if (!key) {
            continue;
         }
         isem[*key] = Facts::payload(policy);
      } else if (fields.kind == Plexus::IntfKind::tunnel) {
         tunnels[{request.intfId(), request.fapId()}] = Facts::lowBits(policy);
      } else if (fields.subIntf && facts.resolves(request)) {
         auto parent = IntfId::fromIndex(fields.parentIndex);
         bool lag = fields.kind == Plexus::IntfKind::portChannel;
         for (IntfId port : lag ? facts.membersOn(request) : std::vector{parent}) {
            mapper[facts.mapperKey(request, port)] = Facts::lowBits(policy);
         }
      } else {
         continue; // ports and VLAN interfaces are not answered there
      }
      TcamSharingResponse response = host.pipelineOf(request).mergedStatus->response(request);
      if (response != TcamSharingResponse{tcamSharingSuccess, policy}) {
         findings.add("each request is answered success", request, " is ", response);
      }
   }
   char const* check = "the chip holds what is asked for";
   findings.compare(check, isem, host.chip().isem().entries());
   findings.compare(check, mapper, carrying(host.chip().mapper().entries()));
   findings.compare(check, tunnels, carrying(host.chip().tunnels().entries()));
   checkWords(host, findings);
}

void checkEmpty(AgentHost const& host, Findings& findings) {
   auto empty = [&](char const* table, uint64_t size) {
      if (size != 0) {
         findings.add("all is withdrawn", size, " left in ", table);
      }
   };
   for (SharingPipeline* pipeline : host.pipelines()) {
      empty("merged policies", pipeline->merged->requests());
      empty("answers", pipeline->mergedStatus->responses());
      empty("backlog", pipeline->codef->backlogSize());
      empty("retry list", pipeline->commonBase->retryLists());
   }
   auto const& isem = host.isem();
   empty("output", isem.outputTable->requests());
   empty("shared entries", isem.table->configs());
   empty("entries of requests", isem.common->tcamRequestToIsemKeyMappings());
   empty("users of entries", isem.common->semToRequests());
   empty("unanswered writes", isem.common->pendingSemWrites());
   empty("shared entries of the chip", host.chip().isem().entries().size());
   auto const& mapper = host.mapper();
   empty("output", mapper.tagOutput->requests() + mapper.tunnelOutput->requests());
   empty("tunnel entries", mapper.tunnelConfig->configs());
   empty("unanswered mapper writes", mapper.common->pendingLifEntriess());
   empty("answers awaited", mapper.common->tcamSharingEntryRefCounts());
   empty("errors of members", mapper.common->vtagToVsiStatusErrorTypes());
   empty("confirmed entries", mapper.common->tcamRequestToVlanTagToVsiKeyMappings());
   empty("unanswered tunnel writes", mapper.common->pendingTunnelLifEntriess());
   empty("mapper entries of the chip", carrying(host.chip().mapper().entries()).size());
   empty("tunnel entries of the chip", host.chip().tunnels().entries().size());
   auto const& features = host.inLifFeatures();
   empty("features asked for", features.inLifIntfCfg->requests());
   empty("features of ports", features.inLifIntfCfgLagExp->requests());
   empty("features handled", features.inLifIntfStatus->responses());
   empty("feature answers", features.featureStatus->responses());
   empty("words of sub-interfaces", features.subIntfWords->lifFeatureAttrs());
   empty("words of ports and VLANs", features.mergedWords->lifFeatureAttrs());
   empty("words of places", features.defaultMappingConfig->configs());
   empty("words of the chip",
         host.chip().portWords().entries().size() + host.chip().subIntfWords().entries().size());
   for (auto const& [pair, users] : host.vlanTags().vlanTagMap->vlanTagIter()) {
      empty("users of VLAN tags", users->requests());
   }
}

void checkFresh(AgentHost& host, std::vector<std::string> const& commands, Findings& findings) {
   static constexpr std::array requests{"request", "feature"};
   std::map<std::string, std::string> asked; // by verb, requester, interface and so on
   std::vector<std::string> world;
   for (std::string const& command : commands) {
      std::string verb = command.substr(0, command.find(' '));
      bool withdraws = verb.starts_with("withdraw");
      std::string key =
          withdraws ? (verb == "withdraw" ? "request" : "feature") + command.substr(verb.size())
                    : command.substr(0, command.rfind(' '));
      if (withdraws) {
         asked.erase(key);
      } else if (std::find(requests.begin(), requests.end(), verb) != requests.end()) {
         asked[key] = command;
      } else if (verb != "chip" && verb != "rebuild" && verb != "settle") {
         world.push_back(command);
      }
   }
   std::vector<std::string> fresh;
   {
      AgentHost other(host.world().inventory());
      std::ostringstream out;
      std::ostringstream errors;
      ScenarioRunner runner(other, out, errors, {});
      for (std::string const& command : world) {
         runner.runLine(command, "fresh", 1);
      }
      for (auto const& [key, command] : asked) {
         runner.runLine(command, "fresh", 1);
      }
      runner.runLine("settle", "fresh", 1);
      if (!errors.str().empty() || !other.quiet()) {
         findings.add("a fresh agent comes to the same", errors.str(), " or it still moves");
      }
      fresh = tablesOf(other);
   }
   host.activate();
   std::vector<std::string> live = tablesOf(host);
   std::vector<std::string> differ;
   std::set_symmetric_difference(live.begin(), live.end(), fresh.begin(), fresh.end(),
                                 std::back_inserter(differ));
   for (std::string const& line : differ) {
      bool here = std::binary_search(live.begin(), live.end(), line);
      findings.add("a fresh agent comes to the same", line,
                   here ? " is here only" : " is there only");
   }
}

} // namespace Simulate

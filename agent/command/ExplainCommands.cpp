// Why requests and in-LIF features are where they are.
#include "agent/command/FeatureNames.h"
#include "agent/command/Output.h"
#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"
#include "host/insight/OtherProblems.h"

namespace Agent {

namespace {

void printExplanation(std::ostream& out, Explanation const& explanation, Format format) {
   if (format == Format::json) {
      Json facts = Json::object();
      for (auto const& [label, text] : explanation.facts) {
         // A label that comes twice (two answers due) becomes a list.
         if (!facts.contains(label)) {
            facts[label] = text;
         } else if (facts[label].is_array()) {
            facts[label].push_back(text);
         } else {
            facts[label] = Json::array({facts[label], text});
         }
      }
      out << Json{{"request", explanation.subject},
                  {"inHardware", explanation.inHardware},
                  {"verdict", explanation.verdict},
                  {"facts", facts}}
                 .dump(-1, ' ', false, Json::error_handler_t::replace)
          << "\n";
      return;
   }
   out << explanation.subject << ": " << explanation.verdict << "\n";
   for (auto const& [label, text] : explanation.facts) {
      out << "  " << label << ": " << text << "\n";
   }
}

// INTERFACE UNIT [flood VLAN]; a pattern or own explains each request that it names.
void explainRequests(AgentHost& host, Arguments& arguments, std::ostream& out) {
   auto requests = parseRequests(host, arguments);
   arguments.end();
   Situations situations(host);
   for (TcamSharingRequest request : requests) {
      printExplanation(out, explain(situations.of(request), host), arguments.format());
   }
}

void explainOneFeature(AgentHost& host, Arguments& arguments, std::ostream& out) {
   InLifIntfKey key = parseInLifKey(host, arguments);
   InLifFeatureType type = parseFeatureType(arguments);
   arguments.end();
   printExplanation(out, explainFeature(host, InLifFeatureKey(key, type)), arguments.format());
}

// Each request that is not sound, with the sentences that say why. Behind them what is no
// request's.
void problems(AgentHost& host, Arguments& arguments, std::ostream& out) {
   arguments.end();
   Table table{"problems", {"request", "merged policy", "status", "why"}, {}};
   Situations situations(host);
   for (TcamSharingRequest request : host.suspects().list()) {
      Situation situation = situations.of(request);
      if (situation.sound()) {
         host.suspects().soundIs(request);
      } else {
         table.add({formatRequest(request), formatPolicy(situation.merged),
                    formatStatus(situation.response.status), explain(situation, host).verdict});
      }
   }
   for (Problem const& problem : otherProblems(host)) {
      table.add({problem.subject, Json(), Json(), problem.why});
   }
   print(out, table, arguments.format());
}

} // namespace

std::span<Command const> explainCommands() {
   static constexpr Command table[] = {
       {"explain", "INTERFACE UNIT|own [flood VLAN] [--format json]",
        "why a request is where it is: what it waits for, since when, who shares its entry",
        explainRequests},
       {"explain-feature", "INTERFACE UNIT:CORE|own TYPE [--format json]",
        "why an in-LIF feature is answered as it is, or not yet", explainOneFeature},
       {"problems", "[--format json]",
        "every request that is not in hardware, not successful, or has left an entry behind, each "
        "VLAN tag with two meanings, each feature word that the chip does not have, and why",
        problems},
   };
   return table;
}

} // namespace Agent

// The tables of in-LIF features.
#include "agent/command/Tables.h"
#include "host/insight/FeatureSituation.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::vector<Json> keyCells(AgentHost const& host, InLifIntfKey key) {
   return {key.intfId().name(), host.world().tcamName(key.tcamId())};
}

Table features(AgentHost const& host) {
   Table table{"features",
               {"directory", "interface", "TCAM", "type", "value", "response", "programmed",
                "in words", "in hardware"},
               {}};
   auto const& pipeline = host.inLifFeatures();
   for (auto const& [name, entry] : pipeline.inputDir->entryIter()) {
      auto directory = pipeline.directory(name);
      if (!directory) {
         continue;
      }
      for (auto const& [key, request] : directory->requestIter()) {
         auto response = pipeline.featureStatus->response(key);
         FeatureSituation situation = featureSituation(host, key);
         bool answered = response.status != InLifFeatureResponseStatus::none;
         auto row = joined({name}, keyCells(host, key.intfKey()));
         table.add(joined(row, {formatType(key.featureType()), request.value,
                                formatFeatureStatus(response.status),
                                answered ? Json(response.value) : Json(), situation.inWords(),
                                situation.inHardware()}));
      }
   }
   return table;
}

Table featureResponses(AgentHost const& host) {
   Table table{"feature-responses", {"interface", "TCAM", "type", "response", "programmed"}, {}};
   for (auto const& [key, response] : host.inLifFeatures().featureStatus->responseIter()) {
      table.add(joined(
          keyCells(host, key.intfKey()),
          {formatType(key.featureType()), formatFeatureStatus(response.status), response.value}));
   }
   return table;
}

Table aggregates(AgentHost const& host) {
   Table table{"aggregates", {"interface", "TCAM", "features", "version", "handled version"}, {}};
   auto const& pipeline = host.inLifFeatures();
   for (auto const& [key, aggregate] : pipeline.inLifIntfCfg->requestIter()) {
      auto handled = pipeline.inLifIntfStatus->response(key);
      table.add(joined(keyCells(host, key), {formatFeatures(*aggregate), aggregate->version(),
                                             handled ? Json(handled->version()) : Json()}));
   }
   return table;
}

Table expanded(AgentHost const& host) {
   Table table{"expanded", {"port", "TCAM", "features"}, {}};
   for (auto const& [key, aggregate] : host.inLifFeatures().inLifIntfCfgLagExp->requestIter()) {
      table.add(joined(keyCells(host, key), {formatFeatures(*aggregate)}));
   }
   return table;
}

Table words(AgentHost const& host) {
   Table table{"words", {"port", "word", "port side", "VLAN side"}, {}};
   auto const& pipeline = host.inLifFeatures();
   auto cell = [](DefaultLifFeatureConfig const& of, IntfId intf) {
      return of.lifFeatureAttrHas(intf) ? Json(formatWord(of.lifFeatureAttr(intf))) : Json();
   };
   for (auto const& [intf, word] : pipeline.mergedWords->lifFeatureAttrIter()) {
      table.add({intf.name(), formatWord(word), cell(*pipeline.portWords, intf),
                 cell(*pipeline.vlanWords, intf)});
   }
   return table;
}

Table subIntfWords(AgentHost const& host) {
   Table table{"sub-interface-words", {"sub-interface", "TCAM", "word"}, {}};
   for (auto const& [key, word] : host.inLifFeatures().subIntfWords->lifFeatureAttrIter()) {
      table.add(joined(keyCells(host, key), {formatWord(word)}));
   }
   return table;
}

Table layouts(AgentHost const& host) {
   Table table{"tcam-layouts", {"TCAM", "type", "offset", "mask"}, {}};
   auto const& library = ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface();
   for (auto const& [tcam, data] : library->inLifDataIter()) {
      for (auto const& [type, place] : data->tcamShareQualInfoIter()) {
         table.add({host.world().tcamName(tcam), formatType(type), place.offset(), place.mask()});
      }
   }
   return table;
}

// The words that a table of the chip is to hold, and the answers to their last writes.
template<class T>
void addChipWords(Table& table, SeamTable<T> const& chip) {
   for (auto const& [key, word] : chip.config()->configIter()) {
      EntryMemory const& memory = chip.memory(key);
      auto const& answer = memory.lastAnswer;
      bool answered = answer && memory.lastWrite && answer->write == memory.lastWrite->write;
      table.add({formatKey(key), formatWord(word),
                 answered && !memory.restarted ? Json(outcomeName(answer->outcome)) : Json()});
   }
}

Table chipWords(AgentHost const& host) {
   Table table{"chip-words", {"entry", "word", "answer"}, {}};
   addChipWords(table, host.seam().portWords());
   addChipWords(table, host.seam().subIntfWords());
   return table;
}

} // namespace

void addFeatureTables(std::vector<NamedTable>& tables) {
   tables.insert(
       tables.end(),
       {{"features", "in-LIF features asked for, and their answers", features},
        {"feature-responses", "every in-LIF feature response there is", featureResponses},
        {"aggregates", "features per interface and TCAM, and versions", aggregates},
        {"expanded", "the expanded configuration: features per physical port", expanded},
        {"words", "the default word of each port, and its two sides", words},
        {"sub-interface-words", "the word of each sub-interface", subIntfWords},
        {"tcam-layouts", "where each TCAM keeps each feature", layouts},
        {"chip-words", "the words configured in the chip, by place or sub-interface", chipWords}});
}

} // namespace Agent

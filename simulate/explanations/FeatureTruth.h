// What is true of one in-LIF feature, found out from the tables alone, to hold its explanation
// against.
#pragma once

#include "agent/host/AgentHost.h"
#include "host/insight/Explanation.h"
#include "simulate/explanations/Sentences.h"
#include "simulate/explanations/Witness.h"
#include "simulate/Facts.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace Simulate {

using namespace Agent;

using Hardware::ShoalTunnel::InLifFeatureKey;
using Hardware::ShoalTunnel::InLifFeatureType;

// What decides which words a key of a port-channel or VLAN interface reaches.
class FeaturePorts {
 public:
   struct Port {
      IntfId intf;
      IntfId lag; // whose list of members has it
      Hardware::Shoal::SystemTcamId tcam;
      uint32_t untaggedVlan;
   };
   // As the world is now.
   explicit FeaturePorts(AgentHost const& host);
   // Those with a system port.
   std::vector<Port> const& all() const { return ports_; }
   IntfId lagOf(IntfId port) const {
      auto found = lags_.find(port);
      return found == lags_.end() ? IntfId() : found->second;
   }

 private:
   std::vector<Port> ports_;
   std::map<IntfId, IntfId> lags_;
};

class FeatureTruth {
 public:
   FeatureTruth(AgentHost const& host, FeaturePorts const& ports, Witness const& witness,
                InLifFeatureKey key);

   // What of the explanation is not true, or left out.
   std::vector<std::string> untruths(Explanation const& explanation) const;

 private:
   bool inWords() const;
   // The chip carries the value in every word that it should be in.
   bool inChip() const { return carrying() == chip_.size(); }
   std::size_t carrying() const;
   bool isWhyNotInChip(std::string const& why) const;
   // Adds what is not true of the chip's entries, or left out.
   void checkChip(Explanation const& explanation, std::vector<std::string>& found) const;
   bool isSentence(std::string const& sentence) const;
   // The value is wider than its field.
   bool spills() const { return wanted_ && mask_ != 0 && *wanted_ > mask_; }
   // What words of its interface have in the field, when the key does not lead there.
   std::vector<std::pair<IntfId, uint64_t>> strange() const;
   bool asked() const;
   bool answered() const;
   bool carries(std::optional<Hardware::ShoalTunnel::InLifFeatureAttributes> const& word) const {
      return word && fieldOf(*word) == (*wanted_ & mask_);
   }
   uint64_t fieldOf(Hardware::ShoalTunnel::InLifFeatureAttributes const& word) const;
   void findWords();
   void findChip();
   // For a port, the VLAN interface of its own unit takes precedence over one without a unit.
   bool isNearest(IntfId port) const;
   bool isListOfReached(std::string list) const;
   bool isUnreached(std::string const& why) const;
   bool isAbsent(std::string const& port, std::string const& why) const;
   bool isMissing(std::string const& why) const;
   bool isOther(Hardware::ShoalTunnel::InLifFeatureAttributes const& word,
                std::string const& why) const;

   AgentHost const& host_;
   World const& world_;
   FeaturePipeline const& pipeline_;
   FeaturePorts const& ports_;
   Witness const& witness_;
   InLifFeatureKey key_;
   InLifFeatureType type_{};
   std::optional<uint32_t> wanted_;
   uint64_t version_ = 0;
   uint16_t offset_ = 0;
   uint32_t mask_ = 0;
   std::vector<IntfId> reached_;
   std::vector<std::optional<Hardware::ShoalTunnel::InLifFeatureAttributes>> words_;
   // Where the chip keeps each of them.
   struct ChipWord {
      IntfId intf;
      std::string name; // as it is printed; empty: nowhere
      std::optional<uint64_t> configured;
      std::optional<uint64_t> held;
      std::optional<bool> accepted; // by the status; none: there is none
   };
   std::vector<ChipWord> chip_;
   bool carriesInChip(ChipWord const& word) const {
      return word.held && (*word.held >> offset_ & mask_) == (*wanted_ & mask_);
   }
};

} // namespace Simulate

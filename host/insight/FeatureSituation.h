// The state of one in-LIF feature, decided from the tables: where its value should be, and where it
// is. Every view of in-LIF features is made from it.
#pragma once

#include "host/names/Names.h"
#include "host/wiring/Host.h"

#include <optional>
#include <string>
#include <vector>

namespace ShoalHost {

// The field of a feature in the words of a TCAM, as its layout is now; none: it has no place there.
std::optional<ShoalTcam::TcamShareQualInfo> featureField(Hardware::Shoal::SystemTcamId tcam,
                                                         InLifFeatureType type);

// As the chip has it.
LifFeatureWord wordOf(Hardware::ShoalTunnel::InLifFeatureAttributes const& word);

struct FeatureSituation {
   InLifFeatureKey key;
   std::vector<std::pair<std::string, uint32_t>> askedBy;                 // directory, value
   Orv::Ptr<Hardware::ShoalTunnel::InLifIntfFeatureAggr const> requested; // may be null
   Orv::Ptr<Hardware::ShoalTunnel::InLifIntfFeatureAggr const> handled;   // may be null
   Hardware::ShoalTunnel::InLifFeatureResponse response;

   bool wanted = false; // the aggregate has the feature
   uint32_t value = 0;  // what is wanted
   std::optional<ShoalTcam::TcamShareQualInfo> field;
   std::string unreached; // why no word is reached; empty: one is
   // The ports whose words the key reaches; the sub-interface itself for one.
   std::vector<IntfId> reached;
   struct Absence {
      IntfId intf;
      std::string why;
   };
   std::vector<Absence> absent; // the reached ones whose word does not carry the value, and why
   // The chip's entry of each reached word.
   struct ChipWord {
      IntfId intf;
      std::optional<EntryKey> entry; // none: the port has no place
      bool waits = false; // for the port map: the table of the chip has not the value yet
      bool taken = false; // another port in that place has the entry
      std::optional<LifFeatureWord> held;
      EntryMemory const* memory = nullptr; // the seam's, of the entry
      bool carries = false;                // what is held has the value
   };
   std::vector<ChipWord> chip;
   // Words that the key does not lead to, and would if it were wanted: those of its interface.
   // What they have in the field, from any feature, where that is not 0.
   std::vector<std::pair<IntfId, uint64_t>> strange;

   bool answered() const { return wanted && handled && handled->version() == requested->version(); }
   // Bits of the value that do not fit its field run into the bits above it.
   bool spills() const { return wanted && field && (value & ~field->mask()) != 0; }
   bool inWords() const { return wanted && !reached.empty() && absent.empty(); }
   // The first of the reached words that the chip does not carry; null: none.
   ChipWord const* lacking() const;
   bool inHardware() const { return inWords() && lacking() == nullptr; }
};

FeatureSituation featureSituation(Host const& host, InLifFeatureKey key);
// The features' explanation from it.
struct Explanation;
Explanation explainFeature(Host const& host, InLifFeatureKey key);

} // namespace ShoalHost

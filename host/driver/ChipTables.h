// The tables of the chip: three in which policies are carried, two of feature words. What a key is,
// what an entry holds, and the library's tables of what is configured and of what the chip
// answered.
#pragma once

#include "platform/Hardware/ShoalTunnel/LifFeatureTable.h"
#include "platform/Hardware/ShoalTunnel/SemTable.h"
#include "platform/Hardware/ShoalTunnel/TunnelPolicyMapper.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Orv/System.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace ShoalHost {

using Hardware::Shoal::FapId;
using Hardware::ShoalTunnel::AradSemKeyAndFap;
using Hardware::ShoalTunnel::AradSemPayload;
using Hardware::ShoalTunnel::DefaultMappingKey;
using Hardware::ShoalTunnel::LifFeatureWord;
using Hardware::ShoalTunnel::SubIntfMappingKey;
using Hardware::ShoalTunnel::TunnelPolicyMapperKey;
using Hardware::ShoalTunnel::TunnelPolicyMapperResult;
using Hardware::ShoalTunnel::VlanTagToVsiMapperKey;
using Hardware::ShoalTunnel::VlanTagToVsiMapperResult;
using Orv::Seconds;

// Shared entries, sub-interfaces' entries, tunnels' entries; the words of places and of
// sub-interfaces.
enum class ChipTableKind { isem, mapper, tunnel, portWord, subIntfWord };
inline constexpr std::array<std::string_view, 5> chipTableNames{"isem", "mapper", "tunnel",
                                                                "port-word", "sub-interface-word"};

// A key of a table in which policies are carried.
using PolicyKey = std::variant<AradSemKeyAndFap, VlanTagToVsiMapperKey, TunnelPolicyMapperKey>;
// A key of any of the tables, in the order of ChipTableKind, and what its entry holds.
using EntryKey = std::variant<AradSemKeyAndFap, VlanTagToVsiMapperKey, TunnelPolicyMapperKey,
                              DefaultMappingKey, SubIntfMappingKey>;
using EntryData = std::variant<AradSemPayload, VlanTagToVsiMapperResult, TunnelPolicyMapperResult,
                               LifFeatureWord>;

// What became of a write or removal; removed and accepted are good ends. `pending`: not known yet.
// `inProgress` is an answer that another one follows; only the tunnel table knows it.
enum class Outcome { removed, accepted, refused, full, inProgress, pending };
std::string_view outcomeName(Outcome outcome);

// Each names a table. answer() writes the status by which the library takes an answer to the write
// of an entry; a removal is answered by the removal of the status.
struct IsemTable {
   static constexpr ChipTableKind kind = ChipTableKind::isem;
   using Key = AradSemKeyAndFap;
   using Data = AradSemPayload;
   using Config = Hardware::ShoalTunnel::SemTableConfig;
   using Status = Hardware::ShoalTunnel::SemTableStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

struct MapperTable {
   static constexpr ChipTableKind kind = ChipTableKind::mapper;
   using Key = VlanTagToVsiMapperKey;
   using Data = VlanTagToVsiMapperResult;
   using Config = Hardware::ShoalTunnel::VlanTagToVsiMapperConfig;
   using Status = Hardware::ShoalTunnel::VlanTagToVsiMapperStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

struct TunnelTable {
   static constexpr ChipTableKind kind = ChipTableKind::tunnel;
   using Key = TunnelPolicyMapperKey;
   using Data = TunnelPolicyMapperResult;
   using Config = Hardware::ShoalTunnel::TunnelPolicyMapperConfig;
   using Status = Hardware::ShoalTunnel::TunnelPolicyMapperStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

struct PortWordTable {
   static constexpr ChipTableKind kind = ChipTableKind::portWord;
   using Key = DefaultMappingKey;
   using Data = LifFeatureWord;
   using Config = Hardware::ShoalTunnel::DefaultMappingConfig;
   using Status = Hardware::ShoalTunnel::DefaultMappingStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

struct SubIntfWordTable {
   static constexpr ChipTableKind kind = ChipTableKind::subIntfWord;
   using Key = SubIntfMappingKey;
   using Data = LifFeatureWord;
   using Config = Hardware::ShoalTunnel::SubIntfMappingConfig;
   using Status = Hardware::ShoalTunnel::SubIntfMappingStatus;
   static void answer(Status& status, Key key, Data const& data, Outcome outcome);
};

} // namespace ShoalHost

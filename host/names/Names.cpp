#include "host/names/Names.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdio>
#include <sstream>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

std::string formatRequest(TcamSharingRequest request) {
   uint16_t flood = request.l3FloodPortVlanId().value();
   return formatted("{} unit {}{}", request.intfId().name(), request.fapId().value(),
                    flood == 0 ? "" : formatted(" flood {}", flood));
}

std::string formatRequests(std::vector<TcamSharingRequest> const& requests,
                           std::string_view separator) {
   return join(requests, separator, formatRequest);
}

std::string formatPolicy(TcamSharingPolicyId policy) {
   std::string text;
   for (auto const& field : policyFields) {
      if (uint64_t value = policy.value() >> field.shift & field.max; value != 0) {
         append(text, ",", field.name);
         (text += '=') += std::to_string(value);
      }
   }
   return text.empty() ? "none" : text;
}

std::string_view formatStatus(TcamSharingResponseStatus status) {
   return statusNames[status];
}

std::string formatKey(AradSemKeyAndFap key) {
   AradISemKeyTcamSharing fields(key.key());
   return formatted("(vlan {}, domain {}, unit {})", fields.vlanId(), fields.vlanDomain().value(),
                    key.fapId().value());
}

std::string formatTags(uint32_t outer, uint32_t inner) {
   return inner == 0 ? std::to_string(outer) : formatted("{},{}", outer, inner);
}

std::string formatKey(VlanTagToVsiMapperKey key) {
   auto const& fields = key.fields();
   bool dot1q = fields.tagType == Hardware::ShoalTunnel::VlanTagType::dot1q;
   return formatted("({} on {}, tags {}{})", fields.subIntfId.name(), fields.intfId.name(),
                    formatTags(fields.outerVlan.value(), fields.innerVlan),
                    dot1q ? "" : ", other tag type");
}

std::string formatKey(TunnelPolicyMapperKey key) {
   return formatted("({}, unit {})", key.intfId().name(), key.fapId().value());
}

std::string formatKey(PolicyKey const& key) {
   return std::visit([](auto const& each) { return formatKey(each); }, key);
}

std::string formatKey(DefaultMappingKey key) {
   return formatted("(unit {}, port {})", key.place().fapId.value(), key.place().fapPortId);
}

std::string formatTag(Hardware::ShoalTunnel::VlanTagKey const& tag) {
   return formatted("VLAN tag {} in domain {} of unit {}", tag.vlanTag, tag.vlanDomain.value(),
                    tag.fapId.value());
}

std::string formatKey(SubIntfMappingKey key) {
   return formatted("({}, TCAM {})", key.subIntf().name(), key.tcamId().value());
}

std::string formatData(uint64_t inLifAdditionalData) {
   return formatPolicy(TcamSharingPolicyId(inLifAdditionalData));
}

TcamSharingPolicyId policyOfPayload(AradSemPayload payload) {
   return TcamSharingPolicyId((payload.value & 0xffff8) >> 3);
}

std::string formatSeconds(Seconds seconds) {
   std::array<char, 400> digits; // the largest double has 309 in front of the point
   auto end = std::to_chars(digits.begin(), digits.end(), seconds, std::chars_format::fixed, 6).ptr;
   std::string text(digits.begin(), end);
   text.erase(text.find_last_not_of('0') + 1);
   if (text.ends_with('.')) {
      text.pop_back();
   }
   return text;
}

std::string formatType(InLifFeatureType type) {
   static auto const names = [] {
      std::array<std::string, kInLifFeatureTypeBound> all;
      for (unsigned each = 0; each < all.size(); ++each) {
         std::ostringstream text;
         text << static_cast<InLifFeatureType>(each);
         all[each] = text.str();
      }
      return all;
   }();
   return names.at(static_cast<unsigned>(type));
}

std::string formatInLifKey(WorldView const& world, InLifIntfKey key) {
   return formatted("{} on {}", key.intfId().name(), world.tcamName(key.tcamId()));
}

std::string formatFeatures(InLifIntfFeatureAggr const& aggregate) {
   return join(aggregate.featureAggIter(), ",", [](auto const& feature) {
      return formatted("{}={}", formatType(feature.key), feature.value);
   });
}

std::string formatWord(InLifFeatureAttributes const& word) {
   return formatWord(LifFeatureWord::of(word.data0, word.data1, word.eei));
}

std::string formatWord(LifFeatureWord word) {
   std::string text = "0x0000000000000000";
   uint64_t rest = word.value;
   for (auto digit = text.rbegin(); rest != 0; ++digit, rest >>= 4) {
      *digit = "0123456789abcdef"[rest & 15];
   }
   return text;
}

std::string formatWidth(uint32_t mask) {
   return counted(static_cast<std::size_t>(std::popcount(mask)), "bit");
}

std::string_view formatFeatureStatus(InLifFeatureResponseStatus status) {
   static constexpr std::string_view names[] = {"none", "success", "failure"};
   return names[static_cast<std::size_t>(status)];
}

} // namespace ShoalHost

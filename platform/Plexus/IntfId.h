// Interface ids: an interface of any kind, as a small integer.
//
// The kind of an interface follows from its name and is determined once, when the id is made:
//
//    Ethernet3, Ethernet-BP4             port
//    PortChannel0001                     port-channel (zero padding is part of the name)
//    Vlan100                             VLAN interface of VLAN 100 (any number without padding)
//    Tunnel-vtep                         tunnel
//    <port or port-channel>.<1..99999999>  sub-interface; long names only
//    any name that contains "L3Flood"    flood entry of a routed port; the kind is as above
//
// A prefix up to the last '/' names the card and unit ("lc3/asic0/Ethernet8") and is part of the
// identity; it does not affect the kind. Ids compare as integers, in order of first use; the empty
// name is the default id. Names stay for the life of the process.
#pragma once

#include "platform/Orv/Export.h"
#include "platform/Orv/Interned.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Plexus {

enum class IntfKind : uint8_t { none, port, portChannel, vlan, tunnel, other };

// What follows from the name.
struct IntfIdFields {
   uint32_t parentIndex = 0;       // of a sub-interface, the empty interface otherwise
   uint32_t unit = 0;              // a number for the prefix, 0 without one
   uint16_t vlanId = 0;            // of a VLAN interface, 0 otherwise
   IntfKind kind = IntfKind::none; // of a sub-interface: its parent's
   bool subIntf : 1 = false;
   bool l3Flood : 1 = false;
};

// All ids. The names are apart from what follows from them, which is read far more often and stays
// in the processor's caches.
class ORV_EXPORT IntfIds {
 public:
   constexpr IntfIds() = default;
   uint32_t intern(std::string_view name);
   // kNil for a name that was not used before.
   uint32_t find(std::string_view name) const;
   std::string const& name(uint32_t index) const { return names_[index]; }
   IntfIdFields const& operator[](uint32_t index) const {
      return index == 0 ? none : fields_[index >> kPageBits][index & kPageMask];
   }
   void prefetch(uint32_t index) const { __builtin_prefetch(&(*this)[index]); }

 private:
   static constexpr uint32_t kPageBits = 10;
   static constexpr uint32_t kPageMask = (1U << kPageBits) - 1;
   static constexpr IntfIdFields none{};

   Orv::Interner<std::string> names_;
   std::vector<std::unique_ptr<IntfIdFields[]>> fields_;
   uint32_t last_ = 0; // the greatest index that has its fields
};

ORV_EXPORT extern IntfIds intfIds;

class ORV_EXPORT IntfId : public Orv::Interned<IntfId, IntfIdFields, intfIds> {
 public:
   constexpr IntfId() = default;
   explicit IntfId(std::string_view name) { index_ = intfIds.intern(name); }

   // The id of a name that was used before, else the empty id. For names that a user types, which
   // must not be interned without limit.
   static IntfId existing(std::string_view name);

   std::string const& name() const { return intfIds.name(index_); }
   bool l3Flood() const { return fields().l3Flood; }
   std::string_view blipName() const { return name(); }

   friend auto operator<=>(IntfId a, IntfId b) { return a.index() <=> b.index(); }
   friend std::ostream& operator<<(std::ostream& out, IntfId id) { return out << id.name(); }
};

struct SubIntfId {
   static bool isSubIntfId(IntfId id) { return id.fields().subIntf; }
   // The empty id when `id` is not a sub-interface.
   static IntfId parentIntfId(IntfId id) { return IntfId::fromIndex(id.fields().parentIndex); }
};

struct VlanIntfId {
   static bool isVlanIntfId(IntfId id) { return id.fields().kind == IntfKind::vlan; }
   // The number in the name, 0 included; 0 when `id` is not a VLAN interface.
   static uint16_t vlanId(IntfId id) { return id.fields().vlanId; }
};

struct PortChannelIntfId {
   // True for a port-channel and for its sub-interfaces.
   static bool isPortChannelIntfId(IntfId id) { return id.fields().kind == IntfKind::portChannel; }
};

struct TunnelIntfId {
   static bool isTunnelIntfId(IntfId id) { return id.fields().kind == IntfKind::tunnel; }
};

} // namespace Plexus

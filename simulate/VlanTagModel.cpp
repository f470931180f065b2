#include "simulate/VlanTagModel.h"

#include <algorithm>

namespace Simulate {

namespace {

// Makes one set of a table's from another one, with its row gone when it is empty.
template<class K, class Member>
void put(Table<K, std::set<Member>>& table, K const& key, Member const& member, bool present) {
   auto row = table.find(key);
   if (present) {
      table[key].insert(member);
   } else if (row != table.end() && row->second == std::set{member}) {
      table.erase(key);
   } else if (row != table.end()) {
      table[key].erase(member);
   }
}

} // namespace

VlanTagModel::VlanTagModel(Context& context, PublishedModel const& published, IsemModel const& isem)
    : context_(context), published_(published), isem_(isem) {
   for (auto const& subIntf : world().inventory().subInterfaces) {
      subIntfsOf_[IntfId(subIntf.parent)].emplace_back(subIntf.name);
   }
   published.units().tells(changed_);
   published.domains().tells(changed_);
   for (auto const& port : world().inventory().ports) {
      changed_.add(IntfId(port.name));
   }
   portMapVersionChanged();
}

// ---- What changes

IntfId VlanTagModel::lagOf(IntfId port) const {
   auto const& mapping = *world().lagPhyIntfMapping;
   IntfId lag = mapping.phyIntfLag(port);
   return lag != IntfId() && mapping.isMember(lag, port) ? lag : IntfId();
}

VlanTagModel::Ports VlanTagModel::portsOf(IntfId portOrLag) const {
   if (portOrLag.fields().kind == Plexus::IntfKind::port) {
      return {portOrLag};
   }
   Ports ports;
   if (auto members = world().lagPhyIntfMapping->lagPhyIntfConfig(portOrLag)) {
      for (auto const& [port, present] : members->phyIntfIter()) {
         ports.insert(port);
      }
   }
   return ports;
}

void VlanTagModel::interfaceChanged(IntfId intf) {
   for (IntfId port : portsOf(intf)) {
      changed_.add(port);
   }
}

void VlanTagModel::subIntfChanged(IntfId subIntf) {
   interfaceChanged(IntfId::fromIndex(subIntf.fields().parentIndex));
}

void VlanTagModel::systemPortChanged(IntfId port) {
   if (!world().shoalStatus->portMapValid()) {
      hit("VLAN tags: a port comes while the port map is not valid"_met);
   } else if (!world().placeOf(port).isNull() && placed_.insert(port).second) {
      hit("VLAN tags: a port comes"_met);
      changed_.add(port);
   }
}

void VlanTagModel::portMapVersionChanged() {
   auto const& status = *world().shoalStatus;
   if (!status.portMapValid()) {
      return;
   }
   Ports before = std::exchange(placed_, {});
   for (auto const& [port, systemPort] : status.sysPhyPortIdIter()) {
      if (!status.portMap(systemPort).isNull()) {
         placed_.insert(port);
         if (!before.contains(port)) {
            changed_.add(port);
         }
      }
   }
   for (IntfId port : before) {
      if (placed_.contains(port)) {
         hit("VLAN tags: a port stays at a version"_met);
      } else {
         hit("VLAN tags: a port goes"_met);
         changed_.add(port);
      }
   }
}

// While the port map is not valid it knows of ports by their rows only.
void VlanTagModel::portsMachineRestarts() {
   update();
   if (world().shoalStatus->portMapValid()) {
      portMapVersionChanged();
      return;
   }
   std::erase_if(placed_, [&](IntfId port) {
      auto rows = carried_.find(port);
      return rows == carried_.end() ||
             (rows->second.vlans.empty() && rows->second.subIntfTags.empty());
   });
}

// ---- What follows from the facts

Bridging::Dot1qEncap VlanTagModel::tagsOf(IntfId subIntf) const {
   auto config = world().subIntfConfigDir->subIntfConfig(subIntf);
   if (!config) {
      return {};
   }
   auto dynamic = world().dynSubIntfEncap->dot1qEncap(subIntf);
   return dynamic.isZero() ? config->dot1qEncap() : dynamic;
}

std::map<VlanTagModel::Tag, std::vector<IntfId>> VlanTagModel::subIntfsAt(IntfId port) const {
   std::map<Tag, std::vector<IntfId>> found;
   for (IntfId parent : {port, lagOf(port)}) {
      auto subIntfs = subIntfsOf_.find(parent);
      if (subIntfs == subIntfsOf_.end()) {
         continue;
      }
      for (IntfId subIntf : subIntfs->second) {
         if (auto tags = tagsOf(subIntf); !tags.isZero()) {
            found[tags.outer].push_back(subIntf);
         }
      }
   }
   return found;
}

std::set<VlanTagModel::Tag> VlanTagModel::vlansAt(IntfId port) const {
   bool alone = world().lagPhyIntfMapping->phyIntfLag(port) == IntfId();
   IntfId carrier = alone ? port : lagOf(port);
   std::set<Tag> vlans;
   if (auto untagged = world().untaggedVlanDir->untaggedVlan(carrier).value(); untagged != 0) {
      vlans.insert(untagged);
   }
   for (auto const& [member, present] : world().taggedVlanDir->taggedVlanIter()) {
      if (member.intfId == carrier) {
         vlans.insert(member.vlanId.value());
      }
   }
   return vlans;
}

std::map<VlanTagModel::Tag, VlanTagModel::Xlate>
VlanTagModel::meaningsAt(IntfId port, std::set<Tag> const& vlans,
                         std::map<Tag, std::vector<IntfId>> const& subIntfsByTag) const {
   std::map<Tag, Xlate> found;
   std::map<Tag, int> meanings;
   for (Tag vlan : vlans) {
      found[vlan].vlan = Bridging::VlanIdOrNone(vlan);
      ++meanings[vlan];
   }
   for (auto const& [tag, subIntfs] : subIntfsByTag) {
      found[tag].subIntf = *std::min_element(subIntfs.begin(), subIntfs.end());
      std::set<Tag> inner;
      for (IntfId subIntf : subIntfs) {
         if (!inner.insert(tagsOf(subIntf).inner).second) {
            hit("VLAN tags: two sub-interfaces with the same tags"_met);
            found[tag].collision = true;
         }
      }
      ++meanings[tag];
   }
   for (IntfId routed : {lagOf(port), port}) { // the port's own counts
      if (auto vlan = world().intfVlanIdTable->internalVlanId(routed).value(); vlan != 0) {
         meanings[vlan] += found[vlan].routedPort == IntfId() ? 1 : 0;
         found[vlan].routedPort = routed;
      }
   }
   for (auto const& [tag, count] : meanings) {
      found[tag].collision |= count > 1;
   }
   return found;
}

bool VlanTagModel::isSubIntfOf(XlateKey const& key, Xlate const& meaning) {
   return meaning.subIntf != IntfId() &&
          meaning.subIntf.fields().parentIndex == key.phyIntf.index();
}

std::set<IntfId> VlanTagModel::subIntfsOfEntry(Pair const& pair) const {
   std::set<IntfId> found;
   if (pair.fapId.value() > Hardware::ShoalTunnel::AradSemKeyAndFap::maxFapId) {
      return found;
   }
   Hardware::ShoalTunnel::AradISemKeyTcamSharing fields(Bridging::VlanId(pair.vlanTag),
                                                        pair.vlanDomain);
   auto entry = isem_.users().find(AradSemKeyAndFap(fields.key(), pair.fapId));
   if (entry != isem_.users().end()) {
      for (auto const& request : entry->second) {
         if (request.intfId().fields().subIntf) {
            found.insert(request.intfId());
         }
      }
   }
   return found;
}

VlanTagModel::Pair VlanTagModel::pairOf(IntfId subIntf) const {
   auto port = IntfId::fromIndex(subIntf.fields().parentIndex);
   auto unit = published_.units().find(port);
   auto domain = published_.domains().find(port);
   Tag tag = tagsOf(subIntf).outer;
   if (port.fields().kind != Plexus::IntfKind::port || tag == 0 ||
       unit == published_.units().end() || domain == published_.domains().end()) {
      return {};
   }
   return {unit->second, tag, domain->second};
}

bool VlanTagModel::collide(Pair const& pair) const {
   auto row = users_.find(pair);
   if (pair.vlanDomain.value() == 0 || row == users_.end()) {
      return false;
   }
   Users const& users = row->second;
   bool carried = std::any_of(users.begin(), users.end(),
                              [](auto const& use) { return use.second.vlan.value() != 0; });
   bool ofPort = std::any_of(users.begin(), users.end(),
                             [](auto const& use) { return isSubIntfOf(use.first, use.second); });
   bool found = carried && (ofPort || !subIntfsOfEntry(pair).empty());
   if (found) {
      hit(ofPort
              ? "VLAN tags: a sub-interface's tag is a VLAN of its domain"_met
              : "VLAN tags: the tag of a port-channel's sub-interface is a VLAN of its domain"_met);
   }
   return found;
}

void VlanTagModel::update() {
   if (changed_.empty()) {
      return;
   }
   for (IntfId port : changed_.take()) {
      update(port);
   }
}

void VlanTagModel::update(IntfId port) {
   Carried before = std::exchange(carried_[port], {});
   Carried& now = carried_[port];
   std::map<Tag, std::vector<IntfId>> subIntfsByTag;
   if (placed_.contains(port)) {
      now.vlans = vlansAt(port);
      subIntfsByTag = subIntfsAt(port);
      for (auto const& [tag, subIntfs] : subIntfsByTag) {
         now.subIntfTags.insert(tag);
      }
   }
   auto follow = [&](auto& table, std::set<Tag> const& old, std::set<Tag> const& present) {
      for (Tag tag : old) {
         if (!present.contains(tag)) {
            put(table, tag, port, false);
         }
      }
      for (Tag tag : present) {
         if (!old.contains(tag)) {
            put(table, tag, port, true);
         }
      }
   };
   follow(vlans_, before.vlans, now.vlans);
   follow(subIntfTags_, before.subIntfTags, now.subIntfTags);

   auto unit = published_.units().find(port);
   auto domain = published_.domains().find(port);
   auto meanings = meaningsAt(port, now.vlans, subIntfsByTag);
   for (auto const& [tag, meaning] : meanings) {
      if (unit != published_.units().end()) {
         now.pairs[tag] = {unit->second, tag,
                           domain == published_.domains().end() ? Hardware::Shoal::VlanDomain()
                                                                : domain->second};
      } else {
         now.pairs[tag] = {}; // of no unit: nobody's
      }
   }
   for (auto const& [tag, pair] : before.pairs) {
      auto stays = now.pairs.find(tag);
      if (stays == now.pairs.end()) {
         meanings_.erase({port, tag});
      }
      if (stays == now.pairs.end() || stays->second != pair) {
         erase(pair, {port, tag});
      }
   }
   for (auto const& [tag, meaning] : meanings) {
      XlateKey key{port, tag};
      auto known = meanings_.find(key);
      if (known == meanings_.end() || known->second != meaning) {
         meanings_[key] = meaning;
      }
      use(now.pairs.at(tag), key, meaning);
   }
}

void VlanTagModel::use(Pair const& pair, XlateKey key, Xlate const& meaning) {
   if (pair == Pair()) {
      return;
   }
   auto users = users_.find(pair);
   if (users != users_.end()) {
      auto known = users->second.find(key);
      if (known != users->second.end() && known->second == meaning) {
         return;
      }
   }
   users_[pair][key] = meaning;
}

void VlanTagModel::erase(Pair const& pair, XlateKey key) {
   auto users = users_.find(pair);
   if (users == users_.end()) {
      return;
   }
   users_[pair].erase(key);
   if (users->second.empty()) {
      users_.erase(pair);
   }
}

} // namespace Simulate

#include "host/insight/Resolution.h"

#include "host/names/Names.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;
using Plexus::SubIntfId;

namespace {

// Adds what programming would need and does not find.
class Resolver {
 public:
   Resolver(Host const& host, TcamSharingRequest request)
       : host_(host), world_(host.world()), request_(request), intf_(request.intfId()),
         unit_(formatted("unit {}", request.fapId().value())) {}

   Resolution resolve() {
      bool isem = &host_.pipelineOf(request_) == &host_.isem();
      if (!isem && Plexus::TunnelIntfId::isTunnelIntfId(intf_)) {
         found_.keys.emplace_back(TunnelPolicyMapperKey(intf_, request_.fapId()));
         return found_;
      }
      if (!isem && !SubIntfId::isSubIntfId(intf_)) {
         never("on a unit of this type only sub-interfaces and tunnels carry policies");
         return found_;
      }
      if (!world_.shoalStatus->fapAvailable(request_.fapId())) {
         miss(unit_ + " is not available");
      }
      resolveDomain();
      resolveTags();
      if (domain_ && tags_) {
         isem ? resolveIsem() : resolveMapper();
      }
      return found_;
   }

 private:
   void miss(std::string const& what) { append(found_.missing, "; ", what); }
   void never(std::string const& what) {
      miss(what);
      found_.never = true;
   }

   void resolveDomain() {
      domain_ = host_.helper()->getVlanDomainForIntf(intf_, request_.fapId());
      if (domain_) {
         return;
      }
      IntfId parent = SubIntfId::parentIntfId(intf_);
      auto units = world_.unitsOf(parent);
      if (World::isPort(parent)) {
         bool here = std::find(units.begin(), units.end(), request_.fapId()) != units.end();
         miss(units.empty() ? formatted("{} is on no unit", parent.name())
              : here        ? formatted("no VLAN domain for {} on {}", parent.name(), unit_)
                            : formatted("no VLAN domain for {}, which is on unit {}", parent.name(),
                                        units.front().value()));
      } else if (!world_.ethIntfStatusDir->ethLagIntfStatusHas(parent)) {
         miss(parent.name() + " does not exist");
      } else if (std::find(units.begin(), units.end(), request_.fapId()) == units.end()) {
         miss(formatted("{} has no member on {}", parent.name(), unit_));
      } else if (auto type = world_.shoalStatus->fapType(request_.fapId());
                 type != Hardware::Shoal::fapTypeArad && type != 2) {
         miss(unit_ + " is of a type that keeps no VLAN domain for port-channels");
      } else {
         miss(formatted("no VLAN domain for {} on {}", parent.name(), unit_));
      }
   }

   void resolveTags() {
      auto encap = host_.helper()->getDot1qEncapForIntf(intf_, request_.l3FloodPortVlanId());
      if (encap.valid) {
         tags_ = encap.dot1qEncap;
      } else if (SubIntfId::isSubIntfId(intf_)) {
         miss(!world_.subIntfConfigDir->subIntfConfigHas(intf_) ? "the sub-interface was deleted"
              : world_.tagsAreAside(intf_) ? "its tags are put aside until it can be withdrawn"
                                           : "the sub-interface has no encapsulation");
      } else if (world_.isRouted(intf_)) {
         miss(noInternalVlan);
      } else {
         IntfId lag = World::isPort(intf_) ? world_.lagPhyIntfMapping->phyIntfLag(intf_) : IntfId();
         never(intf_.name() +
               (Plexus::TunnelIntfId::isTunnelIntfId(intf_) ? " is a tunnel"
                : lag != IntfId()                           ? " is a member of " + lag.name()
                                                            : " is not a routed port") +
               " and has no internal VLAN, which its entry would need");
      }
   }

   void resolveIsem() {
      if (request_.fapId().value() > AradSemKeyAndFap::maxFapId) {
         never("an ISEM key cannot name " + unit_);
      } else if (tags_->inner != 0) {
         never(formatted("it has two tags ({}), which the ISEM does not hold, so it is not "
                         "programmed",
                         formatTags(tags_->outer, tags_->inner)));
      } else {
         found_.keys.emplace_back(AradSemKeyAndFap(
             AradISemKeyTcamSharing(Bridging::VlanId(tags_->outer), *domain_).key(),
             request_.fapId()));
      }
   }

   void resolveMapper() {
      auto status = world_.subIntfStatusDir->subIntfStatus(intf_);
      bool off = status && !status->programInHw();
      bool others = !found_.missing.empty();
      IntfId parent = SubIntfId::parentIntfId(intf_);
      for (IntfId port : world_.portsOf(parent)) {
         // A port-channel counts by its members on the unit, a port wherever it is.
         if (port != parent && world_.placeOf(port).fapId != request_.fapId()) {
            continue;
         }
         auto key = VlanTagToVsiMapperKey::ofSubIntf(port, intf_, *tags_,
                                                     status ? status->encapKind() : 0);
         if (!host_.mapper().mapperConfig->configHas(key)) {
            miss(formatted("the sub-interface is not programmed on {}{}", port.name(),
                           off ? ", since program-in-hw is off" : ""));
            found_.flag = off && !others;
         }
         found_.keys.emplace_back(key);
      }
      if (found_.keys.empty()) {
         miss(formatted("{} has no member on {}", parent.name(), unit_));
      }
   }

   Host const& host_;
   World const& world_;
   TcamSharingRequest request_;
   IntfId intf_;
   std::string unit_; // in words
   std::optional<Hardware::Shoal::VlanDomain> domain_;
   std::optional<Bridging::Dot1qEncap> tags_;
   Resolution found_;
};

} // namespace

Resolution resolve(Host const& host, TcamSharingRequest request) {
   return Resolver(host, request).resolve();
}

} // namespace ShoalHost

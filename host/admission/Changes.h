// Changes of the world and of requests, each judged before it is made: whether the library can take
// it now.
//
// Some changes stop the library, at once or when its queue reaches them; each such situation is a
// Row. What becomes of them is a setting: see Detours.
#pragma once

#include "host/admission/Detours.h"

namespace ShoalHost {

class Changes {
 public:
   Changes(World& world, IsemPipeline& isem, MapperPipeline& mapper, SharingRouter& router,
           FeaturePipeline const& features, VlanTags const& tags, Chronicle const& chronicle,
           ChipSeam& seam, Orv::Timers& timers);

   using Setting = Detours::Setting;
   // How a change is made that would stop the library, and what is on its way.
   Detours& detours() { return detours_; }
   Detours const& detours() const { return detours_; }
   Setting setting() const { return detours_.setting(); }
   void settingIs(Setting setting) { detours_.settingIs(setting); }

   // See Judge.
   void watcherIs(FactWatcher* watcher) { judge_.watcherIs(watcher); }
   RequestIndex const& indexOf(SharingPipeline const& pipeline) const {
      return judge_.indexOf(pipeline);
   }

   // Requests. The empty policy withdraws.
   void requestIs(Requester requester, std::vector<TcamSharingRequest> const& requests,
                  TcamSharingPolicyId policy) {
      askFor(requester, requests, policy, setting());
   }

   // In-LIF features, through a request directory. HostError: there is no such directory, or no
   // machine serves features on the interface.
   void featureIs(std::string const& directory, Hardware::ShoalTunnel::InLifFeatureKey key,
                  Hardware::ShoalTunnel::InLifFeatureValue value);
   void featureDel(std::string const& directory, Hardware::ShoalTunnel::InLifFeatureKey key);

   // As World's operations of the same names.
   void encapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void dynamicEncapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void subInterfaceDel(IntfId subIntf);
   void programInHwIs(IntfId subIntf, bool on);
   void encapKindIs(IntfId subIntf, uint32_t kind);
   void internalVlanIs(IntfId routedPort, Bridging::VlanIdOrNone vlan);
   void untaggedVlanIs(IntfId intf, Bridging::VlanIdOrNone vlan);
   void taggedVlanIs(IntfId intf, Bridging::VlanId vlan, bool carries);
   void vlanDomainIs(IntfId intf, std::optional<Hardware::Shoal::VlanDomain> domain);
   // Of another generation: HostError while requests ask there, unless the setting is `detour`.
   void fapTypeIs(FapId unit, Hardware::Shoal::FapType type);
   void fapAvailableIs(FapId unit, bool available);
   void extLkupTypeIs(FapId unit, Hardware::Shoal::ExtLkupType type);
   void portMapIs(IntfId port, std::optional<Hardware::Shoal::PortMap> place);
   void systemPortIs(IntfId port, std::optional<Hardware::Shoal::SystemPhyPortId> systemPort);
   void portMapValidIs(bool valid);
   void portMapVersionInc();
   void portChannelIs(IntfId lag, bool present);
   void memberIs(IntfId lag, IntfId port, bool present);

   // Ahead of building a machine again. ChangeRefused.
   void checkRebuild(Machine machine);
   // Behind it.
   void intakesRebuilt();

 private:
   void carryOut(std::string_view kind, std::function<std::string()> what, Concern concern,
                 std::function<std::optional<Objection>()> judge, std::function<void()> make,
                 std::function<FactChange()> fact = nullptr);
   void askFor(Requester requester, std::vector<TcamSharingRequest> const& requests,
               TcamSharingPolicyId policy, Setting setting);
   Orv::Ptr<Hardware::ShoalTunnel::InLifFeatureRequestDir> directory(std::string const& name) const;
   void rememberWishes(Requester requester, std::vector<TcamSharingRequest> const& requests,
                       TcamSharingPolicyId policy);
   // Of a sub-interface, to these tags.
   void tagsAre(std::string_view what, IntfId subIntf,
                std::function<WorldView::Tags(WorldView::Tags)> const& change, bool deleted,
                std::function<void()> const& make);
   Effects tagEffects(IntfId subIntf, WorldView::Tags tags, bool deleted) const;
   Effects internalVlanEffects(IntfId routedPort, Bridging::VlanIdOrNone vlan) const;
   // A change of facts of the interface, with sub-interfaces that it is a fact of, too; of a
   // port-channel, also of a member.
   void factIs(std::string_view what, IntfId intf, std::function<FactChange()> const& fact,
               std::function<void()> const& make, std::optional<IntfId> member = std::nullopt);
   void unitIs(FapId unit, std::string_view what, std::function<std::optional<Objection>()> judge,
               std::function<void()> make);

   World& world_;
   IsemPipeline& isem_;
   MapperPipeline& mapper_;
   SharingRouter& router_;
   FeaturePipeline const& features_;
   Judge judge_;
   Detours detours_;
};

} // namespace ShoalHost

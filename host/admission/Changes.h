// Changes of the world and of requests, each judged before it is made: whether the library can take
// it now.
//
// Some changes stop the library, at once or when its queue reaches them. Each situation is a Row. A
// change is judged from the tables as they are, with what waits in the queues, and touches only
// what shares an entry with it.
#pragma once

#include "host/admission/IsemForesight.h"
#include "host/pipelines/FeaturePipeline.h"
#include "host/pipelines/SharingRouter.h"
#include "host/text/Errors.h"

namespace ShoalHost {

// The situations in which the library stops.
enum class Row {
   unmapped,   // withdrawn, but answered without an entry of its own
   moved,      // moved off an entry that others use
   lookup,     // the lumen lookup goes while lumen or rampart asks on the unit
   label,      // acl asks for the lumen label on a unit with the lumen lookup
   noLookup,   // lumen or rampart asks on a unit without the lumen lookup
   fields,     // lumen or rampart asks for qos or pbr
   generation, // the unit's generation changes under a request
   portMap,    // a new version of a port map that is not valid
   place,      // a new version of the port map while a port with a feature word has no place
};
inline constexpr std::size_t kRows = 9;

// What a judgement ended with.
struct Objection {
   Row row;
   std::string text;      // why, with the requests concerned, and the way out
   std::string condition; // the library's invariant
   bool open = false;     // only one of the answers that are out would break it
};

// A change that was refused.
class ChangeRefused : public HostError {
 public:
   explicit ChangeRefused(Objection const& objection);
   Objection const& objection() const { return objection_; }

 private:
   Objection objection_;
};

// Is told of the facts that changes made here changed.
class FactWatcher {
 public:
   // Where a request of the interface leads may have changed.
   virtual void interfaceChanged(IntfId intf) = 0;
   // The type of a unit changed, or its look-up.
   virtual void unitChanged(FapId unit) = 0;

 protected:
   ~FactWatcher() = default;
};

class Changes {
 public:
   Changes(World& world, IsemPipeline& isem, MapperPipeline& mapper, SharingRouter& router,
           FeaturePipeline const& features, ChipSeam const& seam);

   enum class Setting {
      refuse, // ChangeRefused for what would stop the library
      off     // it stops
   };
   Setting setting() const { return setting_; }
   void settingIs(Setting setting) { setting_ = setting; }
   // Null: nobody.
   void watcherIs(FactWatcher* watcher) { watcher_ = watcher; }
   RequestIndex const& indexOf(SharingPipeline const& pipeline) const {
      return &pipeline == &isem_ ? isemIndex_ : mapperIndex_;
   }

   // Requests. The empty policy withdraws. HostError for a unit whose number no shared entry can
   // hold.
   void requestIs(Requester requester, std::vector<TcamSharingRequest> const& requests,
                  TcamSharingPolicyId policy);

   // As World's operations of the same names.
   void encapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void dynamicEncapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void subInterfaceDel(IntfId subIntf);
   void programInHwIs(IntfId subIntf, bool on);
   void encapKindIs(IntfId subIntf, uint32_t kind);
   void internalVlanIs(IntfId routedPort, Bridging::VlanIdOrNone vlan);
   void untaggedVlanIs(IntfId intf, Bridging::VlanIdOrNone vlan);
   void vlanDomainIs(IntfId intf, std::optional<Hardware::Shoal::VlanDomain> domain);
   // Also HostError while requests ask there, if the generation changes.
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
   // What a change does to one pipeline's requests; see IsemForesight::Effect.
   struct Effects {
      IsemForesight::Effect isem;
      IsemForesight::Effect mapper;
      FactChange facts;
   };
   // Judges, and throws if the setting refuses.
   void admit(Effects const& effects);
   void refuse(Objection const& objection) const;
   std::optional<Objection> judge(Effects const& effects) const;
   std::optional<Objection> judgeMapper(IsemForesight::Effect const& effect,
                                        WorldFacts const& facts) const;
   // The objection of the merge to what a requester asks for, if any.
   std::optional<Objection> judgePolicy(Requester requester, TcamSharingRequest request,
                                        TcamSharingPolicyId policy) const;
   std::optional<Objection> judgePortMapVersion() const;
   // What the merge makes of a requester's policy beside the present merged one.
   TcamSharingPolicyId merged(Requester requester, TcamSharingRequest request,
                              TcamSharingPolicyId policy, TcamSharingPolicyId present) const;
   void changeTags(IntfId subIntf, Bridging::Dot1qEncap configured, Bridging::Dot1qEncap dynamic,
                   bool deleted);
   // Adds the requests of interfaces whose facts change.
   void affect(Effects& effects, std::vector<IntfId> const& interfaces) const;
   void affectUnit(Effects& effects, FapId unit) const;
   // The index by entry follows a change that was made.
   void refresh(std::vector<IntfId> const& interfaces);
   void refresh(FapId unit);

   World& world_;
   IsemPipeline& isem_;
   MapperPipeline& mapper_;
   SharingRouter& router_;
   FeaturePipeline const& features_;
   ChipSeam const& seam_;
   RequestIndex isemIndex_;
   RequestIndex mapperIndex_;
   Setting setting_ = Setting::refuse;
   FactWatcher* watcher_ = nullptr;
};

// The policies' bits that a requester owns on a unit, as the merge takes them.
uint64_t ownFields(World const& world, Requester requester, FapId unit);

} // namespace ShoalHost

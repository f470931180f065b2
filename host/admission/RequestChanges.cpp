// Changes of what is asked for: policies, and in-LIF features.
#include "host/admission/Changes.h"
#include "host/names/Names.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

// No change of facts makes such a request sound.
bool isUnsound(Objection const& objection) {
   return objection.row == Row::fields || objection.row == Row::flood;
}

} // namespace

void Changes::askFor(Requester requester, std::vector<TcamSharingRequest> const& requests,
                     TcamSharingPolicyId policy, Setting setting) {
   auto const& config = router_.tables().config(requester);
   auto write = [config, policy](TcamSharingRequest request) {
      if (policy.empty()) {
         config->requestDel(request);
      } else {
         config->requestIs(request, policy);
      }
   };
   Change change;
   std::vector<TcamSharingRequest> held;
   std::vector<TcamSharingRequest> unsound;
   std::optional<Objection> lack;
   for (TcamSharingRequest request : requests) {
      bool isHeld = router_.held(requester, request);
      bool asks = !policy.empty() && (isHeld || config->request(request) != policy);
      auto objection = asks ? judge_.judgePolicy(requester, request, policy) : std::nullopt;
      bool never = objection &&
                   (setting == Setting::off ? objection->row == Row::key : isUnsound(*objection));
      if (never) {
         throw ChangeRefused(*objection);
      }
      if (isHeld) {
         held.push_back(request);
      } else if (objection && setting == Setting::detour) {
         unsound.push_back(request);
         lack = objection;
      } else {
         change.concern.requests.push_back(request);
      }
   }
   auto const wanted = change.concern.requests;
   change.kind = requesterName(requester);
   change.asks = {requester, policy};
   change.what = [=] {
      return formatted(
          "{} of {}", policy.empty() ? "the withdrawal" : "the policy " + formatPolicy(policy),
          join(wanted, " and ", [&](auto each) {
             return formatted("{} for {}", requesterName(requester), formatRequest(each));
          }));
   };
   change.judge = [=, this]() -> std::optional<Objection> {
      Effects effects;
      for (TcamSharingRequest request : wanted) {
         if (config->request(request) == policy) {
            continue;
         }
         if (auto objection = judge_.judgePolicy(requester, request, policy)) {
            return objection;
         }
         judge_.addRequest(effects, requester, request, policy);
      }
      return judge_.judge(effects);
   };
   change.make = [=] { std::for_each(wanted.begin(), wanted.end(), write); };
   if (setting == Setting::detour) {
      change.refused = [=, this](Objection const&) { rememberWishes(requester, wanted, policy); };
   }
   if (!wanted.empty()) {
      detours_.carryOut(std::move(change), setting);
   }
   for (TcamSharingRequest request : held) {
      write(request);
      detours_.heldRequestIs(requester, request);
   }
   for (TcamSharingRequest request : requests) {
      detours_.wishDel(requester, request);
   }
   if (lack) {
      rememberWishes(requester, unsound, policy);
      lack->wayOut = "it is remembered, and asked for when the unit has changed";
      throw ChangeRefused(*lack);
   }
}

void Changes::rememberWishes(Requester requester, std::vector<TcamSharingRequest> const& requests,
                             TcamSharingPolicyId policy) {
   for (TcamSharingRequest request : requests) {
      auto objection =
          policy.empty() ? std::nullopt : judge_.judgePolicy(requester, request, policy);
      if (objection && !isUnsound(*objection)) {
         detours_.wishIs(requester, request, policy, objection->why,
                         [=, this] { askFor(requester, {request}, policy, Setting::detour); });
      }
   }
}

// ---- In-LIF features

Orv::Ptr<InLifFeatureRequestDir> Changes::directory(std::string const& name) const {
   auto found = features_.directory(name);
   if (!found) {
      throw HostError("there is no request directory '{}'", name);
   }
   return found;
}

void Changes::featureIs(std::string const& directoryName, InLifFeatureKey key,
                        InLifFeatureValue value) {
   auto asking = directory(directoryName);
   World::checkServesFeatures(key.intfId());
   asking->requestIs(InLifFeatureRequest{key, value});
}

void Changes::featureDel(std::string const& directoryName, InLifFeatureKey key) {
   directory(directoryName)->requestDel(key);
}

} // namespace ShoalHost

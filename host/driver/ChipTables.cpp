#include "host/driver/ChipTables.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

std::string_view outcomeName(Outcome outcome) {
   static constexpr std::array<std::string_view, 6> names{
       "removed",     "accepted",        "refused", "refused: the unit is full",
       "in progress", "not answered yet"};
   return names[static_cast<std::size_t>(outcome)];
}

void IsemTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   status.statusIs(key, SemTableStatusEntry{outcome == Outcome::accepted
                                                ? SemTableStatusEntry::success
                                                : static_cast<uint32_t>(outcome),
                                            data});
}

void MapperTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   auto error = outcome == Outcome::accepted ? VlanTagToVsiMapperErrorType::success
                                             : VlanTagToVsiMapperErrorType(outcome);
   status.statusIs(key, VlanTagToVsiMapperStatusType{data.inLifAdditionalData, error});
}

void TunnelTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   // Codes past those that mean something are failures.
   uint32_t code = outcome == Outcome::accepted     ? TunnelPolicyMapperStatusType::programmed
                   : outcome == Outcome::inProgress ? TunnelPolicyMapperStatusType::inProgress
                                                    : 10 + static_cast<uint32_t>(outcome);
   status.statusIs(key, TunnelPolicyMapperStatusType{code, data.inLifAdditionalData});
}

namespace {

LifFeatureStatusType wordStatus(LifFeatureWord const& data, Outcome outcome) {
   uint32_t code = outcome == Outcome::accepted ? LifFeatureStatusType::programmed
                                                : 10 + static_cast<uint32_t>(outcome);
   return {code, data.value};
}

} // namespace

void PortWordTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   status.statusIs(key, wordStatus(data, outcome));
}

void SubIntfWordTable::answer(Status& status, Key key, Data const& data, Outcome outcome) {
   status.statusIs(key, wordStatus(data, outcome));
}

} // namespace ShoalHost

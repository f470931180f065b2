// The verdict on one request: sentences that say where it is, what it waits for, how it was
// answered, and what can be done.
#pragma once

#include "host/insight/Situation.h"
#include "host/text/Text.h"

namespace ShoalHost {

class Verdict {
 public:
   Verdict(Situation const& situation, Host const& host) : is_(situation), host_(host) {}
   std::string text();

 private:
   void sayWhere();
   void sayNotWanted();
   void sayInHardware();
   void sayWaiting();
   void sayAnswer();
   void sayLeftBehind();
   void sayUnasked();
   void sayStillHeld(EntrySituation const& entry);
   std::string takenOut();
   std::string reason();
   std::string reasonOf(EntrySituation const& entry);
   EntrySituation const* awaiting() const;
   void sayAwaited(EntrySituation const& entry);
   // What the remedy has to wait for: " once unit 3 has room", or another request.
   std::string waitOf(std::string const& remedy) const;
   // What a current entry holds instead, where the reason is another one.
   void sayHeldInstead();

   template<class... Parts>
   void say(Pattern<std::type_identity_t<Parts>...> sentence, Parts const&... parts) {
      append(text_, " ", formatted<Parts...>(sentence, parts...));
   }

   Situation const& is_;
   Host const& host_;
   std::string text_;
   std::string remedy_;
};

// "at 7 s"
std::string at(Seconds time);
// The request whose write an answer is to, where that is another one.
std::optional<TcamSharingRequest> otherWriter(std::optional<uint32_t> writer,
                                              TcamSharingRequest request);
// ", since the unit was full", or nothing.
std::string whyRefused(Outcome outcome);

} // namespace ShoalHost

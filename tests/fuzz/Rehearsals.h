// The agent's rehearsals run in children, which a fuzzer does not see by itself.
#pragma once

#include <csignal>
#include <cstdlib>
#include <pthread.h>
#include <sys/prctl.h>

namespace Fuzz {

// From now on a child that ends with a signal or a code is a finding of the parent, as a
// sanitizer's report; one that never ends goes with the parent, which reports the time-out.
inline void watchRehearsals() {
   struct sigaction action {};
   action.sa_sigaction = [](int, siginfo_t* child, void*) {
      if (child->si_code != CLD_EXITED || child->si_status != 0) {
         std::abort();
      }
   };
   action.sa_flags = SA_SIGINFO | SA_RESTART | SA_NOCLDSTOP;
   ::sigaction(SIGCHLD, &action, nullptr);
   ::pthread_atfork(nullptr, nullptr, [] {
      ::signal(SIGCHLD, SIG_DFL);
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
   });
}

} // namespace Fuzz

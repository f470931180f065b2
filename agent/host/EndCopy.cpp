#include "agent/host/EndCopy.h"

#ifdef SHOAL_COVERAGE
#include <cstdlib>
#include <fcntl.h>
#endif
#include <unistd.h>

namespace Agent {

void endCopy() {
#ifdef SHOAL_COVERAGE
   // Each library writes its own counts, and only when the process ends in the ordinary way.
   int nowhere = ::open("/dev/null", O_WRONLY);
   ::dup2(nowhere, STDOUT_FILENO);
   ::dup2(nowhere, STDERR_FILENO);
   std::exit(0);
#else
   ::_exit(0);
#endif
}

} // namespace Agent

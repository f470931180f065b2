#include "simulate/Copy.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Simulate {

namespace {

void sendReport(int to, std::string_view text) {
   while (!text.empty()) {
      ssize_t written = ::write(to, text.data(), text.size());
      if (written > 0) {
         text.remove_prefix(static_cast<std::size_t>(written));
      } else if (errno != EINTR) {
         ::_exit(1);
      }
   }
}

} // namespace

Copy::Copy(std::function<void(Report const&)> const& work, int room) {
   int ends[2];
   if (::pipe2(ends, O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category());
   }
   if (room > 0) {
      ::fcntl(ends[0], F_SETPIPE_SZ, room);
   }
   // What the copy inherits in a buffer would be written twice once anything there is flushed.
   std::cout.flush();
   std::cerr.flush();
   pid_t parent = ::getpid();
   child_ = ::fork();
   if (child_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      // The parent may have ended before that.
      if (::getppid() != parent) {
         ::_exit(1);
      }
      ::close(ends[0]);
      work([to = ends[1]](std::string_view text) { sendReport(to, text); });
      ::_exit(0);
   }
   int error = errno;
   ::close(ends[1]);
   reports_ = ends[0];
   if (child_ < 0) {
      ::close(reports_);
      throw std::system_error(error, std::generic_category());
   }
}

Copy::Copy(Copy&& other) noexcept
    : child_(std::exchange(other.child_, -1)), reports_(std::exchange(other.reports_, -1)) {}

Copy::~Copy() {
   if (child_ > 0) {
      ::kill(child_, SIGKILL);
      collect([](std::string_view) {});
   }
}

Copy::Ending Copy::collect(std::function<void(std::string_view)> const& take) {
   char block[65536];
   for (ssize_t got = 1; got != 0;) {
      got = ::read(reports_, block, sizeof block);
      if (got > 0) {
         take({block, static_cast<std::size_t>(got)});
      } else if (got < 0 && errno != EINTR) {
         break;
      }
   }
   ::close(reports_);
   int status = 0;
   while (::waitpid(child_, &status, 0) < 0 && errno == EINTR) {
   }
   child_ = -1;
   bool signalled = WIFSIGNALED(status);
   return {signalled, signalled ? WTERMSIG(status) : WEXITSTATUS(status)};
}

void Copy::end() {
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

} // namespace Simulate

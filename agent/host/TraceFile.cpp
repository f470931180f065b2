#include "agent/host/TraceFile.h"

#include "agent/errors/Errors.h"
#include "platform/Trace/Blipline.h"
#include "platform/Trace/Trace.h"

#include <filesystem>
#include <iostream>

namespace Agent {

TraceFile::~TraceFile() {
   Trace::textSinkIs(nullptr);
}

void TraceFile::activate() {
   Trace::textSinkIs(path_.empty() ? &std::cerr : static_cast<std::ostream*>(&file_));
}

void TraceFile::pathIs(std::string const& path) {
   if (Trace::Blipline::writes(path)) {
      throw CommandError(path + " is the file of the ring; give the text trace another one");
   }
   std::ofstream file(path);
   if (!file) {
      throw CommandError("cannot write " + path);
   }
   std::string lost = file_.flush() ? "" : path_;
   file_ = std::move(file);
   path_ = path;
   activate();
   if (!lost.empty()) {
      throw CommandError("cannot write all of " + lost + "; from now on the trace goes to " + path);
   }
}

bool TraceFile::isOpen(std::string const& path) const {
   std::error_code none;
   return !path_.empty() && std::filesystem::equivalent(path, path_, none);
}

void TraceFile::flush() {
   file_.flush();
}

void TraceFile::check() {
   if (!path_.empty() && !file_.flush()) {
      throw CommandError("cannot write all of " + path_);
   }
}

} // namespace Agent

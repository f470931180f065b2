// Where the text trace goes: a file, or standard error while there is none.
#pragma once

#include <fstream>
#include <string>

namespace Agent {

class TraceFile {
 public:
   TraceFile() { activate(); }
   ~TraceFile();
   TraceFile(TraceFile const&) = delete;
   TraceFile& operator=(TraceFile const&) = delete;

   // Makes this the process's sink again.
   void activate();
   // Starts a new file. CommandError when it cannot be written or is the file of the ring; also,
   // with the new file in force, when text for the file before was lost.
   void pathIs(std::string const& path);
   // Whether this file, by whatever name, is where the text goes.
   bool isOpen(std::string const& path) const;
   // What was traced so far survives whatever ends the process.
   void flush();
   // Throws CommandError when text was lost, as on a full disk.
   void check();

 private:
   std::ofstream file_;
   std::string path_; // empty: standard error
};

} // namespace Agent

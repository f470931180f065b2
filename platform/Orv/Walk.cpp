#include "platform/Orv/Walk.h"

namespace Orv {

OpenCursor* OpenCursor::latest_ = nullptr;

OpenCursor::OpenCursor(void const* collection) : collection_(collection), earlier_(latest_) {
   latest_ = this;
}

OpenCursor::~OpenCursor() {
   OpenCursor** link = &latest_;
   while (*link != this) {
      link = &(*link)->earlier_;
   }
   *link = earlier_;
}

} // namespace Orv

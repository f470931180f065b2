// Trace points. One names its level, its words and its fields once and feeds both channels:
//
//    SHOAL_TRACE(7, ": Adding ", request, " to backlog");
//    SHOAL_TRACE_SPLIT(7, (": no action."), (": no action"));   // where the texts differ
//    SHOAL_TRACE_BLIP(8, "del ", key);                          // for the fast trace only
//
// The text channel prints the parts; Blipline (Blipline.h) records the numbers and keeps the words
// once per trace point. Parts are words (literals, __func__) and fields (values, see BlipForm.h).
// They are evaluated once per channel that is on.
//
// A disabled level costs one load and one branch; no part is evaluated. Several trace points of one
// level on a hot path cost one check together:
//
//    if (SHOAL_TRACE_ON(7)) [[unlikely]] { SHOAL_TRACE(7, ...); SHOAL_TRACE(7, ...); }
//
// With SHOAL_TRACE_OFF defined, trace points are checked and compiled to nothing.
//
// Levels: 8 entry to a handler or step, 9 list sizes, 7 decisions and actions, 5 programming
// results, 0 failures that leave a request unresolved or failed.
#pragma once

#include "platform/Trace/BlipForm.h"

#include <sstream>

#ifdef SHOAL_TRACE_OFF
#define SHOAL_TRACE_ON(level) false
#else
#define SHOAL_TRACE_ON(level) ::Trace::on(level)
#endif

#define SHOAL_TRACE(level, ...) SHOAL_TRACE_SPLIT(level, (__VA_ARGS__), (__VA_ARGS__))

#define SHOAL_TRACE_SPLIT(level, text, blip)                                                       \
   do {                                                                                            \
      if (SHOAL_TRACE_ON(level)) [[unlikely]] {                                                    \
         static constinit ::Trace::Point shoalTracePoint{level, __FILE__, __LINE__};               \
         if (::Trace::textLevel(level)) {                                                          \
            ::Trace::textParts(shoalTracePoint, SHOAL_TRACE_PARTS text);                           \
         }                                                                                         \
         if (::Trace::blipLevel(level)) {                                                          \
            ::Trace::blipParts(shoalTracePoint, SHOAL_TRACE_PARTS blip);                           \
         }                                                                                         \
      }                                                                                            \
   } while (false)

#define SHOAL_TRACE_BLIP(level, ...)                                                               \
   do {                                                                                            \
      if (SHOAL_TRACE_ON(level)) [[unlikely]] {                                                    \
         static constinit ::Trace::Point shoalTracePoint{level, __FILE__, __LINE__};               \
         if (::Trace::blipLevel(level)) {                                                          \
            ::Trace::blipParts(shoalTracePoint, __VA_ARGS__);                                      \
         }                                                                                         \
      }                                                                                            \
   } while (false)

// Takes the parentheses off a list of parts.
#define SHOAL_TRACE_PARTS(...) __VA_ARGS__

namespace Trace {

inline constexpr unsigned kLevels = 10;

// Bit L: level L of the text channel; bit 16 + L: of Blipline.
ORV_EXPORT extern uint32_t enabledLevels;

inline bool on(unsigned level) {
   return (enabledLevels & (0x10001U << level)) != 0;
}
inline bool textLevel(unsigned level) {
   return (enabledLevels & (1U << level)) != 0;
}
inline bool blipLevel(unsigned level) {
   return (enabledLevels & (0x10000U << level)) != 0;
}

// May be called at any time. Levels are 0 to 9.
ORV_EXPORT void textLevelIs(unsigned level, bool on);
ORV_EXPORT void blipLevelIs(unsigned level, bool on);

// Where text lines go, "<seconds> <level> <text>\n" each; nullptr (at start) drops them. The stream
// must outlive its use.
ORV_EXPORT void textSinkIs(std::ostream* sink);

ORV_EXPORT void writeText(unsigned level, std::string const& text);

template<class... Parts>
[[gnu::cold, gnu::noinline]] void textParts(Point const& point, Parts const&... parts) {
   std::ostringstream text;
   (Orv::printField(text, parts), ...);
   writeText(point.level, text.str());
}

} // namespace Trace

// Trace points. One names its level, its words and its fields once and feeds both channels:
//
//    TRACE(7, ": Adding ", request, " to backlog");
//    TRACE_SPLIT(7, TEXT(": no action."), BLIP(": no action"));   // where the texts differ
//
// The text channel prints the parts; Blipline (Blipline.h) records the numbers and keeps the words
// once per trace point. Parts are words (literals, __func__) and fields (values, see BlipForm.h).
//
// A disabled level costs one load and one branch; no part is evaluated. With SHOAL_TRACE_OFF
// defined, trace points are checked and compiled to nothing.
//
// Levels: 8 entry to a handler or step, 9 list sizes, 7 decisions and actions, 5 programming
// results, 0 failures that leave a request unresolved or failed.
#pragma once

#include "platform/Trace/BlipForm.h"

#include <sstream>

#define TEXT(...) ::Trace::textParts(point, __VA_ARGS__)
#define BLIP(...) ::Trace::blipParts(point, __VA_ARGS__)
#define TRACE(level, ...) TRACE_SPLIT(level, TEXT(__VA_ARGS__), BLIP(__VA_ARGS__))

// Around several trace points of one level on a hot path, so that they cost one check together:
//    if (TRACE_ON(7)) [[unlikely]] { TRACE(7, ...); TRACE(7, ...); }
#ifdef SHOAL_TRACE_OFF
#define TRACE_ON(level) false
#else
#define TRACE_ON(level) ::Trace::on(level)
#endif

// The parts are evaluated once per channel that is on.
#ifdef SHOAL_TRACE_OFF
#define TRACE_SPLIT(level, text, blip) TRACE_IF(false, level, text, blip)
#else
#define TRACE_SPLIT(level, text, blip) TRACE_IF(::Trace::on(level), level, text, blip)
#endif

#define TRACE_IF(condition, traceLevel, text, blip)                                                \
   do {                                                                                            \
      if (condition) [[unlikely]] {                                                                \
         static constinit ::Trace::Point point{traceLevel, __FILE__, __LINE__};                    \
         if (::Trace::textLevel(traceLevel)) {                                                     \
            text;                                                                                  \
         }                                                                                         \
         if (::Trace::blipLevel(traceLevel)) {                                                     \
            blip;                                                                                  \
         }                                                                                         \
      }                                                                                            \
   } while (false)

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

// The words and numbers that the parts of a trace point become in the fast trace.
//
//    literal, char const*      words; the same at every hit of the trace point
//    integer, bool, enum       a number
//    double                    a number
//    std::string, string_view  a name: kept once in the file, recorded as its number
//    type with blipName()      a name (an interface)
//    type with blipForm, blipFields()   its words, with a part for each '%'
//    interned value            its fields, as those of a value type
//    type with value()         that
//    value type (orvFields)    "(field:% field:% )"
#pragma once

#include "platform/Orv/Export.h"
#include "platform/Orv/Value.h"
#include "platform/Trace/BliplineFormat.h"

#include <array>
#include <bit>
#include <string>
#include <string_view>

namespace Trace {

// One call site. Registered at its first hit on the fast trace.
struct Point {
   unsigned level;
   char const* file;
   int line;
   uint32_t id = 0; // 0: not registered yet
};

// The fields of one record and, at the first hit of a trace point, its words.
struct BlipParts {
   std::array<uint64_t, kBlipFields> fields{};
   unsigned count = 0;
   bool wantsForm = false;
   // Words with a mark per field: %d signed, %u unsigned, %f floating, %s name; %% is a percent
   // sign.
   std::string form;

   void words(std::string_view text) {
      if (wantsForm) {
         for (char c : text) {
            form += c;
            if (c == '%') {
               form += '%';
            }
         }
      }
   }
   // Fields past kBlipFields are dropped and marked so in the words.
   void field(char kind, uint64_t value) {
      if (wantsForm) {
         form += count < kBlipFields ? std::string{'%', kind} : std::string("?");
      }
      if (count < kBlipFields) {
         fields[count++] = value;
      }
   }
};

// Registers the point (when `parts` has its form) and writes the record.
ORV_EXPORT void writeBlip(Point& point, BlipParts const& parts);
// The number of a name in the present file.
ORV_EXPORT uint64_t blipNameNumber(std::string_view name);

template<class T>
void addBlip(BlipParts& parts, T const& part) {
   using Part = std::remove_cvref_t<T>;
   if constexpr (std::is_convertible_v<T const&, char const*>) {
      parts.words(part);
   } else if constexpr (std::is_convertible_v<T const&, std::string_view>) {
      parts.field('s', blipNameNumber(part));
   } else if constexpr (requires { part.blipName(); }) {
      parts.field('s', blipNameNumber(part.blipName()));
   } else if constexpr (std::is_floating_point_v<Part>) {
      parts.field('f', std::bit_cast<uint64_t>(static_cast<double>(part)));
   } else if constexpr (std::is_integral_v<Part> || std::is_enum_v<Part>) {
      if constexpr (std::is_signed_v<Part>) {
         parts.field('d', static_cast<uint64_t>(static_cast<int64_t>(part)));
      } else {
         parts.field('u', static_cast<uint64_t>(part));
      }
   } else if constexpr (requires { Part::blipForm; }) {
      std::string_view form = Part::blipForm;
      std::apply(
          [&](auto const&... fields) {
             auto one = [&](auto const& field) {
                auto mark = form.find('%');
                parts.words(form.substr(0, mark));
                form.remove_prefix(mark + 1);
                addBlip(parts, field);
             };
             (one(fields), ...);
          },
          part.blipFields());
      parts.words(form);
   } else if constexpr (requires { part.fields(); }) {
      addBlip(parts, part.fields());
   } else if constexpr (requires { part.value(); }) {
      addBlip(parts, part.value());
   } else {
      std::string_view names = Part::orvFieldNames;
      parts.words("(");
      std::apply(
          [&](auto const&... fields) {
             auto one = [&](auto const& field) {
                auto comma = names.find(',');
                std::string_view name = names.substr(0, comma);
                name = name.substr(0, name.find_last_not_of('_') + 1);
                parts.words(name);
                parts.words(":");
                addBlip(parts, field);
                parts.words(" ");
                names.remove_prefix(comma == std::string_view::npos ? names.size() : comma + 2);
             };
             (one(fields), ...);
          },
          part.orvFields());
      parts.words(")");
   }
}

template<class... Parts>
[[gnu::cold, gnu::noinline]] void blipParts(Point& point, Parts const&... parts) {
   BlipParts blip;
   blip.wantsForm = point.id == 0;
   (addBlip(blip, parts), ...);
   writeBlip(point, blip);
}

} // namespace Trace

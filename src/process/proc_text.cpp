#include "process/proc_text.h"

#include <cstring>

namespace qz::detail {

namespace {

struct cursor {
  char const* at;
  char const* end;

  std::size_t left() const { return static_cast<std::size_t>(end - at); }
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Reads a field of digits and steps over the blank behind it.
template <class Number>
bool readNumber(cursor& c, Number* number) {
  std::uint64_t value = 0;
  char const* const start = c.at;
  while (c.at != c.end && isDigit(*c.at)) value = value * 10 + static_cast<unsigned>(*c.at++ - '0');
  constexpr int kMostDigits = 20;
  auto const digits = c.at - start;
  if (digits == 0 || c.at == c.end || *c.at != ' ' || digits > kMostDigits) return false;
  // Of as many digits only those of 10^19 to 2^64 - 1 have not wrapped.
  if (digits == kMostDigits && *start > '0' &&
      (*start > '1' || value < 10'000'000'000'000'000'000u))
    return false;
  ++c.at;
  *number = static_cast<Number>(value);
  return *number == value;
}

bool skipFields(cursor& c, int count) {
  for (; count > 0; --count) {
    while (c.at != c.end && *c.at != ' ') ++c.at;
    if (c.at == c.end) return false;
    ++c.at;
  }
  return true;
}

// The last ')' at or behind `from`. Forward, because behind the name there is as a rule no second
// one, and memchr takes the rest in wide steps.
char const* lastBracket(char const* from, char const* end) {
  char const* last = nullptr;
  while (from != end) {
    auto const* next =
        static_cast<char const*>(std::memchr(from, ')', static_cast<std::size_t>(end - from)));
    if (next == nullptr) break;
    last = next;
    from = next + 1;
  }
  return last;
}

// Fields 1 and 2; the cursor goes behind the blank after the name.
bool readName(cursor& c, stat_line* line) {
  if (c.left() == 0) return false;
  auto const* open = static_cast<char const*>(std::memchr(c.at, '(', c.left()));
  if (open == nullptr) return false;
  char const* const close = lastBracket(open + 1, c.end);
  if (close == nullptr) return false;
  line->name = open + 1;
  line->nameSize = static_cast<std::size_t>(close - line->name);
  c.at = close + 1;
  if (c.at == c.end || *c.at != ' ') return false;
  ++c.at;
  return true;
}

bool readState(cursor& c, char* state) {
  if (c.left() < 2 || c.at[1] != ' ') return false;
  *state = c.at[0];
  c.at += 2;
  return true;
}

}  // namespace

bool parseStatLine(char const* text, std::size_t size, stat_line* line) {
  cursor c = {text, text + size};
  return readName(c, line) &&                  //
         readState(c, &line->state) &&         //
         readNumber(c, &line->parentPid) &&    //
         skipFields(c, 4) &&                   // 5 to 8
         readNumber(c, &line->flags) &&        //
         skipFields(c, 4) &&                   // 10 to 13
         readNumber(c, &line->userTicks) &&    //
         readNumber(c, &line->systemTicks) &&  //
         skipFields(c, 4) &&                   // 16 to 19
         readNumber(c, &line->threads);
}

bool parseResidentPages(char const* text, std::size_t size, std::uint64_t* pages) {
  cursor c = {text, text + size};
  return skipFields(c, 1) && readNumber(c, pages);
}

bool parseRunTime(char const* text, std::size_t size, std::uint64_t* nanoseconds) {
  cursor c = {text, text + size};
  return readNumber(c, nanoseconds);
}

bool parseId(char const* text, std::uint32_t* id) {
  constexpr int kMostDigits = 10;
  std::uint64_t value = 0;
  char const* at = text;
  for (; isDigit(*at) && at - text < kMostDigits; ++at)
    value = value * 10 + static_cast<unsigned>(*at - '0');
  *id = static_cast<std::uint32_t>(value);
  return at != text && *at == 0 && *id == value;
}

}  // namespace qz::detail

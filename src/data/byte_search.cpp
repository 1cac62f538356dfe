#include "data/byte_search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "strings/text_core.h"

namespace qz::detail {
namespace {

// Sixteen bytes that are tested at once; a compiler without vector registers takes them apart.
using block [[gnu::vector_size(16)]] = unsigned char;
constexpr int kBlock = sizeof(block);

int charactersOf(search_text const& text) { return viewOf(text).used(); }

// What a byte has to be: `lowest` as soon as the bits of `either` are set. Of a letter in both
// cases that is the bit that tells them apart, of everything else none.
struct wanted_byte {
  unsigned char either, lowest;

  wanted_byte(char upper, char lower)
      : either(static_cast<unsigned char>(upper ^ lower)),
        lowest(static_cast<unsigned char>(upper | lower)) {}
  bool operator()(unsigned char byte) const { return (byte | either) == lowest; }
  // The bits of the bytes that match, the others are zero.
  block among(unsigned char const* bytes) const {
    block sixteen;
    std::memcpy(&sixteen, bytes, sizeof sixteen);
    return reinterpret_cast<block>((sixteen | either) == lowest);
  }
};

bool isAny(block hits) {
  auto const words = std::bit_cast<std::array<std::uint64_t, 2>>(hits);
  return (words[0] | words[1]) != 0;
}

int placeOfFirst(block hits) {
  auto const words = std::bit_cast<std::array<std::uint64_t, 2>>(hits);
  int const skipped = words[0] == 0 ? 8 : 0;
  std::uint64_t const word = words[0] == 0 ? words[1] : words[0];
  bool const lowFirst = std::endian::native == std::endian::little;
  return skipped + (lowFirst ? std::countr_zero(word) : std::countl_zero(word)) / 8;
}

struct search {
  unsigned char const* bytes;
  int span;
  search_text const& upper;
  search_text const& lower;
  int count = charactersOf(upper);
  wanted_byte first = wantedAt(0), last = wantedAt(count - 1);

  wanted_byte wantedAt(int i) const { return {upper.data[i], lower.data[i]}; }

  block endsAmong(int end) const {
    return last.among(bytes + end) & first.among(bytes + end - (count - 1));
  }

  // Returns the next place from `end` on at which the text could end, going by its first and its
  // last character, or `span`.
  int nextEnd(int end) const {
    while (span - end >= kBlock) {
      block const hits = endsAmong(end);
      if (isAny(hits)) return end + placeOfFirst(hits);
      end += kBlock;
      while (span - end >= 4 * kBlock) {
        block const a = endsAmong(end), b = endsAmong(end + kBlock);
        block const c = endsAmong(end + 2 * kBlock), d = endsAmong(end + 3 * kBlock);
        if (isAny((a | b) | (c | d))) break;
        end += 4 * kBlock;
      }
    }
    while (end < span && !(last(bytes[end]) && first(bytes[end - (count - 1)]))) ++end;
    return end;
  }

  // Compares backward from `end`.
  int matchesAt(int end) const {
    int matches = 0;
    while (matches < count && wantedAt(count - 1 - matches)(bytes[end - matches])) ++matches;
    return matches;
  }

  int run() const {
    search_tables const tables = makeSearchTables(upper, lower);
    // Between two jumps the places are passed at which the first comparison, or the last one, must
    // fail. No table leads over a match, so neither the tables nor this change what is found.
    for (int end = nextEnd(count - 1); end < span;) {
      int const matches = matchesAt(end);
      if (matches == count) return end - count + 1;
      int const jump =
          std::max(tables.badCharacter[bytes[end - matches]] - matches, tables.goodSuffix[matches]);
      end = nextEnd(end + jump);
    }
    return -1;
  }
};

int find(char const* bytes, int count, search_text const& upper, search_text const& lower) {
  int const needed = charactersOf(upper);
  if (needed == 0 || count < needed) return -1;
  return search{reinterpret_cast<unsigned char const*>(bytes), count, upper, lower}.run();
}

}  // namespace

search_tables makeSearchTables(search_text const& upper, search_text const& lower) {
  int const count = charactersOf(upper);
  search_tables tables;
  std::fill(std::begin(tables.badCharacter), std::end(tables.badCharacter), count);
  for (int i = 0; i < count; ++i) {
    tables.badCharacter[static_cast<unsigned char>(upper.data[i])] = count - 1 - i;
    tables.badCharacter[static_cast<unsigned char>(lower.data[i])] = count - 1 - i;
  }

  // repeats[s]: how many characters at the end of the text stand also `s` places in front of it.
  // Those inside a stretch that is known to be repeated are known from the end of the text itself,
  // which makes the work linear (D. Gusfield, "Algorithms on Strings, Trees, and Sequences", 1997,
  // section 1.4).
  int repeats[search_text::kCapacity + 1];
  char const* const back = upper.data + count - 1;
  int set = 0;  // the entries up to this one are set
  tables.goodSuffix[0] = 1;
  for (int shift = 1, from = 0, to = 0; shift < count; ++shift) {
    int same = shift < to ? std::min(repeats[shift - from], to - shift) : 0;
    while (shift + same < count && back[-same] == back[-shift - same]) ++same;
    if (shift + same > to) from = shift, to = shift + same;
    repeats[shift] = same;
    // What would stand in front of the text counts as the same.
    int const reach = shift + same == count ? count : same;
    while (set < reach) tables.goodSuffix[++set] = shift;
  }
  while (set < count) tables.goodSuffix[++set] = count;
  return tables;
}

int findBytes(char const* bytes, int count, search_text const& text) {
  return find(bytes, count, text, text);
}

int findBytesIgnCase(char const* bytes, int count, search_text const& text) {
  search_text upper = text, lower = text;
  upper.makeUpper();
  lower.makeLower();
  return find(bytes, count, upper, lower);
}

}  // namespace qz::detail

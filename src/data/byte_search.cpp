#include "data/byte_search.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "strings/text_core.h"
#include "strings/unit_blocks.h"

namespace qz::detail {
namespace {

// Sixteen bytes that are tested at once; a compiler without vector registers takes them apart.
using block_ops = block_of<char>;
using block = block_ops::lanes;
constexpr int kBlock = block_ops::kLanes;
// From this size on the time for a look at the data is well spent.
constexpr int kWorthSampling = 16'384;
constexpr int kSamples = 256;

// Texts from a length on are looked for by grams of so many characters, which are numbered by so
// many bits; but not in more data than a processor's caches hold, for out of memory all of it comes
// faster in one stream.
constexpr int kGram = 8;
constexpr int kGramBits = 12;
constexpr int kLongText = 48;
constexpr int kMostSkipped = 4 << 20;
// The probes are faster where more than one gram in so many bytes stands in the text as well. Such
// a gram costs as much as the comparison of so many characters.
constexpr int kBytesPerCost = 512;
constexpr int kCharactersPerCost = 8;
constexpr int kFreeCosts = 32;

int charactersOf(search_text const& text) { return viewOf(text).used(); }

// The number of the gram that ends here, the same for letters of both cases. Others may share it.
std::size_t gramTo(void const* last) {
  std::uint64_t gram;
  std::memcpy(&gram, static_cast<char const*>(last) - kGram + 1, sizeof gram);
  constexpr std::uint64_t kCaseBits = 0x2020202020202020, kSpread = 0x9E3779B97F4A7C15;
  return (gram | kCaseBits) * kSpread >> (64 - kGramBits);
}

// One character of the text as a test of sixteen ends. A byte matches if it is `lowest` once the
// bits of `either` are set: of a letter in both cases the bit that tells them apart, else none.
struct probe {
  int distance;  // from the end of the text
  block either, lowest;
};

template <bool AnyCase>
struct search {
  unsigned char const* bytes;
  int span;
  search_text const& upper;
  search_text const& lower;
  int count;
  probe probes[4];
  bool usesGrams = false;
  int costs = 0;                         // of the grams so far
  std::uint8_t lastEnd[1 << kGramBits];  // the last place in the text at which a gram ends, or 0

  search(char const* data, int size, search_text const& upperText, search_text const& lowerText)
      : bytes(reinterpret_cast<unsigned char const*>(data)),
        span(size),
        upper(upperText),
        lower(lowerText),
        count(charactersOf(upperText)) {
    if (span < kWorthSampling)
      for (int i = 0; i < 4; ++i) probes[i] = probeAt((count - 1) * i / 3);
    else if (count >= kLongText && span <= kMostSkipped)
      noteGrams();
    else
      probeRareCharacters();
  }

  void noteGrams() {
    usesGrams = true;
    std::memset(lastEnd, 0, sizeof lastEnd);
    for (int end = kGram - 1; end < count; ++end)
      lastEnd[gramTo(upper.data + end)] = static_cast<std::uint8_t>(end);
  }

  probe probeAt(int i) const {
    auto const u = static_cast<unsigned char>(upper.data[i]);
    auto const l = static_cast<unsigned char>(lower.data[i]);
    return {count - 1 - i, block{} | static_cast<unsigned char>(u ^ l),
            block{} | static_cast<unsigned char>(u | l)};
  }

  // Tests the characters first that are rarest in a sample of the data.
  void probeRareCharacters() {
    int seen[256] = {};
    std::ptrdiff_t const stride = span / kSamples;
    for (int i = 0; i < kSamples; ++i) ++seen[bytes[i * stride]];
    auto const occurrences = [&](int i) {
      auto const u = static_cast<unsigned char>(upper.data[i]);
      auto const l = static_cast<unsigned char>(lower.data[i]);
      return AnyCase ? seen[u] + seen[l] : seen[u];
    };
    int places[search_text::kCapacity];
    std::iota(places, places + count, 0);
    int const chosen = std::min(count, 4);
    std::partial_sort(places, places + chosen, places + count,
                      [&](int a, int b) { return occurrences(a) < occurrences(b); });
    for (int i = 0; i < 4; ++i) probes[i] = probeAt(places[i % chosen]);
  }

  // Of sixteen places from `end` on, those at which the probes `First` and `First` + 1 both match.
  template <int First>
  block endsBy(int end) const {
    block one, other;
    std::memcpy(&one, bytes + end - probes[First].distance, sizeof one);
    std::memcpy(&other, bytes + end - probes[First + 1].distance, sizeof other);
    if constexpr (AnyCase) one |= probes[First].either, other |= probes[First + 1].either;
    return reinterpret_cast<block>((one == probes[First].lowest) &
                                   (other == probes[First + 1].lowest));
  }

  // Returns the next place from `end` on at which the text could end, going by the probes, or
  // `span`. Most places fail at the first two probes, so four blocks share one branch on these, and
  // the other two are asked where they hit: about half the time of block by block in large data.
  // Near the end single blocks follow, then single bytes, so that nothing behind the data is read.
  int nextEnd(int end) const {
    for (; span - end >= 4 * kBlock; end += 4 * kBlock) {
      int const places[] = {end, end + kBlock, end + 2 * kBlock, end + 3 * kBlock};
      block a = endsBy<0>(places[0]), b = endsBy<0>(places[1]);
      block c = endsBy<0>(places[2]), d = endsBy<0>(places[3]);
      if (!block_ops::anySet((a | b) | (c | d))) continue;
      a &= endsBy<2>(places[0]), b &= endsBy<2>(places[1]);
      c &= endsBy<2>(places[2]), d &= endsBy<2>(places[3]);
      if (block_ops::anySet(a)) return places[0] + block_ops::firstSet(a);
      if (block_ops::anySet(b)) return places[1] + block_ops::firstSet(b);
      if (block_ops::anySet(c)) return places[2] + block_ops::firstSet(c);
      if (block_ops::anySet(d)) return places[3] + block_ops::firstSet(d);
    }
    for (; span - end >= kBlock; end += kBlock) {
      block const hits = endsBy<0>(end) & endsBy<2>(end);
      if (block_ops::anySet(hits)) return end + block_ops::firstSet(hits);
    }
    while (end < span && !matches(0, end)) ++end;
    return end;
  }

  // The same by the gram that ends at a place: one that the text does not have leads over nearly
  // its whole length. These jumps have a loop of their own, so that the processor, which foresees
  // them, fetches the next places before it knows what stands at this one. The probes take over for
  // good once too many grams were known.
  int nextEndByGrams(int end) {
    for (int const far = count - kGram + 1;;) {
      int known = 0;
      while (end < span && (known = lastEnd[gramTo(bytes + end)]) == 0) end += far;
      if (end >= span) return span;
      if (++costs > end / kBytesPerCost + kFreeCosts) break;
      if (known == count - 1) return end;
      end += count - 1 - known;
    }
    usesGrams = false;
    probeRareCharacters();
    return nextEnd(end);
  }

  // Whether the character so far from the end of the text can stand at this distance from `end`.
  bool matches(int distance, int end) const {
    char const byte = static_cast<char>(bytes[end - distance]);
    int const i = count - 1 - distance;
    return byte == upper.data[i] || (AnyCase && byte == lower.data[i]);
  }

  // Compares backward from `end`.
  int matchesAt(int end) const {
    int same = 0;
    while (same < count && matches(same, end)) ++same;
    return same;
  }

  int run() {
    auto const next = [this](int end) { return usesGrams ? nextEndByGrams(end) : nextEnd(end); };
    // Between two jumps the places are passed at which a comparison must fail. No table leads over
    // a match, so neither they nor this change what is found. And a search that meets nothing, or
    // at once a match, never looks into the tables.
    int end = next(count - 1);
    if (end < span && matchesAt(end) < count) {
      search_tables const tables = makeSearchTables(upper, lower);
      for (int same; end < span && (same = matchesAt(end)) < count;) {
        if (usesGrams) costs += same / kCharactersPerCost;
        end = next(
            end + std::max(tables.badCharacter[bytes[end - same]] - same, tables.goodSuffix[same]));
      }
    }
    return end < span ? end - count + 1 : -1;
  }
};

template <bool AnyCase>
int find(char const* bytes, int count, search_text const& upper, search_text const& lower) {
  int const needed = charactersOf(upper);
  if (needed == 0 || count < needed) return -1;
  return search<AnyCase>(bytes, count, upper, lower).run();
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
  return find<false>(bytes, count, text, text);
}

int findBytesIgnCase(char const* bytes, int count, search_text const& text) {
  search_text upper = text, lower = text;
  upper.makeUpper();
  lower.makeLower();
  return find<true>(bytes, count, upper, lower);
}

}  // namespace qz::detail

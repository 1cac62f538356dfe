// Search for a byte sequence by the algorithm of R. S. Boyer and J. S. Moore, "A Fast String
// Searching Algorithm", Communications of the ACM 20 (10), 1977, with a table for the bad character
// and one for the good suffix, in the simple form that does not ask for a differing character in
// front of the suffix. Both are built per call, on the stack, at the first place that needs a jump:
// nothing is allocated.
#ifndef QZ_DATA_BYTE_SEARCH_H_
#define QZ_DATA_BYTE_SEARCH_H_

#include "strings/string8.h"

namespace qz::detail {

using search_text = _qzString8_allSize<250>;

// The two tables of a search for `text`.
struct search_tables {
  // How far the text can move on when its last character meets this byte.
  int badCharacter[256];
  // How far it can move on after so many matches, counted from its end.
  int goodSuffix[search_text::kCapacity + 2];
};

// Each letter of `text` counts in both cases if `upper` and `lower`, its copies in one case,
// differ.
search_tables makeSearchTables(search_text const& upper, search_text const& lower);

// Return the first position in `count` bytes at which `text` stands, or -1. An empty `text` is
// never found. findIgnCase takes the letters of a-z without case.
int findBytes(char const* bytes, int count, search_text const& text);
int findBytesIgnCase(char const* bytes, int count, search_text const& text);

}  // namespace qz::detail

#endif  // QZ_DATA_BYTE_SEARCH_H_

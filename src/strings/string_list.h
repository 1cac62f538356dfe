// The one growing container of text: an ordered list of 16-bit strings in a single heap block that
// has exactly as many elements as the list and grows by one. Made for short lists: every append may
// move the whole block, an element has 1,006 bytes whatever its text, and sorting is quadratic.
//
// Nothing reports failure. When there is no memory for one more element the list loses everything,
// which shows in `count`. An element is copied by its length and units; the reserved word of its
// record is carried along by copyFrom alone. A list belongs to one thread at a time.
#ifndef QZ_STRINGS_STRING_LIST_H_
#define QZ_STRINGS_STRING_LIST_H_

#include "strings/string16.h"
#include "strings/string8.h"

struct _qzStringList {
  _qzString<500>* items;         // owned; null while the list has never held anything
  int count;                     // elements in use
  mutable char charBuffer[500];  // what atAsChar returned last

  _qzStringList();
  // Copying would share the block; copyFrom makes a second one.
  _qzStringList(_qzStringList const&) = delete;
  _qzStringList& operator=(_qzStringList const&) = delete;
  // Frees the block. `count` keeps its value.
  ~_qzStringList();

  // Frees the block and empties the list.
  void init();
  // Frees the block and takes over the elements of `other`, byte by byte. Without memory the list
  // is empty.
  void copyFrom(_qzStringList const& other);

  // Appends `s`, with `unique` only if find(s, caseSensitive) finds none. `s` may be an element.
  void append(_qzString<500> const& s, bool const& unique, bool const& caseSensitive);
  // Puts `s` in front of element `position`, or behind the last one if there is no such element. A
  // negative position does nothing. `s` may be an element.
  void insert(int const& position, _qzString<500> const& s);
  // Removes element `i`, if there is one. The block keeps its size.
  void removeAt(int const& i);
  // Bubble sort by compare(), case-blind and stable.
  void sort(bool const& descending);

  // The first element that equals `s`, or that contains it, or -1. An empty `s` is contained in
  // none.
  int find(_qzString<500> const& s, bool const& caseSensitive) const;
  int findContains(_qzString<500> const& s, bool const& caseSensitive) const;

  // Element `i`; an index outside the list gives element 0, which is null in an empty list. Valid
  // until the list changes.
  _qzString<500>* at(int const& i) const;
  // The low bytes of element `i` as at() gives it, at most 499, with a terminator. Valid until the
  // next call. The list must not be empty.
  char const* atAsChar(int const& i) const;
  // Every element in apostrophes with a blank behind it, "'a' 'b' ", cut at 1000 characters. An
  // element counts up to its first zero unit and to 1000 units.
  _qzString8_allSize<1000> asString8() const;
};

#endif  // QZ_STRINGS_STRING_LIST_H_

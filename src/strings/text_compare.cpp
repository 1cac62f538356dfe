#include <algorithm>

#include "strings/text_core.h"
#include "strings/unit_blocks.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

template <class Unit, class Other>
bool sameUnitsFolded(Unit const* a, Other const* b, int count) {
  return allSame(a, b, count, to_upper{}, to_upper{});
}

// An empty text, null among them, is never a part.
template <class Unit, class Other>
bool fitsInto(unit_run<Unit> text, unit_run<Other> part) {
  return part.count != 0 && part.count <= text.count;
}
template <class Unit, class Other>
bool hasPrefixFolded(unit_run<Unit> text, unit_run<Other> prefix) {
  return fitsInto(text, prefix) && sameUnitsFolded(text.units, prefix.units, prefix.count);
}
template <class Unit, class Other>
bool hasSuffixFolded(unit_run<Unit> text, unit_run<Other> suffix) {
  return fitsInto(text, suffix) &&
         sameUnitsFolded(text.units + text.count - suffix.count, suffix.units, suffix.count);
}

// The guards in front of a bare text with its count.
template <class Unit>
bool mayHold(text_view<Unit> text, char const* part, int count) {
  int const length = text.lengthField();
  return part != nullptr && length != 0 && count != 0 && length >= count;
}

template <class Unit>
int lengthOrder(text_view<Unit> a, text_view<Unit> b) {
  return a.lengthField() - b.lengthField();
}

template <class Unit, class Fold>
bool equalOnceFolded(text_view<Unit> a, text_view<Unit> b, Fold fold) {
  if (a.lengthField() != b.lengthField()) return false;
  int const count = a.used();
  if (count == 0) return a.units[0] == b.units[0];
  return allSame(a.units, b.units, count, fold, as_it_is{});
}

}  // namespace

template <class Unit>
bool equal(text_view<Unit> a, unit_run<Unit> b) {
  return a.lengthField() == b.count && sameUnits(a.units, b.units, a.used());
}

bool equalText(text_view<char> a, char const* b) {
  return b != nullptr && a.units[0] == b[0] &&
         equal(a, unit_run<char>{b, unit_rules<char>::count(b)});
}

bool equalHalf(text_view<unsigned short> a, unsigned short const* b) {
  return b != nullptr && unit_rules<unsigned short>::count(b) == a.lengthField() &&
         std::memcmp(a.units, b, static_cast<std::size_t>(a.used())) == 0;
}

template <class Unit>
bool equalFolded(text_view<Unit> a, unit_run<Unit> b) {
  return a.lengthField() == b.count && sameUnitsFolded(a.units, b.units, a.used());
}

template <class Unit>
bool equalUpperInput(text_view<Unit> a, text_view<Unit> b) {
  return equalOnceFolded(a, b, to_upper{});
}

template <class Unit>
bool equalLowerInput(text_view<Unit> a, text_view<Unit> b) {
  return equalOnceFolded(a, b, to_lower{});
}

template <class Unit>
int comparePrefix(text_view<Unit> a, text_view<Unit> b) {
  auto const shorter = static_cast<std::size_t>(std::min(a.used(), b.used()));
  return std::memcmp(a.units, b.units, shorter * sizeof(Unit));
}

template <class Unit>
bool lessThan(text_view<Unit> a, text_view<Unit> b) {
  int const order = comparePrefix(a, b);
  return order != 0 ? order < 0 : lengthOrder(a, b) < 0;
}

template <class Unit>
int compareFolded(text_view<Unit> a, text_view<Unit> b) {
  using rules = unit_rules<Unit>;
  int const shorter = std::min(a.used(), b.used());
  int const same = sameCount(a.units, b.units, shorter, to_upper{}, to_upper{});
  if (same < shorter)
    return rules::order(rules::upper(a.units[same])) - rules::order(rules::upper(b.units[same]));
  int const order = lengthOrder(a, b);
  return (order > 0) - (order < 0);
}

template <class Unit>
bool beginsWith(text_view<Unit> text, text_view<Unit> prefix) {
  return fitsInto(text.run(), prefix.run()) && sameUnits(text.units, prefix.units, prefix.used());
}

template <class Unit>
bool beginsWith(text_view<Unit> text, char const* prefix) {
  auto const part = cutText(prefix, text.capacity);
  return fitsInto(text.run(), part) &&
         allSame(text.units, part.units, part.count, as_it_is{}, as_it_is{});
}

bool beginsWithWhole(text_view<char> text, char const* prefix) {
  if (prefix == nullptr || *prefix == 0) return false;
  std::size_t const count = std::strlen(prefix);
  return count <= static_cast<std::size_t>(text.used()) &&
         std::memcmp(text.units, prefix, count) == 0;
}

template <class Unit>
bool beginsWithFolded(text_view<Unit> text, text_view<Unit> prefix) {
  return hasPrefixFolded(text.run(), prefix.run());
}

template <class Unit>
bool beginsWithFolded(text_view<Unit> text, char const* prefix) {
  return hasPrefixFolded(text.run(), cutText(prefix, text.capacity));
}

template <class Unit>
bool beginsWithFolded(text_view<Unit> text, char const* prefix, int count) {
  return mayHold(text, prefix, count) &&
         sameUnitsFolded(text.units, prefix, cutCount(count, text.capacity));
}

template <class Unit>
bool endsWithFolded(text_view<Unit> text, text_view<Unit> suffix) {
  return hasSuffixFolded(text.run(), suffix.run());
}

template <class Unit>
bool endsWithFolded(text_view<Unit> text, char const* suffix) {
  return hasSuffixFolded(text.run(), cutText(suffix, text.capacity));
}

template <class Unit>
bool endsWithFolded(text_view<Unit> text, char const* suffix, int count) {
  if (!mayHold(text, suffix, count)) return false;
  auto const whole = cutText(suffix, text.capacity);
  return whole.count == 0 || hasSuffixFolded(text.run(), whole);
}

#define QZ_INSTANTIATE(Unit)                                         \
  template bool equal(text_view<Unit>, unit_run<Unit>);              \
  template bool equalFolded(text_view<Unit>, unit_run<Unit>);        \
  template bool equalUpperInput(text_view<Unit>, text_view<Unit>);   \
  template bool equalLowerInput(text_view<Unit>, text_view<Unit>);   \
  template int comparePrefix(text_view<Unit>, text_view<Unit>);      \
  template bool lessThan(text_view<Unit>, text_view<Unit>);          \
  template int compareFolded(text_view<Unit>, text_view<Unit>);      \
  template bool beginsWith(text_view<Unit>, text_view<Unit>);        \
  template bool beginsWith(text_view<Unit>, char const*);            \
  template bool beginsWithFolded(text_view<Unit>, text_view<Unit>);  \
  template bool beginsWithFolded(text_view<Unit>, char const*);      \
  template bool beginsWithFolded(text_view<Unit>, char const*, int); \
  template bool endsWithFolded(text_view<Unit>, text_view<Unit>);    \
  template bool endsWithFolded(text_view<Unit>, char const*);        \
  template bool endsWithFolded(text_view<Unit>, char const*, int)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

}  // namespace qz::detail

#include <algorithm>

#include "strings/text_core.h"
#include "strings/unit_folds.h"

namespace qz::detail {
namespace {

template <class Unit>
bool sameUnitsFolded(Unit const* a, Unit const* b, int count) {
  return sameCount(a, b, count, to_upper{}, to_upper{}) == count;
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
  return sameCount(a.units, b.units, count, fold, as_it_is{}) == count;
}

}  // namespace

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
bool startsWith(unit_run<Unit> text, unit_run<Unit> prefix) {
  return prefix.count <= text.count && sameUnits(text.units, prefix.units, prefix.count);
}

template <class Unit>
bool startsWithFolded(unit_run<Unit> text, unit_run<Unit> prefix) {
  return prefix.count <= text.count && sameUnitsFolded(text.units, prefix.units, prefix.count);
}

template <class Unit>
bool endsWithFolded(unit_run<Unit> text, unit_run<Unit> suffix) {
  return suffix.count <= text.count &&
         sameUnitsFolded(text.units + text.count - suffix.count, suffix.units, suffix.count);
}

#define QZ_INSTANTIATE(Unit)                                       \
  template bool equalFolded(text_view<Unit>, unit_run<Unit>);      \
  template bool equalUpperInput(text_view<Unit>, text_view<Unit>); \
  template bool equalLowerInput(text_view<Unit>, text_view<Unit>); \
  template int comparePrefix(text_view<Unit>, text_view<Unit>);    \
  template bool lessThan(text_view<Unit>, text_view<Unit>);        \
  template int compareFolded(text_view<Unit>, text_view<Unit>);    \
  template bool startsWith(unit_run<Unit>, unit_run<Unit>);        \
  template bool startsWithFolded(unit_run<Unit>, unit_run<Unit>);  \
  template bool endsWithFolded(unit_run<Unit>, unit_run<Unit>)

QZ_INSTANTIATE(char);
QZ_INSTANTIATE(unsigned short);
#undef QZ_INSTANTIATE

}  // namespace qz::detail

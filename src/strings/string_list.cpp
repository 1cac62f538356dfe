#include "strings/string_list.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <type_traits>

static_assert(std::is_standard_layout_v<_qzStringList>);

namespace {

using element = _qzString<500>;

std::size_t bytesOf(int count) { return static_cast<std::size_t>(count) * sizeof(element); }

bool isIndex(_qzStringList const& list, int i) { return i >= 0 && i < list.count; }

// The index of `s` if it is itself an element, which moves when the block grows, or -1.
int ownIndex(_qzStringList const& list, element const& s) {
  std::less<element const*> const before;
  bool const isOutside = before(&s, list.items) || !before(&s, list.items + list.count);
  return isOutside ? -1 : static_cast<int>(&s - list.items);
}

// Makes room for one more element. Without memory the list becomes empty.
bool grow(_qzStringList& list) {
  ++list.count;
  void* const block = list.items == nullptr
                          ? std::calloc(static_cast<std::size_t>(list.count), sizeof(element))
                          : std::realloc(static_cast<void*>(list.items), bytesOf(list.count));
  if (block == nullptr) {
    std::free(list.items);
    list.count = 0;
  }
  list.items = static_cast<element*>(block);
  return block != nullptr;
}

template <class Matches>
int findIf(_qzStringList const& list, Matches matches) {
  for (int i = 0; i < list.count; ++i)
    if (matches(list.items[i])) return i;
  return -1;
}

void exchange(element& a, element& b) {
  element const scratch = a;
  a = b;
  b = scratch;
}

}  // namespace

_qzStringList::_qzStringList() : items(nullptr), count(0), charBuffer() {}

_qzStringList::~_qzStringList() {
  std::free(items);
  // Volatile, because compilers drop a store into an object that is ending, and init() after this
  // would free the block again.
  const_cast<element* volatile&>(items) = nullptr;
}

void _qzStringList::init() {
  std::free(items);
  items = nullptr;
  count = 0;
  std::memset(charBuffer, 0, sizeof charBuffer);
}

void _qzStringList::copyFrom(_qzStringList const& other) {
  if (this == &other) return;
  std::free(items);
  items = nullptr;
  count = other.count;
  if (count == 0) return;
  void* const block = std::calloc(static_cast<std::size_t>(count), sizeof(element));
  if (block == nullptr)
    count = 0;
  else
    std::memcpy(block, static_cast<void const*>(other.items), bytesOf(count));
  items = static_cast<element*>(block);
}

void _qzStringList::append(element const& s, bool const& unique, bool const& caseSensitive) {
  if (unique && find(s, caseSensitive) >= 0) return;
  int const own = ownIndex(*this, s);
  if (!grow(*this)) return;
  items[count - 1] = own < 0 ? s : items[own];
}

void _qzStringList::insert(int const& position, element const& s) {
  if (position < 0) return;
  append(s, false, false);
  // Each exchange moves one element up and the new one down.
  for (int i = count - 1; i > position; --i) exchange(items[i], items[i - 1]);
}

void _qzStringList::removeAt(int const& i) {
  if (!isIndex(*this, i)) return;
  --count;
  for (int behind = i; behind < count; ++behind) items[behind] = items[behind + 1];
}

void _qzStringList::sort(bool const& descending) {
  for (int limit = count - 1; limit >= 1; --limit) {
    for (int i = 0; i < limit; ++i) {
      int const order = items[i].compare(items[i + 1]);
      if (descending ? order < 0 : order > 0) exchange(items[i], items[i + 1]);
    }
  }
}

int _qzStringList::find(element const& s, bool const& caseSensitive) const {
  return findIf(*this, [&](element const& item) {
    return caseSensitive ? item.isEqualSameCase(s) : item.isEqual(s);
  });
}

int _qzStringList::findContains(element const& s, bool const& caseSensitive) const {
  return findIf(*this, [&](element const& item) {
    return caseSensitive ? item.containsCaseSen(s) : item.contains(s);
  });
}

_qzString<500>* _qzStringList::at(int const& i) const {
  return isIndex(*this, i) ? items + i : items;
}

char const* _qzStringList::atAsChar(int const& i) const {
  at(i)->toChar(charBuffer, sizeof charBuffer);
  return charBuffer;
}

_qzString8_allSize<1000> _qzStringList::asString8() const {
  _qzString8_allSize<1000> text;
  for (int i = 0; i < count; ++i) {
    text += '\'';
    text += _qzString8_allSize<1000>(items[i].data);
    text += "' ";
  }
  return text;
}

// A fixed-capacity string as a plain model that takes every step literally: copy the text, set it
// to empty, append pieces cut at the capacity, search again. A piece may be the model's own text.
#ifndef QZ_TESTS_STRINGS_TEXT_MODEL_H_
#define QZ_TESTS_STRINGS_TEXT_MODEL_H_

#include <algorithm>
#include <cstdlib>
#include <string>

template <class Unit>
struct text_model {
  using text_type = std::basic_string<Unit>;
  using Fold = Unit (*)(Unit);

  static Unit upper(Unit c) { return c >= 'a' && c <= 'z' ? static_cast<Unit>(c - 32) : c; }
  static Unit lower(Unit c) { return c >= 'A' && c <= 'Z' ? static_cast<Unit>(c + 32) : c; }
  static Unit same(Unit c) { return c; }
  static text_type all(text_type text, Fold fold) {
    std::transform(text.begin(), text.end(), text.begin(), fold);
    return text;
  }

  int capacity;
  text_type text;

  int size() const { return static_cast<int>(text.size()); }
  text_type part(int from, int count = 1 << 16) const {
    return text.substr(unsigned(from), unsigned(count));
  }
  void put(text_type const& piece) { text.append(piece, 0, unsigned(capacity - size())); }

  int find(text_type const& needle, int start, Fold fold) const {
    if (needle.empty() || static_cast<int>(needle.size()) > size() - start) return -1;
    return static_cast<int>(all(text, fold).find(all(needle, fold), unsigned(start)));
  }
  int find(Unit c, int start, Fold fold) const {
    return find(text_type(1, c), start >= 1 && start < size() ? start : 0, fold);
  }
  void replaceAt(int position, int count, text_type const& piece) {
    text_model const copy = *this;
    text = copy.part(0, position);
    put(piece);
    put(copy.part(position + count));
  }
  void replace(text_type const& from, text_type const& to, Fold fold) {
    for (int p = find(from, 0, fold); p >= 0; p = find(from, p + static_cast<int>(to.size()), fold))
      replaceAt(p, static_cast<int>(from.size()), to);
  }
  void appendLive(text_type const& piece) {
    for (unsigned i = 0; i < piece.size() && size() < capacity; ++i) text += piece[i];
  }
  void addColumn(text_type const& word, int width) {
    int const room = capacity - size(), printed = std::min(static_cast<int>(word.size()), room);
    int const column = static_cast<int>(std::min<long long>(std::llabs(width), room));
    text_type const blanks(unsigned(std::max(column - printed, 0)), ' ');
    put(width < 0 ? blanks + word : word + blanks);
  }
};

#endif  // QZ_TESTS_STRINGS_TEXT_MODEL_H_

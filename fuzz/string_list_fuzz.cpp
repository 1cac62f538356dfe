// The list beside a std::vector of texts, step by step; an element may be its own list's argument.
#include "strings/string_list.h"

#include "fuzz/input.h"

namespace {

using element = _qzString<500>;
using text_type = std::vector<unsigned short>;

text_type textOf(element const& e) { return {e.data, e.data + e.length}; }

text_type upper(text_type text) {
  for (auto& unit : text)
    if (unit >= 'a' && unit <= 'z') unit = static_cast<unsigned short>(unit - 32);
  return text;
}
text_type folded(text_type const& text, bool caseSensitive) {
  return caseSensitive ? text : upper(text);
}

// The order of the bytes in memory, then the shorter text first.
bool isBefore(text_type const& a, text_type const& b) {
  auto const bytes = [](unsigned short unit) { return (unit & 0xFF) << 8 | unit >> 8; };
  text_type const x = upper(a), y = upper(b);
  return std::lexicographical_compare(
      x.begin(), x.end(), y.begin(), y.end(),
      [&](unsigned short c, unsigned short d) { return bytes(c) < bytes(d); });
}

bool contains(text_type const& text, text_type const& part) {
  return !part.empty() &&
         std::search(text.begin(), text.end(), part.begin(), part.end()) != text.end();
}

std::string quoted(std::vector<text_type> const& all) {
  std::string line;
  for (text_type const& each : all) {
    line += '\'';
    for (auto const unit : each) {
      if (unit == 0) break;
      line += static_cast<char>(unit & 0xFF);
    }
    line += "' ";
  }
  return line.substr(0, 1000);
}

std::string lowBytes(text_type const& text) {
  std::string bytes;
  for (std::size_t i = 0; i < std::min<std::size_t>(text.size(), 499); ++i)
    bytes += static_cast<char>(text[i] & 0xFF);
  return bytes;
}

element anyElement(fuzz_input& in) {
  int const shape = in.byte();
  std::size_t const count = shape < 240 ? unsigned(shape) % 5 : unsigned(in.below(501));
  bool const wide = (shape & 0x20) != 0;
  element e;
  for (std::size_t i = 0; i < count; ++i)
    e += wide ? in.number<unsigned short>() : static_cast<unsigned short>("aAbB"[in.byte() & 3]);
  return e;
}

template <class Matches>
int findIf(std::vector<text_type> const& all, Matches matches) {
  auto const found = std::find_if(all.begin(), all.end(), matches);
  return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

void checkSame(_qzStringList const& list, std::vector<text_type> const& model) {
  expect(list.count == static_cast<int>(model.size()));
  for (int i = 0; i < list.count; ++i) expect(textOf(*list.at(i)) == model[std::size_t(i)]);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  _qzStringList list;
  std::vector<text_type> model;
  while (in.left > 0) {
    int const what = in.byte();
    element const other = anyElement(in);
    bool const flag = in.coin();
    int const position = in.anyOrSmall<int>();
    bool const own = list.count > 0 && (what & 0x80) != 0;
    element const& given = own ? *list.at(position) : other;
    text_type const text = textOf(given);
    auto const equals = [&](text_type const& each) {
      return folded(each, flag) == folded(text, flag);
    };
    auto const holds = [&](text_type const& each) {
      return contains(folded(each, flag), folded(text, flag));
    };
    switch (what % 16) {
      case 0:
      case 1:
      case 2:
        list.append(given, false, flag);
        model.push_back(text);
        break;
      case 3:
        list.append(given, true, flag);
        if (findIf(model, equals) < 0) model.push_back(text);
        break;
      case 4:
      case 5:
        list.insert(position, given);
        if (position >= 0)
          model.insert(model.begin() + std::min<std::ptrdiff_t>(position, std::ssize(model)), text);
        break;
      case 6:
        list.removeAt(position);
        if (position >= 0 && position < std::ssize(model)) model.erase(model.begin() + position);
        break;
      case 7:
        list.sort(flag);
        std::stable_sort(model.begin(), model.end(), [&](text_type const& a, text_type const& b) {
          return flag ? isBefore(b, a) : isBefore(a, b);
        });
        break;
      case 8:
        expect(list.find(given, flag) == findIf(model, equals));
        break;
      case 9:
        expect(list.findContains(given, flag) == findIf(model, holds));
        break;
      case 10:
        if (list.count == 0) break;
        {
          bool const isIndex = position >= 0 && position < list.count;
          text_type const& at = model[isIndex ? std::size_t(position) : 0];
          expect(textOf(*list.at(position)) == at);
          expect(std::strcmp(list.atAsChar(position), lowBytes(at).c_str()) == 0);
        }
        break;
      case 11: {
        auto const line = list.asString8();
        expect(std::string(line.data, line.length) == quoted(model));
        break;
      }
      case 12: {
        _qzStringList copy;
        copy.append(other, false, false);
        copy.copyFrom(list);
        checkSame(copy, model);
        list.copyFrom(copy);
        break;
      }
      case 13:
        if (what < 32) list.init(), model.clear();
        break;
      default:
        break;
    }
    checkSame(list, model);
  }
  return 0;
}

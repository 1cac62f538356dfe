// The parsers of /proc text beside a reading that splits the text at its blanks.
#include "process/proc_text.h"

#include <optional>

#include "fuzz/input.h"

namespace {

using fields = std::vector<std::string>;

// What stands in front of each blank: the last field, with none behind it, does not count.
fields fieldsOf(std::string const& text) {
  fields found;
  std::size_t start = 0;
  for (std::size_t blank; (blank = text.find(' ', start)) != std::string::npos; start = blank + 1)
    found.push_back(text.substr(start, blank - start));
  return found;
}

// Field `number` from 1, as a number of digits alone that fits into the type.
template <class Number>
std::optional<Number> numberIn(fields const& all, std::size_t number) {
  if (number > all.size()) return {};
  std::string const& digits = all[number - 1];
  if (digits.empty() || digits.size() > 20) return {};
  unsigned __int128 value = 0;
  for (char const c : digits) {
    if (c < '0' || c > '9') return {};
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  if (value > static_cast<Number>(-1)) return {};
  return static_cast<Number>(value);
}

template <class Number>
bool same(std::optional<Number> const& expected, Number real) {
  return expected && *expected == real;
}

void checkStatLine(std::string const& text) {
  auto const memory = exactly(text);
  qz::detail::stat_line line;
  bool const good = qz::detail::parseStatLine(memory.data(), memory.size(), &line);

  std::size_t const open = text.find('('), close = text.rfind(')');
  bool const hasName = open != std::string::npos && close != std::string::npos && open < close &&
                       close + 1 < text.size() && text[close + 1] == ' ';
  if (!hasName) return expect(!good);
  std::string const tail = text.substr(close + 2);
  // Any one character is a state, a blank as well.
  bool const hasState = tail.size() >= 2 && tail[1] == ' ';
  if (!hasState) return expect(!good);
  fields all = fieldsOf(tail.substr(2));  // proc(5) numbers the first of these 4
  all.insert(all.begin(), 3, "");
  auto const parent = numberIn<std::uint32_t>(all, 4);
  auto const flags = numberIn<std::uint32_t>(all, 9);
  auto const user = numberIn<std::uint64_t>(all, 14);
  auto const system = numberIn<std::uint64_t>(all, 15);
  auto const threads = numberIn<std::uint32_t>(all, 20);
  expect(good == (parent && flags && user && system && threads));
  if (!good) return;
  expect(std::string(line.name, line.nameSize) == text.substr(open + 1, close - open - 1));
  expect(line.state == tail[0] && same(parent, line.parentPid) && same(flags, line.flags));
  expect(same(user, line.userTicks) && same(system, line.systemTicks));
  expect(same(threads, line.threads));
}

void checkFirstFields(std::string const& text) {
  auto const memory = exactly(text);
  fields const all = fieldsOf(text);
  std::uint64_t value = 0;
  auto const pages = numberIn<std::uint64_t>(all, 2);
  expect(qz::detail::parseResidentPages(memory.data(), memory.size(), &value) == bool(pages));
  expect(!pages || value == *pages);
  auto const runTime = numberIn<std::uint64_t>(all, 1);
  expect(qz::detail::parseRunTime(memory.data(), memory.size(), &value) == bool(runTime));
  expect(!runTime || value == *runTime);
}

void checkId(std::string const& text) {
  auto const memory = exactly(std::string(text.c_str()) + '\0');
  std::uint32_t id = 0;
  auto const expected = numberIn<std::uint32_t>({text.c_str()}, 1);
  bool const tooLong = std::strlen(text.c_str()) > 10;
  expect(qz::detail::parseId(memory.data(), &id) == (expected && !tooLong));
  expect(!expected || tooLong || id == *expected);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(bytes), size);
  checkStatLine(text);
  checkFirstFields(text);
  checkId(text);
  return 0;
}

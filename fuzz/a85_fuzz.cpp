// Base-85 text: words both ways, and the file form made and cleaned, beside the same steps one by
// one over a std::string.
#include "data/a85.h"

#include "data/data_buffer.h"
#include "fuzz/input.h"

namespace {

std::string const kMark = qzA85_StartEnd;
std::string const kMarkLine = "\r\n" + kMark + "\r\n";

void checkWord(std::uint32_t word) {
  std::vector<char> out(word == 0 || word == 0xFFFFFFFF ? 1 : 5);
  int const count = static_cast<int>(out.size());
  unsigned int back = ~word;
  expect(toA85(word, out.data()) == count && fromA85(out.data(), back, count) == count);
  expect(back == word);
}

// Any characters as a word, by Horner's rule.
void checkReading(std::string const& text) {
  if (text.empty()) return;  // the first character must be there
  auto const memory = exactly(text.substr(0, 6));
  unsigned int word = 7, expected = 7;
  int const taken = fromA85(memory.data(), word, static_cast<int>(memory.size()));
  if (text[0] == 'z' || text[0] == '^') {
    expected = text[0] == 'z' ? 0 : 0xFFFFFFFF;
    expect(taken == 1);
  } else if (text.size() >= 5) {
    expected = 0;
    for (int i = 4; i >= 0; --i) {
      auto const* const place = std::strchr(qzA85Lookup, memory[static_cast<std::size_t>(i)]);
      bool const isDigit = place != nullptr && *place != 0;
      expected = expected * 85 + (isDigit ? static_cast<unsigned>(place - qzA85Lookup) : 0);
    }
    expect(taken == 5);
  } else {
    expect(taken == 0);
  }
  expect(word == expected);
}

std::string formatted(std::string const& text, bool withMarks) {
  for (std::string const& begin : {kMark, "\r\n" + kMark})
    if (text.size() > begin.size() && text.compare(0, begin.size(), begin) == 0) return text;
  std::string form = withMarks ? kMarkLine : "";
  for (std::size_t i = 0; i < text.size(); ++i) {
    form += text[i];
    if (i % 100 == 99) form += "\r\n";
  }
  return form + (withMarks ? kMarkLine : "");
}

// A place in the first mark from `start` on, or the size.
std::size_t findMark(std::string const& text, std::size_t start) {
  auto const hasFive = [&](std::size_t from) { return text.compare(from, 5, "~~~~~") == 0; };
  for (std::size_t i = start; i < text.size(); i += 10)
    if (text[i] == '~' && ((i >= 5 && hasFive(i - 5)) || (i + 5 < text.size() && hasFive(i + 1))))
      return i;
  return text.size();
}

std::string cleaned(std::string const& text, bool stripMarks) {
  std::size_t first = 0, end = text.size();
  if (stripMarks && findMark(text, 0) < end) {
    first = findMark(text, 0);
    while (first < text.size() && text[first] == '~') ++first;
  }
  if (stripMarks && first < text.size() && findMark(text, first) < text.size()) {
    end = findMark(text, first);
    while (end > first && text[end] == '~') --end;
    ++end;
  }
  std::string kept;
  for (std::size_t i = first; i < end; ++i)
    if (text[i] >= 0x21 && text[i] <= 0x7D && std::strchr("\"'<>\\`", text[i]) == nullptr)
      kept += text[i];
  return kept;
}

struct text_buffer : _QZ_DataBuffer {
  text_buffer(std::string const& text, int spare) {
    isEncoded = true;
    encodedForm = 3;
    expect(resize(static_cast<int>(text.size()) + spare, 16));
    expect(append(text.data(), static_cast<int>(text.size())));
  }
  std::string text() const { return dataSize == 0 ? "" : std::string(data, std::size_t(dataSize)); }
};

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  int const options = in.byte();
  bool const marks = (options & 1) != 0;
  int const spare = in.byte();
  int const repeats = 1 + in.byte() % 8;
  checkWord(in.number<std::uint32_t>());
  std::string const given = in.rest();
  checkReading(given);
  std::string text;
  for (int i = 0; i < repeats; ++i) text += given;

  text_buffer dirty(text, spare);
  dirty.A85_cleantext(marks);
  std::string const plain = cleaned(text, marks);
  expect(dirty.text() == plain);

  text_buffer other(text, spare);
  other.A85_formatForFile(marks);
  expect(other.text() == formatted(text, marks) && other.lastError == 0);

  // What cleaning gives comes back whole from a file.
  dirty.A85_formatForFile(marks);
  expect(dirty.text() == formatted(plain, marks));
  dirty.A85_cleantext(marks);
  expect(dirty.text() == plain);
  return 0;
}

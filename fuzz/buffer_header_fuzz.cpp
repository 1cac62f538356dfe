// The header's text form: any text read field by field with the C library's scanners, any header
// written and read again.
#include "data/data_buffer_header.h"

#include <optional>

#include "fuzz/input.h"

namespace {

using header = _QZ_DataBuffer_Header;

// The fields in the order of the text, those of text that is signed with a sign.
struct field_values {
  long long words[7];
  long long bytes[4];
};
constexpr bool kIsSigned[7] = {false, true, true, true, false, false, false};

field_values valuesOf(header const& h) {
  return {{h.headerWord0, h.dataSize, h.headerWord2, h.sizeField, h.headerWord4, h.headerWord5,
           h.readPosition},
          {h.isEncoded, h.encodedForm, h.headerByte2, h.headerByte3}};
}

bool same(field_values const& a, field_values const& b) {
  return std::equal(a.words, a.words + 7, b.words) && std::equal(a.bytes, a.bytes + 4, b.bytes);
}

// What reading `text` makes of `values`, and whether it is good.
bool read(std::string const& text, field_values& values) {
  if (text.size() != 64) return false;
  for (unsigned i = 0; i < 7; ++i) {
    std::string const field = text.substr(8 * i, 8);
    unsigned number = 0;
    bool const good = !kIsSigned[i] || std::sscanf(field.c_str(), "%X", &number) == 1;
    if (kIsSigned[i])
      values.words[i] = good ? static_cast<int>(number) : 0;
    else
      values.words[i] = static_cast<std::uint32_t>(std::strtoll(field.c_str(), nullptr, 16));
    if (!good) return false;
  }
  for (unsigned i = 0; i < 4; ++i) {
    long long const number = std::strtoll(text.substr(56 + 2 * i, 2).c_str(), nullptr, 16);
    values.bytes[i] = i == 0 ? number > 0 : static_cast<std::uint8_t>(number);
  }
  return true;
}

header anyHeader(fuzz_input& in) {
  header h;
  h.headerWord0 = in.number<std::uint32_t>();
  h.dataSize = in.number<std::int32_t>();
  h.headerWord2 = in.number<std::int32_t>();
  h.sizeField = in.number<std::int32_t>();
  h.headerWord4 = in.number<std::uint32_t>();
  h.headerWord5 = in.number<std::uint32_t>();
  h.readPosition = in.number<std::uint32_t>();
  h.isEncoded = in.coin();
  h.encodedForm = in.number<std::uint8_t>();
  h.headerByte2 = in.number<std::uint8_t>();
  h.headerByte3 = in.number<std::uint8_t>();
  return h;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  std::string const text = in.rest();
  fuzz_input again{bytes, size};
  header const before = anyHeader(again);

  auto const form = before.headerAsString();
  expect(form.length == 64 && std::strspn(form.asChar(), "0123456789ABCDEF") == 64);
  header back;
  expect(back.headerFromString(form) && same(valuesOf(back), valuesOf(before)));

  header h = before;
  field_values expected = valuesOf(before);
  std::string const taken = text.substr(0, 200);
  bool const good = read(taken, expected);
  expect(h.headerFromString({taken.data(), static_cast<int>(taken.size())}) == good);
  expect(same(valuesOf(h), expected));
  return 0;
}

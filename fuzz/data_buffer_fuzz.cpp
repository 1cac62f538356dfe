// The growing buffer beside a std::string, step by step, and the searches beside plain ones.
#include "data/data_buffer.h"

#include "data/byte_search.h"
#include "fuzz/input.h"

namespace {

using qz::detail::search_text;

// The most that a step may allocate: a step that would take more is left out, one that is refused
// is not.
constexpr long long kMostBytes = 1 << 17;
constexpr long long kReserve = 10'240;

std::string folded(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

// What std::string finds, but that nothing is found without a text.
int placeOf(std::string const& text, std::string const& data, int start) {
  if (text.empty()) return -1;
  return static_cast<int>(data.find(text, static_cast<unsigned>(std::max(start, 0))));
}

// Bytes that repeat themselves, with a few of them changed.
std::string anyBytes(fuzz_input& in, int count) {
  std::string const piece = in.text(static_cast<unsigned>(1 + in.byte() % 24)) + '\0';
  std::string bytes;
  while (std::ssize(bytes) < count) bytes += piece;
  bytes.resize(static_cast<unsigned>(count));
  for (int left = count > 0 ? in.byte() % 4 : 0; left > 0; --left)
    bytes[static_cast<unsigned>(in.below(count))] = static_cast<char>(in.byte());
  return bytes;
}

// A part of `data`, at times with one letter in the other case or one bit wrong, or any bytes.
std::string anyNeedle(fuzz_input& in, std::string const& data) {
  int const shape = in.byte();
  int const count = in.below(search_text::kCapacity + 1);
  if (data.empty() || shape % 4 == 0) return anyBytes(in, count);
  std::string part =
      data.substr(unsigned(in.below(static_cast<int>(data.size()))), unsigned(count));
  if (shape % 4 == 1 && !part.empty())
    part[unsigned(in.below(static_cast<int>(part.size())))] ^= in.coin() ? 0x20 : 0x01;
  return part;
}

// --- the buffer ---

struct stepped_buffer {
  _QZ_DataBuffer real;
  _QZ_DataBuffer_Header header;
  std::string block;  // as many bytes as the capacity
  bool hasBlock = false;
  int lastError = 0;

  long long capacity() const { return std::ssize(block); }
  std::string counted() const {
    return block.substr(
        0, static_cast<unsigned>(std::clamp<long long>(header.dataSize, 0, capacity())));
  }

  // After the real block has grown. Room that is not zeroed is taken as it is.
  void grow(long long size, bool keep) {
    if (hasBlock && capacity() >= size) return;
    expect(real.data != nullptr && real.capacity == size);
    if (!hasBlock || !keep) block.assign(static_cast<std::size_t>(size), '\0');
    block.append(real.data + block.size(), static_cast<std::size_t>(size) - block.size());
    hasBlock = true;
  }
  void put(long long at, std::string const& bytes) {
    block.replace(static_cast<std::size_t>(at), bytes.size(), bytes);
  }
  void check() const {
    expect((real.data != nullptr) == hasBlock && real.capacity == capacity());
    expect(block.empty() || std::memcmp(real.data, block.data(), block.size()) == 0);
    expect(real.lastError == lastError && real.errorString().hasData());
    expect(real.headerAsString() == header.headerAsString());
  }
};

// Bytes to copy from: memory of their own, or a part of the block itself.
struct source_bytes {
  std::vector<char> memory;
  char const* at;
  std::string text;
  int count() const { return static_cast<int>(text.size()); }
};

source_bytes anySource(fuzz_input& in, stepped_buffer const& buffer) {
  int const shape = in.byte();
  if (buffer.hasBlock && shape >= 192) {
    int const from = in.below(static_cast<int>(buffer.capacity()) + 1);
    int const count = in.below(static_cast<int>(buffer.capacity()) - from + 1);
    return {{}, buffer.real.data + from, buffer.block.substr(unsigned(from), unsigned(count))};
  }
  source_bytes made{{}, nullptr, anyBytes(in, shape < 160 ? shape % 40 : in.below(20'000))};
  made.memory = exactly(made.text);
  made.at = made.memory.data();
  return made;
}

void resizeIt(fuzz_input& in, stepped_buffer& one) {
  bool const keep = in.coin();
  int const size = in.coin() ? in.below(kMostBytes) : in.number<int>();
  int const maxMiB = in.anyOrSmall<int>();
  bool const refused = size < 0 || size > static_cast<int>(static_cast<unsigned>(maxMiB) << 20);
  if (!refused && size > kMostBytes) return;
  bool const good = keep ? one.real.resize(size, maxMiB) : one.real.newsize(size, maxMiB);
  expect(good == !refused);
  one.lastError = 0;
  if (good) one.grow(size, keep);
}

void appendTo(fuzz_input& in, stepped_buffer& one) {
  auto const source = anySource(in, one);
  // A count that leads past the limit is refused, whatever is there to copy.
  int const count = in.byte() < 240 ? source.count() : in.number<int>();
  long long const needed = 0LL + one.header.dataSize + count;
  bool const refused = one.header.dataSize < 0 || needed > QZ_MaxBufferBytes;
  if (count > 0 && !refused && (count > source.count() || needed > kMostBytes)) return;
  expect(one.real.append(source.at, count) == (count < 1 || !refused));
  if (count < 1) return;
  one.lastError = 0;
  if (refused) return;
  one.grow(needed, true);
  one.put(one.header.dataSize, source.text.substr(0, unsigned(count)));
  one.header.dataSize += count;
}

void writeTo(fuzz_input& in, stepped_buffer& one) {
  auto const source = anySource(in, one);
  long long const needed = 0LL + one.header.dataSize + source.count();
  bool const grows = needed > one.capacity() || one.header.dataSize < 0;
  bool const refused = grows && (one.header.dataSize < 0 || needed + kReserve > QZ_MaxBufferBytes);
  if (!refused && needed > kMostBytes) return;
  one.real.write(source.at, source.count());
  if (grows) one.lastError = 0;
  if (refused) return;
  if (grows) one.grow(needed + kReserve, true);
  one.put(one.header.dataSize, source.text);
  one.header.dataSize += source.count();
}

void copyInto(fuzz_input& in, stepped_buffer& one) {
  auto const source = anySource(in, one);
  int const count = in.byte() < 240 ? source.count() : in.number<int>();
  bool const refused = count < 0 || count > QZ_MaxBufferBytes;
  if (!refused && count > source.count()) return;
  expect(one.real.copyFromBuffer(source.at, count) == !refused);
  one.lastError = 0;
  if (refused) return;
  one.grow(count, true);
  one.put(0, source.text.substr(0, unsigned(count)));
}

void readFrom(fuzz_input& in, stepped_buffer& one) {
  int const count = in.anyOrSmall<int>();
  long long const start = one.header.readPosition, end = start + count;
  bool const good =
      count >= 0 && end <= one.header.dataSize && (count == 0 || end <= one.capacity());
  std::vector<char> target(good ? unsigned(count) : 0);
  expect(one.real.read(target.data(), count) == good);
  if (!good || count == 0) return;
  expect(std::equal(target.begin(), target.end(), one.block.begin() + start));
  one.header.readPosition = static_cast<unsigned>(end);
}

void cloneInto(fuzz_input& in, stepped_buffer& from, stepped_buffer& to) {
  int const gap = in.coin() ? in.below(300) : in.number<int>() & 0x7FFFFFFF;
  long long const size = 0LL + from.header.dataSize + gap;
  if (size > kMostBytes) return;  // the caller's to prevent
  std::string const bytes = from.counted();
  from.real.copyTo(to.real, gap);
  to.lastError = 0;
  if (size >= 0) to.grow(size, true);
  to.header = from.header;
  to.header.dataSize = static_cast<int>(size);
  to.header.sizeField =
      static_cast<int>(static_cast<unsigned>(to.header.sizeField) + static_cast<unsigned>(gap));
  if (!bytes.empty()) to.put(gap, bytes);
}

void find(fuzz_input& in, stepped_buffer const& one) {
  std::string const data = one.counted(), text = anyNeedle(in, data);
  int const start = in.anyOrSmall<int>();
  search_text const needle(text.data(), static_cast<int>(text.size()));
  expect(one.real.indexOf(needle, start) == placeOf(text, data, start));
  expect(one.real.indexOfIgnCase(needle, start) == placeOf(folded(text), folded(data), start));
}

// What a stored header may say.
void setFields(fuzz_input& in, stepped_buffer& one) {
  one.header.dataSize = in.coin() ? in.below(40'000) : in.number<int>();
  one.header.readPosition = in.coin() ? unsigned(in.byte()) : in.number<std::uint32_t>();
  one.header.sizeField = in.number<int>();
  one.header.headerByte3 = in.number<std::uint8_t>();
  static_cast<_QZ_DataBuffer_Header&>(one.real) = one.header;
  one.lastError = one.real.lastError = in.anyOrSmall<int>();
}

void edit(fuzz_input& in) {
  stepped_buffer both[2];
  while (in.left > 0) {
    int const what = in.byte();
    stepped_buffer& one = both[what >> 7];
    switch (what % 16) {
      case 0:
        resizeIt(in, one);
        break;
      case 1:
      case 2:
      case 3:
        appendTo(in, one);
        break;
      case 4:
      case 5:
      case 6:
        writeTo(in, one);
        break;
      case 7:
        copyInto(in, one);
        break;
      case 8:
        readFrom(in, one);
        break;
      case 9: {
        int const count = in.below(static_cast<int>(one.capacity()) + 1);
        std::vector<char> target(static_cast<unsigned>(count));
        one.real.copyToBuffer(target.data(), count);
        expect(std::equal(target.begin(), target.end(), one.block.begin()));
        break;
      }
      case 10:
        cloneInto(in, one, both[in.byte() & 1]);
        break;
      case 11:
        one.real.fillZero();
        one.block.assign(one.block.size(), '\0');
        break;
      case 12:
        one.real.deleteBuffer();
        one.block.clear(), one.hasBlock = false;
        break;
      case 13:
        setFields(in, one);
        break;
      default:
        find(in, one);
        break;
    }
    both[0].check(), both[1].check();
  }
}

// --- the searches themselves, over memory that ends with the data ---

// Moves the text along itself, place by place.
void checkTables(std::string const& text, search_text const& upper, search_text const& lower) {
  auto const tables = qz::detail::makeSearchTables(upper, lower);
  int const size = static_cast<int>(text.size());
  bool const anyCase = !upper.isEqualSameCase(lower);
  for (int byte = 0; byte < 256; ++byte) {
    std::string const one(1, static_cast<char>(byte));
    int const last = static_cast<int>(text.rfind(anyCase ? folded(one) : one));
    expect(tables.badCharacter[byte] == size - 1 - last);
  }
  for (int matches = 0; matches <= size; ++matches) {
    int shift = 0, inside = 0;
    do inside = std::min(matches, size - ++shift);
    while (text.compare(unsigned(size - shift - inside), unsigned(inside), text,
                        unsigned(size - inside), unsigned(inside)) != 0);
    expect(tables.goodSuffix[matches] == shift);
  }
}

void checkSearches(std::vector<char> const& data, std::string const& text) {
  search_text const needle(text.data(), static_cast<int>(text.size()));
  std::string const bytes(data.begin(), data.end());
  int const size = static_cast<int>(data.size());
  expect(qz::detail::findBytes(data.data(), size, needle) == placeOf(text, bytes, 0));
  int const place = placeOf(folded(text), folded(bytes), 0);
  expect(qz::detail::findBytesIgnCase(data.data(), size, needle) == place);
}

void search(fuzz_input& in) {
  int const shape = in.byte();
  int size = in.below(shape >= 224 ? 40'000 : 700);
  if ((shape & 16) != 0) size -= size % 256;  // a sample of large data then ends with it
  auto const data = exactly(anyBytes(in, size));
  std::string text = anyNeedle(in, {data.begin(), data.end()});
  checkSearches(data, text);
  // With a byte wrong here and there.
  if (data.size() < 1000)
    for (std::size_t i = unsigned(shape) % 16; i < text.size(); i += 16)
      text[i] ^= 1, checkSearches(data, text), text[i] ^= 1;
  if (text.empty() || text.size() > 60) return;
  search_text const needle(text.data(), static_cast<int>(text.size()));
  checkTables(text, needle, needle);
  search_text upper = needle, lower = needle;
  upper.makeUpper(), lower.makeLower();
  checkTables(folded(text), upper, lower);
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  fuzz_input in{bytes, size};
  if (in.coin())
    search(in);
  else
    edit(in);
  return 0;
}

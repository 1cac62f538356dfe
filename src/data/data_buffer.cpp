#include "data/data_buffer.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "data/byte_search.h"
#include "tool/system_services.h"

using namespace qz::detail;

namespace {

constexpr int kNoError = 0;
constexpr int kNoMemory = -100;
constexpr int kSystemError = -101;
constexpr int kEndOfFile = -1000;  // the codes below are other errors of a file

struct error_text {
  int code;
  char const* text;
} const kErrorTexts[] = {
    {kNoError, "No Error"},
    {kNoMemory, "Unable to allocate memory"},
    {-102, "Wrong File Header"},
    {-103, "CRC Error, data corrupt!"},
    {-104, "Unable to read data from file!"},
    {-105, "Unable to write data into file!"},
    {-106, "Decompression error, wrong result size"},
    {-107, "File does not exists!"},
    {kEndOfFile, "File error: End of file reached!"},
};

_qzString8_allSize<150> numbered(char const* text, int number) {
  _qzString8_allSize<150> result(text);
  result.addNr(number);
  result += '.';
  return result;
}

// What is too large becomes negative, and is refused as such.
int wrappingSum(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

void copyBytes(char* to, char const* from, int count) {
  if (count > 0) std::memmove(to, from, static_cast<std::size_t>(count));
}

// The bytes that `dataSize` counts and the block has.
int heldBytes(_QZ_DataBuffer const& buffer) {
  return std::clamp(buffer.dataSize, 0, std::max(buffer.capacity, 0));
}

// Takes over the block that an allocation gave, or its failure.
bool takeBlock(_QZ_DataBuffer& buffer, void* block, int capacity) {
  buffer.data = static_cast<char*>(block);
  buffer.capacity = block != nullptr ? capacity : 0;
  if (block == nullptr) buffer.lastError = kNoMemory;
  return block != nullptr;
}

bool allocate(_QZ_DataBuffer& buffer, int capacity) {
  return takeBlock(buffer, std::calloc(static_cast<std::size_t>(capacity) + kSpareBytes, 1),
                   capacity);
}

// Gives the block another size and keeps its bytes. Without memory they are lost with it.
bool reallocate(_QZ_DataBuffer& buffer, int capacity) {
  if (buffer.data == nullptr) return allocate(buffer, capacity);
  void* const block = std::realloc(buffer.data, static_cast<std::size_t>(capacity) + kSpareBytes);
  if (block == nullptr) std::free(buffer.data);
  return takeBlock(buffer, block, capacity);
}

bool isRefused(int size, int maxMiB) {
  // Required: the limit wraps in 32 bits, so that 2,048 MiB is a negative one.
  return size < 0 || size > static_cast<int>(static_cast<unsigned>(maxMiB) << 20);
}

bool hasRoom(_QZ_DataBuffer const& buffer, int size) {
  return buffer.data != nullptr && buffer.capacity >= size;
}

// Whether a block may grow to `size` bytes. Nothing is added to a negative `dataSize`, which would
// lead in front of the block.
bool canHold(int dataSize, std::int64_t size) { return dataSize >= 0 && size <= QZ_MaxBufferBytes; }

// A place to copy from, which moves with the block if it lies in it.
struct copy_source {
  char const* outside;
  std::ptrdiff_t inBlock = -1;

  copy_source(_QZ_DataBuffer const& buffer, char const* source) : outside(source) {
    std::less<char const*> const before;
    if (buffer.data != nullptr && !before(source, buffer.data) &&
        before(source, buffer.data + buffer.capacity))
      inBlock = source - buffer.data;
  }
  char const* in(_QZ_DataBuffer const& buffer) const {
    return inBlock < 0 ? outside : buffer.data + inBlock;
  }
};

}  // namespace

void _QZ_DataBuffer::deleteBuffer() {
  if (data == nullptr) return;
  std::free(data);
  data = nullptr;
  capacity = 0;
}

bool _QZ_DataBuffer::resize(int size, int maxMiB) {
  lastError = kNoError;
  if (isRefused(size, maxMiB)) return false;
  return hasRoom(*this, size) || reallocate(*this, size + kExactReserve);
}

bool _QZ_DataBuffer::newsize(int size, int maxMiB) {
  lastError = kNoError;
  if (isRefused(size, maxMiB)) return false;
  if (hasRoom(*this, size)) return true;
  deleteBuffer();
  return allocate(*this, size + kExactReserve);
}

bool _QZ_DataBuffer::copyFromBuffer(char const* source, int const& count) {
  int const bytes = count;
  copy_source const from(*this, source);
  if (!resize(bytes, kMaxBufferMiB)) return false;
  copyBytes(data, from.in(*this), bytes);
  return true;
}

void _QZ_DataBuffer::copyTo(_QZ_DataBuffer& target, int const& offset) const {
  int const gap = offset;
  int const bytes = heldBytes(*this);
  target.resize(wrappingSum(dataSize, gap), kMaxBufferMiB);
  static_cast<_QZ_DataBuffer_Header&>(target) = *this;
  target.dataSize = wrappingSum(dataSize, gap);
  target.sizeField = wrappingSum(sizeField, gap);
  // Required: whether there is room now is not looked at.
  if (bytes > 0) copyBytes(target.data + gap, data, bytes);
}

bool _QZ_DataBuffer::append(char const* source, int const& count) {
  int const bytes = count;
  if (bytes < 1) return true;
  copy_source const from(*this, source);
  std::int64_t const needed = std::int64_t{dataSize} + bytes;
  lastError = kNoError;
  if (!canHold(dataSize, needed)) return false;
  if (!resize(static_cast<int>(needed), kMaxBufferMiB)) return false;
  copyBytes(data + dataSize, from.in(*this), bytes);
  dataSize = static_cast<int>(needed);
  return true;
}

void _QZ_DataBuffer::writeGrowing(char const* source, int count) {
  copy_source const from(*this, source);
  std::int64_t const needed = std::int64_t{dataSize} + count;
  std::int64_t const target = needed + kWriteReserve;
  lastError = kNoError;
  if (!canHold(dataSize, target)) return;
  if (!reallocate(*this, static_cast<int>(target))) return;
  copyBytes(data + dataSize, from.in(*this), count);
  dataSize = static_cast<int>(needed);
}

void _QZ_DataBuffer::fillZero() {
  if (data != nullptr) std::memset(data, 0, static_cast<std::size_t>(capacity));
}

void _QZ_DataBuffer::copyToBuffer(char* target, int const& count) const {
  copyBytes(target, data, count);
}

bool _QZ_DataBuffer::read(char* target, int const& count) {
  int const bytes = count;
  std::int64_t const end = std::int64_t{readPosition} + bytes;
  if (bytes < 0 || end > dataSize) return false;
  if (bytes == 0) return true;
  // What the header counts beyond the block cannot be read.
  if (end > capacity) return false;
  copyBytes(target, data + readPosition, bytes);
  readPosition = static_cast<unsigned>(end);
  return true;
}

int _QZ_DataBuffer::indexOf(_qzString8_allSize<250> const& text, int start) const {
  int const from = std::clamp(start, 0, heldBytes(*this));
  int const found = findBytes(data + from, heldBytes(*this) - from, text);
  return found < 0 ? -1 : from + found;
}

int _QZ_DataBuffer::indexOfIgnCase(_qzString8_allSize<250> const& text, int start) const {
  int const from = std::clamp(start, 0, heldBytes(*this));
  int const found = findBytesIgnCase(data + from, heldBytes(*this) - from, text);
  return found < 0 ? -1 : from + found;
}

_qzString8_allSize<150> _QZ_DataBuffer::errorString(int const& code) {
  for (auto const& known : kErrorTexts)
    if (known.code == code) return known.text;
  if (code == kSystemError) {
    _qzString8_allSize<150> result("System error: ");
    result += qzLastOSError8(-1).asChar();
    return result;
  }
  if (code < kEndOfFile) return numbered("File error ", kEndOfFile - code);
  return numbered("unknown error ", code);
}

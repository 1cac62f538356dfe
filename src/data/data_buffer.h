// A growable block of raw bytes with a read position and a search, behind the header that travels
// with the data. Sizes are signed 32-bit.
//
// `dataSize` counts the valid bytes and `capacity` the usable ones. Growing keeps `dataSize` and
// `readPosition`, and no operation but deleteBuffer() makes a block smaller. `dataSize` may stand
// at anything, also without a block, since it comes with a stored header: only `capacity` and
// `data` tell what memory there is.
//
// Nothing throws or prints. After a failed allocation the object is valid and has no block, and
// `lastError` is -100; its content is lost. A refused size changes nothing and leaves `lastError`
// at 0. An object belongs to one thread at a time.
#ifndef QZ_DATA_DATA_BUFFER_H_
#define QZ_DATA_DATA_BUFFER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "data/data_buffer_header.h"
#include "strings/string8.h"

// What a block can hold at most: 1,500 MiB.
inline constexpr std::int32_t QZ_MaxBufferBytes = 0x5DC00000;

namespace qz::detail {

// The limit as resize() and newsize() take it.
inline constexpr int kMaxBufferMiB = QZ_MaxBufferBytes >> 20;
// A block is allocated with this many bytes behind the capacity, which nothing counts.
inline constexpr int kSpareBytes = 1;
// How far the capacity grows beyond the bytes that are needed: by nothing in append() and all
// others, so that every append() may move the block; by this in write().
inline constexpr int kExactReserve = 0;
inline constexpr int kWriteReserve = 10'240;

}  // namespace qz::detail

struct _QZ_DataBuffer : _QZ_DataBuffer_Header {
  std::int32_t capacity = 0;   // usable bytes
  char* data = nullptr;        // the block, owned, of malloc(3)'s family; null when none is held
  std::int32_t lastError = 0;  // the code of the last failure, 0 for none; see errorString()

  // Allocates nothing.
  _QZ_DataBuffer() = default;
  // Copying would share the block; copyTo makes a second one.
  _QZ_DataBuffer(_QZ_DataBuffer const&) = delete;
  _QZ_DataBuffer& operator=(_QZ_DataBuffer const&) = delete;
  ~_QZ_DataBuffer() { deleteBuffer(); }

  // Frees the block. The header stays, and `dataSize` with it.
  void deleteBuffer();

  // --- making room; all of these clear `lastError` first ---

  // Makes `capacity` at least `size` and keeps the bytes. Room in a first block reads as zero, room
  // that is added later does not. Refuses a negative size and one above the limit, `maxMiB` times
  // 2^20 in 32 bits. Required: the limit wraps, so that 2,048 refuses everything and 4,097 means
  // 1 MiB.
  bool resize(int size, int maxMiB);
  // The same for room without the bytes: a new block reads as zero, a sufficient one stays as it
  // is.
  bool newsize(int size, int maxMiB);
  // Copies `count` bytes to the start of the block, which grows to `count` if need be. `dataSize`
  // stays. Refuses a negative count and one above QZ_MaxBufferBytes. `source` may lie in the block.
  bool copyFromBuffer(char const* source, int const& count);
  // Clones the header and the bytes that it counts into `target`, the bytes behind a gap of
  // `offset` bytes, which are not written; `offset` is added to `dataSize` and to `sizeField`
  // there. The caller guarantees that `offset` is not negative, that it and `dataSize` make at most
  // QZ_MaxBufferBytes, and that there is the memory for them: nothing tests it, and the bytes then
  // go to a block that is too small or not there. Room in `target` beforehand makes it safe.
  void copyTo(_QZ_DataBuffer& target, int const& offset) const;

  // --- adding behind `dataSize`; `source` may lie in the block ---

  // Adds `count` bytes and grows to exactly what is needed, which may move the block each time.
  // Refuses what would pass QZ_MaxBufferBytes, and a negative `dataSize`. A count below 1 is true
  // and leaves `lastError`.
  bool append(char const* source, int const& count);
  // Adds `count` bytes and grows, if need be, to 10,240 bytes more than that: the form for many
  // small pieces. What would pass QZ_MaxBufferBytes with this reserve is not written, and nothing
  // but an unchanged `dataSize` tells. `lastError` is cleared only by growing. `count` must not be
  // negative: nothing tests it.
  void write(char const* source, int const& count) {
    int const bytes = count;
    std::int64_t const needed = std::int64_t{dataSize} + bytes;
    if (needed > capacity || dataSize < 0) return writeGrowing(source, bytes);
    if (bytes == 1)
      data[dataSize] = *source;
    else if (bytes > 0)
      std::memmove(data + dataSize, source, static_cast<std::size_t>(bytes));
    dataSize = static_cast<std::int32_t>(needed);
  }

  // --- reading ---

  // Zeroes the whole capacity.
  void fillZero();
  // Copies `count` bytes from the start of the block. The caller guarantees that there are as many:
  // nothing tests it.
  void copyToBuffer(char* target, int const& count) const;
  // Copies the next `count` bytes and moves `readPosition` behind them. False, with nothing read
  // and `lastError` as it was, if `count` is negative or passes `dataSize` or the block.
  bool read(char* target, int const& count);

  // Return the first position from `start` on at which `text` stands, or -1; indexOfIgnCase takes
  // the letters of a-z without case. A negative start counts as 0; an empty `text` is never found.
  // Zero bytes in the data or in `text` are bytes like any other. See data/byte_search.h.
  int indexOf(_qzString8_allSize<250> const& text, int start) const;
  int indexOfIgnCase(_qzString8_allSize<250> const& text, int start) const;

  // --- errors ---

  // The text of `lastError`, or of any code. The codes of files and of decompression belong to
  // programs that do that with a buffer. -101 gives the text of the current errno.
  _qzString8_allSize<150> errorString() const { return errorString(lastError); }
  static _qzString8_allSize<150> errorString(int const& code);

  // --- base-85 text, in data/a85.cpp ---

  // Turns plain base-85 text into the form for a file, in place: lines of 100 characters, and with
  // `withMarks` a mark in front and behind. Text in the form for a file stays as it is.
  void A85_formatForFile(bool const& withMarks);
  // Turns text from a file back into plain base-85 text, in place. With `stripMarks` what stands
  // outside of the marks is dropped as well.
  void A85_cleantext(bool const& stripMarks);

 private:
  void writeGrowing(char const* source, int count);
};

#endif  // QZ_DATA_DATA_BUFFER_H_

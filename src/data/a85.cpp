// The form that base-85 text has in a file: laying it out, and cleaning it again.
#include "data/a85.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "data/data_buffer.h"

namespace {

constexpr std::ptrdiff_t kLineLength = 100;
constexpr std::ptrdiff_t kMarkLength = sizeof qzA85_StartEnd - 1;
constexpr char kLineEnd[2] = {'\r', '\n'};
constexpr std::ptrdiff_t kLineEndLength = sizeof kLineEnd;
constexpr std::ptrdiff_t kMarkedLineLength = kLineEndLength + kMarkLength + kLineEndLength;
// What the block has beyond the text and its line ends; the two marks take 30 of it.
constexpr std::ptrdiff_t kRoomForMarks = 72;

bool isA85Text(_QZ_DataBuffer_Header const& header) {
  return header.isEncoded && (header.encodedForm == 3 || header.encodedForm == 4);
}

// What may be touched of a text whose size somebody has set beyond its block.
std::ptrdiff_t textSize(_QZ_DataBuffer const& buffer) {
  return buffer.data == nullptr ? 0 : std::clamp(buffer.dataSize, 0, buffer.capacity);
}

// --- the file form ---

bool beginsWithMark(char const* text, std::ptrdiff_t count) {
  return count > kMarkLength && std::memcmp(text, qzA85_StartEnd, kMarkLength) == 0;
}

// Required: text in the form stays as it is, so that formatting twice is formatting once. The form
// begins with a line end, which may have been lost on the way.
bool isInFileForm(char const* text, std::ptrdiff_t count) {
  if (count >= kLineEndLength && std::memcmp(text, kLineEnd, kLineEndLength) == 0)
    return beginsWithMark(text + kLineEndLength, count - kLineEndLength);
  return beginsWithMark(text, count);
}

// Returns the place behind.
char* putMarkedLine(char* target) {
  std::memcpy(target, kLineEnd, kLineEndLength);
  std::memcpy(target + kLineEndLength, qzA85_StartEnd, kMarkLength);
  std::memcpy(target + kLineEndLength + kMarkLength, kLineEnd, kLineEndLength);
  return target + kMarkedLineLength;
}

// Required: the line end behind a full last line stands, also in front of the mark's own.
//
// Puts the lines to `target` from the last to the first: source and target may lie in one block,
// `target` not in front of `source`. Returns the place behind.
char* putLines(char const* source, std::ptrdiff_t count, char* target) {
  constexpr std::ptrdiff_t kStep = kLineLength + kLineEndLength;
  std::ptrdiff_t const lines = count / kLineLength;
  std::ptrdiff_t const rest = count % kLineLength;
  if (rest > 0)
    std::memmove(target + lines * kStep, source + lines * kLineLength,
                 static_cast<std::size_t>(rest));
  for (std::ptrdiff_t i = lines - 1; i >= 0; --i) {
    char line[kLineLength];
    std::memcpy(line, source + i * kLineLength, kLineLength);
    std::memcpy(target + i * kStep, line, kLineLength);
    std::memcpy(target + i * kStep + kLineLength, kLineEnd, kLineEndLength);
  }
  return target + lines * kStep + rest;
}

// --- cleaning ---

// Whether cleaning takes a character out: controls and blanks, the six that never stand in base-85
// text, the tilde, and all that is not ASCII. With sign, so that one comparison finds these too.
// For a block of characters the result has -1 or 0 for each.
template <class Character>
constexpr auto isDropped(Character c) {
  return (c < 0x21) | (c > 0x7D) | (c == '"') | (c == '\'') | ((c | 2) == '>') | (c == '\\') |
         (c == '`');
}

constexpr auto kKept = [] {
  std::array<bool, 256> kept{};
  for (std::size_t i = 0; i < kept.size(); ++i)
    kept[i] = isDropped(static_cast<signed char>(i)) == 0;
  return kept;
}();

// What the compiler keeps in one register and compares at once.
using block [[gnu::vector_size(16)]] = signed char;
constexpr std::ptrdiff_t kBlock = sizeof(block);

bool isClean(block const& dropped) {
  std::uint64_t halves[2];
  std::memcpy(halves, &dropped, sizeof halves);
  return (halves[0] | halves[1]) == 0;
}

// Moves what is kept of `count` characters at `source` to `target`, which may lie in front of them
// in the same block. Returns the place behind.
char* putKept(char const* source, std::ptrdiff_t count, char* target) {
  char const* const end = source + count;
  auto const isNext = [&] { return kKept[static_cast<unsigned char>(*source)]; };
  while (end - source >= kBlock) {
    block characters;
    std::memcpy(&characters, source, kBlock);
    block const dropped = isDropped(characters);
    if (isClean(dropped)) {
      std::memcpy(target, &characters, kBlock);
      source += kBlock;
      target += kBlock;
      continue;
    }
    // What follows the dropped ones begins a new block, so that lines of one length make the same
    // steps each time.
    while (isNext()) *target++ = *source++;
    do ++source;
    while (source < end && !isNext());
  }
  for (; source < end; ++source)
    if (isNext()) *target++ = *source;
  return target;
}

// A mark is found by a tilde with five more on one side of it: of the eleven in a row, one stands
// at every tenth place.
constexpr std::ptrdiff_t kMarkSearchStep = 10;
constexpr char kHalfMark[] = "~~~~~";
constexpr std::ptrdiff_t kHalfMarkLength = sizeof kHalfMark - 1;

bool isInMark(char const* text, std::ptrdiff_t at, std::ptrdiff_t count) {
  if (text[at] != '~') return false;
  return (at >= kHalfMarkLength &&
          std::memcmp(text + at - kHalfMarkLength, kHalfMark, kHalfMarkLength) == 0) ||
         (at < count - kHalfMarkLength &&
          std::memcmp(text + at + 1, kHalfMark, kHalfMarkLength) == 0);
}

// Returns a place in the first mark from `start` on, or `count`.
std::ptrdiff_t findMark(char const* text, std::ptrdiff_t start, std::ptrdiff_t count) {
  std::ptrdiff_t at = start;
  while (at < count && !isInMark(text, at, count)) at += kMarkSearchStep;
  return std::min(at, count);
}

}  // namespace

void _QZ_DataBuffer::A85_formatForFile(bool const& withMarks) {
  if (!isA85Text(*this)) return;
  std::ptrdiff_t const count = textSize(*this);
  char* text = data;
  if (isInFileForm(text, count)) return;

  lastError = 0;
  std::ptrdiff_t const room = count + kLineEndLength * (count / kLineLength) + kRoomForMarks;
  if (room > QZ_MaxBufferBytes) return;
  // The lines go straight into the block that keeps them, be it this one.
  char* target = text;
  if (data == nullptr || capacity < room) {
    target = static_cast<char*>(std::calloc(static_cast<std::size_t>(room) + 1, 1));
    if (target == nullptr) {  // Required: the text is lost then
      deleteBuffer();
      lastError = -100;
      return;
    }
  }
  char* const lines = withMarks ? target + kMarkedLineLength : target;
  char* end = putLines(text, count, lines);
  if (withMarks) {
    putMarkedLine(target);
    end = putMarkedLine(end);
  }
  if (target != text) {
    deleteBuffer();
    data = target;
    capacity = static_cast<int>(room);
  }
  dataSize = static_cast<int>(end - target);
}

void _QZ_DataBuffer::A85_cleantext(bool const& stripMarks) {
  if (!isA85Text(*this)) return;
  std::ptrdiff_t const count = textSize(*this);
  char* const text = data;
  std::ptrdiff_t first = 0;
  std::ptrdiff_t end = count;
  if (stripMarks) {
    // Without a mark in front there is none behind either: the same places would be looked at.
    first = findMark(text, 0, count);
    if (first == count) {
      first = 0;
    } else {
      while (first < count && text[first] == '~') ++first;
      end = findMark(text, first, count);
      if (end < count)
        while (text[end - 1] == '~') --end;  // stops at `first`, which is no tilde
    }
  }
  dataSize = count == 0 ? 0 : static_cast<int>(putKept(text + first, end - first, text) - text);
}

// Parsers of the texts under /proc, as pure functions over a buffer. proc(5) numbers the fields.
//
// A text is hostile until it is proven good: it may be empty or end anywhere, and the command name
// in it is chosen by the process and may hold blanks, brackets, line feeds and any byte but zero. A
// parser either reads all that it promises or gives false, and reads nothing behind `size`.
#ifndef QZ_PROCESS_PROC_TEXT_H_
#define QZ_PROCESS_PROC_TEXT_H_

#include <cstddef>
#include <cstdint>

namespace qz::detail {

// What is used of /proc/PID/stat and /proc/PID/task/TID/stat.
struct stat_line {
  char const* name;           // field 2 without its brackets, a part of the text, not terminated
  std::size_t nameSize;       // bytes; the kernel keeps 15 of a program's name and more of its own
  char state;                 // field 3
  std::uint32_t parentPid;    // field 4
  std::uint32_t flags;        // field 9
  std::uint64_t userTicks;    // field 14, of all threads of a process, ended ones included
  std::uint64_t systemTicks;  // field 15
  std::uint32_t threads;      // field 20, those not yet released: an ended first one counts
};

// Reads up to field 20, which must have something behind it: a number that a cut has shortened is
// not taken for a whole one. The name ends at the last ')' of the text.
bool parseStatLine(char const* text, std::size_t size, stat_line* line);

// Reads the resident pages, field 2 of /proc/PID/statm.
bool parseResidentPages(char const* text, std::size_t size, std::uint64_t* pages);

// Reads the time on a processor in nanoseconds, the first field of /proc/PID/schedstat.
bool parseRunTime(char const* text, std::size_t size, std::uint64_t* nanoseconds);

// Reads the digits in front of a terminating zero, ten at most and up to 32 bits; false for
// anything else and for no digits.
bool parseId(char const* text, std::uint32_t* id);

}  // namespace qz::detail

#endif  // QZ_PROCESS_PROC_TEXT_H_

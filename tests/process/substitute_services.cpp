#include "process/substitute_services.h"

#include <cerrno>
#include <cstring>
#include <new>

played_services played;

qz::detail::process_entry processOf(int index) {
  qz::detail::process_entry entry = {};
  entry.pid = static_cast<unsigned>(100 + index);
  entry.parentPid = static_cast<unsigned>(50 + index / 2);
  entry.uid = index % 7 - 2;
  static char const* const names[] = {"", "render(1) \xE4.b", "exactly twenty-five bytes"};
  std::strcpy(entry.name, names[index % 3]);
  return entry;
}

namespace qz::detail {

enumeration enumerateProcesses(process_entry* entries, int& count) {
  int const failure = entries == nullptr ? played.sizeFailure : played.fillFailure;
  ++(entries == nullptr ? played.sizeQuestions : played.fills);
  if (entries != nullptr && played.fills <= played.growths) {
    errno = ENOMEM;
    return enumeration::grew;
  }
  if (failure != 0) {
    errno = failure;
    return enumeration::failed;
  }
  count = played.processes;
  for (int i = 0; entries != nullptr && i < count; ++i) entries[i] = processOf(i);
  return enumeration::complete;
}

query_answer queryProcess(unsigned pid, process_figures& figures) {
  played.queriedPid = pid;
  figures = played.figures;
  return played.answer;
}

}  // namespace qz::detail

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
  if (!played.noMemory) return ::operator new[](size);
  errno = ENOMEM;
  return nullptr;
}

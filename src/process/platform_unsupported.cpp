// The platform file for a system that has none of its own: constant answers.
#include <cerrno>

#include "process/platform.h"

namespace qz::detail {

enumeration enumerateProcesses(process_entry* /*entries*/, int& count) {
  count = 0;
  errno = ENOSYS;
  return enumeration::failed;
}

query_answer queryProcess(unsigned /*pid*/, process_figures& /*figures*/) {
  errno = ENOSYS;
  return {query_answer::access_refused, kRefusedCode};
}

}  // namespace qz::detail

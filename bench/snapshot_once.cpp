// For counting what a snapshot costs in system calls and instructions, from outside:
//   snapshot_once crowd N   fills the machine up to N processes until its standard input ends
//   snapshot_once list N    takes N snapshots and prints the number of records
//   snapshot_once loop N    goes N times through the cheapest loop, likewise
// bench/snapshot_cost puts them together.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "process/process_list.h"
#include "snapshot_rivals.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::string_view const what = argv[1];
  int const number = std::atoi(argv[2]);
  int count = 0;
  if (what == "crowd") {
    process_crowd const crowd(number);
    std::printf("ready\n");
    std::fflush(stdout);
    for (char ignored; read(STDIN_FILENO, &ignored, 1) > 0;) continue;
    return 0;
  }
  if (what == "list") {
    auto const list = std::make_unique<_qzProcessList>();
    for (int i = 0; i < number; ++i) list->collectAllProcesses2();
    count = list->count;
  } else {
    for (int i = 0; i < number; ++i) count = loopOverProc();
  }
  std::printf("%d\n", count);
  return 0;
}
